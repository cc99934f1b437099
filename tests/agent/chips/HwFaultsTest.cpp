// Injected programming errors: at the rate asked for, of every kind, and remembered while they
// stand.

#include <gtest/gtest.h>

#include "agent/chips/HwFaults.h"
#include "platform/base/Exceptions.h"

namespace KorvoAgent {
namespace {

using Tessar::FapId;

HwMacEntry entry(std::uint64_t mac, HwDestination to) {
  HwMacEntry made({{std::uint16_t{10}, Bridging::EthAddr(mac)}, 0}, HwMacType::dynamic);
  made.destinationIs(to);
  return made;
}
HwMacEntry removal(std::uint64_t mac) {
  return {{{std::uint16_t{10}, Bridging::EthAddr(mac)}, 0}, HwMacType::none};
}

const HwDestination kPort = HwDestination::onPort(0, 5);

TEST(HwFaultsTest, WithoutARateNothingGoesWrong) {
  HwFaults faults(0, 1);
  EXPECT_FALSE(faults.enabled());
  for (std::uint64_t mac = 0; mac < 1000; ++mac) {
    HwMacEntry written = entry(mac, kPort);
    ASSERT_EQ(faults.draw(FapId(0), {}, written), HwFault::none);
  }
  EXPECT_TRUE(faults.standing().empty());
}

TEST(HwFaultsTest, GoesWrongAboutAsOftenAsAskedForAndTheSameForTheSameSeed) {
  HwFaults one(0.1, 7);
  HwFaults two(0.1, 7);
  for (std::uint64_t mac = 0; mac < 10'000; ++mac) {
    HwMacEntry written = entry(mac, kPort);
    HwMacEntry again = written;
    ASSERT_EQ(one.draw(FapId(0), {}, written), two.draw(FapId(0), {}, again));
    ASSERT_EQ(written, again);
  }
  const auto& counts = one.counts();
  EXPECT_NEAR(static_cast<double>(counts.lostWrites + counts.wrongPorts), 1000, 150);
  EXPECT_NEAR(static_cast<double>(counts.lostWrites), static_cast<double>(counts.wrongPorts), 150);
  EXPECT_EQ(counts.staleEntries, 0U) << "nothing was there";
  EXPECT_EQ(one.standing().size(), counts.lostWrites + counts.wrongPorts);
}

TEST(HwFaultsTest, AWrongPortIsAnotherPortOfTheSameEntry) {
  HwFaults faults(1, 1);
  HwMacEntry written;
  do {
    written = entry(1, kPort);
  } while (faults.draw(FapId(0), {}, written) != HwFault::wrongPort);
  EXPECT_NE(written.destinationPort, 5);
  HwMacEntry corrected = written;
  corrected.destinationPort = 5;
  EXPECT_EQ(corrected, entry(1, kPort));
}

TEST(HwFaultsTest, WhatHasNoPortIsLostOrStays) {
  HwFaults faults(1, 1);
  HwMacEntry onTrunk = entry(1, HwDestination::trunk(3));
  EXPECT_EQ(faults.draw(FapId(0), {}, onTrunk), HwFault::lostWrite);
  EXPECT_EQ(faults.draw(FapId(0), entry(1, kPort), onTrunk), HwFault::staleEntry);
  HwMacEntry removed = removal(1);
  EXPECT_EQ(faults.draw(FapId(0), entry(1, kPort), removed), HwFault::staleEntry);
}

TEST(HwFaultsTest, AWriteThatChangesNothingCannotGoWrongAndEndsAnOldFault) {
  HwFaults faults(1, 1);
  HwMacEntry removed = removal(1);
  ASSERT_EQ(faults.draw(FapId(0), entry(1, kPort), removed), HwFault::staleEntry);
  EXPECT_EQ(faults.standing().size(), 1U);
  HwMacEntry same = entry(1, kPort);
  EXPECT_EQ(faults.draw(FapId(0), same, same), HwFault::none);
  EXPECT_TRUE(faults.standing().empty());
  HwMacEntry nothing = removal(2);
  EXPECT_EQ(faults.draw(FapId(0), {}, nothing), HwFault::none);
}

TEST(HwFaultsTest, FaultsOfAChipGoWithIt) {
  HwFaults faults(1, 1);
  for (unsigned chip = 0; chip < 2; ++chip) {
    HwMacEntry removed = removal(1);
    faults.draw(FapId(chip), entry(1, kPort), removed);
  }
  faults.chipDel(FapId(0));
  ASSERT_EQ(faults.standing().size(), 1U);
  EXPECT_EQ(faults.standing().begin()->first.chip, FapId(1));
}

TEST(HwFaultsTest, AShareOutOfRangeIsRefused) {
  EXPECT_THROW(HwFaults(-0.1, 1), Qel::RangeException);
  EXPECT_THROW(HwFaults(1.1, 1), Qel::RangeException);
}

}  // namespace
}  // namespace KorvoAgent
