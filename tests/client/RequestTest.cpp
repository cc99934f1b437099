#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "client/Request.h"

namespace KorvoCtl {
namespace {

using testing::HasSubstr;

std::string lineOf(const Request& request) { return std::get<std::string>(requestLine(request)); }

TEST(RequestTest, LineIsEntryFormatCommandAndNewline) {
  EXPECT_EQ(lineOf({Entry::kAsync, Format::kJson, "MACT_ALL"}), "async json MACT_ALL\n");
  EXPECT_EQ(lineOf({Entry::kPlain, Format::kText, "ShadowShow+VFI "}),
            "plain text ShadowShow+VFI \n");
}

TEST(RequestTest, EveryEntryAndFormatIsReadBackFromItsText) {
  for (const Entry entry : {Entry::kPlain, Entry::kSync, Entry::kAsync, Entry::kAgent}) {
    EXPECT_EQ(entryFromText(toText(entry)), entry);
  }
  for (const Format format : {Format::kText, Format::kJson}) {
    EXPECT_EQ(formatFromText(toText(format)), format);
  }
  EXPECT_EQ(entryFromText("Plain"), std::nullopt);
  EXPECT_EQ(entryFromText(""), std::nullopt);
  EXPECT_EQ(formatFromText("xml"), std::nullopt);
}

TEST(RequestTest, CommandThatTheAgentWouldReadOtherwiseIsWrongUsage) {
  for (const std::string& command : {std::string(), std::string("A\nB"), std::string("A\n")}) {
    const auto result = requestLine({Entry::kPlain, Format::kText, command});
    ASSERT_NE(problemOf(result), nullptr) << command;
    EXPECT_EQ(problemOf(result)->status, ExitStatus::kUsage);
  }
}

TEST(RequestTest, LineMayHaveSixtyFourKibibytesAndNotOneMore) {
  const std::size_t around = std::string("sync text \n").size();
  const std::string longest(kMaxRequestLine - around, 'x');
  EXPECT_EQ(lineOf({Entry::kSync, Format::kText, longest}).size(), 65536U);
  const auto result = requestLine({Entry::kSync, Format::kText, longest + "x"});
  ASSERT_NE(problemOf(result), nullptr);
  EXPECT_EQ(problemOf(result)->status, ExitStatus::kUsage);
  EXPECT_THAT(problemOf(result)->message, HasSubstr("65537"));
}

}  // namespace
}  // namespace KorvoCtl
