// How commands with an output format are checked and answered, at once or by a state machine.

#include <gmock/gmock.h>

#include <chrono>
#include <functional>

#include "KorvoL2/KorvoL2CliAsyncRequestSm.h"
#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandler.h"
#include "KorvoL2/KorvoL2CliCallbacks/MacTableHandlers.h"
#include "platform/base/Exceptions.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"
#include "tests/KorvoL2/SetterWalk.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Return;

class FormattedDispatchTest : public CallbackFixture {
 protected:
  /** The failures of the checks, each hiding those before it, from the last check to the first. */
  std::vector<std::pair<std::string, std::function<void()>>> failures() {
    return {
        {"l2 agent not ready", [&] { world.status.hardwareReady = false; }},
        {"unicast agent not initialized", [&] { world.unicastInitialized = false; }},
        {"no unicast agent",
         [&] { ON_CALL(*world.agent, unicastAgent).WillByDefault(Return(nullptr)); }},
        {"no l2 agent", [&] { formatted->l2AgentIs(nullptr); }},
    };
  }
  void expectNoMachine(const std::string& command) {
    EXPECT_EQ(createMachine(command), nullptr);
    EXPECT_EQ(formatted->outcome().kind, Kind::noHandler);
    expectUntouchedSocket();
  }
};

TEST_F(FormattedDispatchTest, ANewCallbackHasItsNamesAndInitialValues) {
  EXPECT_EQ(formatted->name(), "cliWithFormat");
  EXPECT_EQ(formatted->secondName(), "KorvoL2WithFormat");
  EXPECT_EQ(formatted->arg(), "");
  EXPECT_EQ(formatted->command(), "");
  EXPECT_EQ(formatted->asyncRequest(), nullptr);
  EXPECT_EQ(formatted->macAddrSmHelper(), nullptr);
  EXPECT_EQ(formatted->mcastHelper(), nullptr);
  EXPECT_EQ(formatted->outputFormat(), 0U);
  EXPECT_EQ(formatted->socket(), 0U);
  EXPECT_FALSE(formatted->detail());
  EXPECT_FALSE(formatted->vlanRangeSupported());
  EXPECT_FALSE(formatted->ingVlanDynamicRange());
  EXPECT_FALSE(formatted->egrVlanXlateFeature());
  EXPECT_FALSE(formatted->vlanXlateFeature());
  EXPECT_EQ(formatted->typeData().name, "KorvoL2::CliCallbackWithFormat");
  EXPECT_EQ(CliCallbackWithFormat::defaultBufferSize, 1048576U);
  EXPECT_EQ(CliCallbackWithFormat::defaultMaxRuntime, std::chrono::milliseconds(50));
}

TEST_F(FormattedDispatchTest, BothWaysOfCreationGiveACallbackOfItsOwn) {
  const auto other = CliCallbackWithFormat::CliCallbackWithFormatIs("other");
  EXPECT_NE(other, formatted);
  EXPECT_EQ(other->name(), "other");
  EXPECT_EQ(Qel::liveInstances("CliCallbackWithFormat"), 2);
}

TEST_F(FormattedDispatchTest, EachSetterPublishesItsAttributeOnChangeOnly) {
  const auto anyRequest = request("X");
  formatted->l2AgentIs(nullptr);
  expectSettersPublish(
      *formatted,
      {setter("l2Agent", [&] { formatted->l2AgentIs(world.agent.get()); }),
       setter("arg", [&] { formatted->argIs("x"); }),
       setter("command", [&] { formatted->commandIs("x"); }),
       setter("asyncRequest", [&] { formatted->asyncRequestIs(anyRequest); }),
       setter("macAddrSmHelper", [&] { formatted->macAddrSmHelperIs(world.macHelper.get()); }),
       setter("mcastHelper", [&] { formatted->mcastHelperIs(world.mcastHelper.get()); }),
       setter("outputFormat", [&] { formatted->outputFormatIs(2); }),
       setter("socket", [&] { formatted->socketIs(1); }),
       setter("detail", [&] { formatted->detailIs(true); }),
       setter("vlanRangeSupported", [&] { formatted->vlanRangeSupportedIs(true); }),
       setter("ingVlanDynamicRange", [&] { formatted->ingVlanDynamicRangeIs(true); }),
       setter("egrVlanXlateFeature", [&] { formatted->egrVlanXlateFeatureIs(true); }),
       setter("vlanXlateFeature", [&] { formatted->vlanXlateFeatureIs(true); })},
      settersDeclaredIn({"platform/command/CliCallbackBase.h",
                         "KorvoL2/KorvoL2CliCallbacks/CliCallbackWithFormat.h"}));
}

// The synchronous entry.

TEST_F(FormattedDispatchTest, AnUnknownCommandPrintsNothingAndLeavesItsSocketOpen) {
  runFormatted("NO_SUCH_COMMAND", Rendering::kJson);
  expectUntouchedSocket();
  EXPECT_EQ(formatted->outcome().kind, Kind::noHandler);
  EXPECT_EQ(executed(), "");
}

TEST_F(FormattedDispatchTest, TheCommandIsTracedWithSocketAndFormat) {
  runFormatted("NO_SUCH_COMMAND", Rendering::kJson);
  EXPECT_THAT(traced(8), ElementsAre("socket: " + std::to_string(socket()) +
                                     " command: NO_SUCH_COMMAND outputFormat: 2"));
}

TEST_F(FormattedDispatchTest, TheContextIsRefreshedFromTheCommandAndTheAgent) {
  formatted->asyncRequestIs(request("OLD"));
  runFormatted("X+detail", Rendering::kJson);
  EXPECT_EQ(formatted->command(), "X+detail");
  EXPECT_EQ(formatted->socket(), socket());
  EXPECT_EQ(formatted->outputFormat(), 2U);
  EXPECT_EQ(formatted->asyncRequest(), nullptr);
  EXPECT_EQ(formatted->macAddrSmHelper(), world.macHelper.get());
  EXPECT_EQ(formatted->mcastHelper(), world.mcastHelper.get());
  EXPECT_TRUE(formatted->detail());
}

TEST_F(FormattedDispatchTest, AnAgentThatIsNotReadyCostsOneTraceLineAndNothingElse) {
  for (const auto& [message, fail] : failures()) {
    SCOPED_TRACE(message);
    fail();
    traces->clear();
    runFormatted("NO_SUCH_COMMAND");
    EXPECT_THAT(traced(8), ElementsAre(HasSubstr("NO_SUCH_COMMAND"), message));
    EXPECT_EQ(traces->lines().size(), 2U);
    expectUntouchedSocket();
    expectNotReady(formatted->outcome(), message);
  }
}

TEST_F(FormattedDispatchTest, CommandsThatNeedNoHelperDoWithoutOne) {
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  ON_CALL(*world.agent, mcast).WillByDefault(Return(nullptr));
  runFormatted("NO_SUCH_COMMAND");
  EXPECT_EQ(formatted->macAddrSmHelper(), nullptr);
  EXPECT_EQ(formatted->mcastHelper(), nullptr);
  EXPECT_EQ(formatted->outcome().kind, Kind::noHandler);
  EXPECT_EQ(traced(8).size(), 1U);
}

TEST_F(FormattedDispatchTest, AMulticastHelperOfAnotherKindIsNone) {
  const auto other = Qel::makePtr<OtherMcastHelper>();
  ON_CALL(*world.mcast, mcastHelper).WillByDefault(Return(other.get()));
  runFormatted("NO_SUCH_COMMAND");
  EXPECT_EQ(formatted->mcastHelper(), nullptr);
}

TEST_F(FormattedDispatchTest, DetailIsTheLowerCaseWordAnywhereInTheCommand) {
  runFormatted("Xdetailed");
  EXPECT_TRUE(formatted->detail());
  runFormatted("X+DETAIL");
  EXPECT_FALSE(formatted->detail());
}

TEST_F(FormattedDispatchTest, TheArgumentOfTheLastRowIsTheCommandLessTheDetailLength) {
  runFormatted("COMMAND");
  EXPECT_EQ(formatted->arg(), "COMMAND");
  runFormatted("COMMAND+detail");
  EXPECT_EQ(formatted->arg(), "+detail");
  runFormatted("detail");
  EXPECT_EQ(formatted->arg(), "");
}

// The asynchronous entry.

class AsyncDispatchTest : public FormattedDispatchTest {};

TEST_F(AsyncDispatchTest, MactAllCreatesTheSoftwareTableDump) {
  const auto machine = createMachine("MACT_ALL");
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->typeData().name, "KorvoL2::L2SwTableRequestSm");
  EXPECT_EQ(machine->name(), "request-7");
  EXPECT_EQ(machine->maxRunTime(), std::chrono::milliseconds(50));
  EXPECT_EQ(machine->clock(), world.clock);
  EXPECT_EQ(machine->agentCommandRequest()->commandString(), "MACT_ALL");
  EXPECT_TRUE(machine->initialized());
  EXPECT_TRUE(machine->hasNotificationActive());
  EXPECT_FALSE(machine->executionCompleteFlag());
  EXPECT_EQ(executed(), "MACT_ALL");
  EXPECT_THAT(traced(8), ElementsAre("command: MACT_ALL"));
  expectHandled(formatted->outcome());
  expectUntouchedSocket();
}

TEST_F(AsyncDispatchTest, TheMachineWalksTheTableOfTheAgentsHelper) {
  world.macs.put({10, Bridging::EthAddr(1)}, {});
  EXPECT_CALL(*world.macShadow,
              printMacEntry(_, Bridging::MacVlanPair(10, Bridging::EthAddr(1)), _));
  const auto machine = createMachine("MACT_ALL", Rendering::kJson);
  ASSERT_NE(machine, nullptr);
  machine->runCommand();
  EXPECT_TRUE(machine->executionCompleteFlag());
  EXPECT_EQ(answer(), "{\"macTableEntries\":[{}],\"numEntries\":1}\n");
}

TEST_F(AsyncDispatchTest, MactHwAllCreatesTheHardwareTableDump) {
  world.macs.put({10, Bridging::EthAddr(1)}, {});
  world.fapChips.put(Tessar::FapId(3), {"Chip3", Tessar::FapId(3)});
  const auto machine =
      Qel::ptrCast<L2HwTableRequestSm>(createMachine("MACT_HW_ALL+detail3", Rendering::kJson));
  ASSERT_NE(machine, nullptr);
  EXPECT_TRUE(machine->detail());
  EXPECT_EQ(machine->name(), "request-7");
  EXPECT_EQ(machine->maxRunTime(), std::chrono::milliseconds(50));
  EXPECT_EQ(machine->clock(), world.clock);
  EXPECT_TRUE(machine->initialized());
  EXPECT_CALL(*world.macShadow,
              printMacEntryHw(_, _, Tessar::FapId(3), true, _, _, world.mcastHelper.get()));
  machine->runCommand();
  EXPECT_EQ(executed(), "MACT_HW_ALL");
}

TEST_F(AsyncDispatchTest, MactHwAllWithoutDetailIsNotDetailed) {
  const auto machine = Qel::ptrCast<L2HwTableRequestSm>(createMachine("MACT_HW_ALL3"));
  ASSERT_NE(machine, nullptr);
  EXPECT_FALSE(machine->detail());
}

template <class Machine>
void expectCheck(const Qel::Ptr<Machine>& machine, const MockAgentWorld& world) {
  ASSERT_NE(machine, nullptr);
  EXPECT_TRUE(machine->detail());
  EXPECT_EQ(machine->fapIdList(), "3,4");
  EXPECT_EQ(machine->numReq(), 1U);
  EXPECT_EQ(machine->name(), "request-7");
  EXPECT_EQ(machine->maxRunTime(), std::chrono::milliseconds(50));
  EXPECT_EQ(machine->clock(), world.clock);
  EXPECT_TRUE(machine->initialized());
}

TEST_F(AsyncDispatchTest, MactDiffCreatesTheDifferenceReport) {
  world.fapChips.put(Tessar::FapId(3), {"Chip3", Tessar::FapId(3)});
  EXPECT_CALL(*world.tableReader, createTransactionId).Times(2);
  EXPECT_CALL(*world.tableReader, mcastHelperIs(world.mcastHelper.get())).Times(2);
  EXPECT_CALL(*world.tableReader, newReqIs).Times(2);
  expectCheck(Qel::ptrCast<L2MacDiffRequestSm>(createMachine("MACT_DIFF+detail3,4")), world);
  EXPECT_EQ(executed(), "MACT_DIFF");
}

TEST_F(AsyncDispatchTest, MactMissingCreatesTheMissingEntryReport) {
  world.fapChips.put(Tessar::FapId(3), {"Chip3", Tessar::FapId(3)});
  EXPECT_CALL(*world.tableReader, createTransactionId).Times(2);
  EXPECT_CALL(*world.tableReader, mcastHelperIs(world.mcastHelper.get())).Times(2);
  EXPECT_CALL(*world.tableReader, newReqIs).Times(2);
  expectCheck(Qel::ptrCast<L2MacMissingRequestSm>(createMachine("MACT_MISSING+detail3,4")), world);
  EXPECT_EQ(executed(), "MACT_MISSING");
}

TEST_F(AsyncDispatchTest, WhatAMachineThrowsAtItsCreationPassesOn) {
  EXPECT_THROW(createMachine("MACT_DIFF129"), Qel::RangeException);
  EXPECT_EQ(formatted->asyncRequest(), nullptr);
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
  EXPECT_EQ(Qel::liveInstances("L2MacDiffRequestSm"), 0);
  EXPECT_EQ(liveHandlers(), 0);
}

TEST_F(AsyncDispatchTest, AKeywordIsTestedAsAPrefixWithItsCase) {
  EXPECT_NE(createMachine("MACT_ALLX"), nullptr);
  EXPECT_EQ(formatted->arg(), "X");
  expectNoMachine("mact_all");
  expectNoMachine("MACT_AL");
  expectNoMachine(" MACT_ALL");
}

TEST_F(AsyncDispatchTest, AnUnknownCommandGivesNoMachineAndLeavesItsSocketOpen) {
  expectNoMachine("NO_SUCH_COMMAND");
  EXPECT_EQ(executed(), "");
  expectNoMachine("");
}

TEST_F(AsyncDispatchTest, WithDetailTheArgumentSkipsTheWordAndItsSeparator) {
  EXPECT_NE(createMachine("MACT_ALL+detail+0,1"), nullptr);
  EXPECT_TRUE(formatted->detail());
  EXPECT_EQ(formatted->arg(), "+0,1");
}

TEST_F(AsyncDispatchTest, WithDetailElsewhereTheArgumentLosesSevenCharacters) {
  EXPECT_NE(createMachine("MACT_ALL 0,1 detail"), nullptr);
  EXPECT_EQ(formatted->arg(), "tail");
  EXPECT_NE(createMachine("MACT_ALLdetail"), nullptr);
  EXPECT_EQ(formatted->arg(), "");
}

TEST_F(AsyncDispatchTest, AnAgentThatIsNotReadyGivesNoMachine) {
  for (const auto& [message, fail] : failures()) {
    SCOPED_TRACE(message);
    fail();
    traces->clear();
    EXPECT_EQ(createMachine("MACT_ALL"), nullptr);
    EXPECT_THAT(traced(8), ElementsAre("command: MACT_ALL", message));
    EXPECT_EQ(traces->lines().size(), 2U);
    expectUntouchedSocket();
    expectNotReady(formatted->outcome(), message);
  }
}

TEST_F(AsyncDispatchTest, WithoutTheMacHelperNoMacTableCommandHasAMachine) {
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  for (const std::string command : {"MACT_DIFF", "MACT_HW_ALL", "MACT_MISSING", "MACT_ALL"}) {
    traces->clear();
    EXPECT_EQ(createMachine(command), nullptr);
    EXPECT_THAT(traced(8), ElementsAre("command: " + command, "no macAddrSmHelp"));
    EXPECT_EQ(executed(), "");
    expectNotReady(formatted->outcome(), "no macAddrSmHelp");
    expectUntouchedSocket();
  }
}

TEST_F(AsyncDispatchTest, WithoutTheMacTableShadowNoMacTableCommandHasAMachine) {
  ON_CALL(*world.macHelper, macTblShadow).WillByDefault(Return(nullptr));
  for (const std::string command : {"MACT_DIFF", "MACT_HW_ALL", "MACT_MISSING", "MACT_ALL"}) {
    traces->clear();
    EXPECT_EQ(createMachine(command), nullptr);
    EXPECT_THAT(traced(8), ElementsAre("command: " + command, "no macTblShadow"));
    EXPECT_EQ(executed(), "");
    expectNotReady(formatted->outcome(), "no macTblShadow");
    expectUntouchedSocket();
  }
}

TEST_F(AsyncDispatchTest, TheMacHelperIsAskedForByItsOwnCommandsOnly) {
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  expectNoMachine("NO_SUCH_COMMAND");
  EXPECT_THAT(traced(8), ElementsAre("command: NO_SUCH_COMMAND"));
}

TEST_F(AsyncDispatchTest, TheRequestIsLetGoWithItsMachine) {
  auto machine = createMachine("MACT_ALL");
  EXPECT_EQ(formatted->asyncRequest(), nullptr);
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 1);
  EXPECT_EQ(Qel::liveInstances("L2SwTableRequestSm"), 1);
  machine = nullptr;
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
  EXPECT_EQ(Qel::liveInstances("L2SwTableRequestSm"), 0);
}

TEST_F(AsyncDispatchTest, TheRequestIsLetGoWhenItsMachineCannotBeMade) {
  ON_CALL(*world.agent, activityClock).WillByDefault(Return(nullptr));
  EXPECT_THROW(createMachine("MACT_ALL"), Qel::AssertionException);
  EXPECT_EQ(formatted->asyncRequest(), nullptr);
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
  EXPECT_EQ(liveHandlers(), 0);
}

TEST_F(AsyncDispatchTest, ARequestThatIsNoneBreaksAnAssumption) {
  EXPECT_THROW(formatted->createAgentAsyncCommandRequestSm(nullptr), Qel::AssertionException);
}

TEST_F(AsyncDispatchTest, RangeFlagsFollowTheTableFeatures) {
  for (const bool ranges : {false, true}) {
    for (const bool dynamic : {false, true}) {
      for (const bool disabled : {false, true}) {
        world.tableFeature = Qel::makePtr<ChipL2TableFeature>();
        world.tableFeature->ingVlanRange = ranges;
        world.tableFeature->ingVlanDynamicRange = dynamic;
        world.tableFeature->ingVlanRangeDisabled = disabled;
        createMachine("NO_SUCH_COMMAND");
        EXPECT_EQ(formatted->vlanRangeSupported(), ranges && !disabled);
        EXPECT_EQ(formatted->ingVlanDynamicRange(), dynamic && !disabled);
      }
    }
  }
  formatted->vlanRangeSupportedIs(true);
  formatted->ingVlanDynamicRangeIs(true);
  world.tableFeature = nullptr;
  createMachine("NO_SUCH_COMMAND");
  EXPECT_FALSE(formatted->vlanRangeSupported());
  EXPECT_FALSE(formatted->ingVlanDynamicRange());
}

TEST_F(AsyncDispatchTest, TranslationFlagsFollowTheChip) {
  for (const bool ing : {false, true}) {
    for (const bool egr : {false, true}) {
      world.chipIs({.ingVlanXlate = ing, .egrVlanXlate = egr});
      createMachine("NO_SUCH_COMMAND");
      EXPECT_EQ(formatted->vlanXlateFeature(), ing);
      EXPECT_EQ(formatted->egrVlanXlateFeature(), ing || egr);
    }
  }
  world.chipIsUnknown();
  formatted->egrVlanXlateFeatureIs(false);
  createMachine("NO_SUCH_COMMAND");
  EXPECT_TRUE(formatted->vlanXlateFeature()) << "the last known chip translated at ingress";
  EXPECT_TRUE(formatted->egrVlanXlateFeature());
}

TEST_F(AsyncDispatchTest, TheChipIsNotAskedAboutForAnswersAtOnce) {
  world.chipIs({.ingVlanXlate = true});
  runFormatted("NO_SUCH_COMMAND");
  EXPECT_FALSE(formatted->vlanXlateFeature());
}

// The handlers' bases.

TEST(FormattedHandlerTest, BaseActionsNameThemselvesInTheirExceptions) {
  const auto callback = cliCallbackWithFormatFactory("cli");
  try {
    Qel::makePtr<CliCallbackWithFormat::Handler>("KEY")->action(callback);
    FAIL() << "nothing was thrown";
  } catch (const Qel::NoImplementationException& e) {
    EXPECT_THAT(e.what(), HasSubstr("KorvoL2::CliCallbackWithFormat::Handler::action("));
    EXPECT_THAT(e.what(), EndsWith(" must be implemented in the derived class"));
  }
  try {
    Qel::makePtr<CliCallbackWithFormat::AsyncHandler>("KEY")->action(callback);
    FAIL() << "nothing was thrown";
  } catch (const Qel::NoImplementationException& e) {
    EXPECT_THAT(e.what(), HasSubstr("KorvoL2::CliCallbackWithFormat::AsyncHandler::action("));
    EXPECT_THAT(e.what(), EndsWith(" must be implemented in the derived class"));
  }
}

TEST(FormattedHandlerTest, ClassesAreKnownByTheirQualifiedNames) {
  EXPECT_EQ(CliCallbackWithFormat::MactAllH::fmTypeName, "CliCallbackWithFormat::MactAllH");
  EXPECT_EQ(CliCallbackWithFormat::DefaultH::fmTypeName, "CliCallbackWithFormat::DefaultH");
  EXPECT_EQ(CliCallbackWithFormat::DefaultAsyncH::fmTypeName,
            "CliCallbackWithFormat::DefaultAsyncH");
}

}  // namespace
}  // namespace KorvoL2::Testing
