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

class Referent : public RefCounted {
 public:
  explicit Referent(int& alive) : alive_(alive) { ++alive_; }
  ~Referent() override { --alive_; }

 private:
  int& alive_;
};
class OtherReferent final : public Referent {
 public:
  using Referent::Referent;
};

static_assert(sizeof(Ptr<Referent>) == sizeof(void*));
static_assert(!std::is_copy_constructible_v<Referent> && !std::is_copy_assignable_v<Referent>);

TEST(PtrTest, LastPtrDeletesTheObject) {
  int alive = 0;
  {
    Ptr<Referent> first = makePtr<Referent>(alive);
    EXPECT_EQ(first->users(), 1U);
    const Ptr<const Referent> second = first;
    EXPECT_EQ(first->users(), 2U);
    first.reset();
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(second->users(), 1U);
  }
  EXPECT_EQ(alive, 0);
}

TEST(PtrTest, ObjectThatNobodyHoldsYetHasNoUser) {
  int alive = 0;
  auto* const raw = new Referent(alive);
  EXPECT_EQ(raw->users(), 0U);
  const Ptr<Referent> held(raw);
  EXPECT_EQ(raw->users(), 1U);
}

TEST(PtrTest, PtrMadeFromTheRawPointerSharesTheCount) {
  int alive = 0;
  const Ptr<Referent> held = makePtr<Referent>(alive);
  {
    const Ptr<Referent> again(held.get());
    EXPECT_EQ(held->users(), 2U);
  }
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(held->users(), 1U);
}

TEST(PtrTest, MovingAPtrTakesNoCount) {
  int alive = 0;
  Ptr<Referent> from = makePtr<Referent>(alive);
  const Ptr<Referent> to = std::move(from);
  EXPECT_EQ(to->users(), 1U);
}

TEST(PtrTest, CastIsNullForAnotherTypeAndForNull) {
  int alive = 0;
  const Ptr<Referent> plain = makePtr<Referent>(alive);
  const Ptr<Referent> other = makePtr<OtherReferent>(alive);
  EXPECT_EQ(ptrCast<OtherReferent>(plain), nullptr);
  EXPECT_EQ(ptrCast<OtherReferent>(other).get(), other.get());
  EXPECT_EQ(ptrCast<OtherReferent>(Ptr<Referent>()), nullptr);
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
  Ptr<Referent> shared = makePtr<Referent>(alive);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([shared] {
      for (int turn = 0; turn < kTurns; ++turn) {
        Ptr<Referent> user = shared;
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
  const Ptr<Referent> before = makePtr<Referent>(alive);
  threadSafePtrIs(true);
  Ptr<Referent> copy = before;
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
  const Ptr<Referent> probe = makePtr<Referent>(alive);
  std::thread([&probe] {
    Ptr<Referent> user = probe;
    user.reset();
  }).join();
}

TEST_F(PtrDeathTest, PlainCountFromASecondThreadIsCaught) {
  EXPECT_DEATH(countInTwoThreads(), "plain reference counts are taken by one thread only");
}

void chooseAfterAnotherThreadCounted() {
  std::thread([] {
    int alive = 0;
    makePtr<Referent>(alive);
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
