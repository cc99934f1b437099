// korvoctl as a process: what only a process has, such as exit statuses, signals, pipes and
// terminals.
#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tests/client/Child.h"
#include "tests/client/FakeAgent.h"
#include "tests/client/Terminal.h"

namespace KorvoCtl {
namespace {

using Peer = FakeAgent::Peer;
using Kind = Child::Stream::Kind;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kErase = "\r\x1b[K";

template <class F>
FakeAgent::Script script(F body) {
  return [body](Peer& peer, const std::string& /*request*/) { body(peer); };
}

std::vector<std::string> dump(const FakeAgent& agent) {
  return {"-s", agent.path(), "show", "mac", "address-table"};
}

TEST(ProcessTest, AnswerComesOutAndStatusIsZero) {
  FakeAgent agent(FakeAgent::answers("one\ntwo\n"));
  Child child(dump(agent));
  EXPECT_EQ(child.readAllOutput(), "one\ntwo\n");
  EXPECT_EQ(child.readAllErrors(), "");
  EXPECT_EQ(child.wait(), 0);
}

TEST(ProcessTest, EachEndingHasItsExitStatus) {
  for (const auto& [status, expected] :
       {std::pair{"ok", 0}, std::pair{"refused", 3}, std::pair{"no-handler", 3},
        std::pair{"not-ready", 4}, std::pair{"error", 5}, std::pair{"cancelled", 5},
        std::pair{"client-gone", 5}}) {
    FakeAgent agent(FakeAgent::answers("", status, "reason"));
    Child child(dump(agent));
    EXPECT_EQ(child.readAllErrors().find("reason") == std::string::npos, expected == 0) << status;
    EXPECT_EQ(child.wait(), expected) << status;
  }
}

TEST(ProcessTest, FoundDifferencesAreStatusOne) {
  FakeAgent agent(std::vector<FakeAgent::Script>{
      FakeAgent::answers(R"({"chips":[{"id":3,"name":"Korvo3"}]})"),
      FakeAgent::answers("\nTotal entries different between software and hardware:  4\n\n")});
  Child child({"check", "mac", "diff", "-s", agent.path()});
  EXPECT_THAT(child.readAllOutput(), HasSubstr("hardware:  4"));
  EXPECT_EQ(child.wait(), 1);
}

TEST(ProcessTest, WrongUsageIsStatusTwo) {
  Child child({"show", "weather"});
  EXPECT_THAT(child.readAllErrors(), StartsWith("korvoctl: unknown command 'weather'"));
  EXPECT_EQ(child.readAllOutput(), "");
  EXPECT_EQ(child.wait(), 2);
}

TEST(ProcessTest, CommandThatIsTooLongOrTwoLinesIsStatusTwo) {
  for (const std::string& command : {std::string(70000, 'x'), std::string("A\nB"), std::string()}) {
    Child child({"raw", "sync", "text", command});
    EXPECT_THAT(child.readAllErrors(), StartsWith("korvoctl: the "));
    EXPECT_EQ(child.wait(), 2);
  }
}

TEST(ProcessTest, UnreachableAgentIsStatusFour) {
  Child child({"-s", "/nowhere/agent.sock", "agent", "status"});
  EXPECT_THAT(child.readAllErrors(),
              StartsWith("korvoctl: no agent answers at /nowhere/agent.sock"));
  EXPECT_EQ(child.wait(), 4);
}

TEST(ProcessTest, AnswerCutOffIsStatusFive) {
  FakeAgent agent(script([](Peer& peer) {
    peer.accept();
    peer.answer("half");
  }));
  Child child(dump(agent));
  EXPECT_EQ(child.readAllOutput(), "half");
  EXPECT_THAT(child.readAllErrors(), HasSubstr("cut off"));
  EXPECT_EQ(child.wait(), 5);
}

TEST(ProcessTest, AgentThatFallsSilentIsStatusFive) {
  for (const bool saysDone : {false, true}) {
    FakeAgent agent(script([&](Peer& peer) {
      // First, so that it comes within the longer wait for the first word.
      peer.answer("half");
      peer.accept();
      if (saysDone) {
        peer.done("ok", 8);
      }
      peer.waitUntilClientIsGone();
    }));
    auto words = dump(agent);
    words.insert(words.end(), {"--silence", "0.05"});
    Child child(words);
    EXPECT_EQ(child.readAllOutput(), "half");
    EXPECT_THAT(child.readAllErrors(), HasSubstr("nothing for 0.05 s (see --silence)"));
    EXPECT_EQ(child.wait(), 5) << saysDone;
  }
}

TEST(ProcessTest, EnvironmentNamesTheSocketUnlessAnOptionDoes) {
  {
    FakeAgent agent(FakeAgent::answers("from the environment"));
    Child child({"agent", "status"}, {.environment = {"KORVO_L2_SOCKET=" + agent.path()}});
    EXPECT_EQ(child.readAllOutput(), "from the environment");
    EXPECT_EQ(child.wait(), 0);
  }
  FakeAgent agent(FakeAgent::answers("from the option"));
  Child child({"agent", "status", "-s", agent.path()},
              {.environment = {"KORVO_L2_SOCKET=/nowhere/agent.sock"}});
  EXPECT_EQ(child.readAllOutput(), "from the option");
  EXPECT_EQ(child.wait(), 0);
}

TEST(ProcessTest, EmptyEnvironmentVariableNamesNoSocket) {
  Child child({"agent", "status"}, {.environment = {"KORVO_L2_SOCKET="}});
  EXPECT_THAT(child.readAllErrors(), HasSubstr("no agent answers at /run/korvo/l2-agent.sock"));
  EXPECT_EQ(child.wait(), 4);
}

TEST(ProcessTest, ReaderThatHasSeenEnoughEndsTheDumpQuietly) {
  std::promise<void> gone;
  FakeAgent agent(script([&](Peer& peer) {
    peer.accept();
    const std::string block(65536, 'x');
    while (peer.answer(block)) {
    }
    peer.waitUntilClientIsGone();
    gone.set_value();
  }));
  Child child(dump(agent));
  EXPECT_EQ(child.readOutput(10), "xxxxxxxxxx");
  child.closeOutput();
  gone.get_future().wait();
  EXPECT_EQ(child.readAllErrors(), "");
  EXPECT_EQ(child.wait(), -SIGPIPE);
}

TEST(ProcessTest, ReaderThatLeavesWhileNothingComesEndsTheCommand) {
  FakeAgent agent(script([](Peer& peer) {
    peer.accept();
    peer.answer("first");
    peer.waitUntilClientIsGone();
  }));
  Child child(dump(agent));
  EXPECT_EQ(child.readOutput(5), "first");
  child.closeOutput();
  EXPECT_EQ(child.wait(), -SIGPIPE);
}

TEST(ProcessTest, ReaderThatLeavesIsNoticedWhereSigpipeIsIgnored) {
  FakeAgent agent(script([](Peer& peer) {
    peer.accept();
    peer.waitUntilClientIsGone();
  }));
  Child child(dump(agent), {.ignoredSignals = {SIGPIPE}});
  child.closeOutput();
  EXPECT_EQ(child.readAllErrors(), "");
  EXPECT_EQ(child.wait(), -SIGPIPE);
}

TEST(ProcessTest, HugeAnswerThroughASlowReaderNeedsLittleMemory) {
  constexpr std::size_t kSize = 100 << 20;
  constexpr std::size_t kPeriod = 23;
  const std::string pattern = [] {
    std::string text(65536 + kPeriod, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
      text[i] = static_cast<char>('a' + i % kPeriod);
    }
    return text;
  }();
  std::promise<void> stalled;
  std::promise<void> measured;
  FakeAgent agent(script([&](Peer& peer) {
    peer.accept();
    bool wasFull = false;
    std::size_t sent = 0;
    while (sent < kSize) {
      const ssize_t n = ::send(peer.answerDescriptor(), pattern.data() + sent % kPeriod,
                               std::min<std::size_t>(65536, kSize - sent), MSG_DONTWAIT);
      if (n > 0) {
        sent += static_cast<std::size_t>(n);
        continue;
      }
      if (errno != EAGAIN) {
        return;
      }
      if (!std::exchange(wasFull, true)) {
        stalled.set_value();
      }
      pollfd entry{.fd = peer.answerDescriptor(), .events = POLLOUT, .revents = 0};
      ::poll(&entry, 1, -1);
    }
    measured.get_future().wait();
    peer.closeAnswer();
    peer.done("ok", sent);
  }));
  Child child(dump(agent));
  stalled.get_future().wait();
  const std::size_t before = child.peakMemory();
  std::size_t read = 0;
  bool same = true;
  while (read < kSize) {
    const std::string piece = child.readOutput(4096);
    ASSERT_FALSE(piece.empty());
    for (const char c : piece) {
      same = same && c == static_cast<char>('a' + read % kPeriod);
      ++read;
    }
  }
  EXPECT_TRUE(same);
  EXPECT_LT(child.peakMemory(), before + (4 << 20));
  measured.set_value();
  child.readAllOutput();
  EXPECT_EQ(child.readAllErrors(), "");
  EXPECT_EQ(child.wait(), 0);
}

class ProgressTest : public testing::Test {
 protected:
  // A dump that writes a first piece, shows progress, and goes on when the test lets it.
  FakeAgent::Script slowDump() {
    return script([this](Peer& peer) {
      peer.accept();
      peer.answer("first ");
      peer.progress(1234, 5678);
      goesOn_.get_future().wait();
      peer.answer("second");
      peer.closeAnswer();
      peer.done("ok", 12);
    });
  }

  // The answer goes to a file, everything else to the terminal.
  Child::Options onTerminal() {
    std::ofstream(dir_.file("out")).close();
    return {.output = {Kind::kFile, dir_.file("out")},
            .errors = {Kind::kFile, terminal_.path()},
            .environment = {"TERM=xterm"}};
  }
  [[nodiscard]] std::string output() const {
    std::ifstream file(dir_.file("out"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TempDir dir_;
  Terminal terminal_;
  std::promise<void> goesOn_;
};

TEST_F(ProgressTest, IsShownOnATerminalAndGoneAtTheEnd) {
  FakeAgent agent(slowDump());
  Child child(dump(agent), onTerminal());
  EXPECT_THAT(terminal_.waitFor("5.7 kB"), HasSubstr("korvoctl: 1,234 rows, 5.7 kB"));
  goesOn_.set_value();
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(output(), "first second");
  EXPECT_THAT(terminal_.shown(), EndsWith(kErase));
}

// A pager at the other end of the pipe may own the terminal.
TEST_F(ProgressTest, IsNotShownBesideAPipe) {
  goesOn_.set_value();
  FakeAgent agent(slowDump());
  auto options = onTerminal();
  options.output = {Kind::kPipe};
  Child child(dump(agent), options);
  EXPECT_EQ(child.readAllOutput(), "first second");
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(terminal_.shown(), "");
}

// What is asked first takes neither the line away for good nor is it output.
TEST_F(ProgressTest, IsShownAfterAQuestionOfTheClientsOwn) {
  for (const bool outputIsTerminal : {false, true}) {
    std::promise<void> goesOn;
    FakeAgent agent(std::vector<FakeAgent::Script>{
        FakeAgent::answers(R"({"chips":[{"id":3,"name":"Korvo3"}]})"), script([&](Peer& peer) {
          peer.accept();
          peer.progress(1234, 5678);
          goesOn.get_future().wait();
          peer.closeAnswer();
          peer.done("error", 0);
        })});
    auto options = onTerminal();
    if (outputIsTerminal) {
      options.output = options.errors;
    }
    Child child({"check", "mac", "diff", "-s", agent.path()}, options);
    EXPECT_THAT(terminal_.waitFor("5.7 kB"), HasSubstr("korvoctl: 1,234 rows"));
    goesOn.set_value();
    EXPECT_EQ(child.wait(), 5);
  }
}

TEST_F(ProgressTest, IsNotShownWithoutATerminal) {
  goesOn_.set_value();
  FakeAgent agent(slowDump());
  Child child(dump(agent), {.environment = {"TERM=xterm"}});
  EXPECT_EQ(child.readAllOutput(), "first second");
  EXPECT_EQ(child.readAllErrors(), "");
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(ProgressTest, IsNotShownWhenItIsNotWanted) {
  goesOn_.set_value();
  FakeAgent agent(slowDump());
  auto words = dump(agent);
  words.emplace_back("--no-progress");
  Child child(words, onTerminal());
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(output(), "first second");
  EXPECT_EQ(terminal_.shown(), "");
}

TEST_F(ProgressTest, GivesWayToAnAnswerOnTheSameTerminal) {
  FakeAgent agent(script([this](Peer& peer) {
    peer.accept();
    peer.progress(1, 2);
    goesOn_.get_future().wait();
    peer.answer("answer\n");
    peer.progress(3, 4);
    peer.closeAnswer();
    peer.done("ok", 7);
  }));
  auto options = onTerminal();
  options.output = {Kind::kFile, terminal_.path()};
  Child child(dump(agent), options);
  (void)terminal_.waitFor("1 rows");
  goesOn_.set_value();
  EXPECT_EQ(child.wait(), 0);
  const std::string shown = terminal_.shown();
  EXPECT_THAT(shown, EndsWith(std::string(kErase) + "answer\n"));
}

TEST_F(ProgressTest, FailureStandsOnALineOfItsOwn) {
  FakeAgent agent(script([](Peer& peer) {
    peer.accept();
    peer.progress(1, 2);
    peer.waitUntilHeard();
    peer.closeAnswer();
    peer.done("error", 0, "reason");
  }));
  Child child(dump(agent), onTerminal());
  EXPECT_EQ(child.wait(), 5);
  EXPECT_THAT(terminal_.shown(),
              EndsWith(std::string(kErase) + "korvoctl: the command failed: reason\n"));
}

class SignalTest : public ProgressTest, public testing::WithParamInterface<int> {};

TEST_P(SignalTest, EndsTheProcessAndRestoresTheLine) {
  std::promise<void> gone;
  FakeAgent agent(script([&](Peer& peer) {
    peer.accept();
    peer.progress(1, 2);
    peer.waitUntilClientIsGone();
    gone.set_value();
  }));
  Child child(dump(agent), onTerminal());
  (void)terminal_.waitFor(" s");
  child.signal(GetParam());
  gone.get_future().wait();
  EXPECT_EQ(child.wait(), -GetParam());
  EXPECT_EQ(terminal_.shown(), kErase);
}

INSTANTIATE_TEST_SUITE_P(Signals, SignalTest, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& number) {
                           return std::string(::sigabbrev_np(number.param));
                         });

TEST_F(ProgressTest, IgnoredHangupStaysIgnored) {
  FakeAgent agent(slowDump());
  auto options = onTerminal();
  options.ignoredSignals = {SIGHUP};
  Child child(dump(agent), options);
  (void)terminal_.waitFor(" s");
  child.signal(SIGHUP);
  goesOn_.set_value();
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(output(), "first second");
}

TEST(ProcessTest, InterruptEndsAClientWhoseReaderIsStalled) {
  std::promise<void> stalled;
  std::promise<void> gone;
  FakeAgent agent(script([&](Peer& peer) {
    peer.accept();
    const std::string block(65536, 'x');
    while (::send(peer.answerDescriptor(), block.data(), block.size(), MSG_DONTWAIT) >= 0) {
    }
    stalled.set_value();
    peer.waitUntilClientIsGone();
    gone.set_value();
  }));
  Child child(dump(agent));
  stalled.get_future().wait();
  child.signal(SIGINT);
  gone.get_future().wait();
  EXPECT_EQ(child.wait(), -SIGINT);
}

TEST(ProcessTest, FullDiskIsStatusFive) {
  FakeAgent agent(FakeAgent::answers("rows\n"));
  Child child(dump(agent), {.output = {Kind::kFile, "/dev/full"}});
  EXPECT_THAT(child.readAllErrors(), HasSubstr("standard output: No space left on device"));
  EXPECT_EQ(child.wait(), 5);
}

TEST(ProcessTest, ClosedOutputIsStatusFive) {
  FakeAgent agent(FakeAgent::answers("rows\n"));
  Child child(dump(agent), {.output = {Kind::kClosed}});
  EXPECT_THAT(child.readAllErrors(), HasSubstr("standard output: Bad file descriptor"));
  EXPECT_EQ(child.wait(), 5);
}

TEST(ProcessTest, ClosedErrorsChangeNeitherAnswerNorStatus) {
  FakeAgent agent(FakeAgent::answers("part", "error"));
  Child child(dump(agent), {.errors = {Kind::kClosed}});
  EXPECT_EQ(child.readAllOutput(), "part");
  EXPECT_EQ(child.wait(), 5);
  EXPECT_THAT(agent.requests(), testing::ElementsAre("async text MACT_ALL"));
}

TEST(ProcessTest, FileGetsTheWholeAnswer) {
  TempDir dir;
  std::ofstream(dir.file("out")).close();
  std::string text;
  for (int i = 0; i < 100000; ++i) {
    text += fmt::format("row {}\n", i);
  }
  FakeAgent agent(FakeAgent::answers(text));
  Child child(dump(agent), {.output = {Kind::kFile, dir.file("out")}});
  EXPECT_EQ(child.wait(), 0);
  std::ifstream file(dir.file("out"), std::ios::binary);
  EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(file), {}) == text);
}

}  // namespace
}  // namespace KorvoCtl
