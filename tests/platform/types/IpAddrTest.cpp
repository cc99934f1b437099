#include <absl/hash/hash.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <tuple>

#include "platform/base/Exceptions.h"
#include "platform/types/IpAddr.h"

namespace Bridging {
namespace {

TEST(IpAddrTest, DefaultIsTheUnspecifiedIpv4Address) {
  EXPECT_EQ(IpAddr().stringValue(), "0.0.0.0");
  EXPECT_TRUE(IpAddr().isUnspecified());
  EXPECT_TRUE(IpAddr().isV4());
  EXPECT_EQ(IpAddr(), IpAddr("0.0.0.0"));
  EXPECT_NE(IpAddr(), IpAddr("::"));
}

TEST(IpAddrTest, Ipv4IsDottedDecimal) {
  const IpAddr addr("192.0.2.255");
  EXPECT_TRUE(addr.isV4());
  EXPECT_EQ(addr, IpAddr::v4(0xc00002ff));
  EXPECT_EQ(addr.stringValue(), "192.0.2.255");
}

TEST(IpAddrTest, Ipv6IsPrintedInItsCanonicalForm) {
  const auto canonical = [](std::string_view text) { return IpAddr(text).stringValue(); };
  EXPECT_EQ(canonical("2001:0DB8:0000:0000:0000:0000:0000:0001"), "2001:db8::1");
  EXPECT_EQ(canonical("::"), "::");
  EXPECT_EQ(canonical("0:0:0:0:0:0:0:1"), "::1");
  EXPECT_EQ(canonical("fe80::0:0:1:0"), "fe80::1:0");
  // A single group of zeros is not shortened.
  EXPECT_EQ(canonical("2001:db8:0:1:1:1:1:1"), "2001:db8:0:1:1:1:1:1");
  // The longest run, and the first of equally long ones.
  EXPECT_EQ(canonical("2001:0:0:1:0:0:0:1"), "2001:0:0:1::1");
  EXPECT_EQ(canonical("2001:db8:0:0:1:0:0:1"), "2001:db8::1:0:0:1");
  EXPECT_EQ(canonical("::ffff:c000:0201"), "::ffff:192.0.2.1");
}

TEST(IpAddrTest, WhatIsNoAddressIsNotRead) {
  using namespace std::string_view_literals;
  for (const std::string_view text :
       {""sv, "1.2.3"sv, "1.2.3.4.5"sv, "1.2.3.256"sv, "01.2.3.4"sv, "1.2.3.4 "sv, " 1.2.3.4"sv,
        "1.2.3.4/24"sv, "1.2.3.4\0"sv, "::1\0x"sv, ":::"sv, "1::2::3"sv, "::10000"sv,
        "fe80::1%et1"sv, "1:2:3:4:5:6:7"sv, "1:2:3:4:5:6:7:8:9"sv, "a.b.c.d"sv, "localhost"sv,
        "0000:0000:0000:0000:0000:0000:0000:0000:0000:0000:0000:0000"sv}) {
    EXPECT_EQ(IpAddr::parse(text), std::nullopt) << text;
  }
}

TEST(IpAddrTest, ParseErrorShowsTheText) {
  try {
    IpAddr addr("1.2.3.4/24");
    FAIL() << "read as " << addr.stringValue();
  } catch (const Qel::ParseException& e) {
    EXPECT_STREQ(e.what(),
                 "\"1.2.3.4/24\" is no IP address: write d.d.d.d or h:h:h:h:h:h:h:h, with :: for a "
                 "run of zeros");
  }
}

TEST(IpAddrTest, MulticastIsKnownInBothFamilies) {
  EXPECT_TRUE(IpAddr("224.0.0.1").isMulticast());
  EXPECT_TRUE(IpAddr("239.255.255.255").isMulticast());
  EXPECT_FALSE(IpAddr("223.255.255.255").isMulticast());
  EXPECT_FALSE(IpAddr("240.0.0.1").isMulticast());
  EXPECT_TRUE(IpAddr("ff02::1").isMulticast());
  EXPECT_FALSE(IpAddr("fe80::1").isMulticast());
}

TEST(IpAddrTest, Ipv4ComesBeforeIpv6AndNumbersAscend) {
  EXPECT_LT(IpAddr("9.0.0.0"), IpAddr("10.0.0.0"));
  EXPECT_LT(IpAddr("255.255.255.255"), IpAddr("::"));
  EXPECT_LT(IpAddr("9::"), IpAddr("10::"));
  EXPECT_NE(IpAddr("1.2.3.4"), IpAddr("::ffff:1.2.3.4"));
}

rc::Gen<IpAddr> anyAddr() {
  return rc::gen::oneOf(rc::gen::map(rc::gen::arbitrary<std::uint32_t>(), &IpAddr::v4),
                        // Few different bytes, so that runs of zeros are common.
                        rc::gen::map(rc::gen::container<IpAddr::Bytes>(
                                         rc::gen::element<std::uint8_t>(0, 0, 0, 1, 0x10, 0xff)),
                                     &IpAddr::v6));
}

RC_GTEST_PROP(IpAddrProperty, TextReadsBackAsTheSameAddress, ()) {
  const IpAddr addr = *anyAddr();
  RC_ASSERT(IpAddr::parse(addr.stringValue()) == addr);
}

RC_GTEST_PROP(IpAddrProperty, NoBytesUpsetTheParser, (const std::string& text)) {
  if (const auto addr = IpAddr::parse(text)) RC_ASSERT(IpAddr(addr->stringValue()) == *addr);
}

RC_GTEST_PROP(IpAddrProperty, EqualityOrderAndHashAgree, ()) {
  const IpAddr a = *anyAddr();
  const IpAddr b = *rc::gen::oneOf(anyAddr(), rc::gen::just(a));
  const auto key = [](const IpAddr& i) { return std::tuple(i.isV6(), i.bytes()); };
  RC_ASSERT((a == b) == (key(a) == key(b)));
  RC_ASSERT((a < b) == (key(a) < key(b)));
  if (a == b) RC_ASSERT(absl::HashOf(a) == absl::HashOf(b));
}

}  // namespace
}  // namespace Bridging
