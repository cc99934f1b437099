#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "client/Value.h"

namespace KorvoCtl {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(ValueTest, NumbersAreDecimalAndFit) {
  for (const char* text : {"0", "7", "4294967295"}) {
    EXPECT_THAT(problemWith(ValueKind::kNumber, text), IsEmpty()) << text;
  }
  for (const char* text : {"", "-1", "+1", "0x10", "1 ", "4294967296", "99999999999999999999"}) {
    EXPECT_THAT(problemWith(ValueKind::kNumber, text), HasSubstr("is not a number")) << text;
  }
  EXPECT_THAT(problemWith(ValueKind::kRequest, "18446744073709551615"), IsEmpty());
  EXPECT_THAT(problemWith(ValueKind::kRequest, "18446744073709551616"), HasSubstr("request"));
}

TEST(ValueTest, VlansGoFromOneTo4094) {
  EXPECT_THAT(problemWith(ValueKind::kVlan, "1"), IsEmpty());
  EXPECT_THAT(problemWith(ValueKind::kVlan, "4094"), IsEmpty());
  for (const char* text : {"0", "4095", "65537", "-1", "", "ten"}) {
    EXPECT_THAT(problemWith(ValueKind::kVlan, text), HasSubstr("a VLAN from 1 to 4094")) << text;
  }
}

TEST(ValueTest, AddressesAreWrittenInOneOfTwoForms) {
  for (const char* text : {"0001.02ab.CDEF", "00:01:02:ab:CD:ef"}) {
    EXPECT_THAT(problemWith(ValueKind::kMac, text), IsEmpty()) << text;
  }
  for (const char* text :
       {"", "0001.02ab", "0001.02ab.cdeg", "0001.02ab.cdef.0001", "000102abcdef", "0:1:2:a:b:c",
        "00-01-02-ab-cd-ef", "00:01:02:ab:cd:ef:", "001.002.0003"}) {
    EXPECT_THAT(problemWith(ValueKind::kMac, text), HasSubstr("write hhhh.hhhh.hhhh or")) << text;
  }
}

TEST(ValueTest, InterfaceNamesHoldNothingThatEndsThem) {
  for (const std::string& text : {std::string("Ethernet3/1.10"), std::string(63, 'x')}) {
    EXPECT_THAT(problemWith(ValueKind::kInterface, text), IsEmpty()) << text;
  }
  for (const std::string& text : {std::string(), std::string("a b"), std::string("a,b"),
                                  std::string("a\n"), std::string(64, 'x'), std::string("a\x7f")}) {
    EXPECT_THAT(problemWith(ValueKind::kInterface, text), HasSubstr("is not an interface's name"))
        << text;
  }
}

}  // namespace
}  // namespace KorvoCtl
