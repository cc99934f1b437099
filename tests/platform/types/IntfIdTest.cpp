#include <absl/hash/hash.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <compare>
#include <cstdlib>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/types/IntfCalled.h"
#include "platform/types/IntfId.h"

namespace Bridging {
namespace {

static_assert(sizeof(IntfId) == sizeof(void*) && std::is_trivially_copyable_v<IntfId>);
static_assert(!std::is_convertible_v<std::string_view, IntfId>);

TEST(IntfIdTest, DefaultHasTheEmptyName) {
  EXPECT_TRUE(IntfId().isDefault());
  EXPECT_EQ(IntfId().stringValue(), "");
  EXPECT_EQ(IntfId().shortName(), "");
  EXPECT_EQ(IntfId().jsonString(), "\"\"");
  EXPECT_EQ(IntfId(""), IntfId());
}

TEST(IntfIdTest, EqualNamesAreOneInterface) {
  const std::string name = "Ethernet3/1";
  const IntfId intf(name);
  EXPECT_EQ(intf, IntfId("Ethernet3/1"));
  EXPECT_EQ(&intf.stringValue(), &IntfId("Ethernet3/1").stringValue());
  EXPECT_EQ(absl::HashOf(intf), absl::HashOf(IntfId("Ethernet3/1")));
  EXPECT_NE(intf, IntfId("Ethernet3/2"));
  EXPECT_NE(intf, IntfId("ethernet3/1"));
  EXPECT_FALSE(intf.isDefault());
}

TEST(IntfIdTest, LookingUpFindsWhatWasEnteredAndEntersNothing) {
  const IntfId entered("Ethernet77/1");
  const std::size_t before = IntfId::numNames();
  EXPECT_EQ(IntfId::find("Ethernet77/1"), entered);
  EXPECT_EQ(IntfId::find(""), IntfId());
  for (const char* name : {"Ethernet77/2", "ethernet77/1", "Ethernet77/1 ", "Ethernet77/"}) {
    EXPECT_EQ(IntfId::find(name), std::nullopt) << name;
  }
  EXPECT_THROW(IntfId::find(std::string(IntfId::kMaxNameLength + 1, 'x')), Qel::RangeException);
  EXPECT_EQ(IntfId::numNames(), before);
  EXPECT_EQ(IntfId("Ethernet77/1"), entered);
  EXPECT_EQ(IntfId::numNames(), before);
  const IntfId added("Ethernet77/2");
  EXPECT_EQ(IntfId::find("Ethernet77/2"), added);
  EXPECT_EQ(IntfId::numNames(), before + 1);
}

TEST(IntfIdTest, TextOutlivesTheNameThatItWasMadeOf) {
  std::string name = "Ethernet123456789012345678901234567890";
  const IntfId intf(name);
  std::ranges::fill(name, '#');
  EXPECT_EQ(intf.stringValue(), "Ethernet123456789012345678901234567890");
  EXPECT_EQ(intf, IntfId("Ethernet123456789012345678901234567890"));
}

TEST(IntfIdTest, ShortNameCutsTheKindToTwoLetters) {
  const auto brief = [](std::string_view name) { return IntfId(name).shortName(); };
  EXPECT_EQ(brief("Ethernet3/1"), "Et3/1");
  EXPECT_EQ(brief("Port-Channel12"), "Po12");
  EXPECT_EQ(brief("Vxlan1"), "Vx1");
  EXPECT_EQ(brief("Management1"), "Ma1");
  EXPECT_EQ(brief("Loopback0"), "Lo0");
  EXPECT_EQ(brief("Vlan4094"), "Vl4094");
  EXPECT_EQ(brief("Recirc-Channel1"), "Re1");
}

TEST(IntfIdTest, NameOfNoKnownKindIsItsOwnShortName) {
  for (const char* name :
       {"eth0", "Vlan-uplink", "Ethernet", "Vlan", "ethernet3", "MyEthernet3", "swp1", "12"}) {
    EXPECT_EQ(IntfId(name).shortName(), name);
  }
}

TEST(IntfIdTest, InterfacesAreFoundByFullAndShortName) {
  for (const auto& [full, brief] :
       {std::pair{"Ethernet88/1", "Et88/1"}, std::pair{"Port-Channel88", "Po88"},
        std::pair{"Vxlan88", "Vx88"}, std::pair{"Management88", "Ma88"},
        std::pair{"Loopback88", "Lo88"}, std::pair{"Vlan88", "Vl88"},
        std::pair{"Recirc-Channel88", "Re88"}, std::pair{"uplink-88", "uplink-88"}}) {
    EXPECT_EQ(intfCalled(full), std::nullopt) << full;
    EXPECT_EQ(intfCalled(brief), std::nullopt) << full;
    const IntfId entered(full);
    EXPECT_EQ(entered.shortName(), brief);
    EXPECT_EQ(intfCalled(full), entered) << full;
    EXPECT_EQ(intfCalled(brief), entered) << brief;
  }
}

TEST(IntfIdTest, WhatNoTableShowsFindsNoInterface) {
  const IntfId entered("Ethernet88/2");
  const std::size_t before = IntfId::numNames();
  for (const char* text : {"", "Et", "Eth88/2", "et88/2", "Et 88/2", "Et88/2 ", "88/2", "Et88/3"}) {
    EXPECT_EQ(intfCalled(text), std::nullopt) << text;
  }
  // Neither what is too long for a name, nor what is so when written in full.
  EXPECT_EQ(intfCalled(std::string(100'000, 'x')), std::nullopt);
  EXPECT_EQ(intfCalled("Et" + std::string(IntfId::kMaxNameLength - 2, '1')), std::nullopt);
  EXPECT_EQ(IntfId::numNames(), before);
}

TEST(IntfIdTest, NameThatLooksLikeAShortOneIsMeantItself) {
  const IntfId full("Ethernet88/4");
  EXPECT_EQ(intfCalled("Et88/4"), full);
  const IntfId itself("Et88/4");
  EXPECT_EQ(intfCalled("Et88/4"), itself);
}

TEST(IntfIdTest, JsonStringIsTheNameEscaped) {
  EXPECT_EQ(IntfId("Ethernet3/1").jsonString(), R"("Ethernet3/1")");
  EXPECT_EQ(IntfId("a\"b\\c\n").jsonString(), R"("a\"b\\c\n")");
  EXPECT_EQ(IntfId(std::string_view("a\0b\x1f", 4)).jsonString(), R"("a\u0000b\u001f")");
  EXPECT_EQ(IntfId("\xff\xc3").jsonString(), "\"\xEF\xBF\xBD\xEF\xBF\xBD\"");
  EXPECT_EQ(IntfId("Gr\u00fcn").jsonString(), "\"Gr\u00fcn\"");
}

TEST(IntfIdTest, OrderIsAPersons) {
  const std::vector<std::string> ascending{"",
                                           "Ethernet1",
                                           "Ethernet1/1",
                                           "Ethernet1/2",
                                           "Ethernet1/10",
                                           "Ethernet2",
                                           "Ethernet2a",
                                           "Ethernet10",
                                           "Ethernet10/1",
                                           "Port-Channel2",
                                           "Port-Channel100",
                                           "Vlan9",
                                           "Vlan10",
                                           "Vxlan1",
                                           "Vxlan18446744073709551615",
                                           "Vxlan18446744073709551616",
                                           "eth0",
                                           "eth1a"};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_EQ(IntfId(ascending[i]) <=> IntfId(ascending[j]), i <=> j)
          << ascending[i] << " against " << ascending[j];
    }
  }
}

TEST(IntfIdTest, NamesThatDifferInLeadingZerosAreDifferent) {
  EXPECT_NE(IntfId("Et01"), IntfId("Et1"));
  EXPECT_TRUE(IntfId("Et01") < IntfId("Et1") || IntfId("Et1") < IntfId("Et01"));
  // Zeros decide last: a longer name comes after both.
  EXPECT_LT(IntfId("Et01"), IntfId("Et1a"));
  EXPECT_LT(IntfId("Et1"), IntfId("Et01a"));
}

TEST(IntfIdTest, NameUpToTheLimitIsTaken) {
  const std::string longest(IntfId::kMaxNameLength, 'x');
  EXPECT_EQ(IntfId(longest).stringValue(), longest);
}

TEST(IntfIdTest, LongerNameIsRefusedAndShownInPart) {
  try {
    IntfId intf(std::string(IntfId::kMaxNameLength + 1, 'x'));
    FAIL() << "accepted";
  } catch (const Qel::RangeException& e) {
    EXPECT_EQ(e.what(), "interface name \"" + std::string(IntfId::kMaxNameLength, 'x') +
                            "...\" is longer than 63 bytes");
  }
}

[[noreturn]] void useUpTheNames() {
  for (std::size_t i = 0; i < IntfId::kMaxNames; ++i) IntfId("n" + std::to_string(i));
  try {
    IntfId("one more");
  } catch (const Qel::RangeException& e) {
    const bool asSaid = e.what() == std::string("more than 1000000 interface names") &&
                        IntfId("n0").stringValue() == "n0";
    std::exit(asSaid ? 0 : 1);
  }
  std::exit(2);
}

TEST(IntfIdDeathTest, NamesBeyondTheLimitAreRefusedAndKnownOnesAreNot) {
  // In a process of its own: names are never forgotten.
  EXPECT_EXIT(useUpTheNames(), testing::ExitedWithCode(0), "");
}

// Names in which runs of digits, zeros and plain letters meet in every way.
rc::Gen<std::string> anyName() {
  return rc::gen::resize(
      8, rc::gen::container<std::string>(rc::gen::elementOf(std::string("0019aE/-"))));
}

RC_GTEST_PROP(IntfIdProperty, OrderIsTotalAndAgreesWithEquality, ()) {
  const std::string nameA = *anyName();
  const std::string nameB = *anyName();
  const IntfId a(nameA);
  const IntfId b(nameB);
  const IntfId c(*anyName());
  RC_ASSERT((a == b) == (nameA == nameB));
  RC_ASSERT(std::is_eq(a <=> b) == (a == b));
  RC_ASSERT((a < b) == (b > a));
  if (a < b && b < c) RC_ASSERT(a < c);
  if (a == b) RC_ASSERT(absl::HashOf(a) == absl::HashOf(b));
}

RC_GTEST_PROP(IntfIdProperty, SortingIsTheSameFromEveryStart, ()) {
  auto names = *rc::gen::container<std::vector<std::string>>(anyName());
  const auto sorted = [](const std::vector<std::string>& from) {
    std::vector<IntfId> intfs(from.begin(), from.end());
    std::ranges::sort(intfs, [](IntfId x, IntfId y) { return x < y; });
    std::vector<std::string> result;
    result.reserve(intfs.size());
    for (const IntfId intf : intfs) result.push_back(intf.stringValue());
    return result;
  };
  const auto once = sorted(names);
  std::ranges::reverse(names);
  RC_ASSERT(sorted(names) == once);
}

RC_GTEST_PROP(IntfIdProperty, NumbersCompareAsNumbers, ()) {
  const auto a = *rc::gen::arbitrary<std::uint32_t>();
  const auto b = *rc::gen::arbitrary<std::uint32_t>();
  RC_ASSERT((IntfId("Ethernet" + std::to_string(a) + "/1") <=>
             IntfId("Ethernet" + std::to_string(b) + "/1")) == (a <=> b));
}

}  // namespace
}  // namespace Bridging
