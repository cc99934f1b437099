#include <absl/hash/hash.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "platform/base/Exceptions.h"
#include "platform/types/VlanId.h"

namespace Bridging {
namespace {

static_assert(sizeof(VlanId) == 2 && std::is_trivially_copyable_v<VlanId>);
static_assert(!std::is_convertible_v<std::uint32_t, VlanId>);
static_assert(VlanId(4094).value() == 4094);

TEST(VlanIdTest, DefaultIsVlan1) {
  EXPECT_EQ(VlanId().value(), 1);
  EXPECT_EQ(VlanId(), VlanId(1));
}

TEST(VlanIdTest, BoundsAreInside) {
  EXPECT_EQ(VlanId(1).stringValue(), "1");
  EXPECT_EQ(VlanId(4094).stringValue(), "4094");
}

TEST(VlanIdTest, OutsideIsRefusedWithTheBounds) {
  for (const std::uint32_t value :
       {0U, 4095U, 4096U, 65537U, std::numeric_limits<std::uint32_t>::max()}) {
    try {
      VlanId vlan(value);
      ADD_FAILURE() << value << " became " << vlan.value();
    } catch (const Qel::RangeException& e) {
      EXPECT_STREQ(e.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
    }
  }
}

RC_GTEST_PROP(VlanIdProperty, ComparesAndPrintsAsItsNumber, ()) {
  const auto a = *rc::gen::inRange<std::uint32_t>(1, 4095);
  const auto b = *rc::gen::oneOf(rc::gen::just(a), rc::gen::inRange<std::uint32_t>(1, 4095));
  RC_ASSERT((VlanId(a) <=> VlanId(b)) == (a <=> b));
  RC_ASSERT((VlanId(a) == VlanId(b)) == (a == b));
  if (a == b) RC_ASSERT(absl::HashOf(VlanId(a)) == absl::HashOf(VlanId(b)));
  RC_ASSERT(VlanId(a).stringValue() == std::to_string(a));
}

TEST(VlanIdRangeTest, SingleVlanIsPrintedAlone) {
  EXPECT_EQ(VlanIdRange(VlanId(10)).stringValue(), "10");
  EXPECT_EQ(VlanIdRange(VlanId(10), VlanId(10)).stringValue(), "10");
  EXPECT_EQ(VlanIdRange(VlanId(10)), VlanIdRange(VlanId(10), VlanId(10)));
  EXPECT_EQ(VlanIdRange(VlanId(10), VlanId(20)).stringValue(), "10-20");
}

TEST(VlanIdRangeTest, BothEndsAreInside) {
  const VlanIdRange range(VlanId(10), VlanId(20));
  EXPECT_FALSE(range.contains(VlanId(9)));
  EXPECT_TRUE(range.contains(VlanId(10)));
  EXPECT_TRUE(range.contains(VlanId(20)));
  EXPECT_FALSE(range.contains(VlanId(21)));
}

TEST(VlanIdRangeTest, EndBelowTheStartIsRefused) {
  try {
    VlanIdRange range(VlanId(20), VlanId(10));
    FAIL() << "became " << range.stringValue();
  } catch (const Qel::RangeException& e) {
    EXPECT_STREQ(
        e.what(),
        "Bridging::VlanIdRange::last < Bridging::VlanIdRange::first (10 < 20) not allowed");
  }
}

TEST(VlanIdRangeTest, OrderIsByStartThenEnd) {
  EXPECT_LT(VlanIdRange(VlanId(1), VlanId(20)), VlanIdRange(VlanId(2), VlanId(3)));
  EXPECT_LT(VlanIdRange(VlanId(2), VlanId(3)), VlanIdRange(VlanId(2), VlanId(20)));
}

}  // namespace
}  // namespace Bridging
