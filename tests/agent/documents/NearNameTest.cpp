// Guessing which name was meant.

#include <gtest/gtest.h>

#include <array>

#include "agent/documents/NearName.h"

namespace KorvoAgent {
namespace {

constexpr std::array<std::string_view, 4> kNames{"vlan", "mac", "interface", "mcastId"};

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
}  // namespace KorvoAgent
