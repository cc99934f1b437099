// Guessing which name was meant.

#include <gtest/gtest.h>

#include <array>

#include "text/NearName.h"

namespace Text {
namespace {

constexpr std::array<std::string_view, 4> kNames{"vlan", "mac", "interface", "mcastId"};

TEST(NearNameTest, DistanceCountsChangesOfSingleCharacters) {
  EXPECT_EQ(editDistance("show", "show"), 0U);
  EXPECT_EQ(editDistance("shwo", "show"), 1U);  // swapped
  EXPECT_EQ(editDistance("sow", "show"), 1U);
  EXPECT_EQ(editDistance("shhow", "show"), 1U);
  EXPECT_EQ(editDistance("slow", "show"), 1U);
  EXPECT_EQ(editDistance("SHOW", "show"), 0U);
  EXPECT_EQ(editDistance("", "show"), 4U);
  EXPECT_EQ(editDistance("agent", "check"), 4U);
}

TEST(NearNameTest, SlipsOfTheFingerAreForgiven) {
  EXPECT_EQ(nearName("vlna", kNames), "vlan");
  EXPECT_EQ(nearName("vlans", kNames), "vlan");
  EXPECT_EQ(nearName("intrface", kNames), "interface");
  EXPECT_EQ(nearName("McastID", kNames), "mcastId");
}

TEST(NearNameTest, AnotherWordIsNotTakenForAName) {
  EXPECT_EQ(nearName("port", kNames), "");
  EXPECT_EQ(nearName("", kNames), "");
  EXPECT_EQ(nearName("xyz", kNames), "");  // as far from "mac" as it is long
  EXPECT_EQ(nearName(std::string(1'000'000, 'v'), kNames), "");
}

TEST(NearNameTest, TheHintNamesTheNearestOrAll) {
  EXPECT_EQ(nearNameHint("mca", kNames), "did you mean \"mac\"?");
  EXPECT_EQ(nearNameHint("port", kNames),
            "known are \"vlan\", \"mac\", \"interface\" and \"mcastId\"");
}

}  // namespace
}  // namespace Text
