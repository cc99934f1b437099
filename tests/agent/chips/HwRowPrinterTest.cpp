// Rows of the hardware dump: exact text and JSON, and what a chip does not hold.

#include <gtest/gtest.h>

#include <string>

#include "platform/rendering/TableRenderer.h"
#include "tests/agent/chips/ChipsTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
using KorvoL2::MacKeyType;
using Tessar::FapId;
using Testing::CapturedOutput;
using Testing::macKey;
namespace Flag = KorvoL2::MacEntryFlag;

class HwRowPrinterTest : public Testing::HardwareTest {
 protected:
  std::string line(unsigned chipId, const Bridging::MacVlanPair& pair) {
    print(text_.renderer(), nullptr, chipId, pair);
    return text_.take();
  }
  std::string detail(unsigned chipId, const Bridging::MacVlanPair& pair) {
    Rendering::TableRenderer rows(text_.renderer(),
                                  {{6, 0, 1, 1, true, 0},
                                   {16, 0, 1, 1, true, 0},
                                   {15, 0, 4, 2, true, 0},
                                   {16, 0, 2, 2, true, 0},
                                   {11, 0, 2, 2, true, 0},
                                   {24, 0, 4, 2, true, 0},
                                   {10, 0, 1, 1, true, 0}},
                                  true, false);
    print(text_.renderer(), &rows, chipId, pair);
    return text_.take();
  }
  std::string json(unsigned chipId, const Bridging::MacVlanPair& pair) {
    json_.renderer().separatorDueIs(false);
    json_.renderer().openObject();
    print(json_.renderer(), nullptr, chipId, pair);
    EXPECT_TRUE(json_.renderer().separatorDue());
    json_.renderer().closeObject();
    return json_.take();
  }
  std::string index(unsigned chipId, const Bridging::MacVlanPair& pair, std::uint8_t keyType = 0) {
    return std::to_string(chip(chipId).find({pair, keyType}));
  }
  /** What the chip holds under the key, changed. */
  template <class Change>
  void tamper(unsigned chipId, const Bridging::MacVlanPair& pair, Change&& change) {
    HwMacEntry entry = chip(chipId).at(chip(chipId).find({pair, 0}));
    change(entry);
    chip(chipId).put(entry);
  }

 private:
  void print(Rendering::RendererV2& renderer, Rendering::TableRenderer* rows, unsigned chipId,
             const Bridging::MacVlanPair& pair) {
    table().printMacEntryHw(renderer, rows, FapId(chipId), rows != nullptr, pair,
                            *table().entries().find(pair), nullptr);
  }

  CapturedOutput text_{Rendering::kText};
  CapturedOutput json_{Rendering::kJson};
};

const auto kHost = macKey(10, 0x020001000001);

TEST_F(HwRowPrinterTest, ALearnedEntry) {
  put(10, 0x020001000001, "Ethernet3/1");
  startHardware();
  EXPECT_EQ(line(0, kHost),
            "  10 0200.0100.0001    dynamic  -            -       Ethernet3/1      \n");
  EXPECT_EQ(detail(0, kHost),
            " 10     0200.0100.0001      dynamic          -                 -              "
            "Ethernet3/1               " +
                index(0, kHost) + "\n");
  EXPECT_EQ(json(0, kHost), R"({"vlan":10,"mac":"0200.0100.0001","programmed":true,)"
                            R"("type":"dynamic","mcastGroupId":0,"classId":0,)"
                            R"("port":"Ethernet3/1","hwIndex":)" +
                                index(0, kHost) + "}");
}

TEST_F(HwRowPrinterTest, AnEntryThatTheChipDoesNotHold) {
  MacEntry entry = held();
  entry.modBitmap = 0b110;
  table().put(kHost, entry);
  startHardware();
  EXPECT_EQ(line(0, kHost),
            "  10 0200.0100.0001    -        -            -       -                \n");
  EXPECT_EQ(detail(0, kHost),
            " 10     0200.0100.0001      -                -                 -              "
            "-                         -\n");
  EXPECT_EQ(json(0, kHost), R"({"vlan":10,"mac":"0200.0100.0001","programmed":false,)"
                            R"("type":"","mcastGroupId":0,"classId":0,"port":"","hwIndex":-1})");
  EXPECT_EQ(line(99, kHost), line(0, kHost)) << "a chip that there is not";
}

TEST_F(HwRowPrinterTest, GroupsRoutersAndDroppedAddresses) {
  const auto group = macKey(10, 0x01005e010101);
  table().put(group, {.modBitmap = 7, .mcastId = 65535, .type = MacEntryType::multicast});
  const auto router = macKey(10, 2);
  table().put(router, {.intf = IntfId("Vlan10"),
                       .modBitmap = 7,
                       .flags = Flag::kRouted,
                       .type = MacEntryType::router});
  const auto dropped = macKey(4094, 3);
  table().put(dropped, {.modBitmap = 7, .type = MacEntryType::configuredDrop});
  startHardware();
  EXPECT_EQ(line(0, group),
            "  10 0100.5e01.0101    mcast    65535        -       -                \n");
  EXPECT_EQ(line(0, router),
            "  10 0000.0000.0002    router   -            1       -                \n");
  EXPECT_EQ(line(0, dropped),
            "4094 0000.0000.0003    static   -            -       discard          \n");
  EXPECT_EQ(json(0, group), R"({"vlan":10,"mac":"0100.5e01.0101","programmed":true,)"
                            R"("type":"mcast","mcastGroupId":65535,"classId":0,"port":"",)"
                            R"("hwIndex":)" +
                                index(0, group) + "}");
  EXPECT_EQ(json(0, dropped), R"({"vlan":4094,"mac":"0000.0000.0003","programmed":true,)"
                              R"("type":"static","mcastGroupId":0,"classId":0,"port":"discard",)"
                              R"("hwIndex":)" +
                                  index(0, dropped) + "}");
}

TEST_F(HwRowPrinterTest, WhatIsShownIsTheChipsAndNotTheSoftwares) {
  put(10, 0x020001000001, "Ethernet3/1");
  put(10, 2, "Ethernet3/2");
  startHardware();
  tamper(1, kHost, [](HwMacEntry& e) {
    e.destinationIs(HwDestination::onPort(0, 2));
    e.classId = 12345;
  });
  EXPECT_EQ(line(1, kHost),
            "  10 0200.0100.0001    dynamic  -            12345   Ethernet3/2      \n");
  tamper(1, kHost, [](HwMacEntry& e) { e.destinationIs(HwDestination::onPort(7, 500)); });
  EXPECT_EQ(line(1, kHost),
            "  10 0200.0100.0001    dynamic  -            12345   mod=7 port=500   \n");
  tamper(1, kHost, [](HwMacEntry& e) { e.destinationIs(HwDestination::trunk(9)); });
  EXPECT_EQ(line(1, kHost),
            "  10 0200.0100.0001    dynamic  -            12345   trunkId=9        \n");
  tamper(1, kHost, [](HwMacEntry& e) { e.invalid = true; });
  EXPECT_EQ(line(1, kHost),
            "  10 0200.0100.0001    invalid  -            12345   trunkId=9        \n");
  EXPECT_EQ(line(0, kHost),
            "  10 0200.0100.0001    dynamic  -            -       Ethernet3/1      \n");
}

TEST_F(HwRowPrinterTest, LongNamesAreShortenedOrWholeAndNeverCut) {
  const auto longName = macKey(10, 1);
  table().put(longName, held("uplink-to-spine-east-1"));
  const auto shortened = macKey(10, 2);
  table().put(shortened, held("Port-Channel123456"));
  const auto hostile = macKey(10, 3);
  table().put(hostile, held("a\nb\x1b\"c"));
  startHardware();
  EXPECT_EQ(line(0, longName),
            "  10 0000.0000.0001    dynamic  -            -       uplink-to-spine-east-1\n");
  EXPECT_EQ(line(0, shortened),
            "  10 0000.0000.0002    dynamic  -            -       Po123456         \n");
  EXPECT_EQ(line(0, hostile),
            "  10 0000.0000.0003    dynamic  -            -       a\\x0ab\\x1b\"c     \n");
  EXPECT_NE(detail(0, longName).find("uplink-to-spine-east-1"), std::string::npos);
  EXPECT_NE(json(0, longName).find(R"("port":"uplink-to-spine-east-1")"), std::string::npos);
  EXPECT_NE(json(0, hostile).find(R"("port":"a\nb\u001b\"c")"), std::string::npos);
}

TEST_F(HwRowPrinterTest, AnInterfaceTooLongForTheFastRowComesOutWholeInJson) {
  const std::string name(60, 'x');
  table().put(kHost, held(name.c_str()));
  startHardware();
  EXPECT_EQ(json(0, kHost), R"({"vlan":10,"mac":"0200.0100.0001","programmed":true,)"
                            R"("type":"dynamic","mcastGroupId":0,"classId":0,"port":")" +
                                name + R"(","hwIndex":)" + index(0, kHost) + "}");
}

TEST_F(HwRowPrinterTest, VlanNumbersOfEveryLength) {
  for (const unsigned vlan : {0U, 1U, 9999U, 10000U, 65535U}) {
    table().put(macKey(vlan, 1), held());
  }
  startHardware();
  EXPECT_EQ(line(0, macKey(0, 1)).substr(0, 9), "   - 0000");
  EXPECT_EQ(line(0, macKey(1, 1)).substr(0, 9), "   1 0000");
  EXPECT_EQ(line(0, macKey(9999, 1)).substr(0, 9), "9999 0000");
  EXPECT_EQ(line(0, macKey(65535, 1)).substr(0, 10), "65535 0000");
  EXPECT_EQ(json(0, macKey(0, 1)).substr(0, 9), "{\"vlan\":0");
  EXPECT_EQ(json(0, macKey(65535, 1)).substr(0, 13), "{\"vlan\":65535");
}

TEST_F(HwRowPrinterTest, EveryIndexIsShownWhole) {
  policy_.tableSize = 3'000'000;
  for (std::uint64_t mac = 1; mac <= 300; ++mac) put(10, mac);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 300; ++mac) {
    const auto pair = macKey(10, mac);
    const std::string row = json(0, pair);
    ASSERT_EQ(row.substr(row.rfind(':') + 1), index(0, pair) + "}");
  }
}

TEST_F(HwRowPrinterTest, EveryKeyTypeIsLookedUpUnderItsOwn) {
  MacEntry remote = held("Vxlan1");
  remote.keyType = MacKeyType::vfi;
  remote.type = MacEntryType::remoteDynamic;
  table().put(kHost, remote);
  startHardware();
  EXPECT_EQ(line(0, kHost),
            "  10 0200.0100.0001    remote   -            -       Vxlan1           \n");
  EXPECT_NE(json(0, kHost).find("\"hwIndex\":" + index(0, kHost, 3)), std::string::npos);
}

TEST_F(HwRowPrinterTest, RowsInAnyOrderAndOfChangingTablesAreRight) {
  for (std::uint64_t mac = 1; mac <= 100; ++mac) put(10, mac);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 100; mac += 2) {
    for (unsigned id = 0; id < 3; ++id) {
      const auto pair = macKey(10, mac);
      ASSERT_EQ(json(id, pair).find("\"hwIndex\":" + index(id, pair) + "}") == std::string::npos,
                false);
    }
    // The row that was expected next goes, and what the next chip holds changes.
    table().erase(macKey(10, mac + 1));
    settle();
  }
  const auto pair = macKey(10, 1);
  EXPECT_NE(json(0, pair).find("\"programmed\":true"), std::string::npos);
  chip(0).erase({pair, 0});
  EXPECT_NE(json(0, pair).find("\"programmed\":false"), std::string::npos);
}

}  // namespace
}  // namespace KorvoAgent
