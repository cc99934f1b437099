// The section "vxlan": which VLANs are mapped to which network, and who carries them.

#include <absl/container/flat_hash_map.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "agent/documents/KeyedRows.h"
#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::VlanId;
using KorvoL2::VirtualPortInfo;

namespace {

/**
 * Edge ports on their way into their table. The document goes by VLAN and the table by interface,
 * and names are slow to compare: each interface is looked up once and its VLANs are kept together.
 */
class EdgePorts {
 public:
  void add(IntfId intf, VlanId vlan, VirtualPortInfo info) { ports_[intf].push_back({vlan, info}); }
  void fill(KorvoL2::PortToEdgeSvpCollection& table) {
    std::vector<IntfId> names;
    names.reserve(ports_.size());
    for (const auto& [intf, vlans] : ports_) names.push_back(intf);
    std::ranges::sort(names);
    for (const IntfId intf : names) {
      auto& vlans = ports_[intf];
      std::ranges::sort(vlans, {}, &Port::vlan);
      for (const Port& port : vlans) table.put({intf, port.vlan}, port.info);
    }
  }

 private:
  struct Port {
    VlanId vlan;
    VirtualPortInfo info;
  };
  absl::flat_hash_map<IntfId, std::vector<Port>> ports_;
};

/** What the document says of a VLAN. */
struct VlanRecords {
  bool listed = true;
  std::optional<std::uint32_t> vni{};
  std::optional<std::uint16_t> vfi{};
  std::optional<std::uint16_t> mappingVlan{};
  std::optional<std::uint16_t> mcastIndex{};
  std::optional<std::uint16_t> svp{};
  std::optional<bool> svpConfigured{};
};

/** A VLAN while its members are read. */
struct Vlan {
  IntfReader& interfaces;
  EdgePorts& edgePorts;
  VlanId id{};
  VlanRecords records{};
};

constexpr JsonMember<Vlan> kVlanMembers[]{
    {"vlan", [](const JsonNode& n, Vlan& v) { v.id = readVlan(n); }, true},
    {"listed", [](const JsonNode& n, Vlan& v) { v.records.listed = n.boolean(); }},
    {"vni", [](const JsonNode& n, Vlan& v) { v.records.vni = readVni(n); }},
    {"vfi", [](const JsonNode& n, Vlan& v) { v.records.vfi = readUnsigned16(n); }},
    {"mappingVlan", [](const JsonNode& n, Vlan& v) { v.records.mappingVlan = readUnsigned16(n); }},
    {"mcastIndex", [](const JsonNode& n, Vlan& v) { v.records.mcastIndex = readUnsigned16(n); }},
    {"vlanSvp", [](const JsonNode& n, Vlan& v) { v.records.svp = readUnsigned16(n); }},
    {"svpConfigured", [](const JsonNode& n, Vlan& v) { v.records.svpConfigured = n.boolean(); }},
    {"edgePorts",
     [](const JsonNode& ports, Vlan& v) {
       readMap(ports, [&v](const JsonNode& node, std::string_view name) {
         v.edgePorts.add(v.interfaces.someNamed(node, name), v.id, {.svp = readUnsigned16(node)});
       });
     }},
};

// What a document says of a VLAN replaces all that there was of it but for its edge ports.
void enter(VlanId id, const VlanRecords& vlan, UnicastAgentModel& unicast) {
  KorvoL2::VxlanL2State& l2State = unicast.vxlan().l2State();
  auto& mappings = unicast.vxlan().l3Config().vlanMapping;
  auto& statuses = unicast.vxlan().l3Status().statusEntry;
  auto& svpConfigs = unicast.vlanSvpConfig().entries;
  l2State.vlanMapping.erase(id);
  mappings.erase(id);
  statuses.erase(id.value());
  l2State.vlanToSvp.erase(id);
  svpConfigs.erase(id);

  if (vlan.listed) l2State.vlanMapping.add(id);
  if (vlan.vni || vlan.vfi || vlan.mappingVlan) {
    mappings.put(id, {.vlanId = vlan.mappingVlan.value_or(id.value()),
                      .vfi = vlan.vfi.value_or(0),
                      .vni = vlan.vni.value_or(0)});
  }
  if (vlan.mcastIndex) statuses.put(id.value(), {.mcastIndex = *vlan.mcastIndex});
  if (vlan.svp) l2State.vlanToSvp.put(id, {.number = *vlan.svp});
  if (vlan.svpConfigured.value_or(vlan.svp.has_value())) svpConfigs.put(id, {});
}

void readVlans(const JsonNode& list, SwitchModel& model) {
  IntfReader interfaces(model);
  EdgePorts edgePorts;
  KeyedRows<VlanId, VlanRecords> rows;
  readList(list, [&](const JsonNode& node) {
    Vlan vlan{.interfaces = interfaces, .edgePorts = edgePorts};
    readMembers(node, kVlanMembers, vlan);
    rows.add(vlan.id, vlan.records);
  });
  rows.fill(
      list, [](VlanId id) { return "VLAN " + id.stringValue() + " is"; },
      [&model](VlanId id, const VlanRecords& vlan) { enter(id, vlan, model.unicast()); });
  edgePorts.fill(model.unicast().vxlan().l2State().portToEdgeSvp);
}

IpAddr readIpOf(const JsonNode& node, bool isV6) {
  const IpAddr ip = readIp(node);
  if (ip.isV6() != isV6) {
    node.refuse(isV6 ? "expected an IPv6 address; the IPv4 one is \"orvaVtepIp\""
                     : "expected an IPv4 address; the IPv6 one is \"orvaVtepIp6\"");
  }
  return ip;
}

constexpr JsonMember<KorvoL2::VxlanCapabilities> kCapabilityMembers[]{
    {"singlePassRouting",
     [](const JsonNode& node, KorvoL2::VxlanCapabilities& c) {
       c.singlePassRouting = node.boolean();
     }},
};

constexpr JsonMember<SwitchModel> kVxlanMembers[]{
    {"recircIntf", [](const JsonNode& node,
                      SwitchModel& m) { m.unicast().recircIntfIs(IntfReader(m).read(node)); }},
    {"capabilities",
     [](const JsonNode& node, SwitchModel& m) {
       readMembers(node, kCapabilityMembers, m.unicast().vxlan().capabilities());
     }},
    {"orvaVtepIp",
     [](const JsonNode& node, SwitchModel& m) {
       m.unicast().vxlan().l2State().orvaVtepIp = readIpOf(node, false);
     }},
    {"orvaVtepIp6",
     [](const JsonNode& node, SwitchModel& m) {
       m.unicast().vxlan().l2State().orvaVtepIp6 = readIpOf(node, true);
     }},
    {"vlans", readVlans},
};

}  // namespace

void readVxlan(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kVxlanMembers, model);
}

}  // namespace KorvoAgent
