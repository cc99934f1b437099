// The commands of the VLAN range and VLAN translation dumps: when there is a machine for them,
// which one, and what it is given.

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase.h"
#include "KorvoL2/KorvoL2CliCallbacks/VlanDumpHandlers.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::Return;

class VlanDumpHandlersTest : public CallbackFixture {
 protected:
  VlanDumpHandlersTest() {
    world.chipIs({.ingVlanXlate = true, .egrVlanXlate = true});
    rangesAre({.ingVlanRange = true});
  }
  struct Ranges {
    bool ingVlanRange = false;
    bool ingVlanDynamicRange = false;
    bool ingVlanRangeDisabled = false;
  };
  void rangesAre(const Ranges& ranges) {
    world.tableFeature = Qel::makePtr<ChipL2TableFeature>();
    world.tableFeature->ingVlanRange = ranges.ingVlanRange;
    world.tableFeature->ingVlanDynamicRange = ranges.ingVlanDynamicRange;
    world.tableFeature->ingVlanRangeDisabled = ranges.ingVlanRangeDisabled;
  }
  template <class Machine>
  Qel::Ptr<Machine> create(const std::string& command) {
    const auto machine = createMachine(command, Rendering::kJson);
    if (machine == nullptr) {
      ADD_FAILURE() << "no machine for " << command;
      return nullptr;
    }
    EXPECT_EQ(machine->name(), "request-7");
    EXPECT_EQ(machine->maxRunTime(), std::chrono::milliseconds(50));
    EXPECT_EQ(machine->clock(), world.clock);
    EXPECT_TRUE(machine->hasNotificationActive());
    EXPECT_TRUE(command.starts_with(executed())) << executed();
    expectHandled(formatted->outcome());
    return Qel::ptrCast<Machine>(machine);
  }
  void expectNoMachine(const std::string& command) {
    traces->clear();
    EXPECT_EQ(createMachine(command), nullptr);
    EXPECT_EQ(formatted->outcome().kind, Kind::noHandler);
    EXPECT_THAT(traced(8), ElementsAre("command: " + command)) << "nothing is missing";
    EXPECT_EQ(executed(), "");
    expectUntouchedSocket();
  }
  void expectMissing(const std::string& command, const std::string& reason) {
    traces->clear();
    EXPECT_EQ(createMachine(command), nullptr);
    EXPECT_THAT(traced(8), ElementsAre("command: " + command, reason));
    EXPECT_EQ(executed(), "");
    expectNotReady(formatted->outcome(), reason);
    expectUntouchedSocket();
  }
};

TEST_F(VlanDumpHandlersTest, EgressTranslationIsGivenTheThreeEgressDirectories) {
  const auto machine = create<EgrVlanXlateSwRequestSmBase>("EGR_VLAN_XLATE_STATUS");
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->egrVlanXlateVfiConfigDir(), world.vlanXlate->vlanVnis);
  EXPECT_EQ(machine->egrPortVlanXlateStatusDir(), world.vlanXlate->egrPortVlans);
  EXPECT_EQ(machine->egrVxlanVlanXlateStatusDir(), world.vlanXlate->egrVxlanVlans);
  EXPECT_EQ(executed(), "EGR_VLAN_XLATE_STATUS");
}

TEST_F(VlanDumpHandlersTest, IngressTranslationIsGivenTheThreeIngressDirectories) {
  const auto machine = create<IngVlanXlateSwRequestSmBase>("VLAN_XLATE_STATUS");
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->vlanXlateDipConfigDir(), world.vlanXlate->dips);
  EXPECT_EQ(machine->vlanSvpStatusDir(), world.vlanXlate->vlanSvps);
  EXPECT_EQ(machine->portVlanXlateStatusDir(), world.vlanXlate->portVlans);
  EXPECT_EQ(executed(), "VLAN_XLATE_STATUS");
}

TEST_F(VlanDumpHandlersTest, AFixedRangeTableGetsTheMachineOfPortNumbers) {
  world.ingVlanRange->size = 17;
  const auto machine = create<IngVlanRangeRequestSm>("ING_VLAN_RANGE");
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->fcsd(), world.fcsd);
  EXPECT_EQ(machine->vlanXlateScaleEntryDir(), world.ingVlanRange->scale);
  EXPECT_EQ(machine->cmdRingManager(), world.ringManager);
  EXPECT_EQ(machine->ingVlanRangeSize(), 17U);
  EXPECT_TRUE(machine->initialized());
  EXPECT_EQ(executed(), "ING_VLAN_RANGE");
}

TEST_F(VlanDumpHandlersTest, ADynamicRangeTableGetsTheMachineOfHardwareIndexes) {
  rangesAre({.ingVlanRange = true, .ingVlanDynamicRange = true});
  world.ingVlanRange->size = 255;
  const auto machine = create<IngDynamicVlanRangeRequestSm>("ING_VLAN_RANGE");
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->fcsd(), world.fcsd);
  EXPECT_EQ(machine->vlanXlateScaleEntryDir(), world.ingVlanRange->scale);
  EXPECT_EQ(machine->cmdRingManager(), world.ringManager);
  EXPECT_EQ(machine->ingVlanRangeSize(), 255U);
  EXPECT_EQ(machine->portHwIndexMappingDir(), world.ingVlanRange->hwIndexes);
}

TEST_F(VlanDumpHandlersTest, TheMachinesAnswerInTheFormatOfTheRequest) {
  const Bridging::IntfId intf("Ethernet1");
  world.fcsd->intf.add(intf);
  world.ingVlanRange->scale->entries.put(intf, {.size = 9});
  EXPECT_CALL(*world.ringManager, getIngVlanRangeEntry(0x200, 1023))
      .WillOnce(Return(
          IngVlanRangeParam{{Bridging::VlanIdRange(Bridging::VlanId(10), Bridging::VlanId(20))}}));
  create<IngVlanRangeRequestSm>("ING_VLAN_RANGE")->runCommand();
  EXPECT_EQ(answer(), R"({"intfVlanRanges":{"Ethernet1":{"logicalPort":1023,"portChannel":"",)"
                      R"("oversize":true,"ranges":[{"first":10,"last":20}]}}})"
                      "\n");
  openSocket();
  create<EgrVlanXlateSwRequestSmBase>("EGR_VLAN_XLATE_STATUS")->runCommand();
  EXPECT_EQ(answer(), "{}\n");
}

TEST_F(VlanDumpHandlersTest, AKeywordIsTestedAsAPrefixOfTheWholeCommand) {
  create<EgrVlanXlateSwRequestSmBase>("EGR_VLAN_XLATE_STATUS_2");
  create<IngVlanXlateSwRequestSmBase>("VLAN_XLATE_STATUS+detail");
  create<IngVlanRangeRequestSm>("ING_VLAN_RANGEX");
  expectNoMachine("EGR_VLAN_XLATE_STATU");
  expectNoMachine("ing_vlan_range");
  expectNoMachine("XVLAN_XLATE_STATUS");
}

TEST_F(VlanDumpHandlersTest, AChipThatDoesNotTranslateHasNoTranslationCommands) {
  world.chipIs({.ingVlanXlate = false, .egrVlanXlate = false});
  expectNoMachine("EGR_VLAN_XLATE_STATUS");
  expectNoMachine("VLAN_XLATE_STATUS");
}

TEST_F(VlanDumpHandlersTest, AChipThatTranslatesAtEgressOnlyHasTheEgressCommandOnly) {
  world.chipIs({.ingVlanXlate = false, .egrVlanXlate = true});
  create<EgrVlanXlateSwRequestSmBase>("EGR_VLAN_XLATE_STATUS");
  expectNoMachine("VLAN_XLATE_STATUS");
}

TEST_F(VlanDumpHandlersTest, AChipThatTranslatesAtIngressHasBothWhateverItSaysOfEgress) {
  world.chipIs({.ingVlanXlate = true, .egrVlanXlate = false});
  create<EgrVlanXlateSwRequestSmBase>("EGR_VLAN_XLATE_STATUS");
  create<IngVlanXlateSwRequestSmBase>("VLAN_XLATE_STATUS");
}

TEST_F(VlanDumpHandlersTest, AChipWithoutRangesHasNoRangeCommand) {
  rangesAre({.ingVlanRange = false, .ingVlanDynamicRange = true});
  expectNoMachine("ING_VLAN_RANGE");
  rangesAre({.ingVlanRange = true, .ingVlanDynamicRange = true, .ingVlanRangeDisabled = true});
  expectNoMachine("ING_VLAN_RANGE");
  world.tableFeature = nullptr;
  expectNoMachine("ING_VLAN_RANGE");
}

TEST_F(VlanDumpHandlersTest, WithoutTheTranslationObjectTheTranslationCommandsAreNotReady) {
  ON_CALL(*world.unicast, vlanXlateSm).WillByDefault(Return(nullptr));
  expectMissing("EGR_VLAN_XLATE_STATUS", "no vlanXlateSm");
  expectMissing("VLAN_XLATE_STATUS", "no vlanXlateSm");
  create<IngVlanRangeRequestSm>("ING_VLAN_RANGE");
}

TEST_F(VlanDumpHandlersTest, EachObjectThatTheRangesNeedIsMissedByItsName) {
  ON_CALL(*world.agent, l2CmdRingManager).WillByDefault(Return(nullptr));
  expectMissing("ING_VLAN_RANGE", "no l2CmdRingManager");
  world.fcsd = nullptr;
  expectMissing("ING_VLAN_RANGE", "no featureAgentCommonSmData");
  ON_CALL(*world.unicast, ingVlanRangeSm).WillByDefault(Return(nullptr));
  expectMissing("ING_VLAN_RANGE", "no ingVlanRangeSm");
  create<IngVlanXlateSwRequestSmBase>("VLAN_XLATE_STATUS");
}

TEST_F(VlanDumpHandlersTest, TheSynchronousEntryKnowsNoneOfThem) {
  for (const char* command : {"EGR_VLAN_XLATE_STATUS", "ING_VLAN_RANGE", "VLAN_XLATE_STATUS"}) {
    runFormatted(command);
    EXPECT_EQ(formatted->outcome().kind, Kind::noHandler) << command;
    expectUntouchedSocket();
  }
}

TEST_F(VlanDumpHandlersTest, HandlersAreKnownByTheirNamesOneOfThemIrregular) {
  EXPECT_EQ(CliCallbackWithFormat::EgrVlanXlateStatusH::fmTypeName,
            "CliCallbackWithFormat::EgrVlanXlateStatusH");
  EXPECT_EQ(CliCallbackWithFormat::VlanXlateStatusH::fmTypeName,
            "CliCallbackWithFormat::VlanXlateStatusH");
  EXPECT_EQ(CliCallbackWithFormat::IngVlanRangeH::fmTypeName, "CliCallback::IngVlanRangeH");
  EXPECT_EQ(Qel::makePtr<CliCallbackWithFormat::IngVlanRangeH>("KEY")->typeData().name,
            "CliCallback::IngVlanRangeH");
}

}  // namespace
}  // namespace KorvoL2::Testing
