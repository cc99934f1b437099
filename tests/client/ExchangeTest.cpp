// One request against an agent that behaves in every way that an agent can.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <future>
#include <string>
#include <utility>
#include <vector>

#include "client/Exchange.h"
#include "tests/client/FakeAgent.h"

namespace KorvoCtl {
namespace {

using Peer = FakeAgent::Peer;
using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ExchangeTest : public testing::Test {
 protected:
  ExchangeTest() { ::signal(SIGPIPE, SIG_IGN); }

  // Asks the agent for MACT_ALL.
  Outcome ask(FakeAgent::Script script) {
    FakeAgent agent(std::move(script));
    return askAt(agent.path());
  }

  Outcome askAt(const std::string& path) {
    options_.socketPath = path;
    ProgressLine progress(-1, false, &std::chrono::steady_clock::now);
    return Exchange(options_, sink_, progress).run({Entry::kAsync, Format::kText, "MACT_ALL"});
  }

  ExchangeOptions options_;
  StringSink sink_{1 << 20};
};

// Scripts here get the request line too, which few look at.
template <class F>
FakeAgent::Script script(F body) {
  return [body](Peer& peer, const std::string& /*request*/) { body(peer); };
}

TEST_F(ExchangeTest, AnswerIsPassedOnWhole) {
  const Outcome outcome = ask(FakeAgent::answers("one\ntwo\n"));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  EXPECT_EQ(outcome.message, "");
  EXPECT_EQ(outcome.received, 8U);
  EXPECT_EQ(sink_.text(), "one\ntwo\n");
}

TEST_F(ExchangeTest, RequestLineArrivesWithADescriptorForTheAnswer) {
  int descriptors = 0;
  FakeAgent agent(script([&](Peer& peer) {
    descriptors = peer.descriptorsReceived();
    peer.done("ok", 0);
  }));
  EXPECT_EQ(askAt(agent.path()).status, ExitStatus::kOk);
  EXPECT_THAT(agent.requests(), ElementsAre("async text MACT_ALL"));
  EXPECT_EQ(descriptors, 1);
}

TEST_F(ExchangeTest, DoneMayComeBeforeTheAnswer) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.done("ok", 4);
    peer.waitUntilHeard();
    peer.answer("late");
    peer.closeAnswer();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  EXPECT_EQ(sink_.text(), "late");
}

TEST_F(ExchangeTest, DoneMayComeAfterTheAnswersEnd) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.answer("early");
    peer.closeAnswer();
    peer.accept();
    peer.waitUntilHeard();
    peer.done("ok", 5);
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  EXPECT_EQ(sink_.text(), "early");
}

TEST_F(ExchangeTest, CountEndsAnAnswerThatTheAgentDoesNotClose) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.answer("text");
    peer.done("ok", 4);
    peer.waitUntilClientIsGone();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  EXPECT_EQ(sink_.text(), "text");
}

TEST_F(ExchangeTest, DoneWithoutACountIsBelievedAtTheAnswersEnd) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.say("{\"event\":\"done\",\"status\":\"ok\"}\n");
    peer.waitUntilHeard();
    peer.answer("text");
    peer.closeAnswer();
    peer.waitUntilClientIsGone();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  EXPECT_EQ(sink_.text(), "text");
}

TEST_F(ExchangeTest, EventsMayArriveInPieces) {
  const Outcome outcome = ask(script([](Peer& peer) {
    const std::string events =
        "{\"event\":\"accepted\",\"id\":1}\n{\"event\":\"done\",\"status\":\"ok\",\"bytes\":2}\n";
    peer.answer("ok");
    peer.closeAnswer();
    for (const char c : events) {
      peer.say({&c, 1});
      peer.waitUntilHeard();
    }
    peer.waitUntilClientIsGone();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
}

TEST_F(ExchangeTest, LastEventNeedsNoNewlineWhenTheConnectionEnds) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.closeAnswer();
    peer.say(R"({"event":"done","status":"ok","bytes":0})");
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
}

TEST_F(ExchangeTest, UnknownAndEmptyAndGarbledLinesBetweenEventsArePassedOver) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.say("{\"event\":\"weather\",\"rain\":true}\n\n\x01\xff garbage {\n");
    peer.answer("text");
    peer.closeAnswer();
    peer.done("ok", 4);
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  EXPECT_EQ(sink_.text(), "text");
}

TEST_F(ExchangeTest, WhatFollowsDoneIsNotRead) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.closeAnswer();
    peer.say(
        "{\"event\":\"done\",\"status\":\"ok\",\"bytes\":0}\n"
        "{\"event\":\"done\",\"status\":\"error\"}\n");
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
}

TEST_F(ExchangeTest, LineThatIsNoEventIsTheRefusalOfTheRequest) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.say("no entry 'async' here\x1b[2J\n");
    peer.waitUntilClientIsGone();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kRefused);
  EXPECT_EQ(outcome.message, "the agent does not take the request: no entry 'async' here\x1b[2J");
}

TEST_F(ExchangeTest, RefusalNeedsNoNewlineWhenTheConnectionEnds) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.say("who are you");
    peer.closeControl();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kRefused);
  EXPECT_THAT(outcome.message, HasSubstr("who are you"));
}

TEST_F(ExchangeTest, FewerBytesThanAnnouncedIsAnAnswerCutOff) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.answer("half");
    peer.closeAnswer();
    peer.done("ok", 8);
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_EQ(outcome.message, "the answer was cut off: 4 of 8 bytes arrived");
  EXPECT_EQ(sink_.text(), "half");
}

TEST_F(ExchangeTest, MoreBytesThanAnnouncedIsNotTheAnswer) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.answer("too much");
    peer.closeAnswer();
    peer.accept();
    peer.waitUntilHeard();
    peer.done("ok", 3);
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, HasSubstr("8 bytes arrived of 3"));
}

TEST_F(ExchangeTest, ConnectionThatEndsMidwayIsAnAnswerCutOff) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.answer("half");
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, HasSubstr("cut off after 4 bytes"));
  EXPECT_EQ(sink_.text(), "half");
}

TEST_F(ExchangeTest, WhatTheAgentSaidLastIsToldWhenTheConnectionEndsMidway) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.say("terminate called\n");
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, HasSubstr("terminate called"));
}

TEST_F(ExchangeTest, AnswerIsPassedOnEvenWhenTheControlConnectionEndsFirst) {
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.waitUntilHeard();
    peer.closeControl();
    peer.answer("whole");
    peer.closeAnswer();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_EQ(sink_.text(), "whole");
}

TEST_F(ExchangeTest, AgentThatHangsUpWithoutAWordCannotBeReached) {
  const Outcome outcome = ask(script([](Peer&) {}));
  EXPECT_EQ(outcome.status, ExitStatus::kUnavailable);
  EXPECT_THAT(outcome.message, HasSubstr("without a word"));
}

TEST_F(ExchangeTest, EndlessLineIsNotTheProtocol) {
  const Outcome outcome = ask(script([](Peer& peer) {
    while (peer.say(std::string(65536, 'x'))) {
    }
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, HasSubstr("is no agent"));
}

TEST_F(ExchangeTest, AgentThatSaysNothingIsGivenUp) {
  std::vector<int> timeouts;
  options_.patience = std::chrono::milliseconds(1500);
  options_.poll = [&](pollfd*, nfds_t, int timeout) {
    timeouts.push_back(timeout);
    return 0;
  };
  const Outcome outcome = ask(script([](Peer& peer) { peer.waitUntilClientIsGone(); }));
  EXPECT_EQ(outcome.status, ExitStatus::kUnavailable);
  EXPECT_THAT(outcome.message, AllOf(HasSubstr("1.5 s"), HasSubstr("--timeout")));
  EXPECT_THAT(timeouts, ElementsAre(1500));
}

TEST_F(ExchangeTest, EveryWaitForAnAgentThatHasSpokenHasTheWholeLimit) {
  std::vector<int> timeouts;
  options_.poll = [&](pollfd* entries, nfds_t count, int timeout) {
    timeouts.push_back(timeout);
    return ::poll(entries, count, timeout);
  };
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.waitUntilHeard();
    peer.progress(1, 1);
    peer.waitUntilHeard();
    peer.answer("x");
    peer.closeAnswer();
    peer.waitUntilHeard();
    peer.done("ok", 1);
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  ASSERT_GE(timeouts.size(), 3U);
  EXPECT_EQ(timeouts.front(), 10000);
  timeouts.erase(timeouts.begin());
  // 0 where the end has been announced and the answer's is looked for.
  EXPECT_THAT(timeouts, Each(AnyOf(30000, 0)));
  EXPECT_GE(std::count(timeouts.begin(), timeouts.end(), 30000), 2);
}

// Every wait ends at once, as if its time had passed, when the agent has said all that it says.
class SilenceTest : public ExchangeTest {
 protected:
  // Asks an agent that does that and then nothing, with its answer and connection open.
  template <class F>
  Outcome askSilent(F body) {
    std::promise<void> said;
    std::shared_future<void> all = said.get_future().share();
    options_.poll = [this, all](pollfd* entries, nfds_t count, int timeout) {
      all.wait();
      timeouts_.push_back(timeout);
      if (timeouts_.size() > 100) {
        errno = ENOMEM;  // rather than waiting on and on
        return -1;
      }
      return ::poll(entries, count, 0);
    };
    return ask(script([&](Peer& peer) {
      body(peer);
      said.set_value();
      peer.waitUntilClientIsGone();
    }));
  }

  std::vector<int> timeouts_;
};

TEST_F(SilenceTest, AgentThatStopsSpeakingIsGivenUp) {
  options_.silence = std::chrono::milliseconds(2500);
  const Outcome outcome = askSilent([](Peer& peer) { peer.accept(); });
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, AllOf(HasSubstr("nothing for 2.5 s"), HasSubstr("--silence"),
                                     HasSubstr("after 0 bytes")));
  EXPECT_THAT(timeouts_, ElementsAre(10000, 2500));
}

TEST_F(SilenceTest, WhatCameBeforeIsPassedOn) {
  const Outcome outcome = askSilent([](Peer& peer) {
    peer.accept();
    peer.progress(1, 4);
    peer.answer("half");
  });
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, HasSubstr("after 4 bytes"));
  EXPECT_EQ(sink_.text(), "half");
}

TEST_F(SilenceTest, AnnouncedBytesThatDoNotComeAreAnAnswerCutOff) {
  const Outcome outcome = askSilent([](Peer& peer) {
    peer.accept();
    peer.answer("half");
    peer.done("ok", 8);
  });
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_EQ(outcome.message,
            "the answer was cut off: 4 of 8 bytes arrived, then nothing for 30 s (see --silence)");
  EXPECT_EQ(sink_.text(), "half");
}

TEST_F(SilenceTest, AnswerOfUnknownLengthWithoutAnEndIsNotWhole) {
  const Outcome outcome = askSilent([](Peer& peer) {
    peer.say("{\"event\":\"done\",\"status\":\"ok\"}\n");
    peer.answer("half");
  });
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, AllOf(HasSubstr("no end"), HasSubstr("4 bytes arrived")));
}

TEST_F(SilenceTest, WhatTheAgentSaidOfTheEndCountsMoreThanTheSilence) {
  const Outcome outcome =
      askSilent([](Peer& peer) { peer.done("not-ready", 8, "no macTblShadow"); });
  EXPECT_EQ(outcome.status, ExitStatus::kUnavailable);
  EXPECT_THAT(outcome.message, HasSubstr("no macTblShadow"));
}

TEST_F(SilenceTest, ConnectionThatEndsWithTheAnswerOpenIsGivenUpToo) {
  const Outcome outcome = askSilent([](Peer& peer) {
    peer.accept();
    peer.closeControl();
  });
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
}

TEST_F(ExchangeTest, SilenceOfZeroIsNeverGivenUp) {
  std::vector<int> timeouts;
  options_.silence = std::chrono::milliseconds(0);
  options_.poll = [&](pollfd* entries, nfds_t count, int timeout) {
    timeouts.push_back(timeout);
    return ::poll(entries, count, timeout);
  };
  const Outcome outcome = ask(script([](Peer& peer) {
    peer.accept();
    peer.waitUntilHeard();
    peer.closeAnswer();
    peer.done("ok", 0);
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kOk);
  ASSERT_GE(timeouts.size(), 2U);
  EXPECT_EQ(timeouts[1], -1);
}

TEST_F(ExchangeTest, PatienceOfZeroWaitsForEver) {
  std::vector<int> timeouts;
  options_.patience = std::chrono::milliseconds(0);
  options_.poll = [&](pollfd* entries, nfds_t count, int timeout) {
    timeouts.push_back(timeout);
    return ::poll(entries, count, timeout);
  };
  EXPECT_EQ(ask(FakeAgent::answers("")).status, ExitStatus::kOk);
  EXPECT_EQ(timeouts.at(0), -1);
}

TEST_F(ExchangeTest, InterruptedWaitGoesOn) {
  int calls = 0;
  options_.poll = [&](pollfd* entries, nfds_t count, int timeout) {
    if (calls++ % 2 == 0) {
      errno = EINTR;
      return -1;
    }
    return ::poll(entries, count, timeout);
  };
  EXPECT_EQ(ask(FakeAgent::answers("text")).status, ExitStatus::kOk);
  EXPECT_EQ(sink_.text(), "text");
}

TEST_F(ExchangeTest, WaitThatCannotBeMadeIsAFailure) {
  options_.poll = [](pollfd*, nfds_t, int) {
    errno = ENOMEM;
    return -1;
  };
  const Outcome outcome = ask(FakeAgent::answers("text"));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, HasSubstr("poll"));
}

TEST_F(ExchangeTest, RequestThatCannotBeSentIsNotSent) {
  options_.socketPath = "/nowhere";
  ProgressLine progress(-1, false, &std::chrono::steady_clock::now);
  const Outcome outcome =
      Exchange(options_, sink_, progress).run({Entry::kPlain, Format::kText, "A\nB"});
  EXPECT_EQ(outcome.status, ExitStatus::kUsage);
}

TEST_F(ExchangeTest, AnswerThatTheSinkDoesNotTakeEndsTheRequest) {
  std::promise<void> gone;
  const Outcome outcome = ask(script([&](Peer& peer) {
    peer.accept();
    while (peer.answer(std::string(65536, 'x'))) {
    }
    peer.waitUntilClientIsGone();
    gone.set_value();
  }));
  EXPECT_EQ(outcome.status, ExitStatus::kFailed);
  EXPECT_THAT(outcome.message, HasSubstr("longer than"));
  gone.get_future().wait();
}

struct Ending {
  const char* status;
  ExitStatus expected;
  const char* text;
};

class EndingTest : public ExchangeTest, public testing::WithParamInterface<Ending> {};

TEST_P(EndingTest, HasItsExitStatusAndSaysWhy) {
  const Outcome outcome = ask(FakeAgent::answers("", GetParam().status, "because of this"));
  EXPECT_EQ(outcome.status, GetParam().expected);
  EXPECT_THAT(outcome.message, AllOf(HasSubstr(GetParam().text), HasSubstr(": because of this"),
                                     Not(HasSubstr("cut off"))));
}

TEST_P(EndingTest, NeedsNoReason) {
  const Outcome outcome = ask(FakeAgent::answers("", GetParam().status));
  EXPECT_EQ(outcome.status, GetParam().expected);
  EXPECT_THAT(outcome.message, testing::EndsWith(GetParam().text));
}

TEST_P(EndingTest, KeepsWhatWasAnsweredSoFar) {
  const Outcome outcome = ask(FakeAgent::answers("part", GetParam().status));
  EXPECT_EQ(outcome.status, GetParam().expected);
  EXPECT_EQ(sink_.text(), "part");
  if (outcome.status == ExitStatus::kFailed) {
    EXPECT_THAT(outcome.message, HasSubstr("after 4 bytes, the answer is cut off"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Endings, EndingTest,
    testing::Values(Ending{"refused", ExitStatus::kRefused, "the agent refused the request"},
                    Ending{"no-handler", ExitStatus::kRefused,
                           "the agent has no handler for 'MACT_ALL'"},
                    Ending{"not-ready", ExitStatus::kUnavailable, "the agent is not ready"},
                    Ending{"error", ExitStatus::kFailed, "the command failed"},
                    Ending{"cancelled", ExitStatus::kFailed, "the request was cancelled"},
                    Ending{"client-gone", ExitStatus::kFailed, "because its answer was not read"},
                    Ending{"exploded", ExitStatus::kFailed, "ended with the status 'exploded'"},
                    Ending{"", ExitStatus::kFailed, "ended with the status ''"}),
    [](const auto& ending) {
      std::string name = ending.param.status;
      std::erase(name, '-');
      return name.empty() ? std::string("none") : name;
    });

}  // namespace
}  // namespace KorvoCtl
