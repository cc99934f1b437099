// What software wants to stand in the chips.

#include <gtest/gtest.h>

#include "agent/chips/HwChips.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
using KorvoL2::MacKeyType;
using Tessar::FapId;
namespace Flag = KorvoL2::MacEntryFlag;

const Bridging::MacVlanPair kPair(10, Bridging::EthAddr(std::uint64_t{1}));

class HwChipsTest : public ::testing::Test {
 protected:
  HwMacEntry wanted(const MacEntry& entry) { return chips_.wanted(kPair, entry); }

  HwChips chips_;
};

TEST_F(HwChipsTest, ALearnedAddressIsDynamicAtItsPort) {
  const HwMacEntry hw = wanted({.intf = IntfId("Ethernet5")});
  EXPECT_EQ(hw.pair, kPair);
  EXPECT_EQ(hw.type, HwMacType::dynamic);
  EXPECT_EQ(hw.destination(), HwDestination::onPort(0, 5));
  EXPECT_EQ(hw.keyType, 0);
  EXPECT_EQ(hw.classId, 0);
  EXPECT_FALSE(hw.dstDiscard || hw.invalid);
}

TEST_F(HwChipsTest, ARemoteAddressKeepsItsKeyType) {
  const HwMacEntry hw = wanted(
      {.intf = IntfId("Vxlan1"), .type = MacEntryType::remoteDynamic, .keyType = MacKeyType::vfi});
  EXPECT_EQ(hw.type, HwMacType::remote);
  EXPECT_EQ(hw.keyType, 3);
}

TEST_F(HwChipsTest, ADroppedAddressHasNoDestination) {
  const HwMacEntry hw = wanted({.intf = IntfId("Ethernet5"), .type = MacEntryType::configuredDrop});
  EXPECT_TRUE(hw.dstDiscard);
  EXPECT_EQ(hw.destination(), HwDestination());
  EXPECT_EQ(hw.type, HwMacType::permanent);
}

TEST_F(HwChipsTest, AGroupGoesToItsMulticastGroup) {
  const HwMacEntry hw = wanted({.mcastId = 77, .type = MacEntryType::multicast});
  EXPECT_EQ(hw.destination(), HwDestination::mcastGroup(77));
  EXPECT_EQ(hw.type, HwMacType::multicast);
}

TEST_F(HwChipsTest, AddressesOfTheSwitchAreRoutedByTheirClass) {
  MacEntry entry{.intf = IntfId("Vlan10"), .flags = Flag::kRouted, .type = MacEntryType::router};
  EXPECT_EQ(wanted(entry).classId, 1);
  EXPECT_EQ(wanted(entry).destination(), HwDestination());
  entry.flags |= Flag::kVirtualRouted;
  EXPECT_EQ(wanted(entry).classId, 2);
}

TEST_F(HwChipsTest, APortThatTheEntryNamesIsTaken) {
  const HwMacEntry hw = wanted({.intf = IntfId("Ethernet5"), .modPort = {.module = 3, .port = 44}});
  EXPECT_EQ(hw.destination(), HwDestination::onPort(3, 44));
  EXPECT_EQ(chips_.ports().interfaceOf(hw.destination()), IntfId("Ethernet5"));
}

TEST_F(HwChipsTest, WhatIsPendingOrMovedIsNoPropertyOfTheHardware) {
  MacEntry entry{.intf = IntfId("Ethernet5")};
  const HwMacEntry before = wanted(entry);
  entry.flags = Flag::kPending | Flag::kMoved;
  entry.modBitmap = 5;
  EXPECT_EQ(wanted(entry), before);
}

TEST_F(HwChipsTest, EveryChipIsToHoldAnEntryUnlessTheAgentKeepsItForItself) {
  MacEntry entry{.modBitmap = 0b10};
  EXPECT_TRUE(HwChips::wantedOn(FapId(0), entry));
  EXPECT_TRUE(HwChips::wantedOn(FapId(100), entry));
  entry.printable = false;
  EXPECT_FALSE(HwChips::wantedOn(FapId(0), entry));
  EXPECT_TRUE(HwChips::wantedOn(FapId(1), entry));
  EXPECT_FALSE(HwChips::wantedOn(FapId(65), entry)) << "bitmaps have no bit for it";
}

TEST_F(HwChipsTest, ChipsComeAndGo) {
  chips_.chipIs(FapId(127), "last", 100);
  chips_.chipIs(FapId(3), "three", 100);
  ASSERT_EQ(chips_.ids().size(), 2U);
  EXPECT_EQ(chips_.ids().front(), FapId(3));
  EXPECT_EQ(chips_.find(FapId(127))->name, "last");
  chips_.chipDel(FapId(127));
  chips_.chipDel(FapId(5));
  chips_.chipDel(FapId());
  EXPECT_EQ(chips_.find(FapId(127)), nullptr);
  EXPECT_EQ(chips_.find(FapId()), nullptr);
  EXPECT_EQ(chips_.ids().size(), 1U);
}

}  // namespace
}  // namespace KorvoAgent
