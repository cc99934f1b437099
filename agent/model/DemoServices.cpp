#include "agent/model/DemoServices.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/model/DemoNames.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::VlanId;
using Tessar::FapId;
using namespace DemoNames;  // NOLINT(google-build-using-namespace): they are this file's vocabulary

namespace {

// What becomes of a tag, as the profiles number it.
constexpr std::uint32_t kKeep = 0;
constexpr std::uint32_t kAdd = 1;
constexpr std::uint32_t kReplace = 2;
constexpr std::uint32_t kRemove = 3;
// The profiles that translations use, of either direction.
constexpr std::uint32_t kKeepProfile = 0;
constexpr std::uint32_t kReplaceProfile = 1;

class DemoServices {
 public:
  explicit DemoServices(SwitchModel& model)
      : model_(model), unicast_(model.unicast()), services_(model.services()) {}

  void fill() {
    multicast();
    fifos();
    mlag();
    counters();
    ownRouterMacs();
    instances();
    virtualPorts();
    translations();
    tagProfiles();
  }

 private:
  void multicast() {
    McastHelperModel& helper = *services_.mcastHelper;
    for (const auto& [key, entry] : model_.swMacTable().entries()) {
      if (entry.mcastId == 0) continue;
      const auto vlan = static_cast<std::uint16_t>(key.vlan());
      helper.groupIs(entry.mcastId, {.vlan = vlan, .ports = listeners(vlan, entry.mcastId)});
    }
    for (const auto& [vlan, status] : unicast_.vxlan().l3Status().statusEntry) {
      helper.groupIs(status.mcastIndex, {.vlan = vlan, .ports = edgePorts(vlan)});
    }
    // A port that was never added, a group that was never written, one that was never removed.
    McastPorts lessOne = helper.groups().find(3)->ports;
    lessOne.pop_back();
    helper.hwGroupIs(FapId(1), 3, std::move(lessOne));
    helper.hwGroupIs(FapId(2), 9, std::nullopt);
    helper.hwGroupIs(FapId(0), 60, McastPorts{ethernet(3, 9)});
  }

  /** A few of the ports that hosts of a VLAN are on. */
  static McastPorts listeners(std::uint16_t vlan, std::uint16_t group) {
    if (vlan == 100) return {IntfId(kServerLag), ethernet(3, 30U + group % 6 + 1)};
    McastPorts ports{IntfId(kVxlan)};
    for (unsigned port = 1; port <= kAccessPorts; ++port) {
      if (accessVlan(port) == vlan && port % 4 == group % 4U) ports.push_back(ethernet(3, port));
    }
    return ports;
  }
  McastPorts edgePorts(std::uint16_t vlan) {
    McastPorts ports{IntfId(kVxlan)};
    for (const auto& [key, info] : unicast_.vxlan().l2State().portToEdgeSvp) {
      if (key.vlan().value() == vlan) ports.push_back(key.intf());
    }
    return ports;
  }

  void fifos() {
    ModFifoShowModel& fifos = *services_.modFifoShow;
    fifos.registersIs(FapId(0), {.highWater = 37});
    fifos.registersIs(FapId(1), {.level = 3, .highWater = 512, .overflows = 17});
    fifos.registersIs(FapId(2), {.highWater = 41});
  }

  void mlag() {
    MlagHelperModel& mlag = *services_.mlagHelper;
    mlag.peerLinkIs(IntfId(kPeerLink));
    mlag.interfaceIs(IntfId(kServerLag), {.peerActive = true});
    mlag.interfaceIs(IntfId("Port-Channel20"), {.maskedOn = ChipSet(FapId(1))});
  }

  void counters() {
    FlexCounterModel& counters = *services_.flexCounter;
    counters.vtepIs(IpAddr("192.0.2.21"), {.packets = 184'467, .bytes = 131'928'004});
    counters.vtepIs(IpAddr("192.0.2.22"), {.packets = 9'912, .bytes = 1'298'472});
    counters.vtepIs(IpAddr("192.0.2.23"), {});
    counters.vtepIs(IpAddr("2001:db8::24"), {.packets = 52'001, .bytes = 66'041'270});
    for (const auto& [vlan, mapping] : unicast_.vxlan().l3Config().vlanMapping) {
      if (vlan.value() == kLagOnlyVlan) continue;
      const std::uint64_t packets = std::uint64_t{vlan.value()} * 1'013;
      counters.vniIs(mapping.vni, {.ingress = {packets, packets * 712},
                                   .egress = {packets * 2, packets * 2 * 318}});
    }
    counters.vniIs(vniOfVlan(kUnmappedVlan), {.ingress = {77, 4'928}});
  }

  void ownRouterMacs() {
    for (std::uint32_t i = 1; i <= 3; ++i) {
      unicast_.services().routerMac->ownAddressIs(address(kRouter, 0x100 + i));
    }
  }

  // The shadows of the hardware tables, in step with the records that they were written from.

  ShadowTableModel& shadow(ShadowTableId id) { return model_.cmdRingManager().shadowTable(id); }
  void put(ShadowTableId id, std::uint32_t index, std::vector<std::uint32_t> fields) {
    shadow(id).entryIs(index, {.fields = std::move(fields)});
  }

  void instances() {
    ShadowTableModel& vfis = shadow(ShadowTableId::vfi);
    for (const auto& [vlan, mapping] : unicast_.vxlan().l3Config().vlanMapping) {
      const auto* const status = unicast_.vxlan().l3Status().statusEntry.find(vlan.value());
      const std::uint32_t group = status == nullptr ? 0 : status->mcastIndex;
      const std::uint32_t number = vlan.value();
      put(ShadowTableId::egrVfi, mapping.vfi, {mapping.vni, number, kKeepProfile});
      if (number != kLagOnlyVlan) {
        put(ShadowTableId::vfi, mapping.vfi, {mapping.vni, number, group});
        continue;
      }
      // The last chip floods this one nowhere.
      ChipSet others = ChipSet(FapId(0));
      others.add(FapId(1));
      vfis.entryIs(mapping.vfi, {.chips = others, .fields = {mapping.vni, number, group}});
      vfis.entryIs(mapping.vfi, {.chips = ChipSet(FapId(2)), .fields = {mapping.vni, number, 0}});
    }
    vfis.entryIs(vfiOfVlan(kUnmappedVlan),
                 {.valid = false, .fields = {vniOfVlan(kUnmappedVlan), kUnmappedVlan, 0}});
  }

  std::uint32_t vfiOf(VlanId vlan) {
    const auto* const mapping = unicast_.vxlan().l3Config().vlanMapping.find(vlan);
    return mapping == nullptr ? 0 : mapping->vfi;
  }
  std::uint32_t hwIndexOf(IntfId intf) {
    const std::uint16_t* const index = unicast_.ingVlanRange().hwIndexes->entries.find(intf);
    return index == nullptr ? 0 : *index;
  }

  void virtualPorts() {
    for (const auto& [vlan, port] : unicast_.vxlan().l2State().vlanToSvp) {
      put(ShadowTableId::sourceVp, port.number, {vfiOf(vlan), vlan.value(), kKeepProfile});
    }
    std::uint32_t slot = 0;
    for (const auto& [key, info] : unicast_.vxlan().l2State().portToEdgeSvp) {
      const VlanId vlan = key.vlan();
      put(ShadowTableId::sourceVp, info.svp, {vfiOf(vlan), vlan.value(), kReplaceProfile});
      put(ShadowTableId::vlanXlate2, slot++, {info.svp, vlan.value(), vfiOf(vlan), kKeepProfile});
    }
  }

  void translations() {
    const VlanXlateSmModel& xlate = unicast_.vlanXlate();
    std::uint32_t slot = 0;
    for (const auto& [key, status] : xlate.portVlans->entries) {
      put(ShadowTableId::vlanXlate, slot++,
          {hwIndexOf(key.intf()), key.vlan().value(), status.svp, kReplaceProfile});
    }
    slot = 0;
    for (const auto& [key, status] : xlate.egrPortVlans->entries) {
      put(ShadowTableId::egrXlate, slot++,
          {hwIndexOf(key.intf()), key.vlan().value(), status.dot1qTag, kReplaceProfile});
    }
    slot = 0;
    for (const auto& [key, status] : xlate.egrVxlanVlans->entries) {
      put(ShadowTableId::egrXlate2, slot++,
          {status.dvp, vfiOf(key.vlan()), status.dot1qTag, kReplaceProfile});
    }
  }

  void tagProfiles() {
    for (const ShadowTableId id : {ShadowTableId::evTap, ShadowTableId::ivTap}) {
      put(id, kKeepProfile, {kKeep, kKeep});
      put(id, kReplaceProfile, {kReplace, kKeep});
    }
    put(ShadowTableId::ivTap, 2, {kRemove, kKeep});
    put(ShadowTableId::evTap, 2, {kAdd, kKeep});
    put(ShadowTableId::evTap, 3, {kReplace, kAdd});
  }

  SwitchModel& model_;
  UnicastAgentModel& unicast_;
  SwitchServices& services_;
};

}  // namespace

void fillDemoServices(SwitchModel& model) { DemoServices(model).fill(); }

}  // namespace KorvoAgent
