#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <rapidjson/document.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "text/JsonString.h"
#include "text/Utf8.h"

namespace Text {
namespace {

using namespace std::string_view_literals;

std::string json(std::string_view text) {
  std::string out;
  appendJsonString(out, text);
  return out;
}

TEST(JsonStringTest, PlainTextIsQuoted) {
  EXPECT_EQ(json(""), R"("")");
  EXPECT_EQ(json("Ethernet3/1"), R"("Ethernet3/1")");
}

TEST(JsonStringTest, AppendsToWhatIsThere) {
  std::string out = "{";
  appendJsonString(out, "a");
  EXPECT_EQ(out, "{\"a\"");
}

TEST(JsonStringTest, ControlCharactersAndQuotesAreEscaped) {
  EXPECT_EQ(json("\"\\/\b\f\n\r\t"), R"("\"\\/\b\f\n\r\t")");
  EXPECT_EQ(json("\0\x01\x1f\x7f"sv), "\"\\u0000\\u0001\\u001f\\u007f\"");
}

TEST(JsonStringTest, WellFormedUtf8PassesAtEveryLength) {
  for (const std::string_view text : {"~"sv, "\u00a0"sv, "\u07ff"sv, "\u0800"sv, "\ud7ff"sv,
                                      "\ue000"sv, "\uffff"sv, "\U00010000"sv, "\U0010ffff"sv}) {
    EXPECT_EQ(json(text), "\"" + std::string(text) + "\"");
    EXPECT_EQ(utf8SequenceLength(text), text.size());
  }
}

TEST(JsonStringTest, WhatIsUnsafeInATerminalIsEscapedAndKeepsItsValue) {
  EXPECT_EQ(json("\u0080\u009b\u009f"), R"("\u0080\u009b\u009f")");
  EXPECT_EQ(json("\u061c\u200e\u200f\u202a\u202e\u2066\u2069"),
            R"("\u061c\u200e\u200f\u202a\u202e\u2066\u2069")");
  EXPECT_EQ(json("\u200d\u2010\u2029\u202f\u2065\u206a"),
            "\"\u200d\u2010\u2029\u202f\u2065\u206a\"");
}

TEST(JsonStringTest, EachByteThatIsNoUtf8IsReplaced) {
  const auto replacements = [](int count) {
    std::string text = "\"";
    for (int i = 0; i < count; ++i) text += "\uFFFD";
    return text + "\"";
  };
  EXPECT_EQ(json("\x80"sv), replacements(1));              // a continuation alone
  EXPECT_EQ(json("\xc0\xaf"sv), replacements(2));          // longer than necessary
  EXPECT_EQ(json("\xe0\x9f\xbf"sv), replacements(3));      // likewise
  EXPECT_EQ(json("\xed\xa0\x80"sv), replacements(3));      // a surrogate
  EXPECT_EQ(json("\xf4\x90\x80\x80"sv), replacements(4));  // beyond U+10FFFF
  EXPECT_EQ(json("\xf5\x80\x80\x80"sv), replacements(4));
  EXPECT_EQ(json("\xe2\x82"sv), replacements(2));  // cut short
  EXPECT_EQ(json("a\xffz"sv), "\"a\uFFFDz\"");
  EXPECT_EQ(json("\xe2\x82z"sv), "\"\uFFFD\uFFFDz\"");
}

rapidjson::Document parsed(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
  return document;
}

RC_GTEST_PROP(JsonStringProperty, AnyBytesGiveAValidString, (const std::string& text)) {
  const rapidjson::Document document = parsed(json(text));
  RC_ASSERT(!document.HasParseError());
  RC_ASSERT(document.IsString());
}

rc::Gen<std::string> anyUtf8() {
  return rc::gen::map(
      rc::gen::container<std::u32string>(rc::gen::oneOf(
          rc::gen::inRange<char32_t>(0, 0x80), rc::gen::inRange<char32_t>(0x80, 0x800),
          rc::gen::inRange<char32_t>(0x800, 0xd800), rc::gen::inRange<char32_t>(0xe000, 0x10000),
          rc::gen::inRange<char32_t>(0x10000, 0x110000))),
      [](const std::u32string& codePoints) {
        std::string text;
        const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
        for (const char32_t c : codePoints) {
          if (c < 0x80) {
            put(c);
          } else if (c < 0x800) {
            put(0xc0 | c >> 6);
          } else if (c < 0x10000) {
            put(0xe0 | c >> 12);
          } else {
            put(0xf0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3f));
          }
          if (c >= 0x800) put(0x80 | (c >> 6 & 0x3f));
          if (c >= 0x80) put(0x80 | (c & 0x3f));
        }
        return text;
      });
}

RC_GTEST_PROP(JsonStringProperty, Utf8ReadsBackUnchanged, ()) {
  const std::string text = *anyUtf8();
  const rapidjson::Document document = parsed(json(text));
  RC_ASSERT(!document.HasParseError());
  RC_ASSERT(std::string(document.GetString(), document.GetStringLength()) == text);
}

}  // namespace
}  // namespace Text
