// How a plain-text command is checked, split and given to a handler.

#include <gmock/gmock.h>
#include <sys/socket.h>

#include <functional>
#include <map>
#include <stdexcept>

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"
#include "platform/base/Exceptions.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Return;
using ::testing::Throw;

class PlainDispatchTest : public CallbackFixture {
 protected:
  std::map<int, std::string> tokensOf(const std::string& command) {
    openSocket();
    runPlain(command);
    std::map<int, std::string> result;
    for (const auto& [position, entry] : plain->cmdTokens()) result[position] = entry->text();
    return result;
  }
};

TEST_F(PlainDispatchTest, AnAgentThatIsNotReadyCostsOneTraceLineAndNothingElse) {
  const std::vector<std::pair<std::string, std::function<void()>>> failures{
      // From the last check to the first: each one added hides those before.
      {"no mcastHelper", [&] { ON_CALL(*world.agent, mcast).WillByDefault(Return(nullptr)); }},
      {"no macTblShadow",
       [&] { ON_CALL(*world.macHelper, macTblShadow).WillByDefault(Return(nullptr)); }},
      {"no macAddrSmHelper",
       [&] { ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr)); }},
      {"l2 agent not ready", [&] { world.unicastReady = false; }},
      {"unicast agent not initialized", [&] { world.unicastInitialized = false; }},
      {"no unicast agent",
       [&] { ON_CALL(*world.agent, unicastAgent).WillByDefault(Return(nullptr)); }},
      {"no l2 agent", [&] { plain->l2AgentIs(nullptr); }},
  };
  for (const auto& [message, fail] : failures) {
    SCOPED_TRACE(message);
    fail();
    traces->clear();
    runPlain("EGR_MASK_STATUS");
    EXPECT_THAT(traced(8), ElementsAre(message));
    EXPECT_EQ(traces->lines().size(), 1U);
    EXPECT_EQ(traces->lines().front().handle, "KorvoL2CliCallbacks");
    expectUntouchedSocket();
    expectNotReady(plain->outcome(), message);
  }
}

TEST_F(PlainDispatchTest, BothFlagsOfTheAgentAndTheUnicastAgentsOwnMustBeSet) {
  for (const bool config : {false, true}) {
    for (const bool hardware : {false, true}) {
      for (const bool unicast : {false, true}) {
        world.status = {.configReady = config, .hardwareReady = hardware};
        world.unicastReady = unicast;
        openSocket();
        traces->clear();
        runPlain("NO_SUCH_COMMAND");
        if (config && hardware && unicast) {
          expectInvalidCommand();
        } else {
          EXPECT_THAT(traced(8), ElementsAre("l2 agent not ready"));
          expectUntouchedSocket();
        }
      }
    }
  }
}

TEST_F(PlainDispatchTest, TheOutcomeOfOneCommandDoesNotOutliveIt) {
  world.unicastReady = false;
  runPlain("FCVDS");
  expectNotReady(plain->outcome(), "l2 agent not ready");
  world.unicastReady = true;
  EXPECT_CALL(*world.flexCounter, showVtepDecapFlexCountersSummary(socket()));
  runPlain("FCVDS");
  expectHandled(plain->outcome());
}

TEST_F(PlainDispatchTest, WithAnotherOwnerOfTheTableCommandsDoWithoutTheMacHelper) {
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  world.l2TableMode = true;
  EXPECT_CALL(*world.mlag, showEgrMaskStatus(socket()));
  runPlain("EGR_MASK_STATUS");
  expectHandled(plain->outcome());
  EXPECT_EQ(plain->macAddrSmHelper(), nullptr);
}

TEST_F(PlainDispatchTest, TheContextIsRefreshedFromTheAgent) {
  runPlain("NO_SUCH_COMMAND");
  EXPECT_EQ(plain->command(), "NO_SUCH_COMMAND");
  EXPECT_EQ(plain->socket(), socket());
  EXPECT_EQ(plain->macAddrSmHelper(), world.macHelper.get());
  EXPECT_EQ(plain->l2ModFifoMonitorSm(), world.fifoMonitor.get());
  EXPECT_EQ(plain->mcastHelper(), world.mcastHelper.get());
  EXPECT_EQ(plain->chipAttr(), *world.chips.find(world.kChip));

  ON_CALL(*world.agent, l2ModFifoMonitorSm).WillByDefault(Return(nullptr));
  openSocket();
  runPlain("NO_SUCH_COMMAND");
  EXPECT_EQ(plain->l2ModFifoMonitorSm(), nullptr);
}

TEST_F(PlainDispatchTest, AMulticastHelperOfAnotherKindIsNone) {
  const auto other = Qel::makePtr<OtherMcastHelper>();
  ON_CALL(*world.mcast, mcastHelper).WillByDefault(Return(other.get()));
  runPlain("NO_SUCH_COMMAND");
  EXPECT_EQ(plain->mcastHelper(), nullptr);
  expectInvalidCommand();
}

TEST_F(PlainDispatchTest, TranslationFlagsFollowTheChip) {
  struct Case {
    bool ing, egr, expectIng, expectEgr;
  };
  for (const Case& c : {Case{false, false, false, false}, Case{false, true, false, true},
                        Case{true, false, true, true}, Case{true, true, true, true}}) {
    world.chipIs({.ingVlanXlate = c.ing, .egrVlanXlate = c.egr});
    openSocket();
    runPlain("NO_SUCH_COMMAND");
    EXPECT_EQ(plain->vlanXlateFeature(), c.expectIng);
    EXPECT_EQ(plain->egrVlanXlateFeature(), c.expectEgr);
  }
}

TEST_F(PlainDispatchTest, AnUnknownChipKeepsTheIngressFlagAndIsTakenToTranslateAtEgress) {
  world.chipIsUnknown();
  runPlain("NO_SUCH_COMMAND");
  EXPECT_EQ(plain->chipAttr(), nullptr);
  EXPECT_FALSE(plain->vlanXlateFeature());
  EXPECT_TRUE(plain->egrVlanXlateFeature());

  plain->vlanXlateFeatureIs(true);
  openSocket();
  runPlain("NO_SUCH_COMMAND");
  EXPECT_TRUE(plain->vlanXlateFeature());
}

TEST_F(PlainDispatchTest, DetailIsTheLowerCaseWordAnywhereInTheCommand) {
  const std::map<std::string, bool> commands{
      {"X+detail", true},  {"Xdetailed", true}, {"detail", true},
      {"X+DETAIL", false}, {"X+detai", false},  {"", false},
  };
  for (const auto& [command, expected] : commands) {
    openSocket();
    runPlain(command);
    EXPECT_EQ(plain->detail(), expected) << command;
  }
}

TEST_F(PlainDispatchTest, ACommandIsSplitAtEveryPlus) {
  using Tokens = std::map<int, std::string>;
  EXPECT_EQ(tokensOf("A++B"), (Tokens{{1, "A"}, {2, ""}, {3, "B"}}));
  EXPECT_EQ(tokensOf("+A"), (Tokens{{1, ""}, {2, "A"}}));
  EXPECT_EQ(tokensOf("A+"), (Tokens{{1, "A"}}));
  EXPECT_EQ(tokensOf("A++"), (Tokens{{1, "A"}, {2, ""}}));
  EXPECT_EQ(tokensOf("+"), (Tokens{{1, ""}}));
  EXPECT_EQ(tokensOf(""), Tokens{});
  EXPECT_EQ(tokensOf(" a + B "), (Tokens{{1, " a "}, {2, " B "}}));
}

TEST_F(PlainDispatchTest, NoTokenOfTheCommandBeforeSurvives) {
  tokensOf("A+B+C");
  EXPECT_EQ(tokensOf("D"), (std::map<int, std::string>{{1, "D"}}));
}

TEST_F(PlainDispatchTest, AKeywordIsTestedAsAPrefixAndTheRestIsTheArgument) {
  EXPECT_CALL(*world.mlag, showEgrMaskStatus(socket()));
  runPlain("EGR_MASK_STATUSX");
  EXPECT_EQ(executed(), "EGR_MASK_STATUS");
  EXPECT_EQ(plain->arg(), "X");
  expectHandled(plain->outcome());
}

TEST_F(PlainDispatchTest, KeywordsAreTestedWithTheirCase) {
  runPlain("egr_mask_status");
  expectInvalidCommand();
}

TEST_F(PlainDispatchTest, AKeywordInsideTheCommandIsNotOne) {
  runPlain(" EGR_MASK_STATUS");
  expectInvalidCommand();
}

TEST_F(PlainDispatchTest, ACommandThatIsOnlyThePrefixOfAKeywordIsUnknown) {
  runPlain("EGR_MASK_STATU");
  expectInvalidCommand();
}

TEST_F(PlainDispatchTest, AnUnknownCommandIsRefusedAndItsSocketClosed) {
  runPlain("NO_SUCH_COMMAND+1");
  expectInvalidCommand();
  EXPECT_EQ(traced(5), (std::vector<std::string>{"Executing handler "}));
  EXPECT_EQ(plain->arg(), "NO_SUCH_COMMAND+1");
}

TEST_F(PlainDispatchTest, AnEmptyCommandIsUnknown) {
  runPlain("");
  expectInvalidCommand();
}

TEST_F(PlainDispatchTest, TheHandlerTakenIsTracedBeforeItActs) {
  EXPECT_CALL(*world.mlag, showEgrMaskStatus).WillOnce([this] {
    EXPECT_EQ(executed(), "EGR_MASK_STATUS");
    EXPECT_EQ(plain->arg(), "+rest");
  });
  runPlain("EGR_MASK_STATUS+rest");
}

TEST_F(PlainDispatchTest, AnActionThatThrowsPassesItOnAndLeavesNothingBehind) {
  EXPECT_CALL(*world.mlag, showEgrMaskStatus).WillOnce(Throw(std::runtime_error("broken printer")));
  try {
    runPlain("EGR_MASK_STATUS");
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "broken printer");
  }
  EXPECT_EQ(liveHandlers(), 0);
  expectUntouchedSocket();
}

TEST_F(PlainDispatchTest, TheSendBufferIsForcedToTwoMegabytesWhereTheProcessMay) {
  constexpr int kForced = 2097152;
  const auto sendBuffer = [](std::uint32_t socket) {
    int bytes = 0;
    socklen_t length = sizeof bytes;
    EXPECT_EQ(::getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_SNDBUF, &bytes, &length), 0);
    return bytes;
  };
  CommandSocket probe;
  const bool privileged = ::setsockopt(static_cast<int>(probe.descriptor()), SOL_SOCKET,
                                       SO_SNDBUFFORCE, &kForced, sizeof kForced) == 0;
  const int before = sendBuffer(socket());
  world.unicastReady = false;  // before any check of the agent
  runPlain("EGR_MASK_STATUS");
  // The system doubles what it is given, for its own bookkeeping.
  EXPECT_EQ(sendBuffer(socket()), privileged ? 2 * kForced : before);
  openSocket();
  runFormatted("EGR_MASK_STATUS");
  EXPECT_EQ(sendBuffer(socket()), privileged ? 2 * kForced : before);
}

TEST_F(PlainDispatchTest, ASocketThatIsNoneHarmsNobody) {
  plain->handleCommand(0xffffffff, "NO_SUCH_COMMAND");
  EXPECT_EQ(plain->outcome().kind, Kind::noHandler);
}

TEST_F(PlainDispatchTest, CallsAreSafeWhenTheAgentIsLetGoMeanwhile) {
  EXPECT_CALL(*world.mlag, showEgrMaskStatus).WillOnce([this] {
    // The callback and the handler hold what they use.
    EXPECT_GE(world.agent->users(), 2U);
    EXPECT_GE(world.mlag->users(), 2U);
  });
  runPlain("EGR_MASK_STATUS");
  EXPECT_EQ(world.agent->users(), 1U);
  EXPECT_EQ(world.mlag->users(), 1U);
}

TEST(PlainHandlerTest, ABaseActionNamesItselfInItsException) {
  const auto handler = Qel::makePtr<CliCallback::Handler>("KEY");
  const auto callback = cliCallbackFactory("cli");
  try {
    handler->action(callback);
    FAIL() << "nothing was thrown";
  } catch (const Qel::NoImplementationException& e) {
    EXPECT_THAT(e.what(), HasSubstr("KorvoL2::CliCallback::Handler::action("));
    EXPECT_THAT(e.what(), EndsWith(" must be implemented in the derived class"));
  }
}

TEST(PlainHandlerTest, AKeywordIsAnAttribute) {
  const auto handler = Qel::makePtr<CliCallback::Handler>("KEY");
  EXPECT_EQ(handler->cmdName(), "KEY");
  handler->cmdNameIs("OTHER");
  const auto callback = cliCallbackFactory("cli");
  callback->commandIs("OTHERWISE");
  EXPECT_TRUE(handler->condition(callback));
  callback->commandIs("KEY");
  EXPECT_FALSE(handler->condition(callback));
}

}  // namespace
}  // namespace KorvoL2::Testing
