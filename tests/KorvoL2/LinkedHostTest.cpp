// A host that links the plug-in: it makes machines by their exported factories and drives each kind
// to its end, reading the attributes of the base classes on the way. This program has the shared
// library alone; what it calls and the plug-in does not export keeps it from being linked.

#include <gtest/gtest.h>

#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "tests/KorvoL2/MachineFamilies.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::IntfId;
using Bridging::VlanId;

constexpr auto kText = Rendering::kText;
constexpr auto kJson = Rendering::kJson;

class LinkedHostTest : public MachineFamilies {
 protected:
  /** The first slice of one row, as the platform runs it. */
  static void runFirstRow(AgentCommand::AgentAsyncCommandRequestSm& sm) {
    rowBudgetIs(sm, 1);
    sm.runCommand();
    EXPECT_FALSE(sm.executionCompleteFlag());
    EXPECT_EQ(sm.rows(), 1U);
    rowBudgetIs(sm, 0);
  }
  /** Goes on with the slice that ended, then to the end; returns the answer. */
  template <class Sm>
  const std::string& finish(Sm& sm) {
    sm.handleAsyncCommand(7, sm.agentCommandRequest()->outputFormat());
    runToCompletion(sm);
    return reader->received;
  }
  static bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
};

TEST_F(LinkedHostTest, EveryMachineOfAnExportedFactoryRunsToItsEnd) {
  for (const Family& family : families()) {
    for (const std::uint32_t format : {kText, kJson}) {
      const Machine sm = family.make(format);
      EXPECT_EQ(sm->typeData().name, "KorvoL2::" + family.name);
      rowBudgetIs(*sm, 1);
      runToCompletion(*sm);
      EXPECT_EQ(reader->received.back(), '\n') << family.name;
    }
  }
}

TEST_F(LinkedHostTest, SoftwareTable) {
  const auto sm = swTable(kText);
  EXPECT_TRUE(sm->initialized());
  EXPECT_FALSE(sm->inProgress());
  sm->getInProgressState();
  EXPECT_TRUE(sm->inProgress());
  EXPECT_TRUE(sm->printHeader());
  runFirstRow(*sm);
  EXPECT_FALSE(sm->printHeader());
  EXPECT_EQ(sm->bookmark(), macKey(20, 2));
  // The slice was told to end: it prints one row more, as every call does.
  sm->showMacTableAll();
  EXPECT_EQ(sm->bookmark(), macKey(30, 3));
  EXPECT_TRUE(has(finish(*sm), "Number of entries : 3\n"));
}

TEST_F(LinkedHostTest, HardwareTable) {
  const auto sm = hwTable(kJson);
  EXPECT_TRUE(sm->detail());
  sm->getAsyncState();
  EXPECT_TRUE(sm->ready());
  sm->fapDelAll();
  EXPECT_TRUE(sm->fapIdList().empty());
  sm->fapIs(0);
  sm->fapIs(5);
  sm->fapDel(5);
  sm->fapIs(1);
  EXPECT_TRUE(sm->fapHas(1));
  sm->fapDel(sm->fapIdList().find(1));
  runFirstRow(*sm);
  EXPECT_TRUE(sm->chipInProgress());
  EXPECT_EQ(sm->fapBookmark(), 0U);
  EXPECT_EQ(sm->bookmark(), macKey(20, 2));
  sm->showMacTableHw();
  EXPECT_EQ(sm->bookmark(), macKey(30, 3));
  EXPECT_TRUE(has(finish(*sm), R"("Chip0":{"macTableEntries":[)"));
}

TEST_F(LinkedHostTest, DifferenceCheck) {
  const auto sm = diffCheck(kText);
  EXPECT_EQ(sm->numReq(), 2U);
  EXPECT_EQ(sm->fapIdList(), "0,1");
  sm->fapIs(5);
  sm->fapDel(5);
  sm->fapDel(sm->fap().begin());
  EXPECT_TRUE(sm->fapHas(1));
  runFirstRow(*sm);
  EXPECT_TRUE(sm->l2TableReadDone());
  EXPECT_EQ(sm->diffCount(), 1U);
  EXPECT_EQ(sm->bookmark(), macKey(20, 2));
  EXPECT_TRUE(has(finish(*sm), "different between software and hardware:  3\n"));
  sm->fapDelAll();
  sm->diffEntryTableDel();
  sm->diffEntryTableIs();
  EXPECT_FALSE(sm->diffEntryTable()->readComplete());
}

TEST_F(LinkedHostTest, MissingCheck) {
  const auto sm = missingCheck(kText);
  EXPECT_TRUE(sm->detail());
  runFirstRow(*sm);
  EXPECT_TRUE(sm->inProgress());
  EXPECT_EQ(sm->hwMissingCount(), 2U);
  EXPECT_EQ(sm->swMissingCount(), 0U);
  sm->moduleCountIs("Chip0", 40);
  sm->moduleCountDel("Chip1");
  EXPECT_EQ(sm->bookmark(), L2HwEntryKey(20, Bridging::EthAddr(2), 0));
  EXPECT_TRUE(has(finish(*sm), "            Chip0:  41\n            Chip1:  1\n"));
  sm->moduleCountDelAll();
  sm->missingEntryTableDel();
  sm->missingEntryTableIs();
  EXPECT_TRUE(sm->moduleCount().empty());
}

TEST_F(LinkedHostTest, VxlanVlans) {
  const auto sm = makeVlanDump(kText, false);
  sm->getInProgressState();
  sm->vlanMappingDelAll();
  for (const unsigned vlan : {10U, 11U, 20U}) sm->vlanMappingIs(VlanId(vlan));
  sm->vlanMappingDel(VlanId(11));
  runFirstRow(*sm);
  EXPECT_TRUE(sm->vpListBuilt());
  EXPECT_EQ(sm->vpList(), nullptr);
  EXPECT_EQ(sm->bookmark(), VlanId(20));
  sm->showVxlanVlans();
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_TRUE(has(reader->received, "Vlan 20:\n   VNI 10020, VFI 0:\n"));
}

TEST_F(LinkedHostTest, RoutingInfo) {
  const auto sm = makeRoutingInfo(kText);
  EXPECT_TRUE(sm->initialized());
  EXPECT_EQ(sm->macAddrSmHelper(), helper.get());
  sm->getInProgressState();
  EXPECT_EQ(sm->vlan2Svp(VlanId(20)), VirtualPort{.number = 20});
  sm->vlan2SvpDel(VlanId(10));
  runFirstRow(*sm);
  EXPECT_FALSE(sm->printHeader());
  EXPECT_EQ(sm->bookmark(), VlanId(30));
  sm->vlan2SvpDelAll();
  sm->vlan2SvpIs(VlanId(40), {.number = 4});
  sm->showVxlanRoutingInfo();
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_TRUE(has(reader->received, "Router MAC: "));
}

TEST_F(LinkedHostTest, VlanRanges) {
  const auto fixed = start(kText);
  EXPECT_EQ(fixed->getLogicalPort(IntfId("Ethernet1")), 10U);
  EXPECT_EQ(fixed->ingVlanRangeSize(), kRangeSize);
  fixed->getAsyncState();
  EXPECT_TRUE(fixed->inProgress());
  fixed->intfIdIs(IntfId("Ethernet2"));
  EXPECT_FALSE(has(finish(*fixed), "Ethernet1"));
  EXPECT_TRUE(has(reader->received, "Ethernet3"));

  const auto dynamic = startDynamic(kText);
  EXPECT_EQ(dynamic->portHwIndexMappingDir(), hwIndexes);
  EXPECT_EQ(dynamic->getLogicalPort(IntfId("Ethernet3")), 30U);
  runFirstRow(*dynamic);
  EXPECT_EQ(dynamic->intfId(), IntfId("Ethernet2"));
  EXPECT_TRUE(has(finish(*dynamic), "Ethernet3"));
}

TEST_F(LinkedHostTest, VlanTranslation) {
  const auto ing = startIng(kText);
  ing->handleInitialized();
  ing->getAsyncState();
  EXPECT_TRUE(ing->inProgress());
  runFirstRow(*ing);
  EXPECT_TRUE(ing->yielding());
  EXPECT_TRUE(ing->vlanXlateDipStarted());
  EXPECT_EQ(ing->vlanXlateDipBookmark(), Bridging::IpAddr("10.0.0.2"));
  EXPECT_TRUE(has(finish(*ing), "Number of port-vlan/svp entries : 3\n"));

  const auto egr = startEgr(kText);
  runFirstRow(*egr);
  EXPECT_FALSE(egr->egrVlanXlateVfiComplete());
  EXPECT_EQ(egr->egrVxlanVlanXlateStatusDir(), egrVxlanVlans);
  EXPECT_TRUE(has(finish(*egr), "Number of INT Opaque entries : 0\n"));
}

TEST_F(LinkedHostTest, CallbacksThroughTheirOwnClasses) {
  const auto plain = cliCallbackFactory("cli");
  plain->cmdTokensIs(1, "A");
  plain->cmdTokensIs(2, "B");
  EXPECT_EQ(plain->findSubArg("B"), 2);
  plain->cmdTokensDel(1);
  plain->cmdTokensDel(plain->cmdTokens().begin());
  plain->cmdTokensDelAll();
  EXPECT_EQ(plain->cmdTokens(1), "");
  plain->handleCommand(0xffffffff, "MCAST_ALL");
  EXPECT_EQ(plain->outcome().reason, "no l2 agent");
  EXPECT_EQ(plain->typeData().name, "KorvoL2::CliCallback");

  const auto formatted = cliCallbackWithFormatFactory("cliWithFormat");
  formatted->handleCommand(0xffffffff, "VXLAN_VLAN_SUMMARY", kText);
  EXPECT_FALSE(formatted->handleCommandCommon());
  EXPECT_EQ(formatted->createAgentAsyncCommandRequestSm(request(kText)), nullptr);
  EXPECT_EQ(formatted->typeData().name, "KorvoL2::CliCallbackWithFormat");
}

}  // namespace
}  // namespace KorvoL2::Testing
