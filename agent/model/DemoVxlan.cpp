#include "agent/model/DemoVxlan.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "agent/model/DemoNames.h"
#include "agent/model/LogicalPorts.h"
#include "platform/types/IpAddr.h"
#include "platform/types/PortVlanKey.h"
#include "platform/types/VlanId.h"
#include "platform/types/VlanIpVerKey.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::PortVlanKey;
using Bridging::VlanId;
using Bridging::VlanIdRange;
using Bridging::VlanIpVerKey;
using namespace DemoNames;  // NOLINT(google-build-using-namespace): they are this file's vocabulary

namespace {

/** A VLAN that is mapped to a network; the numbers tell which VLAN they belong to. */
struct Network {
  std::uint16_t vlan;
  std::uint16_t svp;
  std::uint32_t vni() const { return vniOfVlan(vlan); }
  std::uint16_t vfi() const { return vfiOfVlan(vlan); }
  std::uint16_t mcastIndex() const { return static_cast<std::uint16_t>(100 + vlan); }
};

// Number 3 is the tunnel end's own.
constexpr Network kNetworks[]{{10, 16}, {20, 17}, {100, 18}, {200, 19}};
constexpr std::uint16_t kFirstEdgeSvp = 32;

/** Customers' tags on a trunk, all taken into one VLAN. */
struct Translation {
  IntfId intf;
  std::uint16_t vlan;
  std::vector<std::uint16_t> tags;
  std::uint16_t innerVlan = 0;
};

std::vector<std::uint16_t> tags(std::uint16_t first, std::uint16_t last, std::uint16_t step = 1) {
  std::vector<std::uint16_t> list;
  for (std::uint16_t tag = first; tag <= last; tag = static_cast<std::uint16_t>(tag + step)) {
    list.push_back(tag);
  }
  return list;
}

class DemoVxlan {
 public:
  explicit DemoVxlan(SwitchModel& model) : model_(model), unicast_(model.unicast()) {}

  void fill() {
    interfaces();
    routing();
    networks();
    edgePorts();
    translations();
    ranges();
  }

 private:
  void interfaces() {
    KorvoL2::FeatureAgentCommonSmData& common = unicast_.common();
    for (const unsigned card : kCards) {
      for (unsigned port = 1; port <= kPortsPerCard; ++port) ethernetPort(card, port);
    }
    const IntfId emptyLag("Port-Channel20");
    common.lagIs(emptyLag);
    for (const IntfId intf :
         {IntfId(kServerLag), IntfId(kPeerLink), emptyLag, IntfId(kVxlan), recirc_,
          IntfId(kLongName), IntfId(kSensor), IntfId("Vlan1"), IntfId("Vlan10"), IntfId("Vlan20"),
          IntfId("Vlan30"), IntfId("Vlan100")}) {
      common.intf.add(intf);
    }
    // Port-channels have no port, and these two neither port nor chip.
    hwIndexIs(IntfId(kServerLag), 1034);
    hwIndexIs(IntfId(kPeerLink), 2023);
    hwIndexIs(IntfId(kLongName), 4001);
  }

  // The first card has two chips, the second one; two logical FAPs are left for each chip.
  void ethernetPort(unsigned card, unsigned port) {
    constexpr unsigned kPortsPerChip = 24;
    constexpr unsigned kLanesPerPort = 4;
    constexpr unsigned kPortsPerCore = 12;
    KorvoL2::FeatureAgentCommonSmData& common = unicast_.common();
    const IntfId intf = ethernet(card, port);
    const unsigned chip = card == kCards[1] ? 2 : (port - 1) / kPortsPerChip;
    const unsigned systemPort = (card - kCards[0]) * kPortsPerCard + port;
    const Bridging::ModPort modPort{.module = static_cast<std::uint16_t>(chip),
                                    .port = static_cast<std::uint16_t>(port)};
    const unsigned onChip = (port - 1) % kPortsPerChip;
    common.intf.add(intf);
    common.intfPortId.put(
        intf, {.modPort = modPort,
               .systemPort = systemPort,
               .core = static_cast<std::uint8_t>(onChip / kPortsPerCore),
               .lane = static_cast<std::uint8_t>(onChip % kPortsPerCore * kLanesPerPort)});
    common.modPortLogicalFap.put(modPort, static_cast<std::uint16_t>(2 * chip));
    // The members of a port-channel go by its index.
    if (!common.portToLag().has(intf)) hwIndexIs(intf, static_cast<std::uint16_t>(systemPort));
  }
  void hwIndexIs(IntfId intf, std::uint16_t index) {
    unicast_.ingVlanRange().hwIndexes->entries.put(intf, index);
  }

  void routing() {
    unicast_.routing().routerMac = address(kRouter, kOwnRouter);
    unicast_.routing().virtualRouterMac = address(kRouter, kVirtualRouter);
    KorvoL2::VxlanL2State& l2State = unicast_.vxlan().l2State();
    l2State.orvaVtepIp = Bridging::IpAddr("192.0.2.12");
    l2State.orvaVtepIp6 = Bridging::IpAddr("2001:db8::12");
    unicast_.recircIntfIs(recirc_);
    auto& dips = unicast_.vlanXlate().dips->entries;
    dips.put(l2State.orvaVtepIp, true);
    dips.put(l2State.orvaVtepIp6, true);
    dips.put(Bridging::IpAddr("192.0.2.112"), true);  // the one that is shared with the MLAG peer
  }

  void networks() {
    VxlanL2SmModel& vxlan = unicast_.vxlan();
    VlanXlateSmModel& xlate = unicast_.vlanXlate();
    for (const Network& network : kNetworks) {
      const VlanId vlan(network.vlan);
      vxlan.l2State().vlanMapping.add(vlan);
      vxlan.l2State().vlanToSvp.put(vlan, {.number = network.svp});
      vxlan.l3Config().vlanMapping.put(
          vlan, {.vlanId = network.vlan, .vfi = network.vfi(), .vni = network.vni()});
      vxlan.l3Status().statusEntry.put(network.vlan, {.mcastIndex = network.mcastIndex()});
      if (network.vlan != kLagOnlyVlan) unicast_.vlanSvpConfig().entries.put(vlan, {});
      xlate.vlanSvps->entries.put(vlan, {.vlan = network.vlan, .svp = network.svp});
      for (const bool v6 : {false, true}) {
        xlate.vlanVnis->entries.put(VlanIpVerKey(vlan, v6), {.vni = network.vni()});
      }
    }
    // Its mapping was taken away; what is left of it in the chips stands in their MAC tables.
    vxlan.l2State().vlanMapping.add(VlanId(kUnmappedVlan));
  }

  // Where hosts of mapped VLANs are: their frames are taken for a virtual port as they are tagged.
  void edgePorts() {
    for (const unsigned card : kCards) {
      for (unsigned port = 1; port <= kAccessPorts; ++port) {
        if (accessVlan(port) != 30) taggedPort(ethernet(card, port), accessVlan(port));
      }
    }
    for (unsigned port = 31; port <= 36; ++port) taggedPort(ethernet(3, port), 100);
    taggedPort(IntfId(kServerLag), 10);
    taggedPort(IntfId(kServerLag), 100);
  }
  void taggedPort(IntfId intf, std::uint16_t vlan) {
    unicast_.vlanXlate().portVlans->entries.put({intf, VlanId(vlan)},
                                                {.svp = edgePort(intf, vlan)});
  }
  /** Makes an edge port, if it is none yet; its virtual port. */
  std::uint16_t edgePort(IntfId intf, std::uint16_t vlan) {
    auto& ports = unicast_.vxlan().l2State().portToEdgeSvp;
    const PortVlanKey key(intf, VlanId(vlan));
    if (!ports.has(key)) ports.put(key, {.svp = nextSvp_++});
    return ports.find(key)->svp;
  }

  void translations() {
    VlanXlateSmModel& xlate = unicast_.vlanXlate();
    for (const Translation& translation :
         {Translation{ethernet(3, 37), 10, tags(1001, 1004)},
          Translation{ethernet(3, 38), 20, tags(2001, 2010)},
          Translation{ethernet(3, 38), 100, tags(3001, 3001), 5},
          Translation{ethernet(4, 37), 10, tags(110, 132, 2)},
          Translation{IntfId(kServerLag), kLagOnlyVlan, tags(500, 502)}}) {
      const VlanId vlan(translation.vlan);
      const std::uint16_t svp = edgePort(translation.intf, translation.vlan);
      for (const std::uint16_t tag : translation.tags) {
        xlate.portVlans->entries.put({translation.intf, VlanId(tag)},
                                     {.svp = svp, .vlan = translation.vlan});
      }
      // A VLAN leaves an interface with one tag.
      const std::uint16_t tag = translation.tags.front();
      xlate.egrPortVlans->entries.put({translation.intf, vlan},
                                      {.innerVlan = translation.innerVlan, .dot1qTag = tag});
      xlate.egrVxlanVlans->entries.put({translation.intf, vlan}, {.dvp = svp, .dot1qTag = tag});
    }
    // Outside VXLAN, and one whose VLAN is gone.
    for (const std::uint16_t tag : tags(4000, 4002)) {
      xlate.portVlans->entries.put({IntfId(kLongName), VlanId(tag)}, {.vlan = 1});
    }
    xlate.egrPortVlans->entries.put({IntfId(kLongName), VlanId(1)}, {.dot1qTag = 4000});
    xlate.portVlans->entries.put({ethernet(3, 40), VlanId(666)}, {});
  }

  void ranges() {
    KorvoL2::ChipL2TableFeature& feature = model_.l2TableFeature();
    feature.ingVlanRange = true;
    feature.ingVlanDynamicRange = true;
    rangesAre(ethernet(3, 37), {range(1001, 1004)});
    rangesAre(ethernet(3, 38), {range(2001, 2010), range(3001, 3001)});
    rangesAre(IntfId(kLongName), {range(4000, 4002)});
    // Frames arrive at the port-channel's members, and each looks them up for itself.
    rangesAre(ethernet(3, 47), {range(500, 502)});
    rangesAre(ethernet(4, 47), {range(500, 502)});
    // No two tags are neighbours, so that nothing is saved, and not all of them fit.
    std::vector<VlanIdRange> fitting;
    for (std::size_t i = 0; i < unicast_.ingVlanRange().ingVlanRangeSize(); ++i) {
      const auto tag = static_cast<std::uint16_t>(110 + 2 * i);
      fitting.push_back(range(tag, tag));
    }
    rangesAre(ethernet(4, 37), std::move(fitting), 12);
    // It asks for one and has none yet.
    unicast_.ingVlanRange().scaleEntries->entries.put(ethernet(3, 40), {.size = 1});
  }
  static VlanIdRange range(std::uint16_t first, std::uint16_t last) {
    return {VlanId(first), VlanId(last)};
  }
  /** Programs the ranges of an interface that asks for `size` of them: unless given, for these. */
  void rangesAre(IntfId intf, std::vector<VlanIdRange> ranges, std::uint32_t size = 0) {
    const auto count = static_cast<std::uint32_t>(ranges.size());
    unicast_.ingVlanRange().scaleEntries->entries.put(intf, {.size = size == 0 ? count : size});
    model_.cmdRingManager().ingVlanRanges.put(logicalPortOf(model_, intf), {std::move(ranges)});
  }

  SwitchModel& model_;
  UnicastAgentModel& unicast_;
  const IntfId recirc_{"Recirc-Channel1"};
  std::uint16_t nextSvp_ = kFirstEdgeSvp;
};

}  // namespace

void fillDemoVxlan(SwitchModel& model) { DemoVxlan(model).fill(); }

}  // namespace KorvoAgent
