#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>

#include "platform/rendering/PrintfArg.h"

namespace Rendering {
namespace {

TEST(PrintfArgTest, TextIsPaddedAndCut) {
  EXPECT_EQ(formatPrintf("%s", {"abc"}), "abc");
  EXPECT_EQ(formatPrintf("[%6s] [%-6s]", {"abc", "abc"}), "[   abc] [abc   ]");
  EXPECT_EQ(formatPrintf("[%.2s] [%5.2s]", {"abc", "abc"}), "[ab] [   ab]");
  EXPECT_EQ(formatPrintf("[%2s]", {"abc"}), "[abc]");
  EXPECT_EQ(formatPrintf("%s%s%s", {std::string("a"), std::string_view("b"), "c"}), "abc");
}

TEST(PrintfArgTest, PaddingCountsCharactersNotBytes) {
  EXPECT_EQ(formatPrintf("[%-4s]", {"\u00e4b"}), "[\u00e4b  ]");
}

TEST(PrintfArgTest, HeadsOfAColumnTable) {
  EXPECT_EQ(formatPrintf("%4s %-17s %-8s %-12s %-7s %-17s\n",
                         {"Vlan", "Mac Address", "Type", "McastGroupId", "ClassId", "Port"}),
            "Vlan Mac Address       Type     McastGroupId ClassId Port             \n");
}

TEST(PrintfArgTest, NumbersOfEveryWidth) {
  EXPECT_EQ(formatPrintf("%d %d", {std::int8_t{-128}, std::numeric_limits<std::int64_t>::min()}),
            "-128 -9223372036854775808");
  EXPECT_EQ(formatPrintf("%u %u", {std::uint8_t{255}, std::numeric_limits<std::uint64_t>::max()}),
            "255 18446744073709551615");
  EXPECT_EQ(formatPrintf("%x %X %#x %04x", {0xabcU, 0xabcU, 0xabcU, 0xabU}), "abc ABC 0xabc 00ab");
  EXPECT_EQ(formatPrintf("%d", {std::uint32_t{0xffffffff}}), "4294967295");
}

TEST(PrintfArgTest, TruthValuesAreNumbers) {
  EXPECT_EQ(formatPrintf("%d %u", {true, false}), "1 0");
}

TEST(PrintfArgTest, CharactersAndPercentSigns) {
  EXPECT_EQ(formatPrintf("[%c] [%3c] 100%%", {'a', 'b'}), "[a] [  b] 100%");
}

TEST(PrintfArgTest, TextWithoutConversionsIsItself) {
  EXPECT_EQ(formatPrintf("", {}), "");
  EXPECT_EQ(formatPrintf("plain {} text\n", {}), "plain {} text\n");
}

TEST(PrintfArgTest, FormatThatDoesNotFitIsRefused) {
  EXPECT_THROW(formatPrintf("%s %s", {"one"}), fmt::format_error);
  EXPECT_THROW(formatPrintf("%d", {"text"}), fmt::format_error);
  EXPECT_THROW(formatPrintf("%", {}), fmt::format_error);
}

std::string anySpec(std::string_view flags) {
  std::string spec = "%";
  for (const char flag : flags) {
    if (*rc::gen::arbitrary<bool>()) spec += flag;
  }
  if (*rc::gen::arbitrary<bool>()) spec += std::to_string(*rc::gen::inRange(1, 30));
  return spec;
}

template <class T>
std::string byPrintf(const std::string& format, T value) {
  std::array<char, 200> text{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(text.data(), text.size(), format.c_str(), value);
#pragma GCC diagnostic pop
  return text.data();
}

RC_GTEST_PROP(PrintfArgProperty, SignedNumbersAreAsPrintfMakesThem, (std::int64_t value)) {
  const std::string spec = anySpec("-+ 0");
  RC_ASSERT(formatPrintf(spec + "d", {value}) == byPrintf(spec + PRId64, value));
}

RC_GTEST_PROP(PrintfArgProperty, UnsignedNumbersAreAsPrintfMakesThem, (std::uint64_t value)) {
  const std::string spec = anySpec("-0");
  RC_ASSERT(formatPrintf(spec + "u", {value}) == byPrintf(spec + PRIu64, value));
  RC_ASSERT(formatPrintf(spec + "x", {value}) == byPrintf(spec + PRIx64, value));
}

RC_GTEST_PROP(PrintfArgProperty, TextIsAsPrintfMakesIt, ()) {
  const auto text = *rc::gen::container<std::string>(rc::gen::inRange<char>(' ', '\x7f'));
  std::string spec = anySpec("-");
  if (*rc::gen::arbitrary<bool>()) spec += "." + std::to_string(*rc::gen::inRange(0, 30));
  RC_ASSERT(formatPrintf(spec + "s", {text}) == byPrintf(spec + "s", text.c_str()));
}

}  // namespace
}  // namespace Rendering
