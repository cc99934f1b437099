#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/Text.h"

namespace KorvoCtl {
namespace {

using testing::ElementsAre;

TEST(TextTest, SplitKeepsEmptyPieces) {
  EXPECT_THAT(split("a,b", ','), ElementsAre("a", "b"));
  EXPECT_THAT(split(",a,,", ','), ElementsAre("", "a", "", ""));
  EXPECT_THAT(split("", ','), ElementsAre(""));
}

TEST(TextTest, NumberIsReadOnlyFromAWholeTextThatFits) {
  EXPECT_EQ(numberFrom<std::uint32_t>("127"), 127U);
  EXPECT_EQ(numberFrom<std::uint32_t>("1x"), std::nullopt);
  EXPECT_EQ(numberFrom<std::uint32_t>(" 1"), std::nullopt);
  EXPECT_EQ(numberFrom<std::uint32_t>("-1"), std::nullopt);
  EXPECT_EQ(numberFrom<std::uint32_t>(""), std::nullopt);
  EXPECT_EQ(numberFrom<std::uint32_t>("4294967296"), std::nullopt);
}

}  // namespace
}  // namespace KorvoCtl
