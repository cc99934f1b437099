#include <absl/hash/hash.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "platform/base/Exceptions.h"
#include "platform/types/FapId.h"

namespace Tessar {
namespace {

static_assert(sizeof(FapId) == 1 && std::is_trivially_copyable_v<FapId>);
static_assert(!std::is_convertible_v<std::uint32_t, FapId>);
static_assert(FapId::min == 0 && FapId::max == 127 && FapId::null == 128);

TEST(FapIdTest, DefaultIsTheNullId) {
  EXPECT_TRUE(FapId().isNull());
  EXPECT_EQ(FapId().value(), 128);
  EXPECT_EQ(FapId(), FapId(128));
}

TEST(FapIdTest, EveryChipAndTheNullIdAreAccepted) {
  for (std::uint32_t value = 0; value <= 128; ++value) {
    EXPECT_EQ(FapId(value).value(), value);
    EXPECT_EQ(FapId(value).isNull(), value == 128);
    EXPECT_EQ(FapId(value).stringValue(), std::to_string(value));
    EXPECT_EQ(absl::HashOf(FapId(value)), absl::HashOf(FapId(value)));
  }
}

TEST(FapIdTest, LargerNumbersAreRefusedBeforeTheyAreNarrowed) {
  // 256 would be chip 0 in one byte.
  for (const std::uint32_t value :
       {129U, 255U, 256U, 300U, std::numeric_limits<std::uint32_t>::max()}) {
    try {
      FapId chip(value);
      ADD_FAILURE() << value << " became " << chip.stringValue();
    } catch (const Qel::RangeException& e) {
      EXPECT_STREQ(
          e.what(),
          "Tessar::FapId::value < Tessar::FapId::min or > Tessar::FapId::null not allowed");
    }
  }
}

TEST(FapIdTest, OrderIsThatOfTheNumbers) {
  EXPECT_LT(FapId(2), FapId(10));
  EXPECT_LT(FapId(127), FapId());
}

}  // namespace
}  // namespace Tessar
