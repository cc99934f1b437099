// Which VXLAN commands are answered when, with what of the agent.

#include <gmock/gmock.h>

#include <chrono>
#include <stdexcept>

#include "KorvoL2/KorvoL2CliAsyncRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase.h"
#include "KorvoL2/KorvoL2CliCallbacks/VxlanHandlers.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::IntfId;
using Bridging::VlanId;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Return;
using ::testing::Throw;

class VxlanHandlersTest : public CallbackFixture {
 protected:
  void takeVxlanAway() { ON_CALL(*world.unicast, vxlanL2Sm).WillByDefault(Return(nullptr)); }
  void mapVlan(unsigned vlan) {
    world.vxlanL2State->vlanMapping.add(VlanId(vlan));
    world.vxlanL3Config->vlanMapping.put(
        VlanId(vlan), {.vlanId = static_cast<std::uint16_t>(vlan), .vfi = 5, .vni = 6});
    world.vxlanL2State->vlanToSvp.put(VlanId(vlan), {.number = 7});
  }
};

// The VLAN dump.

TEST_F(VxlanHandlersTest, VlanDumpIsGivenTheAgentsRecords) {
  const auto machine = Qel::ptrCast<L2VxlanVlanRequestSmBase>(createMachine("VXLAN_VLAN"));
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->name(), "request-7");
  EXPECT_EQ(machine->maxRunTime(), std::chrono::milliseconds(50));
  EXPECT_EQ(machine->clock(), world.clock);
  EXPECT_EQ(machine->agentCommandRequest()->commandString(), "VXLAN_VLAN");
  EXPECT_EQ(machine->fcsd(), world.fcsd);
  EXPECT_EQ(machine->vxlanL2State(), world.vxlanL2State);
  EXPECT_EQ(machine->vxlanL3Config(), world.vxlanL3Config);
  EXPECT_EQ(machine->vxlanL3Status(), world.vxlanL3Status);
  EXPECT_FALSE(machine->detail());
  EXPECT_TRUE(machine->hasNotificationActive());
  EXPECT_EQ(executed(), "VXLAN_VLAN");
  expectHandled(formatted->outcome());
  expectUntouchedSocket();
}

TEST_F(VxlanHandlersTest, VlanDumpIsDetailedWhenTheCommandSaysSo) {
  const auto machine = Qel::ptrCast<L2VxlanVlanRequestSmBase>(createMachine("VXLAN_VLAN+detail"));
  ASSERT_NE(machine, nullptr);
  EXPECT_TRUE(machine->detail());
}

TEST_F(VxlanHandlersTest, VlanDumpAnswers) {
  mapVlan(10);
  const auto machine = createMachine("VXLAN_VLAN", Rendering::kJson);
  ASSERT_NE(machine, nullptr);
  machine->runCommand();
  EXPECT_TRUE(machine->executionCompleteFlag());
  EXPECT_EQ(answer(), "{\"vlans\":{\"10\":{\"vni\":6,\"vfi\":5,\"virtualPorts\":{}}}}\n");
}

TEST_F(VxlanHandlersTest, ASummaryAskedForAsADumpIsTheVlanDump) {
  const auto machine = createMachine("VXLAN_VLAN_SUMMARY");
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->typeData().name, "KorvoL2::L2VxlanVlanRequestSmBase");
  EXPECT_EQ(formatted->arg(), "_SUMMARY");
}

TEST_F(VxlanHandlersTest, WithoutTheVxlanObjectThereIsNoVlanDump) {
  takeVxlanAway();
  EXPECT_EQ(createMachine("VXLAN_VLAN"), nullptr);
  EXPECT_THAT(traced(8), ElementsAre("command: VXLAN_VLAN", "no vxlanL2 Sm"));
  EXPECT_EQ(executed(), "");
  expectNotReady(formatted->outcome(), "no vxlanL2 Sm");
  expectUntouchedSocket();
}

TEST_F(VxlanHandlersTest, TheVxlanObjectIsMissedByItsOwnCommandsOnly) {
  takeVxlanAway();
  EXPECT_EQ(createMachine("NO_SUCH_COMMAND"), nullptr);
  EXPECT_THAT(traced(8), ElementsAre("command: NO_SUCH_COMMAND"));
  EXPECT_EQ(formatted->outcome().kind, Kind::noHandler);
  runFormatted("NO_SUCH_COMMAND");
  EXPECT_EQ(formatted->outcome().kind, Kind::noHandler);
}

// The routing information.

TEST_F(VxlanHandlersTest, RoutingInfoIsGivenTheAgentsRecords) {
  world.recircIntf = IntfId("Recirc-Channel1");
  const auto machine = Qel::ptrCast<L2RoutingInfoRequestSm>(createMachine("VXLAN_ROUTING_INFO"));
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->name(), "request-7");
  EXPECT_EQ(machine->maxRunTime(), std::chrono::milliseconds(50));
  EXPECT_EQ(machine->clock(), world.clock);
  EXPECT_EQ(machine->recircIntf(), IntfId("Recirc-Channel1"));
  EXPECT_EQ(machine->routingStatus(), world.routingStatus);
  EXPECT_EQ(machine->vxlanL2State(), world.vxlanL2State);
  EXPECT_EQ(machine->vlanSvpConfigDir(), world.vlanSvpConfig);
  EXPECT_EQ(machine->vxlanCapabilities(), world.vxlanCapabilities);
  EXPECT_EQ(machine->macAddrSmHelper(), world.macHelper.get());
  EXPECT_TRUE(machine->initialized());
  EXPECT_EQ(executed(), "VXLAN_ROUTING_INFO");
  expectHandled(formatted->outcome());
}

TEST_F(VxlanHandlersTest, RoutingInfoDoesWithoutTheVxlanObject) {
  mapVlan(10);
  takeVxlanAway();
  const auto machine = createMachine("VXLAN_ROUTING_INFO", Rendering::kJson);
  ASSERT_NE(machine, nullptr);
  machine->runCommand();
  EXPECT_EQ(answer(), "{\"routerMac\":\"0000.0000.0000\",\"vlans\":{}}\n");
}

TEST_F(VxlanHandlersTest, RoutingInfoNeedsTheMacHelperAndItsShadow) {
  ON_CALL(*world.macHelper, macTblShadow).WillByDefault(Return(nullptr));
  EXPECT_EQ(createMachine("VXLAN_ROUTING_INFO"), nullptr);
  expectNotReady(formatted->outcome(), "no macTblShadow");
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  traces->clear();
  EXPECT_EQ(createMachine("VXLAN_ROUTING_INFO"), nullptr);
  expectNotReady(formatted->outcome(), "no macAddrSmHelp");
  EXPECT_THAT(traced(8), ElementsAre("command: VXLAN_ROUTING_INFO", "no macAddrSmHelp"));
  expectUntouchedSocket();
}

// The summary.

TEST_F(VxlanHandlersTest, SummaryIsPrintedAtOnceAndLeavesItsSocketOpen) {
  mapVlan(10);
  runFormatted("VXLAN_VLAN_SUMMARY", Rendering::kText);
  EXPECT_EQ(answer(),
            "VXLAN VLANs        : 1\n"
            "  without VNI      : 0\n"
            "  without SVP      : 0\n"
            "Edge virtual ports : 0\n"
            "ORVA VTEP IP       : not configured\n"
            "ORVA VTEP IPv6     : not configured\n");
  EXPECT_FALSE(closed());
  EXPECT_EQ(executed(), "VXLAN_VLAN_SUMMARY");
  expectHandled(formatted->outcome());
}

TEST_F(VxlanHandlersTest, SummaryFollowsTheFormatOfTheCommand) {
  runFormatted("VXLAN_VLAN_SUMMARY", Rendering::kJson);
  EXPECT_EQ(answer(), R"({"vxlanVlans":0,"numWithoutVni":0,"withoutVni":[],"numWithoutSvp":0,)"
                      R"("withoutSvp":[],"edgePorts":0,"orvaVtepIp":"","orvaVtepIp6":""})"
                      "\n");
}

TEST_F(VxlanHandlersTest, SummaryOfRecordsThatAreNotThereIsThatOfEmptyOnes) {
  world.vxlanL2State = nullptr;
  world.vxlanL3Config = nullptr;
  runFormatted("VXLAN_VLAN_SUMMARY");
  EXPECT_THAT(answer(), HasSubstr("VXLAN VLANs        : 0\n"));
}

TEST_F(VxlanHandlersTest, WithoutTheVxlanObjectThereIsNoSummary) {
  takeVxlanAway();
  runFormatted("VXLAN_VLAN_SUMMARY");
  EXPECT_THAT(traced(8), Contains("no vxlanL2 Sm"));
  EXPECT_EQ(executed(), "");
  expectNotReady(formatted->outcome(), "no vxlanL2 Sm");
  expectUntouchedSocket();
}

TEST_F(VxlanHandlersTest, WhatASummaryThrowsIsTracedAndGoesNoFurther) {
  EXPECT_CALL(*world.vxlan, vxlanL2State).WillOnce(Throw(std::runtime_error("agent on fire")));
  runFormatted("VXLAN_VLAN_SUMMARY");
  EXPECT_THAT(traced(8), Contains("Exception caught"));
  expectUntouchedSocket();
  EXPECT_EQ(formatted->outcome().kind, Kind::failed);
  EXPECT_EQ(formatted->outcome().reason, "agent on fire");
  // What is no exception of the standard library, too.
  EXPECT_CALL(*world.vxlan, vxlanL2State)
      .WillOnce(Throw(7))
      .WillRepeatedly(Return(world.vxlanL2State));
  runFormatted("VXLAN_VLAN_SUMMARY");
  EXPECT_FALSE(closed());
  EXPECT_EQ(formatted->outcome().kind, Kind::failed);
  EXPECT_EQ(formatted->outcome().reason, "unknown exception");
  // The next command has an outcome of its own.
  runFormatted("VXLAN_VLAN_SUMMARY");
  expectHandled(formatted->outcome());
}

TEST_F(VxlanHandlersTest, TheVlanDumpsKeywordAloneIsNoCommandThatIsAnsweredAtOnce) {
  runFormatted("VXLAN_VLAN");
  expectUntouchedSocket();
  EXPECT_EQ(formatted->outcome().kind, Kind::noHandler);
  EXPECT_THAT(traced(8), Not(Contains("no vxlanL2 Sm")));
}

TEST(VxlanHandlerNamesTest, ClassesAreKnownByTheirQualifiedNames) {
  EXPECT_EQ(CliCallbackWithFormat::VxlanVlanH::fmTypeName, "CliCallbackWithFormat::VxlanVlanH");
  EXPECT_EQ(CliCallbackWithFormat::VxlanRoutingInfoH::fmTypeName,
            "CliCallbackWithFormat::VxlanRoutingInfoH");
  EXPECT_EQ(CliCallbackWithFormat::VxlanVlanSummaryH::fmTypeName,
            "CliCallbackWithFormat::VxlanVlanSummaryH");
}

}  // namespace
}  // namespace KorvoL2::Testing
