#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "agent/server/LineAssembler.h"
#include "agent/server/RequestLine.h"

namespace KorvoAgent {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

RequestLine parsed(std::string_view line) {
  const auto result = parseRequestLine(line);
  const auto* const request = std::get_if<RequestLine>(&result);
  EXPECT_NE(request, nullptr) << line;
  return request == nullptr ? RequestLine{} : *request;
}

std::string problemOf(std::string_view line) {
  const auto result = parseRequestLine(line);
  const auto* const problem = std::get_if<LineProblem>(&result);
  EXPECT_NE(problem, nullptr) << line;
  return problem == nullptr ? "" : problem->text;
}

TEST(RequestLineTest, EveryEntryAndFormatIsRead) {
  EXPECT_EQ(parsed("plain text X").entry, Entry::plain);
  EXPECT_EQ(parsed("sync text X").entry, Entry::sync);
  EXPECT_EQ(parsed("async json X").entry, Entry::async);
  EXPECT_EQ(parsed("agent json X").entry, Entry::agent);
  EXPECT_EQ(parsed("plain text X").format, Rendering::kText);
  EXPECT_EQ(parsed("async json X").format, Rendering::kJson);
}

TEST(RequestLineTest, TheCommandIsTakenAsItIs) {
  EXPECT_EQ(parsed("async json MACT_HW_ALL detail 0,1").command, "MACT_HW_ALL detail 0,1");
  EXPECT_EQ(parsed("plain text  leading and trailing ").command, " leading and trailing ");
  EXPECT_EQ(parsed("plain text A++B\r").command, "A++B\r");
  EXPECT_EQ(parsed("plain text ").command, "");
  EXPECT_EQ(parsed("plain text \xc3\xa4").command, "\xc3\xa4");
}

TEST(RequestLineTest, WhatIsWrongAndWhatIsAcceptedIsSaid) {
  const auto accepted = HasSubstr(
      "a request is one line \"ENTRY FORMAT COMMAND\" with ENTRY plain, sync, async or agent and "
      "FORMAT text or json");
  EXPECT_THAT(problemOf(""), testing::AllOf(StartsWith("the line is empty; "), accepted));
  EXPECT_THAT(problemOf("MACT_ALL"),
              testing::AllOf(StartsWith("unknown entry \"MACT_ALL\"; "), accepted));
  EXPECT_THAT(problemOf("show mac address-table"), StartsWith("unknown entry \"show\"; "));
  EXPECT_THAT(problemOf("Plain text X"), StartsWith("unknown entry \"Plain\"; "));
  EXPECT_THAT(problemOf(" plain text X"), StartsWith("unknown entry \"\"; "));
  EXPECT_THAT(problemOf("plain"), StartsWith("the format and the command are missing; "));
  EXPECT_THAT(problemOf("async xml MACT_ALL"), StartsWith("unknown format \"xml\"; "));
  EXPECT_THAT(problemOf("async  json X"), StartsWith("unknown format \"\"; "));
  EXPECT_THAT(problemOf("async json"), StartsWith("the command is missing; "));
  EXPECT_THAT(problemOf("async json\xff MACT_ALL"), StartsWith("the line is not UTF-8; "));
}

TEST(RequestLineTest, AProblemShowsOnlyTheBeginningOfALongWord) {
  EXPECT_LT(problemOf(std::string(60'000, 'x')).size(), 400U);
}

RC_GTEST_PROP(RequestLineProperty, AnyBytesGiveARequestOrOneLineOfText, ()) {
  // Words of the protocol among the bytes, so that deeper branches are reached too.
  const auto piece = rc::gen::oneOf(
      rc::gen::element<std::string>("plain", "sync", "async", "agent", "text", "json", " ", "\xc3",
                                    "\xa4", std::string(1, '\0'), "\n"),
      rc::gen::container<std::string>(rc::gen::arbitrary<char>()));
  const auto pieces = *rc::gen::container<std::vector<std::string>>(piece);
  std::string line;
  for (const std::string& text : pieces) line += text;
  const auto result = parseRequestLine(line);
  if (const auto* const problem = std::get_if<LineProblem>(&result)) {
    RC_ASSERT(!problem->text.empty());
  } else {
    const auto& request = std::get<RequestLine>(result);
    RC_ASSERT(std::string(entryName(request.entry)) + " " +
                  std::string(formatName(request.format)) + " " + request.command ==
              line);
  }
}

RC_GTEST_PROP(LineAssemblerProperty, ALineIsTheSameHoweverItIsCut, ()) {
  constexpr std::size_t kLimit = 40;
  const auto text = *rc::gen::container<std::string>(
      rc::gen::weightedElement<char>({{30, 'a'}, {1, '\n'}, {5, '\0'}, {5, '\xff'}}));
  const auto cuts = *rc::gen::container<std::vector<std::size_t>>(
      rc::gen::inRange<std::size_t>(0, text.size() + 1));
  LineAssembler whole(kLimit);
  whole.add(text);

  std::vector<std::size_t> ends(cuts);
  ends.push_back(text.size());
  std::ranges::sort(ends);
  LineAssembler cut(kLimit);
  std::size_t begin = 0;
  for (const std::size_t end : ends) {
    cut.add(std::string_view(text).substr(begin, end - begin));
    begin = end;
  }
  RC_ASSERT(cut.state() == whole.state());
  RC_ASSERT(cut.line() == whole.line());

  const std::size_t newline = text.find('\n');
  const bool fits = newline == std::string::npos ? text.size() < kLimit : newline < kLimit;
  const auto expected = !fits                          ? LineAssembler::State::tooLong
                        : newline == std::string::npos ? LineAssembler::State::incomplete
                                                       : LineAssembler::State::complete;
  RC_ASSERT(whole.state() == expected);
  if (fits) RC_ASSERT(whole.line() == text.substr(0, newline));
}

TEST(LineAssemblerTest, TheNewlineCountsTowardsTheLimit) {
  LineAssembler fits(4);
  EXPECT_EQ(fits.add("abc\n"), LineAssembler::State::complete);
  LineAssembler tooLong(4);
  EXPECT_EQ(tooLong.add("abcd\n"), LineAssembler::State::tooLong);
  EXPECT_EQ(tooLong.line(), "");
}

}  // namespace
}  // namespace KorvoAgent
