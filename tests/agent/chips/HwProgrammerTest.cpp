// Programming the chips: all at once at the start, then after software and at a bounded rate.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/Exceptions.h"
#include "tests/agent/chips/ChipsTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
using KorvoL2::MacKeyType;
using Tessar::FapId;
using Testing::macKey;
using namespace std::chrono_literals;
namespace Flag = KorvoL2::MacEntryFlag;

class HwProgrammerTest : public Testing::HardwareTest {
 protected:
  bool pending(unsigned vlan, std::uint64_t mac) {
    return (software(vlan, mac).flags & Flag::kPending) != 0;
  }
};

TEST_F(HwProgrammerTest, WhatSoftwareHoldsAtTheStartIsInEveryChipAtOnce) {
  for (std::uint64_t mac = 1; mac <= 1000; ++mac) put(10, mac);
  startHardware();
  for (unsigned id = 0; id < 3; ++id) {
    EXPECT_EQ(chip(id).size(), 1000U);
    EXPECT_EQ(hw(id, 10, 500), hardware_->chips().wanted(macKey(10, 500), software(10, 500)));
  }
  EXPECT_FALSE(pending(10, 500));
  EXPECT_EQ(hardware_->programmer().numDue(), 0U);
}

TEST_F(HwProgrammerTest, AtTheStartTheBitmapTellsWhichModulesHoldAnEntry) {
  MacEntry entry = held();
  entry.modBitmap = 0b101;
  table().put(macKey(10, 1), entry);
  startHardware();
  EXPECT_FALSE(hw(0, 10, 1).isEmpty());
  EXPECT_TRUE(hw(1, 10, 1).isEmpty());
  EXPECT_FALSE(hw(2, 10, 1).isEmpty());
  EXPECT_EQ(software(10, 1), entry) << "it is left as it was given";
}

TEST_F(HwProgrammerTest, ChipsBeyondTheBitmapHoldWhatDumpsShow) {
  model_->chipDelAll();
  model_->chipIs(FapId(0), "first");
  model_->chipIs(FapId(100), "far");
  put(10, 1);
  MacEntry own = held();
  own.printable = false;
  table().put(macKey(10, 2), own);
  startHardware();
  EXPECT_FALSE(hw(100, 10, 1).isEmpty());
  EXPECT_TRUE(hw(100, 10, 2).isEmpty());
  EXPECT_FALSE(hw(0, 10, 2).isEmpty());
}

TEST_F(HwProgrammerTest, ANewEntryIsPendingUntilTheChipsHaveIt) {
  startHardware();
  put(10, 1);
  EXPECT_TRUE(pending(10, 1));
  EXPECT_EQ(software(10, 1).modBitmap, 0U);
  EXPECT_TRUE(hardware_->programmer().isDue(macKey(10, 1)));
  EXPECT_TRUE(hw(0, 10, 1).isEmpty());
  settle();
  EXPECT_FALSE(pending(10, 1));
  EXPECT_EQ(software(10, 1).modBitmap, 0b111U);
  EXPECT_FALSE(hardware_->programmer().isDue(macKey(10, 1)));
  for (unsigned id = 0; id < 3; ++id) EXPECT_FALSE(hw(id, 10, 1).isEmpty());
}

TEST_F(HwProgrammerTest, AnEntryThatMovesStaysWhereItWasUntilItsTurn) {
  put(10, 1, "Ethernet3/1");
  startHardware();
  table().learn(macKey(10, 1), IntfId("Ethernet3/2"), 0b111);
  EXPECT_TRUE(pending(10, 1));
  EXPECT_EQ(software(10, 1).modBitmap, 0b111U);
  EXPECT_EQ(hw(1, 10, 1).destinationPort, 1);
  settle();
  EXPECT_EQ(hw(1, 10, 1).destinationPort, 2);
  EXPECT_EQ(software(10, 1).flags, Flag::kMoved);
}

TEST_F(HwProgrammerTest, AnEntryThatGoesLeavesTheChipsInItsTurn) {
  put(10, 1);
  startHardware();
  table().erase(macKey(10, 1));
  EXPECT_TRUE(hardware_->programmer().isDue(macKey(10, 1)));
  EXPECT_FALSE(hw(0, 10, 1).isEmpty());
  settle();
  EXPECT_TRUE(hw(0, 10, 1).isEmpty());
  EXPECT_EQ(chip(0).size(), 0U);
}

TEST_F(HwProgrammerTest, AnEntryThatGoesAndComesBackIsProgrammedOnceAsItThenIs) {
  put(10, 1, "Ethernet3/1");
  startHardware();
  table().erase(macKey(10, 1));
  put(10, 1, "Ethernet3/9");
  EXPECT_EQ(hardware_->programmer().numDue(), 1U);
  settle();
  EXPECT_EQ(hw(0, 10, 1).destinationPort, 9);
}

TEST_F(HwProgrammerTest, AnEntryThatChangesItsKeyTypeLeavesNoneOfTheOldKind) {
  put(10, 1);
  startHardware();
  MacEntry remote = held("Vxlan1");
  remote.keyType = MacKeyType::vfi;
  table().put(macKey(10, 1), remote);
  settle();
  EXPECT_TRUE(hw(0, 10, 1).isEmpty());
  EXPECT_NE(chip(0).find({macKey(10, 1), 3}), HwMacTable::kNowhere);
  table().put(macKey(10, 1), held());
  table().erase(macKey(10, 1));
  settle();
  EXPECT_EQ(chip(0).size(), 0U);
}

TEST_F(HwProgrammerTest, WhatTheAgentKeepsForItselfGoesWhereItsBitmapSays) {
  startHardware();
  MacEntry own = held();
  own.modBitmap = 0b010;
  own.printable = false;
  table().put(macKey(4094, 1), own);
  EXPECT_EQ(software(4094, 1).modBitmap, 0b010U);
  settle();
  EXPECT_TRUE(hw(0, 4094, 1).isEmpty());
  EXPECT_FALSE(hw(1, 4094, 1).isEmpty());
  EXPECT_EQ(software(4094, 1).modBitmap, 0b010U);
}

TEST_F(HwProgrammerTest, AnEntryWithoutRoomIsLeftOutAndItsBitmapTells) {
  policy_.tableSize = 8;
  for (std::uint64_t mac = 1; mac <= 8; ++mac) put(10, mac);
  startHardware();
  put(10, 9);
  settle();
  EXPECT_TRUE(hw(0, 10, 9).isEmpty());
  EXPECT_EQ(software(10, 9).modBitmap, 0U);
  EXPECT_FALSE(pending(10, 9)) << "nothing more is done about it";
  EXPECT_EQ(hardware_->programmer().numWithoutRoom(), 3U);
  table().erase(macKey(10, 1));
  put(10, 9);
  settle();
  EXPECT_EQ(software(10, 9).modBitmap, 0b111U);
}

TEST_F(HwProgrammerTest, ATableThatIsTooSmallForTheStartIsSaidSoInTheBitmaps) {
  policy_.tableSize = 8;
  for (std::uint64_t mac = 1; mac <= 10; ++mac) put(10, mac);
  startHardware();
  int without = 0;
  for (std::uint64_t mac = 1; mac <= 10; ++mac) without += software(10, mac).modBitmap == 0 ? 1 : 0;
  EXPECT_EQ(without, 2);
  EXPECT_EQ(hardware_->programmer().numWithoutRoom(), 6U);
}

TEST_F(HwProgrammerTest, AChipTakesNoMoreThanItsRate) {
  policy_.entriesPerSecond = 1000;
  startHardware();
  for (std::uint64_t mac = 1; mac <= 500; ++mac) put(10, mac);
  letPass(100ms);
  EXPECT_EQ(chip(0).size(), 100U);
  letPass(50ms);
  EXPECT_EQ(chip(0).size(), 150U);
  letPass(10s);
  EXPECT_EQ(chip(0).size(), 500U);
  // A rest gives no credit for later.
  clock_->advance(10s);
  for (std::uint64_t mac = 1001; mac <= 1500; ++mac) put(10, mac);
  letPass(100ms);
  EXPECT_EQ(chip(0).size(), 600U);
}

TEST_F(HwProgrammerTest, EntriesAreProgrammedInTheOrderInWhichTheyChanged) {
  policy_.entriesPerSecond = 1000;
  startHardware();
  for (std::uint64_t mac = 100; mac >= 1; --mac) put(10, mac);
  letPass(50ms);
  EXPECT_FALSE(hw(0, 10, 51).isEmpty());
  EXPECT_TRUE(hw(0, 10, 50).isEmpty());
}

TEST_F(HwProgrammerTest, NothingIsWokenUpForWhenNothingIsDue) {
  startHardware();
  EXPECT_EQ(hardware_->programmer().nextDeadline(), std::nullopt);
  EXPECT_FALSE(hardware_->programmer().runnable());
  put(10, 1);
  EXPECT_TRUE(hardware_->programmer().nextDeadline().has_value());
  settle();
  EXPECT_EQ(hardware_->programmer().nextDeadline(), std::nullopt);
}

TEST_F(HwProgrammerTest, APieceEndsWithinItsTime) {
  policy_.entriesPerSecond = 1e6;
  policy_.tableSize = 30'000;
  startHardware();
  for (std::uint64_t mac = 1; mac <= 10'000; ++mac) put(10, mac);
  clock_->advance(1s);
  HwProgrammer& programmer = hardware_->programmer();
  programmer.deadlinesPassed(clock_->now());
  clock_->perReadingIs(100us);
  int pieces = 0;
  while (programmer.runnable()) {
    const Qel::Duration before = clock_->now();
    programmer.runPiece();
    EXPECT_LE(clock_->now() - before, 1500us);
    ++pieces;
  }
  EXPECT_GT(pieces, 10);
  EXPECT_EQ(chip(0).size(), 10'000U);
}

TEST_F(HwProgrammerTest, AClockThatRunsBackwardsStopsNothingForLong) {
  policy_.entriesPerSecond = 1000;
  clock_->nowIs(100s);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 100; ++mac) put(10, mac);
  clock_->nowIs(10s);
  hardware_->programmer().deadlinesPassed(clock_->now());
  while (hardware_->programmer().runnable()) hardware_->programmer().runPiece();
  settle();
  EXPECT_EQ(chip(0).size(), 100U);
}

TEST_F(HwProgrammerTest, FaultsGoWrongOnOneChipAndTheProgrammerDoesNotKnow) {
  policy_.faultRate = 0.2;
  for (std::uint64_t mac = 1; mac <= 1000; ++mac) put(10, mac);
  startHardware();
  const auto& counts = hardware_->programmer().faults().counts();
  EXPECT_GT(counts.lostWrites, 100U);
  EXPECT_GT(counts.wrongPorts, 100U);
  std::size_t missing = 0;
  std::size_t wrong = 0;
  for (unsigned id = 0; id < 3; ++id) {
    for (std::uint64_t mac = 1; mac <= 1000; ++mac) {
      missing += hw(id, 10, mac).isEmpty() ? 1 : 0;
      wrong += !hw(id, 10, mac).isEmpty() && hw(id, 10, mac).destinationPort != 1 ? 1 : 0;
      EXPECT_EQ(software(10, mac).modBitmap, 0b111U);
    }
  }
  EXPECT_EQ(missing, counts.lostWrites);
  EXPECT_EQ(wrong, counts.wrongPorts);
}

TEST_F(HwProgrammerTest, RemovalsThatGoWrongLeaveEntriesBehind) {
  policy_.faultRate = 0.5;
  policy_.seed = 3;
  for (std::uint64_t mac = 1; mac <= 200; ++mac) put(10, mac);
  startHardware();
  const std::size_t before = chip(0).size();
  table().clear();
  settle();
  EXPECT_GT(chip(0).size(), 0U);
  EXPECT_LT(chip(0).size(), before);
  EXPECT_EQ(chip(0).size() + chip(1).size() + chip(2).size(),
            hardware_->programmer().faults().standing().size());
}

class HwDeviationTest : public HwProgrammerTest {
 protected:
  void deviationsIs(unsigned id, ChipDeviations deviations) {
    Chip chip = model_->chips()[id];
    chip.deviations = std::move(deviations);
    model_->chipIs(std::move(chip));
  }
  void expectRefused(ChipDeviations deviations, const std::string& why) {
    deviationsIs(0, std::move(deviations));
    try {
      startHardware();
      ADD_FAILURE() << "not refused: " << why;
    } catch (const Qel::RangeException& e) {
      EXPECT_THAT(e.what(), ::testing::HasSubstr(why));
    }
  }
};

TEST_F(HwDeviationTest, AChipHoldsWhatItIsSaidToHold) {
  put(10, 1);
  put(10, 2);
  ChipDeviations deviations;
  deviations.differs.push_back(
      {macKey(10, 1), {.destination = HwDestination::trunk(5), .classId = 9}});
  deviations.missing.push_back(macKey(10, 2));
  deviations.extra.push_back({{macKey(20, 3), 7}, {}});
  deviationsIs(1, deviations);
  startHardware();
  EXPECT_EQ(hw(1, 10, 1).destination(), HwDestination::trunk(5));
  EXPECT_EQ(hw(1, 10, 1).classId, 9);
  EXPECT_EQ(hw(1, 10, 1).type, HwMacType::dynamic) << "what is not said stays";
  EXPECT_TRUE(hw(1, 10, 2).isEmpty());
  const auto extra = chip(1).find({macKey(20, 3), 7});
  ASSERT_NE(extra, HwMacTable::kNowhere);
  EXPECT_EQ(chip(1).at(extra).type, HwMacType::dynamic);
  EXPECT_EQ(hw(0, 10, 1).classId, 0) << "the other chips are as they should be";
  EXPECT_EQ(chip(2).size(), 2U);
}

TEST_F(HwDeviationTest, AnExtraEntryOfAnotherKeyTypeStandsBesideTheRightOne) {
  put(10, 1);
  ChipDeviations deviations;
  deviations.extra.push_back({{macKey(10, 1), 3}, {}});
  deviationsIs(0, deviations);
  startHardware();
  EXPECT_EQ(chip(0).size(), 2U);
}

TEST_F(HwDeviationTest, WhatCannotBeIsRefusedWithTheEntry) {
  put(10, 1);
  expectRefused({.differs = {{macKey(10, 2), {}}}}, "Linecard3/0 is said to differ in VLAN 10");
  expectRefused({.missing = {macKey(10, 2)}}, "which is not in the software table");
  expectRefused({.extra = {{{macKey(10, 1), 0}, {}}}}, "which is in the software table");
  expectRefused({.differs = {{macKey(10, 1), {}}}, .missing = {macKey(10, 1)}},
                "which it does not hold");
}

}  // namespace
}  // namespace KorvoAgent
