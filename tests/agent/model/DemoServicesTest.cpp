// The demo switch's small objects agree with its tables.

#include <gtest/gtest.h>

#include <set>

#include "agent/model/DemoSwitch.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using Tessar::FapId;

class DemoServicesTest : public ::testing::Test {
 protected:
  void SetUp() override { fillDemo(*model_); }
  const ShadowTableModel& shadow(ShadowTableId id) {
    return model_->cmdRingManager().shadowTable(id);
  }
  VxlanL2SmModel& vxlan() { return model_->unicast().vxlan(); }

  Qel::Ptr<SwitchModel> model_ = Testing::makeModel();
};

TEST_F(DemoServicesTest, EveryGroupThatATableNamesIsThere) {
  const McastHelperModel& helper = *model_->services().mcastHelper;
  std::size_t named = 0;
  for (const auto& [key, entry] : model_->swMacTable().entries()) {
    if (entry.mcastId == 0) continue;
    ++named;
    ASSERT_TRUE(helper.groups().has(entry.mcastId)) << key.stringValue();
    EXPECT_EQ(helper.groups().find(entry.mcastId)->vlan, key.vlan()) << key.stringValue();
  }
  EXPECT_GE(named, 9U);
  for (const auto& [vlan, status] : vxlan().l3Status().statusEntry) {
    ASSERT_TRUE(helper.groups().has(status.mcastIndex)) << vlan;
    EXPECT_EQ(helper.groups().find(status.mcastIndex)->vlan, vlan);
  }
  for (const auto& [index, group] : helper.groups()) {
    EXPECT_LT(index, model_->maxL2MulticastGroupsAll());
    EXPECT_FALSE(group.ports.empty()) << index;
    for (const Bridging::IntfId port : group.ports) {
      EXPECT_TRUE(model_->unicast().common().intf.has(port)) << port.stringValue();
    }
  }
}

TEST_F(DemoServicesTest, EveryChipHasAFifoThatFits) {
  for (const Chip& chip : model_->chips()) {
    const FifoRegisters fifo = model_->services().modFifoShow->registers(chip.id);
    EXPECT_LE(fifo.level, fifo.highWater);
    EXPECT_LE(fifo.highWater, fifo.limit);
    EXPECT_TRUE(fifo.overflows == 0 || fifo.highWater == fifo.limit) << chip.name;
  }
}

TEST_F(DemoServicesTest, EveryInstanceIsInTheShadows) {
  std::set<std::uint32_t> vfis;
  for (const auto& [key, entry] : shadow(ShadowTableId::vfi).entries()) {
    if (entry.valid) vfis.insert(key.index);
  }
  std::set<std::uint32_t> wanted;
  for (const auto& [vlan, mapping] : vxlan().l3Config().vlanMapping) wanted.insert(mapping.vfi);
  EXPECT_EQ(vfis, wanted);
  EXPECT_EQ(shadow(ShadowTableId::egrVfi).entries().size(), wanted.size());
}

TEST_F(DemoServicesTest, EveryRecordIsInItsShadow) {
  const VlanXlateSmModel& xlate = model_->unicast().vlanXlate();
  const auto& edgePorts = vxlan().l2State().portToEdgeSvp;
  EXPECT_EQ(shadow(ShadowTableId::sourceVp).entries().size(),
            vxlan().l2State().vlanToSvp.size() + edgePorts.size());
  EXPECT_EQ(shadow(ShadowTableId::vlanXlate2).entries().size(), edgePorts.size());
  EXPECT_EQ(shadow(ShadowTableId::vlanXlate).entries().size(), xlate.portVlans->entries.size());
  EXPECT_EQ(shadow(ShadowTableId::egrXlate).entries().size(), xlate.egrPortVlans->entries.size());
  EXPECT_EQ(shadow(ShadowTableId::egrXlate2).entries().size(), xlate.egrVxlanVlans->entries.size());
  EXPECT_FALSE(shadow(ShadowTableId::evTap).entries().empty());
  EXPECT_FALSE(shadow(ShadowTableId::ivTap).entries().empty());
}

TEST_F(DemoServicesTest, MlagIsOfPortChannelsThatThereAre) {
  const MlagHelperModel& mlag = *model_->services().mlagHelper;
  EXPECT_TRUE(model_->unicast().common().intf.has(mlag.peerLink()));
  EXPECT_FALSE(mlag.interfaces().empty());
  for (const auto& [intf, status] : mlag.interfaces()) {
    EXPECT_TRUE(model_->unicast().common().lagToPort().has(intf)) << intf.stringValue();
  }
}

TEST_F(DemoServicesTest, CountersAreOfNetworksAndOfOneThatIsGone) {
  const FlexCounterModel& counters = *model_->services().flexCounter;
  std::size_t counted = 0;
  for (const auto& [vlan, mapping] : vxlan().l3Config().vlanMapping) {
    counted += counters.vni(mapping.vni, KorvoL2::CounterDirection::egress) ? 1U : 0U;
  }
  EXPECT_EQ(counted + 1, vxlan().l3Config().vlanMapping.size());
  EXPECT_TRUE(counters.vni(10'040, KorvoL2::CounterDirection::ingress));
}

TEST_F(DemoServicesTest, OwnRouterMacsAreInTheMacTable) {
  for (const auto& [mac, nothing] : model_->unicast().services().routerMac->ownAddresses()) {
    bool found = false;
    for (const auto& [key, entry] : model_->swMacTable().entries()) {
      found = found || (key.mac() == mac && entry.type == KorvoL2::MacEntryType::router);
    }
    EXPECT_TRUE(found) << mac.stringValue();
  }
}

}  // namespace
}  // namespace KorvoAgent
