// The demo switch's VXLAN side agrees with its MAC table and with itself, but where it says so.

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "agent/model/DemoSwitch.h"
#include "agent/model/LogicalPorts.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;
using Bridging::PortVlanKey;
using Bridging::VlanId;
using Bridging::VlanIdRange;
using KorvoL2::MacEntryType;
using ::testing::ElementsAre;

class DemoVxlanTest : public ::testing::Test {
 protected:
  void SetUp() override { fillDemo(*model_); }
  UnicastAgentModel& unicast() { return model_->unicast(); }
  const KorvoL2::FeatureAgentCommonSmData& common() { return unicast().common(); }
  const KorvoL2::VxlanL2State& l2State() { return unicast().vxlan().l2State(); }
  VlanXlateSmModel& xlate() { return unicast().vlanXlate(); }
  bool isMapped(VlanId vlan) { return unicast().vxlan().l3Config().vlanMapping.has(vlan); }
  template <class Collection>
  static auto keysOf(const Collection& collection) {
    std::vector<typename Collection::Key> keys;
    for (const auto& entry : collection) keys.push_back(entry.key);
    return keys;
  }

  Qel::Ptr<SwitchModel> model_ = Testing::makeModel();
};

TEST_F(DemoVxlanTest, EveryInterfaceThatIsNamedIsThere) {
  std::set<IntfId> named;
  for (const auto& [key, entry] : model_->swMacTable().entries()) named.insert(entry.intf);
  for (const auto& [intf, config] : unicast().switchportConfig()) named.insert(intf);
  for (const auto& [lag, members] : common().lagToPort()) {
    named.insert(lag);
    named.insert(members.begin(), members.end());
  }
  for (const auto& [key, info] : l2State().portToEdgeSvp) named.insert(key.intf());
  for (const auto& [key, status] : xlate().portVlans->entries) named.insert(key.intf());
  for (const auto& [key, status] : xlate().egrPortVlans->entries) named.insert(key.intf());
  for (const auto& [key, status] : xlate().egrVxlanVlans->entries) named.insert(key.intf());
  for (const auto& [intf, scale] : unicast().ingVlanRange().scaleEntries->entries) {
    named.insert(intf);
  }
  named.insert(unicast().recircIntf());
  named.erase(IntfId());
  EXPECT_GT(named.size(), 60U);
  for (const IntfId intf : named) EXPECT_TRUE(common().intf.has(intf)) << intf.stringValue();
}

TEST_F(DemoVxlanTest, NoTwoPortsAreAlike) {
  std::set<Bridging::ModPort> modPorts;
  std::set<std::uint32_t> systemPorts;
  for (const auto& [intf, id] : common().intfPortId) {
    EXPECT_TRUE(modPorts.insert(id.modPort).second) << intf.stringValue();
    EXPECT_TRUE(systemPorts.insert(id.systemPort).second) << intf.stringValue();
    EXPECT_TRUE(common().modPortLogicalFap.has(id.modPort)) << intf.stringValue();
    EXPECT_TRUE(model_->isModulePresent(Tessar::FapId(id.modPort.module))) << intf.stringValue();
  }
  EXPECT_EQ(modPorts.size(), 96U);
  std::set<std::uint16_t> indexes;
  for (const auto& [intf, index] : unicast().ingVlanRange().hwIndexes->entries) {
    EXPECT_TRUE(indexes.insert(index).second) << intf.stringValue();
    EXPECT_FALSE(common().portToLag().has(intf)) << "a member goes by its port-channel's index";
  }
}

TEST_F(DemoVxlanTest, EveryListedVlanButOneIsMapped) {
  EXPECT_THAT(keysOf(l2State().vlanMapping),
              ElementsAre(VlanId(10), VlanId(20), VlanId(40), VlanId(100), VlanId(200)));
  for (const VlanId vlan : keysOf(l2State().vlanMapping)) {
    const bool expected = vlan != VlanId(40);
    EXPECT_EQ(isMapped(vlan), expected) << vlan.value();
    EXPECT_EQ(l2State().vlanToSvp.has(vlan), expected) << vlan.value();
    EXPECT_EQ(unicast().vxlan().l3Status().statusEntry.has(vlan.value()), expected);
    EXPECT_EQ(xlate().vlanSvps->entries.has(vlan), expected) << vlan.value();
  }
  std::set<std::uint32_t> vnis;
  for (const auto& [vlan, mapping] : unicast().vxlan().l3Config().vlanMapping) {
    EXPECT_EQ(mapping.vlanId, vlan.value());
    EXPECT_TRUE(vnis.insert(mapping.vni).second);
    for (const bool v6 : {false, true}) {
      const auto* const vni = xlate().vlanVnis->entries.find({vlan, v6});
      ASSERT_NE(vni, nullptr);
      EXPECT_EQ(vni->vni, mapping.vni);
    }
  }
}

TEST_F(DemoVxlanTest, RemoteHostsAreInMappedVlans) {
  for (const auto& [key, entry] : model_->swMacTable().entries()) {
    if (entry.type != MacEntryType::remoteDynamic) continue;
    EXPECT_TRUE(isMapped(VlanId(key.vlan()))) << key.stringValue();
  }
}

TEST_F(DemoVxlanTest, LocalHostsOfMappedVlansAreOnEdgePorts) {
  std::size_t checked = 0;
  for (const auto& [key, entry] : model_->swMacTable().entries()) {
    if (entry.type != MacEntryType::learnedDynamic &&
        entry.type != MacEntryType::configuredStatic) {
      continue;
    }
    if (!isMapped(VlanId(key.vlan()))) continue;
    EXPECT_TRUE(l2State().portToEdgeSvp.has({entry.intf, VlanId(key.vlan())})) << key.stringValue();
    ++checked;
  }
  EXPECT_GT(checked, 60U);
}

TEST_F(DemoVxlanTest, NoTwoVirtualPortsAreAlike) {
  constexpr std::uint16_t kTunnelEnd = 3;
  std::set<std::uint16_t> numbers{kTunnelEnd};
  for (const auto& [vlan, port] : l2State().vlanToSvp) {
    EXPECT_TRUE(numbers.insert(port.number).second) << port.number;
    EXPECT_EQ(xlate().vlanSvps->entries.find(vlan)->svp, port.number);
  }
  for (const auto& [key, info] : l2State().portToEdgeSvp) {
    EXPECT_TRUE(numbers.insert(info.svp).second) << key.stringValue();
    EXPECT_TRUE(isMapped(key.vlan())) << key.stringValue();
  }
}

TEST_F(DemoVxlanTest, TranslationsLeadToTheEdgePortsOfTheirVlans) {
  std::set<PortVlanKey> reached;
  for (const auto& [key, status] : xlate().portVlans->entries) {
    if (status.svp == 0) continue;  // not into VXLAN
    const VlanId vlan = status.vlan == 0 ? key.vlan() : VlanId(status.vlan);
    const auto* const edge = l2State().portToEdgeSvp.find({key.intf(), vlan});
    ASSERT_NE(edge, nullptr) << key.stringValue();
    EXPECT_EQ(status.svp, edge->svp) << key.stringValue();
    reached.insert({key.intf(), vlan});
  }
  EXPECT_EQ(reached.size(), l2State().portToEdgeSvp.size()) << "every edge port has its tag";
  for (const auto& [key, status] : xlate().egrVxlanVlans->entries) {
    EXPECT_EQ(status.dvp, l2State().portToEdgeSvp.find(key)->svp) << key.stringValue();
    EXPECT_EQ(xlate().portVlans->entries.find({key.intf(), VlanId(status.dot1qTag)})->vlan,
              key.vlan().value())
        << "what goes out with a tag comes in with it";
  }
  for (const auto& [key, status] : xlate().egrPortVlans->entries) {
    EXPECT_EQ(xlate().portVlans->entries.find({key.intf(), VlanId(status.dot1qTag)})->vlan,
              key.vlan().value())
        << key.stringValue();
  }
}

TEST_F(DemoVxlanTest, RangesHoldTheTagsThatAreTranslated) {
  std::map<IntfId, std::set<std::uint16_t>> tags;
  for (const auto& [key, status] : xlate().portVlans->entries) {
    if (status.vlan != 0) tags[key.intf()].insert(key.vlan().value());
  }
  // Its members arrive with what the port-channel translates.
  const auto server = tags.extract(IntfId("Port-Channel10"));
  ASSERT_FALSE(server.empty());
  for (const IntfId member : *common().lagToPort().find(IntfId("Port-Channel10"))) {
    tags[member] = server.mapped();
  }
  std::size_t tooMany = 0;
  const std::size_t size = unicast().ingVlanRangeSm()->ingVlanRangeSize();
  for (const auto& [intf, translated] : tags) {
    const LogicalPort port = logicalPortOf(*model_, intf);
    const std::vector<VlanIdRange> ranges =
        model_->l2CmdRingManager()->getIngVlanRangeEntry(port.fap, port.port).ranges;
    std::set<std::uint16_t> programmed;
    for (const VlanIdRange& range : ranges) {
      for (std::uint16_t v = range.first().value(); v <= range.last().value(); ++v) {
        programmed.insert(v);
      }
    }
    const auto* const scale = unicast().ingVlanRange().scaleEntries->entries.find(intf);
    ASSERT_NE(scale, nullptr) << intf.stringValue();
    if (scale->size > size) {
      ++tooMany;
      EXPECT_EQ(ranges.size(), size);
      EXPECT_TRUE(std::ranges::includes(translated, programmed)) << intf.stringValue();
    } else {
      EXPECT_EQ(scale->size, ranges.size()) << intf.stringValue();
      EXPECT_EQ(translated, programmed) << intf.stringValue();
    }
  }
  EXPECT_EQ(tooMany, 1U);
  EXPECT_EQ(model_->cmdRingManager().ingVlanRanges.size(), tags.size());
}

TEST_F(DemoVxlanTest, OneOfEachSpecialCaseIsThere) {
  // A VLAN whose only edge port is a port-channel, without addresses of the router.
  for (const auto& [key, info] : l2State().portToEdgeSvp) {
    if (key.vlan() == VlanId(200)) {
      EXPECT_TRUE(common().lagToPort().has(key.intf()));
    }
  }
  EXPECT_TRUE(l2State().portToEdgeSvp.has({IntfId("Port-Channel10"), VlanId(200)}));
  EXPECT_FALSE(unicast().vlanSvpConfig().entries.has(VlanId(200)));
  EXPECT_FALSE(model_->swMacTable().entries().has({200, unicast().routingStatus()->routerMac}));
  EXPECT_TRUE(
      model_->swMacTable().entries().has({10, unicast().routingStatus()->virtualRouterMac}));
  // An interface with ranges and without a port; a member that goes by its port-channel's index.
  EXPECT_FALSE(common().intfPortId.has(IntfId("uplink-to-spine-east-1")));
  EXPECT_EQ(logicalPortOf(*model_, IntfId("uplink-to-spine-east-1")),
            (LogicalPort{.fap = 0x200, .port = 4001}));
  EXPECT_EQ(logicalPortOf(*model_, IntfId("Ethernet4/47")), (LogicalPort{.fap = 4, .port = 1034}));
  // An interface that has neither, a translation that leads nowhere, an empty port-channel.
  EXPECT_EQ(logicalPortOf(*model_, IntfId("management-sensor")),
            (LogicalPort{.fap = 0x200, .port = 0}));
  EXPECT_EQ(*xlate().portVlans->entries.find({IntfId("Ethernet3/40"), VlanId(666)}),
            KorvoL2::PortVlanXlateStatus{});
  EXPECT_THAT(common().lagToPort().find(IntfId("Port-Channel20")),
              ::testing::Pointee(ElementsAre()));
}

TEST_F(DemoVxlanTest, EveryCommandHasWhatItNeeds) {
  EXPECT_NE(unicast().vxlanL2Sm(), nullptr);
  EXPECT_NE(unicast().vlanXlateSm(), nullptr);
  EXPECT_NE(unicast().ingVlanRangeSm(), nullptr);
  EXPECT_TRUE(model_->chipL2TableFeature()->ingVlanRange);
  EXPECT_TRUE(model_->chipL2TableFeature()->ingVlanDynamicRange);
  EXPECT_FALSE(model_->chipL2TableFeature()->ingVlanRangeDisabled);
}

}  // namespace
}  // namespace KorvoAgent
