// The shadows of the hardware tables.

#include <gtest/gtest.h>

#include <bit>
#include <functional>

#include "agent/services/AnswerTable.h"
#include "agent/services/CmdRingManagerModel.h"
#include "platform/base/Exceptions.h"
#include "tests/agent/services/ServiceTestSupport.h"

namespace KorvoAgent {
namespace {

using KorvoL2::ShadowShow;
using Tessar::FapId;
using Testing::chipSet;
using Testing::transcript;

std::string refusal(const std::function<void()>& act) {
  try {
    act();
  } catch (const Qel::RangeException& e) {
    return e.what();
  }
  return "not refused";
}

class CmdRingManagerTest : public ::testing::Test {
 protected:
  std::string shown(ShadowTableId id = ShadowTableId::vfi) {
    return transcript([=, this](auto s) { manager_->shadowTable(id).show(s, parameters_); });
  }
  ShadowTableModel& vfis() { return manager_->shadowTable(ShadowTableId::vfi); }
  void someVfis() {
    vfis().entryIs(20, {.fields = {10'020, 20, 102}});
    vfis().entryIs(10, {.fields = {10'010, 10, 101}});
    vfis().entryIs(30, {.chips = chipSet({0, 1}), .fields = {10'030, 30, 103}});
    vfis().entryIs(30, {.valid = false, .chips = chipSet({2}), .fields = {0, 30, 0}});
  }

  Qel::Ptr<CmdRingManagerModel> manager_ = Qel::makePtr<CmdRingManagerModel>(Testing::chips(3));
  Qel::Ptr<ShadowShow> parameters_ = Qel::makePtr<ShadowShow>();
};

TEST_F(CmdRingManagerTest, AnEmptyTableSaysSo) {
  EXPECT_EQ(shown(), "VFI has no entries.\n");
  parameters_->entryIdSet = true;
  parameters_->entryId = 7;
  EXPECT_EQ(shown(), "VFI has no entry 7.\n");
}

TEST_F(CmdRingManagerTest, ValidEntriesAreShownByIndex) {
  someVfis();
  EXPECT_EQ(shown(),
            "VFI: virtual forwarding instances\n"
            "Index  Chips  Valid    VNI  VLAN  Mcast group\n"
            "-----  -----  -----  -----  ----  -----------\n"
            "   10  0-2    yes    10010    10          101\n"
            "   20  0-2    yes    10020    20          102\n"
            "   30  0-1    yes    10030    30          103\n"
            "3 entries\n"
            "1 invalid entry not shown; ALLENTRIES shows them\n");
}

TEST_F(CmdRingManagerTest, AllEntriesIncludeInvalidOnes) {
  someVfis();
  parameters_->allEntries = true;
  const std::string text = shown();
  EXPECT_NE(text.find("   30  2      no         0    30            0\n4 entries\n"),
            std::string::npos)
      << text;
}

TEST_F(CmdRingManagerTest, OneEntryIsShownWhateverItIs) {
  someVfis();
  parameters_->entryIdSet = true;
  parameters_->entryId = 30;
  EXPECT_EQ(shown(),
            "VFI: virtual forwarding instances\n"
            "Index  Chips  Valid    VNI  VLAN  Mcast group\n"
            "-----  -----  -----  -----  ----  -----------\n"
            "   30  0-1    yes    10030    30          103\n"
            "   30  2      no         0    30            0\n"
            "2 entries\n");
  parameters_->entryId = 31;
  EXPECT_EQ(shown(), "VFI has no entry 31.\n");
}

TEST_F(CmdRingManagerTest, OneChipIsShownByItself) {
  someVfis();
  parameters_->chip = 2;
  EXPECT_EQ(shown(),
            "VFI: virtual forwarding instances\n"
            "Index  Chips  Valid    VNI  VLAN  Mcast group\n"
            "-----  -----  -----  -----  ----  -----------\n"
            "   10  2      yes    10010    10          101\n"
            "   20  2      yes    10020    20          102\n"
            "2 entries\n"
            "1 invalid entry not shown; ALLENTRIES shows them\n");
  for (const std::uint32_t chip : {3U, 127U, 129U, 4'294'967'295U}) {
    parameters_->chip = chip;
    EXPECT_EQ(shown(), "There is no chip " + std::to_string(chip) + "; there are chips 0-2.\n");
  }
}

TEST_F(CmdRingManagerTest, OnlyInvalidEntriesAreNoValidOnes) {
  vfis().entryIs(1, {.valid = false, .fields = {}});
  EXPECT_EQ(shown(),
            "VFI has no valid entries.\n1 invalid entry not shown; ALLENTRIES shows them\n");
}

TEST_F(CmdRingManagerTest, RawEntriesAreWords) {
  someVfis();
  parameters_->raw = true;
  parameters_->entryIdSet = true;
  parameters_->entryId = 10;
  // Valid bit, then 24 bits of VNI, 12 of VLAN and 16 of the group: 53 bits.
  const std::uint64_t word = 1 | 10'010ULL << 1 | 10ULL << 25 | 101ULL << 37;
  EXPECT_EQ(vfis().words(vfis().entries().begin()->value),
            (std::vector<std::uint32_t>{static_cast<std::uint32_t>(word),
                                        static_cast<std::uint32_t>(word >> 32)}));
  EXPECT_EQ(shown(),
            "VFI: virtual forwarding instances\n"
            "Index  Chips  Valid  Words, highest first\n"
            "-----  -----  -----  --------------------\n"
            "   10  0-2    yes    00000ca0 14004e35\n"
            "1 entry\n");
}

TEST_F(CmdRingManagerTest, WordsHoldEveryBitOfEveryTable) {
  for (const ShadowLayout& layout : shadowLayouts()) {
    SCOPED_TRACE(layout.name);
    ShadowTableModel& table =
        manager_->shadowTable(static_cast<ShadowTableId>(&layout - shadowLayouts().data()));
    ASSERT_EQ(table.layout().name, layout.name);
    ShadowEntry full;
    std::uint32_t bits = 1;
    for (const ShadowLayout::Field& field : layout.fields) {
      full.fields.push_back(field.max());
      bits += field.bits;
    }
    const std::vector<std::uint32_t> words = table.words(full);
    EXPECT_EQ(words.size(), (bits + 31) / 32);
    std::uint32_t set = 0;
    for (const std::uint32_t word : words) set += static_cast<std::uint32_t>(std::popcount(word));
    EXPECT_EQ(set, bits);
  }
}

TEST_F(CmdRingManagerTest, EveryPrinterShowsItsOwnTable) {
  using Show = void (KorvoL2::L2CmdRingManager::*)(std::uint32_t, const Qel::Ptr<ShadowShow>&);
  const auto direct = [this](Show show) {
    return transcript([=, this](auto s) { (manager_.get()->*show)(s, parameters_); });
  };
  EXPECT_EQ(direct(&KorvoL2::L2CmdRingManager::showEgrVfiTable), "EGR_VFI has no entries.\n");
  EXPECT_EQ(direct(&KorvoL2::L2CmdRingManager::showEgrVlanXlate2Entries),
            "EGR_XLATE_2 has no entries.\n");
  EXPECT_EQ(direct(&KorvoL2::L2CmdRingManager::showEgrVlanXlateEntries),
            "EGR_XLATE has no entries.\n");
  EXPECT_EQ(direct(&KorvoL2::L2CmdRingManager::showVfiTable), "VFI has no entries.\n");
  EXPECT_EQ(direct(&KorvoL2::L2CmdRingManager::showVlanXlate2Entries),
            "VLAN_XLATE_2 has no entries.\n");
  EXPECT_EQ(direct(&KorvoL2::L2CmdRingManager::showVlanXlateEntries),
            "VLAN_XLATE has no entries.\n");
  const auto table = [this](const Qel::Ptr<KorvoL2::ShadowTable>& shown) {
    return transcript([&](auto s) { shown->show(s, parameters_); });
  };
  EXPECT_EQ(table(manager_->evtapTable()), "EVTAP has no entries.\n");
  EXPECT_EQ(table(manager_->ivtapTable()), "IVTAP has no entries.\n");
  EXPECT_EQ(table(manager_->sourceVpTable()), "SOURCE_VP has no entries.\n");
}

TEST_F(CmdRingManagerTest, WhatATableHasNoRoomForIsRefused) {
  EXPECT_EQ(refusal([&] { vfis().entryIs(16'384, {}); }),
            "VFI entry 16384: the table's last index is 16383");
  EXPECT_EQ(refusal([&] { vfis().entryIs(1, {.fields = {1 << 24}}); }),
            "VFI entry 1: vni is at most 16777215, not 16777216");
  someVfis();
  const std::string twice = "VFI entry 30: a chip holds another entry of this index";
  EXPECT_EQ(refusal([&] { vfis().entryIs(30, {}); }), twice);
  EXPECT_EQ(refusal([&] { vfis().entryIs(30, {.chips = chipSet({1, 9})}); }), twice);
  EXPECT_EQ(refusal([&] { vfis().entryIs(30, {.chips = chipSet({9})}); }), "not refused");
}

TEST_F(CmdRingManagerTest, ALargeTableIsCutAndSaysHowToGoOn) {
  ShadowTableModel& table = manager_->shadowTable(ShadowTableId::vlanXlate);
  for (std::uint32_t i = 0; i < 100'000; ++i)
    table.entryIs(i, {.fields = {i % 48, 10, i % 1000, 0}});
  const std::string text = shown(ShadowTableId::vlanXlate);
  EXPECT_TRUE(text.ends_with(
      "\n... 95904 more; select one with VAL+INDEX, a chip with CHIP+NUMBER\n100000 entries\n"));
  parameters_->entryIdSet = true;
  parameters_->entryId = 99'999;
  EXPECT_TRUE(shown(ShadowTableId::vlanXlate).ends_with("\n1 entry\n"));
}

TEST_F(CmdRingManagerTest, VlanRangesAreThosePutThere) {
  manager_->ingVlanRanges.put({.fap = 1, .port = 7},
                              {.ranges = {Bridging::VlanIdRange(Bridging::VlanId(5))}});
  EXPECT_EQ(manager_->getIngVlanRangeEntry(1, 7).ranges.size(), 1U);
  EXPECT_TRUE(manager_->getIngVlanRangeEntry(1, 8).ranges.empty());
}

}  // namespace
}  // namespace KorvoAgent
