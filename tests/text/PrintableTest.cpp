#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "text/Printable.h"
#include "text/Utf8.h"

namespace Text {
namespace {

TEST(PrintableTest, ControlCharactersAreShownByTheirNumbers) {
  EXPECT_EQ(printable("a\n\x1b[2J\x7f\x01z"), "a\\x0a\\x1b[2J\\x7f\\x01z");
  EXPECT_EQ(printable(std::string_view("\0", 1)), "\\x00");
  EXPECT_EQ(printable("\u0080\u009b31m\u009f"), "\\u{0080}\\u{009b}31m\\u{009f}");
}

TEST(PrintableTest, MarksThatTurnTheDirectionOfWritingAreShownByTheirNumbers) {
  EXPECT_EQ(printable("a\u202eb"), "a\\u{202e}b");
  EXPECT_EQ(printable("\u061c\u200e\u200f\u202a\u2066\u2069"),
            "\\u{061c}\\u{200e}\\u{200f}\\u{202a}\\u{2066}\\u{2069}");
}

TEST(PrintableTest, BytesThatAreNotUtf8AreShownByTheirNumbers) {
  EXPECT_EQ(printable("a\xff\xc3(\xe2\x82"), "a\\xff\\xc3(\\xe2\\x82");
}

TEST(PrintableTest, EverythingElseStaysAsItIs) {
  for (const std::string_view text : {"", "Ethernet3/1 \\x0a ~", "gr\u00fc\u00df\u00a0",
                                      "\u200d\u2010\u2029\u202f\u2065\u206a", "\U0001f600"}) {
    EXPECT_TRUE(isPrintable(text)) << text;
    EXPECT_EQ(printable(text), text);
  }
}

TEST(PrintableTest, PlainTextIsNotCopied) {
  const std::string plain = "Ethernet3/1";
  std::string room;
  EXPECT_EQ(printable(plain, room).data(), plain.data());
  EXPECT_EQ(printable("a\tb", room), "a\\x09b");
}

TEST(PrintableTest, LongTextIsCutBetweenCharacters) {
  EXPECT_EQ(shortened("abcdef", 4), "abcd...");
  EXPECT_EQ(shortened("abc\u00e4", 4), "abc...");
  EXPECT_EQ(shortened("abcd", 4), "abcd");
  EXPECT_EQ(shortened("\x80\x80\x80", 2), "...");
}

TEST(PrintableTest, QuotedTextIsShort) {
  EXPECT_EQ(inQuotes("020.02"), "\"020.02\"");
  EXPECT_EQ(inQuotes(std::string(81, 'x')), "\"" + std::string(80, 'x') + "...\"");
  EXPECT_EQ(inQuotes("a\n\x1b"), "\"a\n\x1b\"");
  EXPECT_EQ(inQuotes(std::string_view("a\0b", 3)), "\"a\\x00b\"");
}

RC_GTEST_PROP(PrintableProperty, WhatIsShownIsPrintableAndShownAgainTheSame,
              (const std::string& bytes)) {
  const std::string shown = printable(bytes);
  RC_ASSERT(isPrintable(shown));
  RC_ASSERT(printable(shown) == shown);
  RC_ASSERT(isPrintable(bytes) == (shown == bytes));
  // Room is reckoned by this: four bytes for one.
  RC_ASSERT(shown.size() <= 4 * bytes.size());
}

}  // namespace
}  // namespace Text
