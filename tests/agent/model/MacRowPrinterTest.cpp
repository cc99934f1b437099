// Rows of the software MAC table: exact bytes, and the fast paths against a plain formatter.

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "agent/model/MacWords.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntrySource;
using KorvoL2::MacEntryType;
using KorvoL2::MacKeyType;
using Testing::CapturedOutput;

const MacVlanPair kKey(Bridging::VlanId(10), EthAddr(0x001c73000001ULL));

class MacRowPrinterTest : public ::testing::Test {
 protected:
  std::string text(const MacEntry& entry, const MacVlanPair& key = kKey) {
    table_->printMacEntry(text_.renderer(), key, entry);
    return text_.take();
  }
  /** The members as an object, whichever way the caller of the printer opens it. */
  std::string json(const MacEntry& entry, const MacVlanPair& key = kKey) {
    json_.renderer().separatorDueIs(false);
    json_.renderer().openObject();
    table_->printMacEntry(json_.renderer(), key, entry);
    EXPECT_TRUE(json_.renderer().separatorDue());
    json_.renderer().closeObject();
    return json_.take();
  }

  Qel::Ptr<SwMacTable> table_ = Qel::makePtr<SwMacTable>();
  CapturedOutput text_{Rendering::kText};
  CapturedOutput json_{Rendering::kJson};
};

TEST_F(MacRowPrinterTest, ALearnedEntryFillsTheColumns) {
  const MacEntry entry{.intf = IntfId("Ethernet1"), .modBitmap = 3};
  EXPECT_EQ(text(entry),
            "      10  001c.7300.0001         Et1         -          learnedDynamic         0x3"
            "    hardware   0x0  bridge\n");
  EXPECT_EQ(json(entry), R"({"vlan":10,"mac":"001c.7300.0001","interface":"Ethernet1","mcastId":0,)"
                         R"("type":"learnedDynamic","bitmap":"0x3","source":"hardware","flags":[],)"
                         R"("keyType":"bridge"})");
}

TEST_F(MacRowPrinterTest, EveryNumberAndFlagIsShown) {
  const MacEntry entry{.intf = IntfId("Et1"),
                       .modBitmap = 0xdeadbeef,
                       .mcastId = 65535,
                       .flags = 0x1f,
                       .type = MacEntryType::multicast,
                       .source = MacEntrySource::mlagPeer,
                       .keyType = MacKeyType::vfi};
  const MacVlanPair key(4094, EthAddr(EthAddr::kMask));
  EXPECT_EQ(text(entry, key),
            "    4094  ffff.ffff.ffff         Et1     65535               multicast  0xdeadbeef"
            "    mlagPeer  0x1f     vfi\n");
  EXPECT_EQ(json(entry, key),
            R"({"vlan":4094,"mac":"ffff.ffff.ffff","interface":"Et1","mcastId":65535,)"
            R"("type":"multicast","bitmap":"0xdeadbeef","source":"mlagPeer",)"
            R"("flags":["moved","routed","virtualRouted","discard","pending"],"keyType":"vfi"})");
}

TEST_F(MacRowPrinterTest, WhatIsAbsentIsADashInTextAndKeepsItsTypeInJson) {
  const MacEntry entry{};
  const MacVlanPair key(0, EthAddr());
  EXPECT_EQ(text(entry, key),
            "       -  0000.0000.0000           -         -          learnedDynamic         0x0"
            "    hardware   0x0  bridge\n");
  EXPECT_EQ(json(entry, key),
            R"({"vlan":0,"mac":"0000.0000.0000","interface":"","mcastId":0,)"
            R"("type":"learnedDynamic","bitmap":"0x0","source":"hardware","flags":[],)"
            R"("keyType":"bridge"})");
}

TEST_F(MacRowPrinterTest, EveryInterfaceIsPrintedInItsShortFormWhateverRoomThereIs) {
  EXPECT_THAT(text({.intf = IntfId("Ethernet1/1")}),
              ::testing::HasSubstr("0001       Et1/1         -"));
  EXPECT_THAT(text({.intf = IntfId("Ethernet10/1")}),
              ::testing::HasSubstr("0001      Et10/1         -"));
  EXPECT_THAT(text({.intf = IntfId("Port-Channel1")}),
              ::testing::HasSubstr("0001         Po1         -"));
}

TEST_F(MacRowPrinterTest, AShortFormThatDoesNotFitIsPrintedWholeAndTheNextCellsGiveWay) {
  const MacEntry entry{.intf = IntfId("uplink-to-spine-east-1"), .modBitmap = 1};
  EXPECT_EQ(text(entry),
            "      10  001c.7300.0001 uplink-to-spine-east-1 -       learnedDynamic         0x1"
            "    hardware   0x0  bridge\n");
  EXPECT_THAT(text({.intf = IntfId("Port-Channel1234567890")}),
              ::testing::HasSubstr("0001 Po1234567890        -"));
}

TEST_F(MacRowPrinterTest, AVeryWideInterfacePushesTheRowAsFarAsItMust) {
  const std::string name(63, 'n');
  const MacEntry entry{.intf = IntfId(name), .modBitmap = ~std::uint64_t{0}, .flags = 0xffff};
  EXPECT_EQ(text(entry), "      10  001c.7300.0001 " + name +
                             " - learnedDynamic 0xffffffffffffffff hardware 0xffff bridge\n");
}

TEST_F(MacRowPrinterTest, ABitmapOfSixtyFourModulesIsNeverCut) {
  const MacEntry entry{.intf = IntfId("Ethernet1"), .modBitmap = 0xfedc'ba98'7654'3210ULL};
  EXPECT_EQ(text(entry),
            "      10  001c.7300.0001         Et1         -          learnedDynamic"
            " 0xfedcba9876543210 hardware 0x0 bridge\n");
  EXPECT_THAT(json(entry), ::testing::HasSubstr(R"("bitmap":"0xfedcba9876543210")"));
  EXPECT_THAT(json({.modBitmap = 0x1'0000'0000ULL}),
              ::testing::HasSubstr(R"("bitmap":"0x100000000")"));
}

TEST_F(MacRowPrinterTest, FlagsOfFourDigitsPushOnlyWhatFollows) {
  EXPECT_THAT(text({.flags = 0x8000}), ::testing::EndsWith("    hardware 0x8000 bridge\n"));
  EXPECT_THAT(text({.flags = 0x800}), ::testing::EndsWith("    hardware 0x800  bridge\n"));
}

TEST_F(MacRowPrinterTest, FlagBitsWithoutANameAreListedByTheirNumber) {
  EXPECT_THAT(json({.flags = 0x8021}),
              ::testing::HasSubstr(R"("flags":["moved","bit5","bit15"],"keyType")"));
}

TEST_F(MacRowPrinterTest, EveryWordIsPrinted) {
  for (std::size_t t = 0; t < kMacTypeWords.size(); ++t) {
    for (std::size_t s = 0; s < kMacSourceWords.size(); ++s) {
      for (const MacKeyTypeWord& keyType : kMacKeyTypeWords) {
        const MacEntry entry{.type = static_cast<MacEntryType>(t),
                             .source = static_cast<MacEntrySource>(s),
                             .keyType = keyType.keyType};
        EXPECT_EQ(text(entry), fmt::format("      10  001c.7300.0001           -         -{:>24}"
                                           "         0x0{:>12}   0x0{:>8}\n",
                                           kMacTypeWords[t], kMacSourceWords[s], keyType.word));
        EXPECT_THAT(json(entry), ::testing::HasSubstr(fmt::format(
                                     R"("type":"{}","bitmap":"0x0","source":"{}","flags":[],)"
                                     R"("keyType":"{}"}})",
                                     kMacTypeWords[t], kMacSourceWords[s], keyType.word)));
      }
    }
  }
}

TEST_F(MacRowPrinterTest, AValueWithoutAWordShowsItsNumber) {
  const MacEntry entry{.type = static_cast<MacEntryType>(9),
                       .source = static_cast<MacEntrySource>(255),
                       .keyType = static_cast<MacKeyType>(1)};
  EXPECT_THAT(text(entry), ::testing::EndsWith("                       9         0x0"
                                               "         255   0x0       1\n"));
  EXPECT_THAT(json(entry), ::testing::EndsWith(R"("type":"9","bitmap":"0x0","source":"255",)"
                                               R"("flags":[],"keyType":"1"})"));
}

TEST_F(MacRowPrinterTest, NamesOfAnyBytesStayValidJson) {
  const MacEntry entry{.intf = IntfId("a\"b\\c\n\x01\xff")};
  EXPECT_THAT(json(entry),
              ::testing::HasSubstr("\"interface\":\"a\\\"b\\\\c\\n\\u0001\xEF\xBF\xBD\","));
  rapidjson::Document document;
  document.Parse(json(entry).c_str());
  EXPECT_FALSE(document.HasParseError());
}

TEST_F(MacRowPrinterTest, ANameThatEscapingMakesLongIsPrintedWhole) {
  const std::string name(63, '\x01');
  std::string escaped;
  for (int i = 0; i < 63; ++i) escaped += "\\u0001";
  EXPECT_THAT(json({.intf = IntfId(name)}),
              ::testing::HasSubstr("\"interface\":\"" + escaped + "\",\"mcastId\":0,"));
}

TEST_F(MacRowPrinterTest, ControlBytesInANameDoNotBreakTheTextRow) {
  const std::string row = text({.intf = IntfId("e\n\x1b[0m\x7f")});
  EXPECT_THAT(row, ::testing::HasSubstr(" e\\x0a\\x1b[0m\\x7f "));
  EXPECT_EQ(row.find('\n'), row.size() - 1);
}

TEST_F(MacRowPrinterTest, MembersFollowACommaWhenOneIsDue) {
  json_.renderer().openObject();
  json_.renderer().member("before", true);
  table_->printMacEntry(json_.renderer(), kKey, {});
  json_.renderer().member("after", true);
  json_.renderer().closeObject();
  const std::string printed = json_.take();
  EXPECT_THAT(printed, ::testing::StartsWith(R"({"before":true,"vlan":10,)"));
  EXPECT_THAT(printed, ::testing::EndsWith(R"("keyType":"bridge","after":true})"));
}

TEST_F(MacRowPrinterTest, MoreInterfacesThanAreCachedAreStillToldApart) {
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 2000; ++i) {
      const std::string name = "if" + std::to_string(i);
      const MacEntry entry{.intf = IntfId(name)};
      ASSERT_THAT(text(entry), ::testing::HasSubstr(" " + name + "         -"));
      ASSERT_THAT(json(entry), ::testing::HasSubstr("\"interface\":\"" + name + "\","));
    }
  }
}

// The layout once more, as plainly as can be and in a way of its own: cells in order, each padded
// to its column.
std::string plainText(const MacVlanPair& key, const MacEntry& entry) {
  const std::string intf = entry.intf.isDefault() ? "-" : entry.intf.shortName();
  std::string row = key.vlan() == 0 ? "       -" : fmt::format("{:>8}", key.vlan());
  const auto cell = [&row](std::size_t end, const std::string& content) {
    row += ' ';
    while (row.size() + content.size() < end) row += ' ';
    row += content;
  };
  cell(24, key.mac().stringValue());
  cell(36, intf);
  cell(46, entry.mcastId == 0 ? "-" : fmt::format("{}", entry.mcastId));
  cell(70, std::string(kMacTypeWords[static_cast<std::size_t>(entry.type)]));
  cell(82, fmt::format("{:#x}", entry.modBitmap));
  cell(94, std::string(kMacSourceWords[static_cast<std::size_t>(entry.source)]));
  cell(100, fmt::format("{:#x}", entry.flags));
  cell(108, entry.keyType == MacKeyType::bridge ? "bridge" : "vfi");
  return row + "\n";
}

std::string plainJson(const MacVlanPair& key, const MacEntry& entry) {
  std::vector<std::string> flags;
  for (unsigned bit = 0; bit < 16; ++bit) {
    if ((entry.flags & (1U << bit)) == 0) continue;
    flags.push_back(bit < 5 ? fmt::format("\"{}\"", kMacFlagWords[bit])
                            : fmt::format("\"bit{}\"", bit));
  }
  return fmt::format(
      R"({{"vlan":{},"mac":"{}","interface":{},"mcastId":{},"type":"{}","bitmap":"{:#x}",)"
      R"("source":"{}","flags":[{}],"keyType":"{}"}})",
      key.vlan(), key.mac().stringValue(), entry.intf.jsonString(), entry.mcastId,
      kMacTypeWords[static_cast<std::size_t>(entry.type)], entry.modBitmap,
      kMacSourceWords[static_cast<std::size_t>(entry.source)], fmt::join(flags, ","),
      entry.keyType == MacKeyType::bridge ? "bridge" : "vfi");
}

// A number whose length is as random as its digits.
std::uint64_t anyWidth(unsigned bits) {
  const auto width = *rc::gen::inRange<unsigned>(0, bits + 1);
  if (width == 0) return 0;
  const auto value = *rc::gen::arbitrary<std::uint64_t>();
  return value >> (64 - width);
}

TEST_F(MacRowPrinterTest, RandomEntriesAreLaidOutAsAPlainFormatterDoes) {
  const std::vector<IntfId> interfaces{
      IntfId(),
      IntfId("Ethernet1"),
      IntfId("Ethernet48/12"),
      IntfId("Port-Channel2000"),
      IntfId("Vxlan1"),
      IntfId("x"),
      IntfId("eleven-byte"),
      IntfId("twelve-bytes"),
      IntfId("a-name-that-fits-nowhere"),
      IntfId("thirty-nine-bytes-and-two-quotes-are-41"),
      IntfId("thirty-eight-bytes-and-two-quotes-is40"),
      IntfId("quote\"d"),
  };
  EXPECT_TRUE(rc::check("fast and plain rows are the same bytes", [&] {
    const MacVlanPair key(static_cast<std::uint16_t>(anyWidth(16)), EthAddr(anyWidth(48)));
    const MacEntry entry{
        .intf = *rc::gen::elementOf(interfaces),
        .modBitmap = anyWidth(64),
        .mcastId = static_cast<std::uint16_t>(anyWidth(16)),
        .flags = static_cast<std::uint16_t>(anyWidth(16)),
        .type = static_cast<MacEntryType>(*rc::gen::inRange<int>(0, kMacTypeWords.size())),
        .source = static_cast<MacEntrySource>(*rc::gen::inRange<int>(0, kMacSourceWords.size())),
        .keyType = *rc::gen::element(MacKeyType::bridge, MacKeyType::vfi)};
    RC_ASSERT(text(entry, key) == plainText(key, entry));
    RC_ASSERT(json(entry, key) == plainJson(key, entry));
  }));
}

}  // namespace
}  // namespace KorvoAgent
