#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>

#include "agent/server/ChurnDriver.h"
#include "agent/server/EventLoop.h"
#include "tests/agent/server/ServerHarness.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class EventLoopTest : public testing::Test {
 protected:
  void settle() {
    while (loop.turn()) {
    }
  }
  Qel::Ptr<Qel::ManualClock> clock = Qel::makePtr<Qel::ManualClock>();
  EventLoop loop{clock};
};

/** A client with so many pieces of work, that writes down when it gets a turn. */
class Worker final : public LoopClient {
 public:
  Worker(std::string& log, char name, int pieces) : log_(log), name_(name), pieces_(pieces) {}
  bool runnable() const override { return pieces_ > 0; }
  void runPiece() override {
    --pieces_;
    log_ += name_;
    if (onPiece) onPiece();
  }
  std::optional<Qel::Duration> nextDeadline() const override { return deadline; }
  void deadlinesPassed(Qel::Duration) override {
    deadline.reset();
    log_ += '!';
    if (onDeadline) onDeadline();
  }
  std::optional<Qel::Duration> deadline;
  std::function<void()> onPiece;
  std::function<void()> onDeadline;

 private:
  std::string& log_;
  char name_;
  int pieces_;
};

TEST_F(EventLoopTest, ClientsTakeTurns) {
  std::string log;
  Worker a(log, 'a', 4);
  Worker b(log, 'b', 2);
  Worker c(log, 'c', 3);
  for (Worker* const worker : {&a, &b, &c}) loop.add(*worker);
  settle();
  EXPECT_EQ(log, "abcabcaca");
}

TEST_F(EventLoopTest, SocketsAreLookedAtBetweenAnyTwoPieces) {
  std::string log;
  Worker a(log, 'a', 10);
  loop.add(a);
  const SocketPair pair = makeSocketPair();
  DescriptorWatch watch(loop, pair.server.get());
  std::function<void()> read = [&] {
    log += received(pair.server.get());
    watch.onReadable(read);
  };
  watch.onReadable(read);
  a.onPiece = [&] { sendWith(pair.client.get(), "s"); };
  settle();
  EXPECT_EQ(log, "asasasasasasasasasas");
}

TEST_F(EventLoopTest, AFloodOfEventsDoesNotKeepTheWorkWaiting) {
  std::string log;
  Worker a(log, 'a', 3);
  loop.add(a);
  const SocketPair pair = makeSocketPair();
  DescriptorWatch watch(loop, pair.server.get());
  int events = 0;
  std::function<void()> again = [&] {
    ++events;
    watch.onWritable(again);
  };
  watch.onWritable(again);
  for (int i = 0; i < 3; ++i) loop.turn();
  EXPECT_EQ(log, "aaa");
  EXPECT_GT(events, 3);
}

TEST_F(EventLoopTest, DeadlinesPassOnTheInjectedClock) {
  std::string log;
  Worker a(log, 'a', 0);
  a.deadline = seconds(5);
  loop.add(a);
  settle();
  clock->advance(seconds(5) - milliseconds(1));
  settle();
  EXPECT_EQ(log, "");
  clock->advance(milliseconds(1));
  settle();
  EXPECT_EQ(log, "!");
}

TEST_F(EventLoopTest, AnExceptionOfAClientOrAHandlerDoesNotEndTheLoop) {
  std::string log;
  Worker a(log, 'a', 2);
  a.onPiece = [] { throw std::runtime_error("no"); };
  loop.add(a);
  const SocketPair pair = makeSocketPair();
  DescriptorWatch watch(loop, pair.server.get());
  watch.onWritable([] { throw std::runtime_error("no"); });
  settle();
  loop.turn();
  EXPECT_EQ(log, "aa");
}

TEST_F(EventLoopTest, AClientThatFailsAtItsDeadlineDoesNotKeepOthersFromTheirs) {
  std::string log;
  Worker failing(log, 'a', 0);
  failing.onDeadline = [] { throw std::runtime_error("no"); };
  Worker other(log, 'b', 1);
  for (Worker* const worker : {&failing, &other}) {
    worker->deadline = seconds(5);
    loop.add(*worker);
  }
  clock->advance(seconds(5));
  loop.turn();
  EXPECT_EQ(log, "!!b");
}

TEST_F(EventLoopTest, RunEndsWithASignal) {
  loop.onSignals({SIGUSR1}, [this] { loop.stop(); });
  std::raise(SIGUSR1);
  loop.run();
  SUCCEED();
}

TEST_F(EventLoopTest, ASleepingLoopIsWokenByItsDeadlines) {
  const auto steady = Qel::makePtr<Qel::SteadyClock>();
  EventLoop sleeping(steady);
  std::string log;
  Worker a(log, 'a', 0);
  Worker b(log, 'b', 0);
  a.onDeadline = [&] { sleeping.stop(); };
  a.deadline = steady->now() + milliseconds(2);
  b.deadline = steady->now() + milliseconds(1);
  sleeping.add(a);
  sleeping.add(b);
  sleeping.run();  // nothing but the deadlines could end it
  EXPECT_EQ(log, "!!");
}

TEST_F(EventLoopTest, AStoppedWatchCallsNobody) {
  const SocketPair pair = makeSocketPair();
  bool called = false;
  auto watch = std::make_unique<DescriptorWatch>(loop, pair.server.get());
  watch->onWritable([&] { called = true; });
  watch->onReadable([&] { called = true; });
  watch->stop();
  sendWith(pair.client.get(), "x");
  settle();
  EXPECT_FALSE(called);
  EXPECT_NE(::fcntl(pair.server.get(), F_GETFD), -1) << "the socket is not the watch's to close";

  // Ready already, but the watch goes before its callback's turn.
  DescriptorWatch first(loop, pair.server.get());
  const SocketPair other = makeSocketPair();
  auto second = std::make_unique<DescriptorWatch>(loop, other.server.get());
  const auto endOther = [&] { second.reset(); };
  int calls = 0;
  first.onWritable([&] {
    ++calls;
    endOther();
  });
  second->onWritable([&] {
    ++calls;
    first.stop();
  });
  settle();
  EXPECT_EQ(calls, 1);
}

TEST_F(EventLoopTest, WhoPutsASocketOffToTheNextTurnIsCalledOnceATurn) {
  const SocketPair pair = makeSocketPair();
  sendWith(pair.client.get(), "x");
  std::optional<DescriptorWatch> watch(std::in_place, loop, pair.server.get());
  int calls = 0;
  std::function<void()> again = [&] {
    ++calls;
    watch->onReadableNextTurn(again);
  };
  watch->onReadable(again);
  for (int turn = 1; turn <= 5; ++turn) {
    loop.turn();
    EXPECT_EQ(calls, turn);
  }
  watch.reset();
  settle();
  EXPECT_EQ(calls, 5);
}

TEST_F(EventLoopTest, ASleepingLoopIsWokenByASocketThatWasPutOff) {
  const auto steady = Qel::makePtr<Qel::SteadyClock>();
  EventLoop sleeping(steady);
  const SocketPair pair = makeSocketPair();
  sendWith(pair.client.get(), "x");
  DescriptorWatch watch(sleeping, pair.server.get());
  int calls = 0;
  std::function<void()> again = [&] {
    if (++calls == 3) sleeping.stop();
    watch.onReadableNextTurn(again);
  };
  watch.onReadable(again);
  sleeping.run();  // nothing but the socket could end it
  EXPECT_EQ(calls, 3);
}

TEST_F(EventLoopTest, ADescriptorMayBeWatchedAgainUnderTheSameNumber) {
  SocketPair pair = makeSocketPair();
  const int number = pair.server.get();
  std::optional<DescriptorWatch> watch(std::in_place, loop, number);
  watch->onReadable([] {});
  watch.reset();
  pair.server.reset();
  SocketPair next = makeSocketPair();
  const FileDescriptor& reused = next.client.get() == number ? next.client : next.server;
  const FileDescriptor& peer = next.client.get() == number ? next.server : next.client;
  ASSERT_EQ(reused.get(), number);
  bool called = false;
  watch.emplace(loop, number);
  watch->onReadable([&] { called = true; });
  sendWith(peer.get(), "x");
  settle();
  EXPECT_TRUE(called);
}

TEST_F(EventLoopTest, AHangupIsToldEvenIfItCameBeforeAnybodyAsked) {
  SocketPair pair = makeSocketPair();
  DescriptorWatch watch(loop, pair.server.get());
  pair.client.reset();
  settle();
  bool called = false;
  watch.onHangup([&] { called = true; });
  settle();
  EXPECT_TRUE(called);
}

TEST_F(EventLoopTest, ASharedSocketStaysInBlockingMode) {
  const SocketPair pair = makeSocketPair();
  DescriptorWatch watch(loop, pair.server.get());
  watch.onReadable([] {});
  EXPECT_EQ(::fcntl(pair.server.get(), F_GETFL) & O_NONBLOCK, 0);
  watch.onWritable([] {});
  settle();
  EXPECT_EQ(::fcntl(pair.server.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(EventLoopTest, ChurnRunsAtItsRateInShortPieces) {
  std::vector<std::pair<Qel::Duration, std::size_t>> calls;
  std::size_t due = 0;
  ChurnDriver churn(clock, 1000, [&](Qel::Duration now, std::size_t maxEvents) {
    calls.emplace_back(now, maxEvents);
    const std::size_t done = std::min(due, maxEvents);
    due -= done;
    // Each full call takes a millisecond: the piece is over after it.
    if (done == maxEvents) clock->advance(milliseconds(1) + Qel::Duration(1));
    return done;
  });
  loop.add(churn);
  settle();
  EXPECT_TRUE(calls.empty());
  clock->advance(milliseconds(20));
  settle();
  ASSERT_EQ(calls.size(), 1U);

  due = calls[0].second * 3;
  calls.clear();
  clock->advance(milliseconds(20));
  loop.turn();
  EXPECT_EQ(calls.size(), 1U) << "a piece is not cut";
  settle();
  EXPECT_EQ(calls.size(), 4U);
  EXPECT_EQ(due, 0U);
  EXPECT_FALSE(churn.runnable());
  EXPECT_EQ(churn.nextDeadline(), clock->now() + milliseconds(20));
}

TEST_F(EventLoopTest, ASlowChurnWakesTheAgentSeldom) {
  const ChurnDriver churn(clock, 0.5, [](Qel::Duration, std::size_t) { return 0; });
  EXPECT_EQ(churn.nextDeadline(), clock->now() + seconds(2));
}

}  // namespace
}  // namespace KorvoAgent
