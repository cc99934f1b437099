#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <variant>

#include "client/ChipList.h"

namespace KorvoCtl {
namespace {

using testing::HasSubstr;

const std::vector<Chip> kChips = {{0, "Korvo0/0"}, {1, "Korvo0/1"}, {12, "Korvo3/0"}};

std::string resolved(std::string_view wanted, const std::vector<Chip>& chips = kChips) {
  const auto result = resolveChips(wanted, chips);
  if (const Problem* problem = problemOf(result)) {
    EXPECT_EQ(problem->status, ExitStatus::kUsage);
    return "problem: " + problem->message;
  }
  return std::get<std::string>(result);
}

TEST(ChipListTest, AgentsListIsRead) {
  const auto result =
      parseChips(R"({"more":1,"chips":[{"id":0,"name":"A","up":true},{"name":"B","id":127}]})");
  ASSERT_EQ(problemOf(result), nullptr);
  const auto& chips = std::get<std::vector<Chip>>(result);
  ASSERT_EQ(chips.size(), 2U);
  EXPECT_EQ(chips[0].id, 0U);
  EXPECT_EQ(chips[0].name, "A");
  EXPECT_EQ(chips[1].id, 127U);
  EXPECT_EQ(chips[1].name, "B");
}

TEST(ChipListTest, ListThatIsNoListIsNotUnderstood) {
  for (const char* json :
       {"", "null", "[]", "{}", R"({"chips":{}})", R"({"chips":[0]})",
        R"({"chips":[{"name":"A"}]})", R"({"chips":[{"id":128}]})", R"({"chips":[{"id":-1}]})",
        R"({"chips":[{"id":"0"}]})", R"({"chips":[]} x)", R"({"chips":[{"id":0})"}) {
    const auto result = parseChips(json);
    ASSERT_NE(problemOf(result), nullptr) << json;
    EXPECT_EQ(problemOf(result)->status, ExitStatus::kFailed);
  }
}

TEST(ChipListTest, AllChipsAreTheirNumbersBetweenCommas) {
  EXPECT_EQ(allChips(kChips), "0,1,12");
  EXPECT_EQ(allChips({}), "");
}

TEST(ChipListTest, NumbersAndNamesBecomeNumbersInTheOrderGiven) {
  EXPECT_EQ(resolved("1,0"), "1,0");
  EXPECT_EQ(resolved("Korvo3/0,0"), "12,0");
  EXPECT_EQ(resolved("012"), "12");
}

TEST(ChipListTest, ChipThatDoesNotExistIsNamedTogetherWithThoseThatDo) {
  EXPECT_THAT(resolved("0,2"), HasSubstr("no chip '2'"));
  EXPECT_THAT(resolved("0,2"), HasSubstr("12 (Korvo3/0)"));
  EXPECT_THAT(resolved("Korvo"), HasSubstr("no chip 'Korvo'"));
  EXPECT_THAT(resolved("0", {}), HasSubstr("the agent has none"));
  // 300 modulo 256 is 44: a number must not turn into another chip's on its way.
  EXPECT_THAT(resolved("300", {{44, "A"}}), HasSubstr("no chip '300'"));
}

TEST(ChipListTest, EmptyPieceIsNoChip) {
  for (const char* wanted : {"", ",", "0,", ",0", "0,,1"}) {
    EXPECT_THAT(resolved(wanted), HasSubstr("no chip ''")) << wanted;
  }
}

TEST(ChipListTest, EmptyPieceIsNoChipWithoutANameEither) {
  EXPECT_THAT(resolved("0,", {{0, ""}}), HasSubstr("no chip ''"));
}

}  // namespace
}  // namespace KorvoCtl
