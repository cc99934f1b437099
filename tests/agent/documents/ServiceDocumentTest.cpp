// What state documents say of the objects that plain commands forward to.

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "agent/documents/StateDocument.h"
#include "tests/agent/documents/DocumentTestSupport.h"
#include "tests/agent/model/ModelTestSupport.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::IpAddr;
using KorvoL2::CounterDirection;
using Tessar::FapId;

class ServiceDocumentTest : public ::testing::Test {
 protected:
  /** Loads what `members` say of a switch of three chips. */
  void load(std::string_view members) {
    const Testing::TemporaryFile file(
        std::string(R"({"version": 1, "switch": {"chips": 3}, )").append(members).append("}"));
    loadStateDocument(file.path(), *model_);
  }

  Qel::Ptr<SwitchModel> model_ = Testing::makeModel();
};

TEST_F(ServiceDocumentTest, MulticastGroupsAreInSoftwareShadowAndChips) {
  load(R"("multicast": {"groups": [{"index": 9},
            {"index": 3, "vlan": 10, "ports": ["Vxlan1", "Ethernet2", "Ethernet1", "Ethernet2"]}],
          "hardware": [{"chip": 1, "index": 3, "ports": ["Ethernet7"]}, {"chip": 2, "index": 3},
                       {"chip": 2, "index": 50, "ports": []}]})");
  const McastHelperModel& helper = *model_->services().mcastHelper;
  const McastPorts wanted{IntfId("Ethernet1"), IntfId("Ethernet2"), IntfId("Vxlan1")};
  EXPECT_EQ(*helper.groups().find(3), (McastGroup{.vlan = 10, .ports = wanted}));
  EXPECT_EQ(*helper.groups().find(9), McastGroup{});
  EXPECT_EQ(helper.groups().size(), 2U);
  EXPECT_TRUE(helper.inShadow(3));
  EXPECT_EQ(*helper.hwGroup(FapId(0), 3), wanted);
  EXPECT_EQ(*helper.hwGroup(FapId(1), 3), McastPorts{IntfId("Ethernet7")});
  EXPECT_EQ(helper.hwGroup(FapId(2), 3), nullptr);
  EXPECT_TRUE(helper.hwGroup(FapId(2), 50)->empty());
  EXPECT_EQ(helper.hwGroup(FapId(0), 50), nullptr);
}

TEST_F(ServiceDocumentTest, TheShadowCanBeEmpty) {
  load(R"("multicast": {"shadowCleared": true, "groups": [{"index": 9}]})");
  EXPECT_FALSE(model_->services().mcastHelper->inShadow(9));
  load(R"("multicast": {"shadowCleared": false, "groups": [{"index": 9}]})");
  EXPECT_TRUE(model_->services().mcastHelper->inShadow(9));
}

TEST_F(ServiceDocumentTest, FifosAndTheirMonitorAreTaken) {
  load(R"("fifos": {"chips": [{"chip": 2, "level": 1, "highWater": 2, "limit": 3, "overflows": 4},
                              {"chip": 0}],
                    "monitor": {"running": false, "pollIntervalMs": 7}})");
  EXPECT_EQ(model_->services().modFifoShow->registers(FapId(2)),
            (FifoRegisters{.level = 1, .highWater = 2, .limit = 3, .overflows = 4}));
  EXPECT_EQ(model_->services().modFifoShow->registers(FapId(0)), FifoRegisters{});
  EXPECT_FALSE(model_->services().modFifoMonitor->running());
  EXPECT_EQ(model_->services().modFifoMonitor->pollIntervalMs(), 7U);
}

TEST_F(ServiceDocumentTest, MlagInterfacesAreTaken) {
  load(R"("mlag": {"peerLink": "Port-Channel9", "interfaces": {
            "Port-Channel1": {"peerActive": true}, "Port-Channel2": {"maskedOn": [2, 0]},
            "Port-Channel3": {"maskedOn": []}}})");
  const MlagHelperModel& mlag = *model_->services().mlagHelper;
  EXPECT_EQ(mlag.peerLink(), IntfId("Port-Channel9"));
  EXPECT_EQ(*mlag.interfaces().find(IntfId("Port-Channel1")), MlagInterface{.peerActive = true});
  EXPECT_EQ(mlag.interfaces().find(IntfId("Port-Channel2"))->maskedOn->text(), "0,2");
  EXPECT_TRUE(mlag.interfaces().find(IntfId("Port-Channel3"))->maskedOn->empty());
}

TEST_F(ServiceDocumentTest, CountersAndPoolsAreTaken) {
  load(R"("pools": {"vfis": 5, "virtualPorts": 6}, "flexCounters": {"size": 7,
          "vteps": [{"address": "192.0.2.1", "packets": 1, "bytes": 18446744073709551615}],
          "vnis": [{"vni": 10010, "ingress": {"packets": 3, "bytes": 4}, "egress": {"bytes": 6}}]})");
  const FlexCounterModel& counters = *model_->services().flexCounter;
  EXPECT_EQ(counters.size(), 7U);
  EXPECT_EQ(counters.vtep(IpAddr("192.0.2.1")), (CounterValue{1, 18'446'744'073'709'551'615U}));
  EXPECT_EQ(counters.vni(10'010, CounterDirection::ingress), (CounterValue{3, 4}));
  EXPECT_EQ(counters.vni(10'010, CounterDirection::egress), (CounterValue{0, 6}));
  EXPECT_EQ(model_->services().vfiAllocator->size(), 5U);
  EXPECT_EQ(model_->unicast().services().svpManager->size(), 6U);
}

TEST_F(ServiceDocumentTest, ASeedStartsTraffic) {
  const auto clock = Qel::makePtr<Qel::ManualClock>();
  model_ = Qel::makePtr<SwitchModel>(clock);
  load(R"("flexCounters": {"trafficSeed": 7, "vteps": [{"address": "192.0.2.1"}]})");
  clock->advance(std::chrono::seconds(10));
  EXPECT_GE(model_->services().flexCounter->vtep(IpAddr("192.0.2.1"))->packets, 100U);
}

TEST_F(ServiceDocumentTest, OwnRouterMacsAreTaken) {
  load(R"("ownRouterMacs": ["0200.0000.0001", "02:00:00:00:00:02", "0200.0000.0001"])");
  const auto& own = model_->unicast().services().routerMac->ownAddresses();
  EXPECT_EQ(own.size(), 2U);
  EXPECT_TRUE(own.has(EthAddr(0x0200'0000'0002)));
}

TEST_F(ServiceDocumentTest, ShadowEntriesReplaceThoseOfTheirIndexOnly) {
  load(R"("shadowTables": {"VFI": [{"index": 5, "fields": {"vni": 1}}, {"index": 6}]})");
  load(R"("shadowTables": {"VFI": [{"index": 5, "chips": [2], "valid": false},
            {"index": 5, "chips": [0, 1], "fields": {"mcastGroup": 9, "vni": 10010}}]})");
  const ShadowTableModel& vfis = model_->cmdRingManager().shadowTable(ShadowTableId::vfi);
  ASSERT_EQ(vfis.entries().size(), 3U);
  auto it = vfis.entries().begin();
  EXPECT_EQ(it->key.index, 5U);
  EXPECT_EQ(it->value.chips.text(), "0-1");
  EXPECT_EQ(it->value.fields, (std::vector<std::uint32_t>{10'010, 0, 9}));
  EXPECT_TRUE(it->value.valid);
  ++it;
  EXPECT_EQ(it->value.chips.text(), "2");
  EXPECT_FALSE(it->value.valid);
  ++it;
  EXPECT_EQ(it->key.index, 6U);
  EXPECT_TRUE(it->value.chips.empty());
}

TEST_F(ServiceDocumentTest, EveryObjectCanBeTakenAway) {
  const auto without = [this](const std::string& object) {
    model_ = Testing::makeModel();
    load(R"("readiness": {")" + object + R"(": false})");
  };
  without("mcastHelper");
  EXPECT_EQ(model_->mcast()->mcastHelper(), nullptr);
  without("l2ModFifoShowSm");
  EXPECT_EQ(model_->macAddrSmHelper()->l2ModFifoShowSm(), nullptr);
  without("l2ModFifoMonitorSm");
  EXPECT_EQ(model_->l2ModFifoMonitorSm(), nullptr);
  EXPECT_NE(model_->macAddrSmHelper()->l2ModFifoShowSm(), nullptr);
  without("mlagHelper");
  EXPECT_EQ(model_->mlagHelper(), nullptr);
  without("vfiAllocatorSm");
  EXPECT_EQ(model_->vfiAllocatorSm(), nullptr);
  without("flexCounter");
  EXPECT_EQ(model_->flexCounter(), nullptr);
  without("l2CmdRingManager");
  EXPECT_EQ(model_->l2CmdRingManager(), nullptr);
  without("svpManager");
  EXPECT_EQ(model_->unicastAgent()->svpManager(), nullptr);
  without("routerMacSm");
  EXPECT_EQ(model_->unicastAgent()->routerMacSm(), nullptr);
  without("vlanXlate2Manager");
  EXPECT_EQ(model_->unicastAgent()->vlanXlate2Manager(), nullptr);
  without("egrVlanXlateManager");
  EXPECT_EQ(model_->unicastAgent()->egrVlanXlateManager(), nullptr);
}

}  // namespace
}  // namespace KorvoAgent
