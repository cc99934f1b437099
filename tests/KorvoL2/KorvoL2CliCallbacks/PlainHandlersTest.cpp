// What each plain-text command asks of the agent. The services are strict: a call that a test does
// not name fails it.

#include <gmock/gmock.h>

#include <functional>

#include "platform/base/Exceptions.h"
#include "platform/command/CommandArgument.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::Eq;
using ::testing::InSequence;
using ::testing::IsEmpty;
using ::testing::Return;

class PlainHandlersTest : public CallbackFixture {
 protected:
  /** The command was taken by the handler of `keyword`, which wrote nothing itself. */
  void expectForwarded(const std::string& keyword) {
    EXPECT_EQ(executed(), keyword);
    expectUntouchedSocket();
    expectHandled(plain->outcome());
    EXPECT_THAT(traced(8), IsEmpty());
  }
};

// Multicast.

TEST_F(PlainHandlersTest, HwMcastAllShowsAllGroups) {
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(socket(), Eq(false), Eq(true), 0U));
  runPlain("HW_MCAST_ALL");
  expectForwarded("HW_MCAST_ALL");
}

TEST_F(PlainHandlersTest, HwMcastDiffDiffersInTheDifferenceFlagOnly) {
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(socket(), Eq(true), Eq(true), 0U));
  runPlain("HW_MCAST_DIFF");
  expectForwarded("HW_MCAST_DIFF");
}

TEST_F(PlainHandlersTest, HwMcastClearEmptiesTheShadow) {
  EXPECT_CALL(*world.mcastHelper, clearShadowMcastGroupTable());
  runPlain("HW_MCAST_CLEAR");
  expectForwarded("HW_MCAST_CLEAR");
}

TEST_F(PlainHandlersTest, McastAllShowsTheSoftwareTable) {
  EXPECT_CALL(*world.mcastHelper, showMcastGroupTable(socket()));
  runPlain("MCAST_ALL");
  expectForwarded("MCAST_ALL");
}

TEST_F(PlainHandlersTest, HwMcastMcidxShowsTheGroupOfItsSecondToken) {
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(socket(), Eq(false), Eq(false), 5U));
  runPlain("HW_MCAST_MCIDX+5");
  EXPECT_EQ(plain->cmdTokens(1), "HW_MCAST_MCIDX");
  EXPECT_EQ(plain->cmdTokens(2), "5");
  expectForwarded("HW_MCAST_MCIDX+");
}

TEST_F(PlainHandlersTest, HwMcastMcidxTakesTheGroupBelowTheMaximum) {
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(socket(), Eq(false), Eq(false), 4095U));
  runPlain("HW_MCAST_MCIDX+4095+more");
  expectForwarded("HW_MCAST_MCIDX+");
}

TEST_F(PlainHandlersTest, HwMcastMcidxRefusesTheMaximumAndClosesTheSocket) {
  runPlain("HW_MCAST_MCIDX+4096");
  EXPECT_EQ(answer(), "Entry outside of l2 partition (max:4095) \n");
  EXPECT_TRUE(closed());
  expectHandled(plain->outcome());
}

TEST_F(PlainHandlersTest, HwMcastMcidxRefusesNumbersThatDoNotFit) {
  for (const std::string number :
       {"-1", "-4294967291", "4294967296", "4294967301", "99999999999999999999"}) {
    openSocket();
    runPlain("HW_MCAST_MCIDX+" + number);
    EXPECT_EQ(answer(), "Entry outside of l2 partition (max:4095) \n") << number;
    EXPECT_TRUE(closed());
  }
}

TEST_F(PlainHandlersTest, HwMcastMcidxWithoutAnyGroupRefusesAll) {
  world.maxMulticastGroups = 0;
  runPlain("HW_MCAST_MCIDX+0");
  EXPECT_EQ(answer(), "Entry outside of l2 partition (max:-1) \n");
  EXPECT_TRUE(closed());
}

TEST_F(PlainHandlersTest, HwMcastMcidxTakesWhatIsNoNumberForGroupZero) {
  for (const std::string token : {"", "x", "+3"}) {
    openSocket();
    EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(socket(), Eq(false), Eq(false), 0U));
    runPlain("HW_MCAST_MCIDX+" + token + "+");
    EXPECT_EQ(executed(), "HW_MCAST_MCIDX+") << token;
    EXPECT_FALSE(closed());
  }
}

TEST_F(PlainHandlersTest, HwMcastMcidxReadsTheNumberThatItsTokenBeginsWith) {
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(socket(), Eq(false), Eq(false), 12U));
  runPlain("HW_MCAST_MCIDX+12ab");
}

TEST_F(PlainHandlersTest, HwMcastMcidxWithoutItsPlusIsUnknown) {
  runPlain("HW_MCAST_MCIDX");
  expectInvalidCommand();
}

TEST_F(PlainHandlersTest, HwMcastMcidxWithASinglePlusHasOneTokenAndIsUnknown) {
  runPlain("HW_MCAST_MCIDX+");
  EXPECT_EQ(plain->cmdTokens().size(), 1U);
  expectInvalidCommand();
}

// Ports.

TEST_F(PlainHandlersTest, EgrMaskStatusAsksTheMlagHelper) {
  EXPECT_CALL(*world.mlag, showEgrMaskStatus(socket()));
  runPlain("EGR_MASK_STATUS");
  expectForwarded("EGR_MASK_STATUS");
}

TEST_F(PlainHandlersTest, HwFiforegShowsTheRegistersThenTheMonitor) {
  const InSequence inOrder;
  EXPECT_CALL(*world.fifoShow, showFifoRegisters(socket()));
  EXPECT_CALL(*world.fifoMonitor, printState(socket()));
  runPlain("HW_FIFOREG");
  expectForwarded("HW_FIFOREG");
}

TEST_F(PlainHandlersTest, HwFiforegIsUnknownWithoutItsFifoObject) {
  ON_CALL(*world.macHelper, l2ModFifoShowSm).WillByDefault(Return(nullptr));
  runPlain("HW_FIFOREG");
  expectInvalidCommand();
}

TEST_F(PlainHandlersTest, HwFiforegIsUnknownWithoutTheMacHelper) {
  world.l2TableMode = true;
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  runPlain("HW_FIFOREG");
  expectInvalidCommand();
}

TEST_F(PlainHandlersTest, HwFiforegShowsTheRegistersWhenThereIsNoMonitor) {
  ON_CALL(*world.agent, l2ModFifoMonitorSm).WillByDefault(Return(nullptr));
  EXPECT_CALL(*world.fifoShow, showFifoRegisters(socket()));
  runPlain("HW_FIFOREG");
  EXPECT_EQ(traced(8), (std::vector<std::string>{"no l2ModFifoMonitorSm"}));
}

// VLAN translation.

TEST_F(PlainHandlersTest, EgrVlanXlateStatus2AsksTheEgressManager) {
  world.chipIs({.ingVlanXlate = true});
  EXPECT_CALL(*world.egrVlanXlate, showEgrVlanXlate(socket(), Eq(true)));
  runPlain("EGR_VLAN_XLATE_STATUS_2");
  expectForwarded("EGR_VLAN_XLATE_STATUS_2");
}

TEST_F(PlainHandlersTest, EgrVlanXlateStatus2PassesItsToggleOn) {
  Qel::toggleStateIs("ShowEgrVlanXlateHashView", "KorvoQuorra.json", false);
  world.chipIs({.ingVlanXlate = true});
  EXPECT_CALL(*world.egrVlanXlate, showEgrVlanXlate(socket(), Eq(false)));
  runPlain("EGR_VLAN_XLATE_STATUS_2");
}

TEST_F(PlainHandlersTest, EgrVlanXlateStatus2GoesByTheIngressFlag) {
  world.chipIs({.ingVlanXlate = false, .egrVlanXlate = true});
  runPlain("EGR_VLAN_XLATE_STATUS_2");
  EXPECT_TRUE(plain->egrVlanXlateFeature());
  expectInvalidCommand();
}

TEST_F(PlainHandlersTest, VlanXlateStatus2AsksTheSecondStageManager) {
  world.chipIs({.ingVlanXlate = true});
  EXPECT_CALL(*world.vlanXlate2, showVlanXlate2(socket()));
  runPlain("VLAN_XLATE_STATUS_2");
  expectForwarded("VLAN_XLATE_STATUS_2");
}

TEST_F(PlainHandlersTest, VlanXlateStatus2IsUnknownOnAChipWithoutIngressTranslation) {
  world.chipIs({.ingVlanXlate = false, .egrVlanXlate = true});
  runPlain("VLAN_XLATE_STATUS_2");
  expectInvalidCommand();
}

TEST_F(PlainHandlersTest, VlanVfiMapAsksTheAllocator) {
  EXPECT_CALL(*world.vfiAllocator, showVlanVfiMap(socket()));
  runPlain("VlanVfiMap");
  expectForwarded("VlanVfiMap");
}

// Counters.

TEST_F(PlainHandlersTest, FcvdsShowsTheSummaryOfVtepDecapsulation) {
  EXPECT_CALL(*world.flexCounter, showVtepDecapFlexCountersSummary(socket()));
  runPlain("FCVDS");
  expectForwarded("FCVDS");
}

TEST_F(PlainHandlersTest, FcvdvShowsTheValuesOfVtepDecapsulation) {
  EXPECT_CALL(*world.flexCounter, showVtepDecapFlexCountersValues(socket()));
  runPlain("FCVDV");
  expectForwarded("FCVDV");
}

TEST_F(PlainHandlersTest, VniIngressSummary) {
  EXPECT_CALL(*world.flexCounter, showVniIngressFlexCountersSummary(socket()));
  runPlain("VniIngressFlexCountersSummary");
  expectForwarded("VniIngressFlexCountersSummary");
}

TEST_F(PlainHandlersTest, VniEgressSummary) {
  EXPECT_CALL(*world.flexCounter, showVniEgressFlexCountersSummary(socket()));
  runPlain("VniEgressFlexCountersSummary");
  expectForwarded("VniEgressFlexCountersSummary");
}

TEST_F(PlainHandlersTest, VniIngressValues) {
  EXPECT_CALL(*world.flexCounter, showVniFlexCountersValues(socket(), CounterDirection::ingress));
  runPlain("VniIngressFlexCountersValues");
  expectForwarded("VniIngressFlexCountersValues");
}

TEST_F(PlainHandlersTest, VniEgressValues) {
  EXPECT_CALL(*world.flexCounter, showVniFlexCountersValues(socket(), CounterDirection::egress));
  runPlain("VniEgressFlexCountersValues");
  expectForwarded("VniEgressFlexCountersValues");
}

// VXLAN.

TEST_F(PlainHandlersTest, VxlanDebugStateAsksTheVxlanMachine) {
  EXPECT_CALL(*world.vxlan, showSoftwareVxlanDebugInfo(socket()));
  runPlain("VXLAN_DEBUG_STATE");
  expectForwarded("VXLAN_DEBUG_STATE");
}

TEST_F(PlainHandlersTest, VxlanSvpUsageAsksTheVirtualPortManager) {
  EXPECT_CALL(*world.svp, showVirtualPorts(socket()));
  runPlain("VXLAN_SVP_USAGE");
  expectForwarded("VXLAN_SVP_USAGE");
}

// Router MAC addresses.

class PerVlanEntryTest : public PlainHandlersTest {
 protected:
  using ShowKind = KorvoRouterMacSm::ShowKind;
  void expectShown(std::uint64_t mac, std::uint32_t vlan, ShowKind kind) {
    EXPECT_CALL(*world.routerMac,
                handleShowCommand(socket(), Bridging::EthAddr(mac), Bridging::VlanId(vlan), kind));
  }
};

TEST_F(PerVlanEntryTest, WithoutASelectorShowsEverything) {
  expectShown(0, 1, ShowKind::all);
  runPlain("PER_VLAN_ENTRY");
  expectForwarded("PER_VLAN_ENTRY");
}

TEST_F(PerVlanEntryTest, WithAVlanShowsThatVlan) {
  expectShown(0, 10, ShowKind::vlan);
  runPlain("PER_VLAN_ENTRY_VLAN-10");
  EXPECT_EQ(plain->arg(), "_VLAN-10");
}

TEST_F(PerVlanEntryTest, TakesTheFirstAndTheLastVlan) {
  expectShown(0, 1, ShowKind::vlan);
  runPlain("PER_VLAN_ENTRY_VLAN-1");
  expectShown(0, 4094, ShowKind::vlan);
  runPlain("PER_VLAN_ENTRY_VLAN-4094");
}

TEST_F(PerVlanEntryTest, AVlanOutOfRangeThrowsWhatTheVlanTypeThrows) {
  for (const std::string vlan : {"0", "4095", "65546", "-10", "4294967306", "", "ten"}) {
    try {
      runPlain("PER_VLAN_ENTRY_VLAN-" + vlan);
      ADD_FAILURE() << vlan << " was taken";
    } catch (const Qel::RangeException& e) {
      EXPECT_STREQ(e.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
      EXPECT_EQ(AgentCommand::messageOf(e), "VLAN \"" + vlan + "\": " + e.what());
    }
    EXPECT_EQ(liveHandlers(), 0);
    expectUntouchedSocket();
  }
}

TEST_F(PerVlanEntryTest, WithAnAddressShowsThatAddressAndLeavesTheVlanAtOne) {
  expectShown(0x001122334455, 1, ShowKind::mac);
  runPlain("PER_VLAN_ENTRY_MAC-0011.2233.4455");
  expectShown(0x001122334455, 1, ShowKind::mac);
  runPlain("PER_VLAN_ENTRY_MAC-00:11:22:33:44:55");
}

TEST_F(PerVlanEntryTest, AnAddressThatIsNoneThrowsWhatTheAddressTypeThrows) {
  try {
    runPlain("PER_VLAN_ENTRY_MAC-0011.2233");
    ADD_FAILURE() << "it was taken";
  } catch (const Qel::ParseException& e) {
    EXPECT_EQ(AgentCommand::messageOf(e), std::string("MAC address \"0011.2233\": ") + e.what());
  }
  EXPECT_THROW(runPlain("PER_VLAN_ENTRY_MAC-"), Qel::ParseException);
  EXPECT_EQ(liveHandlers(), 0);
  expectUntouchedSocket();
}

TEST_F(PerVlanEntryTest, ASelectorElsewhereOrInAnotherCaseIsNone) {
  for (const std::string rest : {"X_VLAN-10", "_vlan-10", "_VLAN10", "+_MAC-0011.2233.4455"}) {
    expectShown(0, 1, ShowKind::all);
    runPlain("PER_VLAN_ENTRY" + rest);
  }
}

// Objects that the agent does not have.

TEST_F(PlainHandlersTest, AMissingObjectIsTracedAndNothingIsPrinted) {
  struct Case {
    std::string command;
    std::string message;
    std::function<void()> takeAway;
  };
  const auto noFlexCounter = [&] {
    ON_CALL(*world.agent, flexCounter).WillByDefault(Return(nullptr));
  };
  const auto noMcastHelper = [&] {
    ON_CALL(*world.mcast, mcastHelper).WillByDefault(Return(nullptr));
  };
  const std::vector<Case> cases{
      {"EGR_MASK_STATUS", "no mlagHelper",
       [&] { ON_CALL(*world.agent, mlagHelper).WillByDefault(Return(nullptr)); }},
      {"EGR_VLAN_XLATE_STATUS_2", "no egrVlanXlateManager",
       [&] { ON_CALL(*world.unicast, egrVlanXlateManager).WillByDefault(Return(nullptr)); }},
      {"FCVDS", "no flexCounter", noFlexCounter},
      {"FCVDV", "no flexCounter", noFlexCounter},
      {"VniIngressFlexCountersSummary", "no flexCounter", noFlexCounter},
      {"VniIngressFlexCountersValues", "no flexCounter", noFlexCounter},
      {"VniEgressFlexCountersSummary", "no flexCounter", noFlexCounter},
      {"VniEgressFlexCountersValues", "no flexCounter", noFlexCounter},
      {"HW_MCAST_ALL", "no mcastHelper", noMcastHelper},
      {"HW_MCAST_CLEAR", "no mcastHelper", noMcastHelper},
      {"HW_MCAST_DIFF", "no mcastHelper", noMcastHelper},
      {"HW_MCAST_MCIDX+5", "no mcastHelper", noMcastHelper},
      {"MCAST_ALL", "no mcastHelper", noMcastHelper},
      {"PER_VLAN_ENTRY", "no routerMacSm",
       [&] { ON_CALL(*world.unicast, routerMacSm).WillByDefault(Return(nullptr)); }},
      {"VLAN_XLATE_STATUS_2", "no vlanXlate2Manager",
       [&] { ON_CALL(*world.unicast, vlanXlate2Manager).WillByDefault(Return(nullptr)); }},
      {"VXLAN_DEBUG_STATE", "no vxlanL2 Sm",
       [&] { ON_CALL(*world.unicast, vxlanL2Sm).WillByDefault(Return(nullptr)); }},
      {"VXLAN_SVP_USAGE", "no svp mgr",
       [&] { ON_CALL(*world.unicast, svpManager).WillByDefault(Return(nullptr)); }},
      {"VlanVfiMap", "no vfiAllocatorSm",
       [&] { ON_CALL(*world.agent, vfiAllocatorSm).WillByDefault(Return(nullptr)); }},
  };
  world.chipIs({.ingVlanXlate = true});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.command);
    c.takeAway();
    traces->clear();
    runPlain(c.command);
    EXPECT_TRUE(c.command.starts_with(executed()));
    EXPECT_EQ(traced(8), (std::vector<std::string>{c.message}));
    expectUntouchedSocket();
    expectNotReady(plain->outcome(), c.message);
  }
}

}  // namespace
}  // namespace KorvoL2::Testing
