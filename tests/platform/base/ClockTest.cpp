#include <gtest/gtest.h>

#include <chrono>

#include "platform/base/Clock.h"
#include "tests/support/ManualClock.h"

namespace Qel {
namespace {

using namespace std::chrono_literals;

// Counts its readings; stands still, and may claim to follow the cycle counter.
class CountingClock final : public Clock {
 public:
  explicit CountingClock(bool followsCycles) : followsCycles_(followsCycles) {}
  Duration now() const override {
    ++readings;
    return time;
  }
  bool followsCycleCounter() const noexcept override { return followsCycles_; }

  mutable std::uint64_t readings = 0;
  Duration time{0};

 private:
  bool followsCycles_;
};

TEST(ManualClockTest, MovesOnlyWhenMoved) {
  ManualClock clock;
  EXPECT_EQ(clock.now(), 0s);
  EXPECT_EQ(clock.now(), 0s);
  clock.advance(5ms);
  EXPECT_EQ(clock.now(), 5ms);
  clock.advance(-7ms);
  EXPECT_EQ(clock.now(), -2ms);
  clock.nowIs(1h);
  EXPECT_EQ(clock.now(), 1h);
}

TEST(ManualClockTest, MayMoveWithEveryReading) {
  ManualClock clock;
  clock.perReadingIs(2ms);
  EXPECT_EQ(clock.now(), 2ms);
  EXPECT_EQ(clock.now(), 4ms);
}

TEST(SteadyClockTest, NeverRunsBackwards) {
  const SteadyClock clock;
  EXPECT_TRUE(clock.followsCycleCounter());
  Duration last = clock.now();
  for (int i = 0; i < 1000; ++i) {
    const Duration now = clock.now();
    EXPECT_GE(now, last);
    last = now;
  }
}

class BudgetTimerTest : public testing::Test {
 protected:
  ManualClock clock_;
  BudgetTimer timer_;
};

TEST_F(BudgetTimerTest, BudgetIsSpentWhenMoreThanItHasPassed) {
  clock_.nowIs(100s);
  timer_.start(clock_, 50ms);
  EXPECT_FALSE(timer_.spent());
  clock_.advance(50ms);
  EXPECT_FALSE(timer_.spent());
  clock_.advance(1ns);
  EXPECT_TRUE(timer_.spent());
  EXPECT_EQ(timer_.elapsed(), 50ms + 1ns);
}

TEST_F(BudgetTimerTest, StandingClockNeverSpendsTheBudget) {
  timer_.start(clock_, 50ms);
  for (int i = 0; i < 10000; ++i) ASSERT_FALSE(timer_.spent());
}

TEST_F(BudgetTimerTest, JumpForwardSpendsTheBudget) {
  timer_.start(clock_, 50ms);
  clock_.advance(24h * 365);
  EXPECT_TRUE(timer_.spent());
}

TEST_F(BudgetTimerTest, ClockThatRanBackwardsCountsAsSpent) {
  clock_.nowIs(10s);
  timer_.start(clock_, 50ms);
  clock_.advance(-1ns);
  EXPECT_TRUE(timer_.spent());
  clock_.nowIs(-24h);
  EXPECT_TRUE(timer_.spent());
}

TEST_F(BudgetTimerTest, OnceSpentItStaysSpentWhateverTheClockDoes) {
  timer_.start(clock_, 50ms);
  clock_.advance(51ms);
  EXPECT_TRUE(timer_.spent());
  clock_.nowIs(1ms);
  EXPECT_TRUE(timer_.spent());
}

TEST_F(BudgetTimerTest, OnceSpentItStaysSpentHoweverQuicklyItIsAskedAgain) {
  CountingClock clock(true);
  timer_.start(clock, 50ms);
  clock.time = 51ms;
  while (!timer_.spent()) {
  }
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(timer_.spent()) << i;
  timer_.start(clock, 50ms);
  EXPECT_FALSE(timer_.spent());
}

TEST_F(BudgetTimerTest, StartBeginsAnewOnTheNewTime) {
  clock_.nowIs(10s);
  timer_.start(clock_, 50ms);
  clock_.nowIs(1s);
  EXPECT_TRUE(timer_.spent());
  timer_.start(clock_, 50ms);
  EXPECT_FALSE(timer_.spent());
}

TEST_F(BudgetTimerTest, EmptyBudgetIsSpentByTheFirstTickAfterItsStart) {
  timer_.start(clock_, 0s);
  EXPECT_FALSE(timer_.spent());
  clock_.advance(1ns);
  EXPECT_TRUE(timer_.spent());
}

TEST_F(BudgetTimerTest, ClockThatATestMovesIsReadForEveryQuestion) {
  const CountingClock clock(false);
  timer_.start(clock, 50ms);
  for (int i = 0; i < 1000; ++i) timer_.spent();
  EXPECT_EQ(clock.readings, 1001U);
}

TEST_F(BudgetTimerTest, ClockThatFollowsTheCycleCounterIsReadSeldom) {
  if (cycleCounter() == 0) GTEST_SKIP() << "no cycle counter on this processor";
  const CountingClock clock(true);
  timer_.start(clock, 50ms);
  constexpr std::uint64_t kQuestions = 1'000'000;
  for (std::uint64_t i = 0; i < kQuestions; ++i) timer_.spent();
  // A question costs a few dozen cycles; the bound leaves room for a sanitizer or a busy machine.
  EXPECT_LT(clock.readings, kQuestions / 4);
}

TEST_F(BudgetTimerTest, ClockThatFollowsTheCycleCounterIsReadInTheEnd) {
  CountingClock clock(true);
  timer_.start(clock, 50ms);
  clock.time = 51ms;
  // Ends because cycles pass with every question.
  while (!timer_.spent()) {
  }
  EXPECT_EQ(clock.readings, 2U);
}

TEST_F(BudgetTimerTest, TheExactAnswerReadsTheClockThoughHardlyACyclePassed) {
  CountingClock clock(true);
  timer_.start(clock, 50ms);
  EXPECT_FALSE(timer_.spentNow());
  clock.time = 50ms;
  EXPECT_FALSE(timer_.spentNow());
  clock.time = 50ms + 1ns;
  EXPECT_TRUE(timer_.spentNow());
  EXPECT_TRUE(timer_.spent());
  EXPECT_EQ(clock.readings, 4U) << "a known answer needs no reading";
}

void letCyclesPass() {
  const std::uint64_t before = cycleCounter();
  while (cycleCounter() - before < 1'000'000) {
  }
}

TEST_F(BudgetTimerTest, QuestionsThatFollowSlowlyAreEachAnsweredByTheClock) {
  if (cycleCounter() == 0) GTEST_SKIP() << "no cycle counter on this processor";
  CountingClock clock(true);
  timer_.start(clock, 50ms);
  for (int i = 0; i < 3; ++i) {
    letCyclesPass();
    EXPECT_FALSE(timer_.spent());
  }
  clock.time = 51ms;
  letCyclesPass();
  EXPECT_TRUE(timer_.spent());
}

TEST_F(BudgetTimerTest, QuestionsThatBecomeSlowOverrunTheBudgetByAFewAtMost) {
  if (cycleCounter() == 0) GTEST_SKIP() << "no cycle counter on this processor";
  for (int quick = 0; quick < 20; ++quick) {
    CountingClock clock(true);
    timer_.start(clock, 50ms);
    for (int i = 0; i < quick; ++i) EXPECT_FALSE(timer_.spent());
    clock.time = 51ms;
    int slow = 1;
    for (letCyclesPass(); !timer_.spent(); letCyclesPass()) ++slow;
    EXPECT_LE(slow, 8) << "after " << quick << " quick ones";
  }
}

}  // namespace
}  // namespace Qel
