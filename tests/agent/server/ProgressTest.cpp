// How often the owner of a request hears how far it has come, by the clock.

#include <gtest/gtest.h>

#include <vector>

#include "tests/agent/server/IdleMachines.h"
#include "tests/agent/server/SchedulerHarness.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// What clients count on.
constexpr Qel::Duration kPromised = seconds(5);
constexpr Qel::Duration kWatched = seconds(61);

class ProgressTest : public SchedulerHarness {
 protected:
  void SetUp() override {
    SchedulerHarness::SetUp();
    policy.clientTimeout = std::chrono::hours(1);
    client.owner.hearsOfProgress = true;
  }

  /**
   * Lives through a minute as the event loop does, with `rest` as what else it does in a turn; the
   * clock moves on to the next deadline when there is nothing to do. Expects that the owner was
   * never left without a word for longer than promised, and gives back how often it woke up.
   */
  template <class Rest>
  int liveOn(const Rest& rest) {
    const Qel::Duration end = clock->now() + kWatched;
    Qel::Duration heard = clock->now();
    std::size_t events = client.owner.progress.size();
    int wakings = 0;
    while (clock->now() < end) {
      const std::optional<Qel::Duration> next = scheduler().nextDeadline();
      if (next && *next <= clock->now()) scheduler().deadlinesPassed(clock->now());
      rest();
      if (client.owner.progress.size() != events) {
        events = client.owner.progress.size();
        EXPECT_LE(clock->now() - heard, kPromised);
        heard = clock->now();
      }
      if (scheduler().runnable() && !keepsQueued) continue;
      const std::optional<Qel::Duration> wake = scheduler().nextDeadline();
      if (!wake) break;
      clock->nowIs(std::max(clock->now(), *wake));
      ++wakings;
    }
    EXPECT_LE(clock->now() - heard, kPromised) << client.owner.progress.size() << " events";
    EXPECT_FALSE(client.owner.ended());
    return wakings;
  }

  bool keepsQueued = false;
  Client client;
};

TEST_F(ProgressTest, ARequestThatIsBlockedIsToldOfAndNothingElseWakesUp) {
  client.port->answers = {0};
  start(client, 10);
  runAll();
  ASSERT_EQ(scheduler().jobs().at(client.id).state(), Job::State::blocked);
  const int wakings = liveOn([] {});
  EXPECT_EQ(client.owner.progress.size(), 15U) << "every four seconds";
  EXPECT_LE(wakings, 16);
  scheduler().end(client.id, {});
}

TEST_F(ProgressTest, SoIsACallbacksAnswerThatIsNotRead) {
  begin(client);
  const auto output = buffer(client);
  output->append("the rest");
  client.port->answers = {3, 0};
  scheduler().drain(client.id, output, {}, 0, milliseconds(0));
  EXPECT_LE(liveOn([] {}), 16);
  ASSERT_EQ(client.owner.progress.size(), 15U);
  EXPECT_EQ(client.owner.progress.back().bytes, 3U);
  scheduler().end(client.id, {});
}

TEST_F(ProgressTest, SoIsARequestWhoseTurnDoesNotCome) {
  start(client, 10);
  ASSERT_TRUE(scheduler().runnable());
  keepsQueued = true;
  EXPECT_LE(liveOn([] {}), 16);
  ASSERT_EQ(client.owner.progress.size(), 15U);
  EXPECT_EQ(client.owner.progress.back().slices, 0U);
  scheduler().end(client.id, {});
}

TEST_F(ProgressTest, SoIsACheckThatIsQueued) {
  policy.checks = 1;
  policy.slice.rowBudget = 1;
  Client stuck;
  stuck.port->answers = {0};
  queueCheck(stuck, 10);
  queueCheck(client, 10);
  runAll();
  ASSERT_EQ(scheduler().jobs().at(client.id).state(), Job::State::queued);
  EXPECT_LE(liveOn([] {}), 16);
  EXPECT_EQ(client.owner.progress.size(), 15U);
  scheduler().endAll({});
}

TEST_F(ProgressTest, SoIsARequestBehindManyOthers) {
  // A hundred dumps whose slices take as long as slices may: ours has a turn every five seconds.
  policy.slice.rowBudget = 1;
  std::vector<Client> others(100);
  for (Client& other : others) {
    start(other, 1'000'000, [&](std::uint64_t) { clock->advance(milliseconds(51)); });
  }
  start(client, 1'000'000);
  liveOn([&] { scheduler().runPiece(); });
  EXPECT_GE(client.owner.progress.size(), 15U);
  scheduler().endAll({});
}

TEST_F(ProgressTest, SoIsARequestThatWaits) {
  const bool mayGoOn = false;
  startMachine<WaitingMachine>(client, mayGoOn);
  liveOn([&] { runAll(); });
  ASSERT_EQ(scheduler().jobs().at(client.id).state(), Job::State::waiting);
  EXPECT_GE(client.owner.progress.size(), 15U);
  scheduler().end(client.id, {});
}

TEST_F(ProgressTest, SoIsARequestThatWorksWithoutPrinting) {
  const int slices = 1'000'000;
  policy.slice.silentBudget = 1;
  startMachine<PreparingMachine>(client, slices);
  liveOn([&] {
    scheduler().runPiece();
    clock->advance(milliseconds(3));
  });
  ASSERT_GE(client.owner.progress.size(), 15U);
  EXPECT_EQ(client.owner.progress.back().rows, 0U);
  scheduler().end(client.id, {});
}

TEST_F(ProgressTest, WhereNobodyHearsOfItNothingWakesUp) {
  client.owner.hearsOfProgress = false;
  start(client, 10);
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
  runAll();
  EXPECT_EQ(client.owner.status(), RequestStatus::ok);
  EXPECT_TRUE(client.owner.progress.empty());
}

TEST_F(ProgressTest, AfterTheEndNothingIsTold) {
  start(client, 10);
  runAll();
  ASSERT_TRUE(client.owner.ended());
  EXPECT_EQ(scheduler().nextDeadline(), std::nullopt);
}

TEST_F(ProgressTest, AfterAPauseATurnTellsABoundedNumberOfOwners) {
  std::vector<Client> clients(300);
  for (Client& each : clients) {
    each.owner.hearsOfProgress = true;
    begin(each);
  }
  clock->advance(seconds(100));
  std::size_t told = 0;
  for (int turns = 1; told < clients.size(); ++turns) {
    scheduler().deadlinesPassed(clock->now());
    const std::size_t before = told;
    told = 0;
    for (const Client& each : clients) told += each.owner.progress.size();
    ASSERT_GT(told, before);
    EXPECT_LE(told - before, 64U);
  }
  EXPECT_GT(*scheduler().nextDeadline(), clock->now());
  scheduler().endAll({});
}

TEST_F(ProgressTest, ProgressIsToldNoMoreOftenThanItsInterval) {
  policy.slice.rowBudget = 1;
  policy.progressInterval = milliseconds(100);
  start(client, 100, [&](std::uint64_t) { clock->advance(milliseconds(30)); });
  runAll();
  // The fourth slice is the first that ends 100 ms after the last word.
  ASSERT_EQ(client.owner.progress.size(), 24U);
  EXPECT_EQ(client.owner.progress[0].rows, 4U);
  EXPECT_EQ(client.owner.progress[0].bytes, 4 * rowText(0).size());
  EXPECT_EQ(client.owner.progress[0].slices, 4U);
  EXPECT_EQ(client.owner.progress[1].rows, 8U);
}

TEST_F(ProgressTest, AClockThatIsSetBackStartsANewInterval) {
  policy.slice.rowBudget = 1;
  policy.progressInterval = milliseconds(100);
  clock->nowIs(seconds(1000));
  start(client, 100,
        [&](std::uint64_t row) { clock->advance(row == 10 ? -seconds(500) : milliseconds(30)); });
  runAll();
  // After four and eight rows, and from the eleventh on after every fourth again.
  ASSERT_EQ(client.owner.progress.size(), 24U);
  EXPECT_EQ(client.owner.progress[1].rows, 8U);
  EXPECT_EQ(client.owner.progress[2].rows, 15U);
  EXPECT_EQ(client.owner.progress[3].rows, 19U);
}

TEST_F(ProgressTest, AShortRequestTellsNoProgress) {
  start(client, 10);
  runAll();
  EXPECT_TRUE(client.owner.progress.empty());
}

}  // namespace
}  // namespace KorvoAgent
