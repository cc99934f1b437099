#include "agent/services/VxlanL2SmModel.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

using Bridging::VlanId;

namespace {

std::string addressText(const Bridging::IpAddr& address) {
  return address.isUnspecified() ? std::string() : address.stringValue();
}

/** What is known of a VLAN, gathered from every record that names it. */
struct VlanFacts {
  bool known = false;
  bool mapped = false;
  NoneIfZero vni;
  NoneIfZero vfi;
  NoneIfZero mcastIndex;
  std::optional<std::uint16_t> svp;
};

}  // namespace

void VxlanL2SmModel::showSoftwareVxlanDebugInfo(std::uint32_t socket) {
  using enum AnswerTable::Alignment;
  std::vector<VlanFacts> vlans(std::size_t{VlanId::kMax} + 1);  // by number
  const auto of = [&vlans](std::uint16_t vlan) -> VlanFacts& {
    VlanFacts& facts = vlans[vlan];
    facts.known = true;
    return facts;
  };
  for (const auto& [vlan, nothing] : l2State_->vlanMapping) of(vlan.value()).mapped = true;
  for (const auto& [vlan, mapping] : l3Config_->vlanMapping) {
    of(vlan.value()).vni = {mapping.vni};
    of(vlan.value()).vfi = {mapping.vfi};
  }
  for (const auto& [vlan, status] : l3Status_->statusEntry) {
    if (vlan >= VlanId::kMin && vlan <= VlanId::kMax) {
      of(vlan).mcastIndex = {status.mcastIndex};
    }
  }
  for (const auto& [vlan, port] : l2State_->vlanToSvp) {
    if (port != KorvoL2::VirtualPort{}) of(vlan.value()).svp = port.number;
  }
  // Far more than VLANs: what is counted is to stay in the processor's nearest cache.
  std::vector<std::uint32_t> edgePorts(vlans.size());
  std::size_t counted = 0;
  for (const auto& [key, port] : l2State_->portToEdgeSvp) {
    if (counted++ == AnswerTable::kMaxCounted) break;
    ++edgePorts[key.vlan().value()];
  }

  AnswerTable table({{"VLAN", kRight},
                     {"In set"},
                     {"VNI", kRight},
                     {"VFI", kRight},
                     {"Mcast group", kRight},
                     {"SVP", kRight},
                     {"Edge ports", kRight}});
  for (std::uint16_t vlan = VlanId::kMin; vlan <= VlanId::kMax; ++vlan) {
    const VlanFacts& facts = vlans[vlan];
    if (!facts.known && edgePorts[vlan] == 0) continue;
    table.row(vlan, std::string_view(facts.mapped ? "yes" : "no"), facts.vni, facts.vfi,
              facts.mcastIndex, facts.svp, edgePorts[vlan]);
  }
  Answer answer(socket);
  answer.line("VXLAN state of the software");
  answer.fact("Tunnel end (IPv4)", addressText(l2State_->orvaVtepIp));
  answer.fact("Tunnel end (IPv6)", addressText(l2State_->orvaVtepIp6));
  answer.fact("Routing in a single pass", capabilities_->singlePassRouting ? "yes" : "no");
  answer.fact("VXLAN VLANs", l2State_->vlanMapping.size());
  answer.fact("Virtual ports of VLANs", l2State_->vlanToSvp.size());
  answer.fact("Virtual ports of edge ports", l2State_->portToEdgeSvp.size());
  if (l2State_->portToEdgeSvp.size() > AnswerTable::kMaxCounted) {
    answer.fact("Of those counted by VLAN", AnswerTable::kMaxCounted);
  }
  table.print(answer, {.one = "VLAN", .many = "VLANs", .none = "No VLAN is known to VXLAN."});
}

const Qel::TypeData& VxlanL2SmModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::VxlanL2SmModel"};
  return kType;
}

}  // namespace KorvoAgent
