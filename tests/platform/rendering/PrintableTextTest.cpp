#include <gtest/gtest.h>

#include "platform/rendering/PrintableText.h"
#include "platform/rendering/PrintfArg.h"
#include "platform/types/IntfId.h"

namespace Rendering {
namespace {

TEST(PrintableTextTest, ControlCharactersAreShownByTheirNumbers) {
  EXPECT_EQ(withoutControlBytes("a\n\x1b[2J\x7f\x01z"), "a\\x0a\\x1b[2J\\x7f\\x01z");
  EXPECT_EQ(withoutControlBytes(std::string_view("\0", 1)), "\\x00");
}

TEST(PrintableTextTest, EverythingElseStaysAsItIs) {
  EXPECT_FALSE(hasControlBytes("Ethernet3/1 \\x0a \xc3\xa4\xff~"));
  EXPECT_EQ(withoutControlBytes("Ethernet3/1 \xc3\xa4\xff~"), "Ethernet3/1 \xc3\xa4\xff~");
  EXPECT_EQ(withoutControlBytes(""), "");
}

TEST(PrintableTextTest, PlainTextIsNotCopied) {
  const std::string plain = "Ethernet3/1";
  std::string room;
  EXPECT_EQ(printableText(plain, room).data(), plain.data());
  EXPECT_EQ(printableText("a\tb", room), "a\\x09b");
}

TEST(PrintableTextTest, QuotedTextIsShortAndWithoutControlCharacters) {
  EXPECT_EQ(quotedText("020.02\x1b"), "\"020.02\\x1b\"");
  EXPECT_EQ(quotedText(std::string_view("a\0b", 3)), "\"a\\x00b\"");
  EXPECT_EQ(quotedText(std::string(81, 'x')), "\"" + std::string(80, 'x') + "...\"");
}

TEST(PrintableTextTest, TextsThatAreFormattedAreShownThatWay) {
  EXPECT_EQ(formatPrintf("%-10s|%c\n", {std::string_view("a\x1b"), '\n'}), "a\\x1b     |\n\n");
}

TEST(PrintableTextTest, TheShortFormOfAnInterfaceIsShownThatWay) {
  EXPECT_EQ(Bridging::IntfId("Ethernet1\x1b[2J").shortName(), "Et1\\x1b[2J");
}

}  // namespace
}  // namespace Rendering
