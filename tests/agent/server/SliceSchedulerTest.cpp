#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "agent/server/SliceScheduler.h"
#include "tests/agent/server/IdleMachines.h"
#include "tests/agent/server/SchedulerHarness.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;

class SliceSchedulerTest : public SchedulerHarness {};

TEST_F(SliceSchedulerTest, ARequestThatFitsOneSliceEndsOk) {
  Client client;
  start(client, 3);
  EXPECT_EQ(runAll(), 1);
  EXPECT_EQ(client.port->taken, rowsText(3));
  ASSERT_TRUE(client.owner.ended());
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  EXPECT_EQ(client.owner.message(), "");
  EXPECT_EQ(client.owner.figures().rows, 3U);
  EXPECT_EQ(client.owner.figures().bytes, rowsText(3).size());
  EXPECT_EQ(client.owner.figures().slices, 1U);
  EXPECT_TRUE(scheduler().jobs().empty());
}

TEST_F(SliceSchedulerTest, RequestsTakeTurnsSliceBySlice) {
  policy.slice.rowBudget = 1;
  Client a;
  Client b;
  Client c;
  std::string order;
  start(a, 2, [&](std::uint64_t) { order += 'a'; });
  start(b, 4, [&](std::uint64_t) { order += 'b'; });
  start(c, 3, [&](std::uint64_t) { order += 'c'; });
  runAll();
  EXPECT_EQ(order, "abcabcbcb");
}

TEST_F(SliceSchedulerTest, ARequestThatComesLaterDoesNotOvertake) {
  policy.slice.rowBudget = 1;
  Client a;
  Client b;
  std::string order;
  start(a, 3, [&](std::uint64_t) { order += 'a'; });
  scheduler().runPiece();
  start(b, 1, [&](std::uint64_t) { order += 'b'; });
  runAll();
  EXPECT_EQ(order, "aaba");
}

TEST_F(SliceSchedulerTest, OutputIsTheSameAtEveryBudget) {
  const std::string expected = rowsText(500);
  for (const std::uint32_t rows : {1U, 2U, 7U, 499U, 500U, 501U, 0U}) {
    policy.slice.rowBudget = rows;
    SliceScheduler budgeted(clock, policy);
    Client client;
    client.id = budgeted.begin({Entry::async, Rendering::kText, "ROWS"}, 0, client.owner);
    const auto output = buffer(client);
    const auto request = Qel::makePtr<const AgentCommand::AgentCommandRequest>(
        "r", "ROWS", 0U, Rendering::kText,
        Qel::makePtr<Rendering::RendererV2>(Rendering::kText, output, false));
    budgeted.run(client.id,
                 Qel::makePtr<RowsMachine>(request, milliseconds(50), clock, std::uint64_t{500}),
                 output);
    while (budgeted.runnable()) budgeted.runPiece();
    EXPECT_EQ(client.port->taken, expected) << rows;
  }
}

class CheckTurnsTest : public SchedulerHarness {
 protected:
  Job::State stateOf(const Client& client) { return scheduler().jobs().at(client.id).state(); }
};

TEST_F(CheckTurnsTest, SoManyRunAtATimeAndTheOthersInTheOrderInWhichTheyCame) {
  policy.checks = 2;
  policy.slice.rowBudget = 1;
  std::vector<Client> clients(5);
  std::string order;
  std::int64_t most = 0;
  for (std::size_t i = 0; i < clients.size(); ++i) {
    queueCheck(clients[i], 2, [&, name = static_cast<char>('a' + i)](std::uint64_t) {
      order += name;
      most = std::max(most, Qel::liveInstances("RowsMachine"));
    });
  }
  EXPECT_EQ(Qel::liveInstances("RowsMachine"), 0) << "none is made before it may run";
  runAll();
  EXPECT_EQ(order, "ababcdcdee");
  EXPECT_EQ(most, 2);
  for (const Client& client : clients) {
    EXPECT_EQ(client.port->taken, rowsText(2));
    EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  }
}

TEST_F(CheckTurnsTest, OthersRunWhileChecksAreQueued) {
  policy.checks = 1;
  Client stuck;
  Client queued;
  Client other;
  stuck.port->answers = {0};
  policy.slice.rowBudget = 1;
  queueCheck(stuck, 5);
  queueCheck(queued, 5);
  start(other, 5);
  runAll();
  EXPECT_EQ(stateOf(stuck), Job::State::blocked);
  EXPECT_EQ(stateOf(queued), Job::State::queued);
  EXPECT_FALSE(scheduler().runnable()) << "a check that is queued keeps nobody awake";
  EXPECT_EQ(other.owner.status(), RequestStatus::ok);
  scheduler().endAll({});
}

TEST_F(CheckTurnsTest, AQueuedCheckThatEndsGivesUpItsTurn) {
  policy.checks = 1;
  policy.slice.rowBudget = 1;
  Client stuck;
  Client leaves;
  Client stays;
  stuck.port->answers = {0};
  queueCheck(stuck, 5);
  queueCheck(leaves, 5);
  queueCheck(stays, 5);
  runAll();
  scheduler().end(leaves.id, {RequestStatus::cancelled, ""});
  EXPECT_EQ(leaves.owner.status(), RequestStatus::cancelled);
  runAll();
  EXPECT_EQ(stateOf(stays), Job::State::queued);
  scheduler().end(stuck.id, {RequestStatus::cancelled, ""});
  runAll();
  EXPECT_EQ(stays.owner.status(), RequestStatus::ok);
  EXPECT_EQ(leaves.port->taken, "");
}

TEST_F(CheckTurnsTest, ACheckThatOnlyItsReaderHoldsUpMakesRoom) {
  policy.checks = 1;
  Client unread;
  Client next;
  unread.port->answers = {0};
  queueCheck(unread, 5);
  queueCheck(next, 5);
  runAll();
  EXPECT_EQ(stateOf(unread), Job::State::blocked);
  EXPECT_EQ(next.owner.status(), RequestStatus::ok);
  scheduler().end(unread.id, {});
}

TEST_F(CheckTurnsTest, ACheckThatFailsOrThatNobodyStartsMakesRoom) {
  policy.checks = 1;
  Client failing;
  Client unknown;
  Client next;
  queueCheck(failing, 5, [](std::uint64_t) { throw std::runtime_error("broken"); });
  begin(unknown);
  scheduler().queueCheck(unknown.id, [&] {
    scheduler().end(unknown.id, {RequestStatus::noHandler, ""});
  });
  queueCheck(next, 5);
  runAll();
  EXPECT_EQ(failing.owner.status(), RequestStatus::error);
  EXPECT_EQ(unknown.owner.status(), RequestStatus::noHandler);
  EXPECT_EQ(next.owner.status(), RequestStatus::ok);
}

TEST_F(SliceSchedulerTest, ABlockedRequestIsNotRunUntilItsSocketDrains) {
  Client client;
  client.port->answers = {0};
  policy.slice.rowBudget = 10;
  start(client, 20);
  scheduler().runPiece();
  EXPECT_FALSE(scheduler().runnable());
  EXPECT_EQ(client.owner.awaits, 1);
  EXPECT_EQ(scheduler().jobs().at(client.id).state(), Job::State::blocked);
  drained(client);
  EXPECT_TRUE(scheduler().runnable());
  runAll();
  EXPECT_EQ(client.port->taken, rowsText(20));
}

TEST_F(SliceSchedulerTest, WhatIsPendingGoesFirstAndASliceOnlyAfterAllOfIt) {
  Client client;
  client.port->answers = {10, 0, 30, 0};
  policy.slice.rowBudget = 10;
  int rows = 0;
  start(client, 20, [&](std::uint64_t) { ++rows; });
  scheduler().runPiece();
  EXPECT_EQ(rows, 10);
  drained(client);  // takes nothing
  drained(client);  // takes 30 bytes of it
  EXPECT_FALSE(scheduler().runnable());
  EXPECT_EQ(rows, 10);
  drained(client);  // nothing again
  drained(client);  // takes the rest
  EXPECT_TRUE(scheduler().runnable());
  runAll();
  EXPECT_EQ(client.port->taken, rowsText(20));
  EXPECT_EQ(client.owner.figures().slices, 2U);
}

TEST_F(SliceSchedulerTest, OthersRunWhileOneIsBlocked) {
  Client stuck;
  Client other;
  stuck.port->answers = {0};
  start(stuck, 5);
  start(other, 5);
  runAll();
  EXPECT_FALSE(stuck.owner.ended());
  EXPECT_EQ(other.owner.status(), RequestStatus::ok);
  scheduler().end(stuck.id, {RequestStatus::cancelled, ""});
}

TEST_F(SliceSchedulerTest, ARequestIsDoneOnlyWhenItsLastByteIsTaken) {
  Client client;
  client.port->answers = {5};
  start(client, 2);
  runAll();
  EXPECT_FALSE(client.owner.ended());
  // The walk is over: nothing of it is held while its reader takes its time.
  EXPECT_EQ(Qel::liveInstances("RowsMachine"), 0);
  drained(client);
  ASSERT_TRUE(client.owner.ended());
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  EXPECT_EQ(client.owner.figures().rows, 2U);
  EXPECT_EQ(client.owner.figures().bytes, rowsText(2).size());
}

TEST_F(SliceSchedulerTest, AReaderThatIsGoneEndsTheRequestAtOnce) {
  Client client;
  policy.slice.rowBudget = 1;
  start(client, 1000);
  client.port->answers = {16, Rendering::PortScript::kGone};
  EXPECT_EQ(runAll(), 2);
  EXPECT_EQ(client.owner.status(), RequestStatus::clientGone);
  EXPECT_EQ(client.owner.figures().bytes, 16U);
  EXPECT_EQ(Qel::liveInstances("RowsMachine"), 0);
}

TEST_F(SliceSchedulerTest, AReaderThatIsGoneWhileTheRequestWaitsEndsIt) {
  Client client;
  client.port->answers = {3, Rendering::PortScript::kGone};
  start(client, 10);
  runAll();
  drained(client);
  EXPECT_EQ(client.owner.status(), RequestStatus::clientGone);
}

TEST_F(SliceSchedulerTest, AReaderThatReadsNothingForTheTimeoutIsGivenUp) {
  policy.clientTimeout = seconds(7);
  Client client;
  client.owner.unreadBytes = 4096;
  client.port->answers = {0};
  start(client, 10);
  runAll();
  EXPECT_EQ(scheduler().nextDeadline(), clock->now() + seconds(7));
  pass(seconds(7) - milliseconds(1));
  EXPECT_FALSE(client.owner.ended());
  pass(milliseconds(1));
  ASSERT_TRUE(client.owner.ended());
  EXPECT_EQ(client.owner.status(), RequestStatus::clientGone);
  EXPECT_EQ(client.owner.message(), "nothing of the answer was read for 7 s");
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
}

TEST_F(SliceSchedulerTest, AReaderThatReadsALittleKeepsItsRequest) {
  policy.clientTimeout = seconds(7);
  Client client;
  client.owner.unreadBytes = 4096;
  client.port->answers = {0};
  start(client, 10);
  runAll();
  // It reads, though not enough for the socket to take more.
  for (int i = 0; i < 5; ++i) {
    client.owner.unreadBytes -= 100;
    pass(seconds(7));
    EXPECT_FALSE(client.owner.ended());
  }
  pass(seconds(7));
  EXPECT_EQ(client.owner.status(), RequestStatus::clientGone);
}

TEST_F(SliceSchedulerTest, EveryByteTakenStartsTheTimeoutAnew) {
  policy.clientTimeout = seconds(7);
  Client client;
  client.port->answers = {0, 1, 1, 1};
  start(client, 10);
  runAll();
  for (int i = 0; i < 3; ++i) {
    pass(seconds(6));
    drained(client);
    EXPECT_FALSE(client.owner.ended());
  }
}

TEST_F(SliceSchedulerTest, AWakeUpWithoutProgressDoesNotStartTheTimeoutAnew) {
  policy.clientTimeout = seconds(7);
  Client client;
  client.port->answers = {0, 0, 0};
  start(client, 10);
  runAll();
  pass(seconds(6));
  drained(client);
  pass(seconds(1));
  EXPECT_EQ(client.owner.status(), RequestStatus::clientGone);
}

TEST_F(SliceSchedulerTest, ARequestThatRunsAgainHasNoDeadline) {
  Client client;
  client.port->answers = {0};
  policy.slice.rowBudget = 1;
  start(client, 10);
  scheduler().runPiece();
  drained(client);
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
  runAll();
}

TEST_F(SliceSchedulerTest, AnExceptionEndsItsRequestWithItsMessageAndNoOther) {
  Client failing;
  Client other;
  policy.slice.rowBudget = 1;
  start(failing, 10, [](std::uint64_t row) {
    if (row == 2) throw std::runtime_error("the table is broken");
  });
  start(other, 10);
  runAll();
  EXPECT_EQ(failing.owner.status(), RequestStatus::error);
  EXPECT_EQ(failing.owner.message(), "the table is broken");
  EXPECT_EQ(failing.owner.figures().rows, 2U);
  EXPECT_EQ(failing.port->taken, rowText(0) + rowText(1));
  EXPECT_EQ(other.owner.status(), RequestStatus::ok);
  EXPECT_EQ(other.port->taken, rowsText(10));
}

TEST_F(SliceSchedulerTest, WhatIsThrownNeedNotBeAnException) {
  Client client;
  start(client, 10, [](std::uint64_t) { throw 42; });
  runAll();
  EXPECT_EQ(client.owner.status(), RequestStatus::error);
  EXPECT_EQ(client.owner.message(), "unknown exception");
}

TEST_F(SliceSchedulerTest, AnOwnerThatCannotWaitForItsSocketLosesItsRequestAndNobodyElseDoes) {
  policy.slice.rowBudget = 1;
  Client failing;
  failing.owner.failsToAwait = true;
  failing.port->answers = {0};
  Client other;
  start(failing, 10);
  start(other, 10);
  runAll();
  ASSERT_TRUE(failing.owner.ended());
  EXPECT_EQ(failing.owner.status(), RequestStatus::error);
  EXPECT_EQ(failing.owner.message(), "the socket cannot be watched");
  EXPECT_EQ(other.owner.status(), RequestStatus::ok);
  EXPECT_TRUE(scheduler().jobs().empty());
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
}

TEST_F(SliceSchedulerTest, AnOwnerThatFailsAtItsDeadlineDoesNotKeepOthersFromTheirs) {
  policy.clientTimeout = seconds(7);
  Client failing;
  Client stuck;
  for (Client* const client : {&failing, &stuck}) {
    client->owner.unreadBytes = 4096;
    client->port->answers = {0};
    start(*client, 10);
  }
  Client silent;
  silent.owner.hearsOfProgress = true;
  begin(silent);
  runAll();
  failing.owner.failsToTellUnread = true;
  pass(seconds(7));
  ASSERT_TRUE(failing.owner.ended());
  EXPECT_EQ(failing.owner.status(), RequestStatus::error);
  EXPECT_EQ(failing.owner.message(), "the socket does not say");
  ASSERT_TRUE(stuck.owner.ended());
  EXPECT_EQ(stuck.owner.status(), RequestStatus::clientGone);
  EXPECT_EQ(silent.owner.progress.size(), 1U);
  EXPECT_EQ(scheduler().jobs().size(), 1U);
  scheduler().endAll({});
}

TEST_F(SliceSchedulerTest, RowsBeforeAnExceptionAreDrainedBeforeItIsTold) {
  Client client;
  client.port->answers = {0};
  start(client, 10, [](std::uint64_t row) {
    if (row == 3) throw std::runtime_error("broken");
  });
  runAll();
  EXPECT_FALSE(client.owner.ended());
  drained(client);
  EXPECT_EQ(client.owner.status(), RequestStatus::error);
  EXPECT_EQ(client.port->taken, rowText(0) + rowText(1) + rowText(2));
}

TEST_F(SliceSchedulerTest, ARequestCanBeEndedInEveryState) {
  policy.slice.rowBudget = 1;
  Client starting;
  begin(starting);
  Client runnable;
  start(runnable, 10);
  Client blocked;
  blocked.port->answers = {0};
  start(blocked, 10);
  Client draining;
  draining.port->answers = {0};
  start(draining, 1);
  for (int i = 0; i < 3; ++i) scheduler().runPiece();
  const std::uint64_t before = runnable.port->taken.size();
  for (Client* const client : {&starting, &runnable, &blocked, &draining}) {
    ASSERT_FALSE(client->owner.ended());
    scheduler().end(client->id, {RequestStatus::cancelled, "why"});
    ASSERT_TRUE(client->owner.ended());
    EXPECT_EQ(client->owner.status(), RequestStatus::cancelled);
    EXPECT_EQ(client->owner.message(), "why");
  }
  EXPECT_FALSE(scheduler().runnable());
  scheduler().runPiece();
  EXPECT_EQ(runnable.port->taken.size(), before);
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
  // What comes in for a request that has ended is passed over.
  scheduler().writable(blocked.id);
  scheduler().end(blocked.id, {RequestStatus::error, ""});
  EXPECT_EQ(blocked.owner.ends.size(), 1U);
}

TEST_F(SliceSchedulerTest, EndingAllEndsEachOnce) {
  Client a;
  Client b;
  Client c;
  start(a, 10);
  start(b, 10);
  start(c, 10);
  // An owner may end another request when its own ends.
  a.owner.onEnd = [&] { scheduler().end(c.id, {RequestStatus::error, "with a"}); };
  scheduler().endAll({RequestStatus::cancelled, "the end"});
  EXPECT_EQ(a.owner.status(), RequestStatus::cancelled);
  EXPECT_EQ(b.owner.status(), RequestStatus::cancelled);
  EXPECT_EQ(c.owner.status(), RequestStatus::error);
  EXPECT_EQ(a.owner.ends.size() + b.owner.ends.size() + c.owner.ends.size(), 3U);
  EXPECT_FALSE(scheduler().runnable());
}

TEST_F(SliceSchedulerTest, AnswersOfACallbackAreDrainedToo) {
  Client client;
  begin(client);
  const auto output = buffer(client);
  output->append("the rest");
  client.port->answers = {3, 0};
  scheduler().drain(client.id, output, {RequestStatus::noHandler, "nobody"}, 100, milliseconds(4));
  EXPECT_FALSE(client.owner.ended());
  drained(client);
  drained(client);
  ASSERT_TRUE(client.owner.ended());
  EXPECT_EQ(client.port->taken, "the rest");
  EXPECT_EQ(client.owner.status(), RequestStatus::noHandler);
  EXPECT_EQ(client.owner.message(), "nobody");
  EXPECT_EQ(client.owner.figures().bytes, 108U);
  EXPECT_EQ(client.owner.figures().slices, 1U);
  EXPECT_EQ(client.owner.figures().worstSlice, milliseconds(4));
}

TEST_F(SliceSchedulerTest, ACallbackThatLeavesNothingEndsAtOnce) {
  Client client;
  begin(client);
  scheduler().drain(client.id, buffer(client), {}, 7, milliseconds(0));
  ASSERT_TRUE(client.owner.ended());
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  EXPECT_EQ(client.owner.figures().bytes, 7U);
}

TEST_F(SliceSchedulerTest, SlicesAndTheWholeRequestAreMeasuredOnTheClock) {
  policy.slice.rowBudget = 1;
  Client client;
  start(client, 3, [&](std::uint64_t row) { clock->advance(milliseconds(row == 1 ? 9 : 2)); });
  clock->advance(milliseconds(100));  // waits for its first slice
  runAll();
  EXPECT_EQ(client.owner.figures().worstSlice, milliseconds(9));
  EXPECT_EQ(client.owner.figures().elapsed, milliseconds(113));
}

TEST_F(SliceSchedulerTest, AClockThatRunsBackwardsStopsNothing) {
  policy.slice.rowBudget = 5;
  Client client;
  clock->nowIs(seconds(1000));
  start(client, 50, [&](std::uint64_t) { clock->advance(-seconds(10)); });
  runAll();
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  EXPECT_EQ(client.port->taken, rowsText(50));
  EXPECT_EQ(client.owner.figures().worstSlice, Qel::Duration::zero());
  EXPECT_EQ(client.owner.figures().elapsed, Qel::Duration::zero());
}

TEST_F(SliceSchedulerTest, AStoppedReaderCostsBoundedMemory) {
  Client client;
  client.port->answers = std::deque<std::ptrdiff_t>(100, 0);
  policy.slice.outputWindow = 1 << 30;  // nothing but the socket ends the slice
  std::uint64_t rows = 0;
  start(client, 10'000'000, [&](std::uint64_t) { ++rows; });
  runAll();
  // One buffer's worth, and no more than the row that found the socket full.
  EXPECT_EQ(rows, std::size_t{64} * 1024 / rowText(0).size());
  scheduler().end(client.id, {RequestStatus::cancelled, ""});
}

class WaitingRequestTest : public SliceSchedulerTest {
 protected:
  void startWaiting(Client& client) { startMachine<WaitingMachine>(client, mayGoOn); }
  Job::State stateOf(const Client& client) { return scheduler().jobs().at(client.id).state(); }

  bool mayGoOn = false;
};

TEST_F(WaitingRequestTest, ARequestThatHasNothingToDoYetIsAskedAgainAfterAPauseOnly) {
  Client client;
  startWaiting(client);
  EXPECT_EQ(runAll(), 1) << "it is not asked over and over";
  EXPECT_EQ(stateOf(client), Job::State::waiting);
  EXPECT_EQ(scheduler().nextDeadline(), clock->now() + policy.idlePause);
  pass(policy.idlePause - Qel::Duration(1));
  EXPECT_FALSE(scheduler().runnable());
  pass(Qel::Duration(1));
  EXPECT_EQ(runAll(), 1);
  mayGoOn = true;
  pass(policy.idlePause);
  runAll();
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  EXPECT_EQ(client.port->taken, "done\n");
  EXPECT_EQ(client.owner.figures().slices, 3U);
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
}

TEST_F(WaitingRequestTest, ARequestThatWorksWithoutPrintingIsNotMadeToWait) {
  Client client;
  policy.slice.silentBudget = 100;
  startMachine<PreparingMachine>(client, 5);
  EXPECT_EQ(runAll(), 6);
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  EXPECT_EQ(client.port->taken, "done\n");
  EXPECT_EQ(client.owner.figures().rows, 0U) << "nothing of it was a row";
}

TEST_F(WaitingRequestTest, OthersDoNotNoticeARequestThatWaits) {
  Client waits;
  Client other;
  policy.slice.rowBudget = 1;
  startWaiting(waits);
  start(other, 5);
  EXPECT_EQ(runAll(), 6);
  EXPECT_EQ(other.owner.status(), RequestStatus::ok);
  scheduler().end(waits.id, {RequestStatus::cancelled, ""});
}

TEST_F(WaitingRequestTest, ARequestThatWaitsIsNotTakenForOneWhoseReaderHasGone) {
  Client client;
  startWaiting(client);
  for (int i = 0; i < 100'000 && !client.owner.ended(); ++i) {
    runAll();
    pass(policy.idlePause);
  }
  EXPECT_GT(clock->now(), policy.clientTimeout);
  EXPECT_FALSE(client.owner.ended());
  mayGoOn = true;
  runAll();
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
}

TEST_F(WaitingRequestTest, ARequestThatWaitsCanBeEnded) {
  Client client;
  startWaiting(client);
  runAll();
  scheduler().end(client.id, {RequestStatus::cancelled, ""});
  EXPECT_EQ(client.owner.status(), RequestStatus::cancelled);
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
  pass(policy.idlePause);
  EXPECT_EQ(runAll(), 0);
}

TEST_F(SliceSchedulerTest, RequestsAreCountedPerUserAndQuestionsAreNot) {
  FakeOwner owner;
  scheduler().begin({Entry::async, Rendering::kText, "A"}, 1, owner);
  scheduler().begin({Entry::plain, Rendering::kText, "B"}, 2, owner);
  const JobId third = scheduler().begin({Entry::sync, Rendering::kText, "C"}, 2, owner);
  scheduler().begin({Entry::agent, Rendering::kText, "status"}, 2, owner);
  EXPECT_EQ(scheduler().numRequestsOf(1), 1U);
  EXPECT_EQ(scheduler().numRequestsOf(2), 2U);
  EXPECT_EQ(scheduler().numRequestsOf(3), 0U);
  scheduler().end(third, {});
  EXPECT_EQ(scheduler().numRequestsOf(2), 1U);
  EXPECT_EQ(scheduler().numBegun(), 4U);
  scheduler().endAll({});
}

}  // namespace
}  // namespace KorvoAgent
