#include <absl/hash/hash.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/base/Exceptions.h"
#include "platform/types/EthAddr.h"

namespace Bridging {
namespace {

static_assert(sizeof(EthAddr) == 8 && std::is_trivially_copyable_v<EthAddr>);
static_assert(!std::is_convertible_v<std::uint64_t, EthAddr>);
static_assert(!std::is_convertible_v<std::string_view, EthAddr>);

TEST(EthAddrTest, DefaultIsZero) {
  EXPECT_TRUE(EthAddr().isZero());
  EXPECT_EQ(EthAddr().stringValue(), "0000.0000.0000");
  EXPECT_EQ(EthAddr(), EthAddr(0U));
}

TEST(EthAddrTest, DisplayFormIsLowerCaseInThreeGroups) {
  EXPECT_EQ(EthAddr(0x0123'4567'89abULL).stringValue(), "0123.4567.89ab");
  EXPECT_EQ(EthAddr(0xffff'ffff'ffffULL).stringValue(), "ffff.ffff.ffff");
  EXPECT_EQ(EthAddr(1U).stringValue(), "0000.0000.0001");
}

TEST(EthAddrTest, BothFormsAreReadInEitherCase) {
  const EthAddr wanted(0x0123'4567'89abULL);
  EXPECT_EQ(EthAddr("0123.4567.89ab"), wanted);
  EXPECT_EQ(EthAddr("0123.4567.89AB"), wanted);
  EXPECT_EQ(EthAddr("01:23:45:67:89:ab"), wanted);
  EXPECT_EQ(EthAddr("01:23:45:67:89:AB"), wanted);
}

TEST(EthAddrTest, WhatIsNoAddressIsNotRead) {
  using namespace std::string_view_literals;
  for (const std::string_view text :
       {""sv, "0123.4567.89a"sv, "0123.4567.89abc"sv, "0123:4567:89ab"sv, "01.23.45.67.89.ab"sv,
        "01-23-45-67-89-ab"sv, "0123456789ab"sv, "0123.4567.89ag"sv, "0123.4567.8:ab"sv,
        "01:23:45:67:89:a"sv, "01:23:45:67:89:ab "sv, " 123.4567.89ab"sv, "0123.4567.89a\0"sv,
        ".123.4567.89ab"sv, "01:23:45:67.89:ab"sv, "0123.45.6789ab"sv, "-123.4567.89ab"sv}) {
    EXPECT_EQ(EthAddr::parse(text), std::nullopt) << text;
  }
}

TEST(EthAddrTest, ParseErrorShowsTheTextAndBothForms) {
  try {
    EthAddr addr("0123.4567");
    FAIL() << "read as " << addr.stringValue();
  } catch (const Qel::ParseException& e) {
    EXPECT_STREQ(e.what(),
                 "\"0123.4567\" is no MAC address: write hhhh.hhhh.hhhh or hh:hh:hh:hh:hh:hh");
  }
}

TEST(EthAddrTest, OnlyTheLow48BitsCount) {
  EXPECT_EQ(EthAddr(0xabcd'0123'4567'89abULL), EthAddr(0x0123'4567'89abULL));
  EXPECT_EQ(EthAddr(~0ULL).value(), EthAddr::kMask);
}

TEST(EthAddrTest, GroupBitIsTheLowestOfTheFirstByte) {
  EXPECT_TRUE(EthAddr("0100.5e00.0001").isGroup());
  EXPECT_TRUE(EthAddr("ffff.ffff.ffff").isGroup());
  EXPECT_FALSE(EthAddr("fe00.0000.0001").isGroup());
}

TEST(EthAddrTest, DisplayWritesExactlyItsLength) {
  std::string text(EthAddr::kDisplayLength + 2, '#');
  EthAddr(0x0123'4567'89abULL).writeDisplay(text.data() + 1);
  EXPECT_EQ(text, "#0123.4567.89ab#");
}

rc::Gen<std::uint64_t> anyValue() {
  // Arbitrary numbers are small at first; half of these use all 48 bits.
  return rc::gen::oneOf(
      rc::gen::arbitrary<std::uint64_t>(),
      rc::gen::resize(rc::kNominalSize, rc::gen::inRange<std::uint64_t>(0, EthAddr::kMask + 1)));
}

RC_GTEST_PROP(EthAddrProperty, DisplayIsWhatPrintfMakes, ()) {
  const EthAddr addr(*anyValue());
  char text[32];
  std::snprintf(text, sizeof(text), "%04x.%04x.%04x", static_cast<unsigned>(addr.value() >> 32),
                static_cast<unsigned>(addr.value() >> 16 & 0xffff),
                static_cast<unsigned>(addr.value() & 0xffff));
  RC_ASSERT(addr.stringValue() == text);
}

RC_GTEST_PROP(EthAddrProperty, BothFormsReadBack, ()) {
  const EthAddr addr(*anyValue());
  RC_ASSERT(EthAddr::parse(addr.stringValue()) == addr);
  std::string colons;
  for (int shift = 40; shift >= 0; shift -= 8) {
    char byte[4];
    std::snprintf(byte, sizeof(byte), "%02X", static_cast<unsigned>(addr.value() >> shift & 0xff));
    colons += (colons.empty() ? "" : ":") + std::string(byte);
  }
  RC_ASSERT(EthAddr::parse(colons) == addr);
}

RC_GTEST_PROP(EthAddrProperty, OneChangedCharacterIsAnotherAddressOrNone, ()) {
  const EthAddr addr(*anyValue());
  std::string text = addr.stringValue();
  const auto at = *rc::gen::inRange<std::size_t>(0, text.size());
  const char c = *rc::gen::arbitrary<char>();
  const bool same = std::tolower(static_cast<unsigned char>(c)) == text[at];
  text[at] = c;
  const auto parsed = EthAddr::parse(text);
  RC_ASSERT((parsed == addr) == same);
  if (parsed && !same) RC_ASSERT(std::isxdigit(static_cast<unsigned char>(c)) != 0);
}

RC_GTEST_PROP(EthAddrProperty, ComparesAndHashesAsItsNumber, ()) {
  const EthAddr a(*anyValue());
  const EthAddr b(*rc::gen::oneOf(anyValue(), rc::gen::just(a.value())));
  RC_ASSERT((a <=> b) == (a.value() <=> b.value()));
  RC_ASSERT((a == b) == (a.value() == b.value()));
  if (a == b) RC_ASSERT(absl::HashOf(a) == absl::HashOf(b));
}

}  // namespace
}  // namespace Bridging
