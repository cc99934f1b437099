// What exceptions tell of the argument that they are about.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/command/CommandArgument.h"
#include "platform/types/FapId.h"

namespace AgentCommand {
namespace {

/** Reads as `name` "text" what throws an Error; what came of it. */
template <class Error, class Read>
void expectNoted(std::string_view text, const Read& read, const std::string& message,
                 const std::string& what) {
  try {
    readArgument("chip", text, read);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Error& error) {
    EXPECT_EQ(error.what(), what);
    EXPECT_EQ(messageOf(error), message);
  }
}

TEST(CommandArgumentTest, WhatIsReadIsReturned) {
  EXPECT_EQ(readArgument("chip", "7", [] { return Tessar::FapId(7); }), Tessar::FapId(7));
  int reads = 0;
  readArgument("chip", "7", [&reads] { ++reads; });
  EXPECT_EQ(reads, 1);
}

TEST(CommandArgumentTest, AnExceptionKeepsTypeAndTextAndTellsTheArgument) {
  const std::string range =
      "Tessar::FapId::value < Tessar::FapId::min or > Tessar::FapId::null not allowed";
  expectNoted<Qel::RangeException>(
      "300", [] { return Tessar::FapId(300); }, "chip \"300\": " + range, range);
  expectNoted<std::invalid_argument>(
      "0,x", [] { return std::stoi("x"); }, "chip \"0,x\": stoi", "stoi");
  expectNoted<std::out_of_range>(
      "", [] { return std::stoi("99999999999"); }, "chip \"\": stoi", "stoi");
  expectNoted<Qel::ParseException>(
      "a", [] { throw Qel::ParseException("no"); }, "chip \"a\": no", "no");
}

TEST(CommandArgumentTest, TheArgumentIsQuotedAsItCameAndInPart) {
  expectNoted<std::invalid_argument>(
      "a\n\x1b[2J", [] { throw std::invalid_argument("no"); }, "chip \"a\n\x1b[2J\": no", "no");
  expectNoted<std::invalid_argument>(
      std::string(1000, 'x'), [] { throw std::invalid_argument("no"); },
      "chip \"" + std::string(80, 'x') + "...\": no", "no");
}

TEST(CommandArgumentTest, OtherExceptionsSayNothingOfAnArgument) {
  try {
    readArgument("chip", "1", [] { throw std::runtime_error("the agent is broken"); });
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(messageOf(error), "the agent is broken");
  }
}

}  // namespace
}  // namespace AgentCommand
