// Deadlines of keys, also while memory runs out.
#include <gtest/gtest.h>

#include <compare>
#include <new>

#include "agent/server/DeadlineQueue.h"

namespace KorvoAgent {
namespace {

using namespace std::chrono_literals;

/** A key that can be copied so many times, and then no more. */
struct ScarceKey {
  explicit ScarceKey(int n) : number(n) {}
  ScarceKey(const ScarceKey& other) : number(other.number) {
    if (copiesLeft-- == 0) throw std::bad_alloc();
  }
  ScarceKey& operator=(const ScarceKey&) = default;
  ~ScarceKey() = default;
  friend auto operator<=>(const ScarceKey&, const ScarceKey&) = default;

  static int copiesLeft;
  int number;
};
int ScarceKey::copiesLeft = 0;

TEST(DeadlineQueueTest, TakesKeysInTheOrderOfTheirDeadlines) {
  DeadlineQueue<int> queue;
  queue.set(1, 30ms);
  queue.set(2, 10ms);
  queue.set(3, 20ms);
  queue.set(1, 5ms);
  EXPECT_EQ(queue.next(), 5ms);
  EXPECT_EQ(queue.takePassed(15ms), 1);
  EXPECT_EQ(queue.takePassed(15ms), 2);
  EXPECT_EQ(queue.takePassed(15ms), std::nullopt);
  queue.erase(3);
  EXPECT_EQ(queue.next(), std::nullopt);
}

TEST(DeadlineQueueTest, ADeadlineThatFoundNoMemoryIsNotThereByHalf) {
  for (int copies = 0; copies < 2; ++copies) {
    DeadlineQueue<ScarceKey> queue;
    ScarceKey::copiesLeft = copies;
    EXPECT_THROW(queue.set(ScarceKey(1), 10ms), std::bad_alloc);
    ScarceKey::copiesLeft = 100;
    EXPECT_EQ(queue.next(), std::nullopt);
    queue.set(ScarceKey(1), 20ms);
    EXPECT_EQ(queue.next(), 20ms);
    EXPECT_TRUE(queue.takePassed(20ms).has_value());
    EXPECT_FALSE(queue.takePassed(20ms).has_value());
  }
}

}  // namespace
}  // namespace KorvoAgent
