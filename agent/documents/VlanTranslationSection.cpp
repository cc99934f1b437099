// The section "vlanTranslation": the tables by which tags are translated. Members are called as the
// columns in which the dumps print them.

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "agent/documents/KeyedRows.h"
#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::PortVlanKey;
using Bridging::VlanId;
using Bridging::VlanIpVerKey;

namespace {

std::string describe(const IpAddr& ip) { return "address " + ip.stringValue() + " is"; }
std::string describe(VlanId vlan) { return "VLAN " + vlan.stringValue() + " is"; }
std::string describe(const VlanIpVerKey& key) { return "VLAN " + key.stringValue() + " is"; }
std::string describe(const PortVlanKey& key) {
  return "VLAN " + key.vlan().stringValue() + " on " + key.intf().stringValue() + " is";
}

/** One element of a list while its members are read; `vlan` is the one in the key. */
template <class Value>
struct TranslationRow {
  SwitchModel& model;
  IntfReader& interfaces;
  IntfId intf{};
  VlanId vlan{};
  bool v6 = false;
  IpAddr ip{};
  Value value{};

  PortVlanKey portVlan() const { return {intf, vlan}; }
};

template <class Value>
void readIntf(const JsonNode& node, TranslationRow<Value>& row) {
  row.intf = row.interfaces.readSome(node);
}
template <class Value>
void readKeyVlan(const JsonNode& node, TranslationRow<Value>& row) {
  row.vlan = readVlan(node);
}

/** A VLAN that VXLAN knows of, once it knows of any. */
template <class Value>
void readVxlanVlan(const JsonNode& node, TranslationRow<Value>& row) {
  row.vlan = readVlan(node);
  VxlanL2SmModel& vxlan = row.model.unicast().vxlan();
  const auto& listed = vxlan.l2State().vlanMapping;
  const auto& mapped = vxlan.l3Config().vlanMapping;
  if (listed.empty() && mapped.empty()) return;
  if (listed.has(row.vlan) || mapped.has(row.vlan)) return;
  node.refuse("VLAN " + row.vlan.stringValue() +
              " is not in /vxlan/vlans; add it there or correct the number");
}

/** Reads a list into the table of a directory; `keyOf` makes a row's key. */
template <class Directory, class Value, std::size_t kCount, class KeyOf>
void readTable(const JsonNode& list, const JsonMember<TranslationRow<Value>> (&members)[kCount],
               SwitchModel& model, Directory& directory, KeyOf&& keyOf) {
  using Key = typename Directory::Entries::Key;
  IntfReader interfaces(model);
  KeyedRows<Key, Value> rows;
  readList(list, [&](const JsonNode& node) {
    TranslationRow<Value> row{.model = model, .interfaces = interfaces};
    readMembers(node, members, row);
    rows.add(std::invoke(keyOf, std::as_const(row)), row.value);
  });
  rows.fill(
      list, [](const Key& key) { return describe(key); },
      [&directory](const Key& key, Value value) { directory.entries.put(key, value); });
}

// Ingress.

using DipRow = TranslationRow<bool>;
constexpr JsonMember<DipRow> kDipMembers[]{
    {"ip",
     [](const JsonNode& n, DipRow& r) {
       r.ip = readIp(n);
       r.value = true;
     },
     true},
    {"programmed", [](const JsonNode& n, DipRow& r) { r.value = n.boolean(); }},
};

using VlanSvpRow = TranslationRow<KorvoL2::VlanSvpStatus>;
constexpr JsonMember<VlanSvpRow> kVlanSvpMembers[]{
    {"vlan",
     [](const JsonNode& n, VlanSvpRow& r) {
       readVxlanVlan(n, r);
       r.value.vlan = r.vlan.value();
     },
     true},
    {"svp", [](const JsonNode& n, VlanSvpRow& r) { r.value.svp = readUnsigned32(n); }, true},
    {"statusVlan", [](const JsonNode& n, VlanSvpRow& r) { r.value.vlan = readUnsigned16(n); }},
};

using PortVlanRow = TranslationRow<KorvoL2::PortVlanXlateStatus>;
constexpr JsonMember<PortVlanRow> kPortVlanMembers[]{
    {"interface", readIntf, true},
    {"dot1qTag", readKeyVlan, true},
    {"vlan", [](const JsonNode& n, PortVlanRow& r) { r.value.vlan = readVlanNumber(n); }},
    {"svp", [](const JsonNode& n, PortVlanRow& r) { r.value.svp = readUnsigned32(n); }},
};

constexpr JsonMember<SwitchModel> kIngressMembers[]{
    {"dips",
     [](const JsonNode& list, SwitchModel& m) {
       readTable(list, kDipMembers, m, *m.unicast().vlanXlate().dips,
                 [](const DipRow& row) { return row.ip; });
     }},
    {"vlanSvps",
     [](const JsonNode& list, SwitchModel& m) {
       readTable(list, kVlanSvpMembers, m, *m.unicast().vlanXlate().vlanSvps,
                 [](const VlanSvpRow& row) { return row.vlan; });
     }},
    {"portVlans",
     [](const JsonNode& list, SwitchModel& m) {
       readTable(list, kPortVlanMembers, m, *m.unicast().vlanXlate().portVlans,
                 &PortVlanRow::portVlan);
     }},
};

// Egress.

using VlanVniRow = TranslationRow<KorvoL2::EgrVlanXlateVxlanVfiConfig>;
constexpr JsonMember<VlanVniRow> kVlanVniMembers[]{
    {"vlan", readVxlanVlan, true},
    {"vni", [](const JsonNode& n, VlanVniRow& r) { r.value.vni = readVni(n); }, true},
    {"v6", [](const JsonNode& n, VlanVniRow& r) { r.v6 = n.boolean(); }},
};

using EgrPortVlanRow = TranslationRow<KorvoL2::EgrPortVlanXlateStatus>;
constexpr JsonMember<EgrPortVlanRow> kEgrPortVlanMembers[]{
    {"interface", readIntf, true},
    {"outerVlan", readKeyVlan, true},
    {"innerVlan",
     [](const JsonNode& n, EgrPortVlanRow& r) { r.value.innerVlan = readVlanNumber(n); }},
    {"dot1qTag", [](const JsonNode& n, EgrPortVlanRow& r) { r.value.dot1qTag = readVlanNumber(n); },
     true},
};

using DvpVlanRow = TranslationRow<KorvoL2::EgrVxlanVlanXlateStatus>;
constexpr JsonMember<DvpVlanRow> kDvpVlanMembers[]{
    {"interface", readIntf, true},
    {"vlan", readVxlanVlan, true},
    {"dvp", [](const JsonNode& n, DvpVlanRow& r) { r.value.dvp = readUnsigned32(n); }, true},
    {"dot1qTag", [](const JsonNode& n, DvpVlanRow& r) { r.value.dot1qTag = readVlanNumber(n); },
     true},
};

constexpr JsonMember<SwitchModel> kEgressMembers[]{
    {"vlanVnis",
     [](const JsonNode& list, SwitchModel& m) {
       readTable(list, kVlanVniMembers, m, *m.unicast().vlanXlate().vlanVnis,
                 [](const VlanVniRow& row) { return VlanIpVerKey(row.vlan, row.v6); });
     }},
    {"portVlans",
     [](const JsonNode& list, SwitchModel& m) {
       readTable(list, kEgrPortVlanMembers, m, *m.unicast().vlanXlate().egrPortVlans,
                 &EgrPortVlanRow::portVlan);
     }},
    {"dvpVlans",
     [](const JsonNode& list, SwitchModel& m) {
       readTable(list, kDvpVlanMembers, m, *m.unicast().vlanXlate().egrVxlanVlans,
                 &DvpVlanRow::portVlan);
     }},
};

constexpr JsonMember<SwitchModel> kTranslationMembers[]{
    {"ingress",
     [](const JsonNode& node, SwitchModel& m) { readMembers(node, kIngressMembers, m); }},
    {"egress", [](const JsonNode& node, SwitchModel& m) { readMembers(node, kEgressMembers, m); }},
};

}  // namespace

void readVlanTranslation(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kTranslationMembers, model);
}

}  // namespace KorvoAgent
