#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/base/Ptr.h"
#include "platform/base/Tracked.h"

namespace Qel {
namespace {

class TrackedProbe : public RefCounted {
  QEL_TRACKED_ALLOCATION(TrackedProbe)
 public:
  explicit TrackedProbe(bool refuse = false) {
    if (refuse) throw std::runtime_error("refused");
  }
};
class LargerProbe final : public TrackedProbe {
 public:
  int more[100] = {};
};
class NeverMade {
  QEL_TRACKED_ALLOCATION(NeverMade)
};
struct TinyProbe {
  QEL_TRACKED_ALLOCATION(TinyProbe)
 public:
  char byte = 0;
};

TEST(TrackedTest, CountsLiveInstances) {
  const auto before = liveInstances("TrackedProbe");
  auto first = makePtr<TrackedProbe>();
  auto second = makePtr<TrackedProbe>();
  EXPECT_EQ(liveInstances("TrackedProbe"), before + 2);
  first.reset();
  EXPECT_EQ(liveInstances("TrackedProbe"), before + 1);
  second.reset();
  EXPECT_EQ(liveInstances("TrackedProbe"), before);
}

TEST(TrackedTest, ConstructorThatThrowsLeavesNothingBehind) {
  const auto before = liveInstances("TrackedProbe");
  for (int i = 0; i < 100; ++i) EXPECT_THROW(makePtr<TrackedProbe>(true), std::runtime_error);
  EXPECT_EQ(liveInstances("TrackedProbe"), before);
}

TEST(TrackedTest, DerivedObjectsCountWithTheirBaseAndGetTheirOwnSize) {
  const auto before = liveInstances("TrackedProbe");
  // A block that a smaller object left must not be handed to a larger one.
  makePtr<TrackedProbe>();
  auto larger = makePtr<LargerProbe>();
  std::ranges::fill(larger->more, 1);
  EXPECT_EQ(liveInstances("TrackedProbe"), before + 1);
  larger.reset();
  auto smaller = makePtr<TrackedProbe>();
  EXPECT_EQ(liveInstances("TrackedProbe"), before + 1);
}

TEST(TrackedTest, ManyObjectsComeAndGo) {
  const auto before = liveInstances("TinyProbe");
  for (int round = 0; round < 3; ++round) {
    std::vector<std::unique_ptr<TinyProbe>> probes;
    for (int i = 0; i < 1000; ++i) {
      probes.push_back(std::make_unique<TinyProbe>());
      probes.back()->byte = static_cast<char>(i);
    }
    EXPECT_EQ(liveInstances("TinyProbe"), before + 1000);
    for (int i = 0; i < 1000; ++i) {
      ASSERT_EQ(probes[static_cast<std::size_t>(i)]->byte, static_cast<char>(i));
    }
  }
  EXPECT_EQ(liveInstances("TinyProbe"), before);
}

TEST(TrackedTest, UnusedClassHasNone) { EXPECT_EQ(liveInstances("NeverMade"), 0); }

TEST(TrackedTest, ListIsOrderedByNameAndHasEachClassOnce) {
  makePtr<TrackedProbe>();
  std::make_unique<TinyProbe>();
  const auto all = liveInstances();
  EXPECT_TRUE(std::ranges::is_sorted(all, std::ranges::less_equal(), &LiveInstances::className));
  const auto known = [&all](std::string_view name) {
    return std::ranges::count(all, name, &LiveInstances::className);
  };
  EXPECT_EQ(known("TrackedProbe"), 1);
  EXPECT_EQ(known("TinyProbe"), 1);
}

TEST(TrackedTest, AllocatorsOfOneNameAreAddedUp) {
  // As when two libraries each have the inline allocator of a class that both use.
  static auto* const one = new FixedAllocator("TwiceProbe", 32);
  static auto* const two = new FixedAllocator("TwiceProbe", 32);
  void* const a = one->allocate(32);
  void* const b = two->allocate(32);
  EXPECT_EQ(liveInstances("TwiceProbe"), 2);
  one->release(a, 32);
  two->release(b, 32);
  EXPECT_EQ(liveInstances("TwiceProbe"), 0);
}

TEST(TrackedTest, ReleasingNothingIsAllowed) {
  static auto* const allocator = new FixedAllocator("NullProbe", 32);
  allocator->release(nullptr, 32);
  EXPECT_EQ(allocator->liveInstances(), 0);
}

}  // namespace
}  // namespace Qel
