#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/base/Ptr.h"

namespace Qel {
namespace {

class Probe : public RefCounted {
 public:
  explicit Probe(int& alive) : alive_(alive) { ++alive_; }
  ~Probe() override { --alive_; }

 private:
  int& alive_;
};
class OtherProbe final : public Probe {
 public:
  using Probe::Probe;
};

static_assert(sizeof(Ptr<Probe>) == sizeof(void*));
static_assert(!std::is_copy_constructible_v<Probe> && !std::is_copy_assignable_v<Probe>);

TEST(PtrTest, LastPtrDeletesTheObject) {
  int alive = 0;
  {
    Ptr<Probe> first = makePtr<Probe>(alive);
    EXPECT_EQ(first->users(), 1U);
    const Ptr<const Probe> second = first;
    EXPECT_EQ(first->users(), 2U);
    first.reset();
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(second->users(), 1U);
  }
  EXPECT_EQ(alive, 0);
}

TEST(PtrTest, ObjectThatNobodyHoldsYetHasNoUser) {
  int alive = 0;
  auto* const raw = new Probe(alive);
  EXPECT_EQ(raw->users(), 0U);
  const Ptr<Probe> held(raw);
  EXPECT_EQ(raw->users(), 1U);
}

TEST(PtrTest, PtrMadeFromTheRawPointerSharesTheCount) {
  int alive = 0;
  const Ptr<Probe> held = makePtr<Probe>(alive);
  {
    const Ptr<Probe> again(held.get());
    EXPECT_EQ(held->users(), 2U);
  }
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(held->users(), 1U);
}

TEST(PtrTest, MovingAPtrTakesNoCount) {
  int alive = 0;
  Ptr<Probe> from = makePtr<Probe>(alive);
  const Ptr<Probe> to = std::move(from);
  EXPECT_EQ(to->users(), 1U);
}

TEST(PtrTest, CastIsNullForAnotherTypeAndForNull) {
  int alive = 0;
  const Ptr<Probe> plain = makePtr<Probe>(alive);
  const Ptr<Probe> other = makePtr<OtherProbe>(alive);
  EXPECT_EQ(ptrCast<OtherProbe>(plain), nullptr);
  EXPECT_EQ(ptrCast<OtherProbe>(other).get(), other.get());
  EXPECT_EQ(ptrCast<OtherProbe>(Ptr<Probe>()), nullptr);
  EXPECT_EQ(plain->users(), 1U);
  EXPECT_EQ(other->users(), 1U);
}

TEST(PtrTest, ClassMayKeepItsObjects) {
  class Kept final : public RefCounted {
   public:
    int gone = 0;

   private:
    void lastUserGone() noexcept override { ++gone; }
  };
  Kept kept;
  { const Ptr<Kept> user(&kept); }
  { const Ptr<Kept> user(&kept); }
  EXPECT_EQ(kept.gone, 2);
}

TEST(PtrTest, CountsArePlainUnlessChosenOtherwise) { EXPECT_FALSE(threadSafePtr()); }

// The choice is the process's, so everything that changes it happens in processes of its own.

class PtrDeathTest : public testing::Test {
 protected:
  // Started anew, not forked: what counted in this process must not count in that one.
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

void countFromManyThreads() {
  constexpr int kThreads = 4;
  constexpr int kTurns = 20000;
  int alive = 0;
  threadSafePtrIs(true);
  Ptr<Probe> shared = makePtr<Probe>(alive);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([shared] {
      for (int turn = 0; turn < kTurns; ++turn) {
        Ptr<Probe> user = shared;
        user.reset();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  threads.clear();
  const bool exact = shared->users() == 1;
  shared.reset();
  std::exit(exact && alive == 0 ? 0 : 1);
}

TEST_F(PtrDeathTest, AtomicCountsAreExactFromManyThreads) {
  EXPECT_EXIT(countFromManyThreads(), testing::ExitedWithCode(0), "");
}

void changeTheChoiceInOneThread() {
  int alive = 0;
  const Ptr<Probe> before = makePtr<Probe>(alive);
  threadSafePtrIs(true);
  Ptr<Probe> copy = before;
  const bool counted = threadSafePtr() && before->users() == 2;
  threadSafePtrIs(false);
  copy.reset();
  std::exit(counted && before->users() == 1 ? 0 : 1);
}

TEST_F(PtrDeathTest, ChoiceMayChangeWhileOneThreadCounts) {
  EXPECT_EXIT(changeTheChoiceInOneThread(), testing::ExitedWithCode(0), "");
}

#ifndef NDEBUG
void countInTwoThreads() {
  int alive = 0;
  const Ptr<Probe> probe = makePtr<Probe>(alive);
  std::thread([&probe] {
    Ptr<Probe> user = probe;
    user.reset();
  }).join();
}

TEST_F(PtrDeathTest, PlainCountFromASecondThreadIsCaught) {
  EXPECT_DEATH(countInTwoThreads(), "plain reference counts are taken by one thread only");
}

void chooseAfterAnotherThreadCounted() {
  std::thread([] {
    int alive = 0;
    makePtr<Probe>(alive);
  }).join();
  try {
    threadSafePtrIs(true);
  } catch (const AssertionException&) {
    std::exit(threadSafePtr() ? 1 : 0);
  }
  std::exit(1);
}

TEST_F(PtrDeathTest, ChoiceIsRefusedAfterAnotherThreadCounted) {
  EXPECT_EXIT(chooseAfterAnotherThreadCounted(), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
}  // namespace Qel
