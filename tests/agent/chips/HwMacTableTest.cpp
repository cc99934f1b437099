// The hardware MAC table of a chip: buckets, indexes, and pages that copies share.

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <map>
#include <utility>
#include <vector>

#include "agent/chips/HwMacTable.h"
#include "agent/model/SeededRandom.h"
#include "platform/base/Exceptions.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::MacVlanPair;

HwMacEntry entry(std::uint16_t vlan, std::uint64_t mac, std::uint16_t port = 1,
                 std::uint8_t keyType = 0) {
  HwMacEntry made({MacVlanPair(vlan, EthAddr(mac)), keyType}, HwMacType::dynamic);
  made.destinationIs(HwDestination::onPort(0, port));
  return made;
}

TEST(HwMacTableTest, AnEntryIsFoundAtTheIndexItWasPutAt) {
  HwMacTable table(1000);
  const HwMacEntry put = entry(10, 0x020000000001);
  const HwMacTable::Index index = table.put(put);
  ASSERT_NE(index, HwMacTable::kNowhere);
  EXPECT_LT(index, table.capacity());
  EXPECT_EQ(table.find(put.key()), index);
  EXPECT_EQ(table.at(index), put);
  EXPECT_EQ(table.size(), 1U);
}

TEST(HwMacTableTest, AnEmptyTableHoldsNothingAtAnyIndex) {
  const HwMacTable table(1000);
  EXPECT_EQ(table.find({MacVlanPair(), 0}), HwMacTable::kNowhere);
  for (HwMacTable::Index i = 0; i < table.capacity(); ++i) ASSERT_TRUE(table.at(i).isEmpty());
}

TEST(HwMacTableTest, TheAllZeroKeyIsAKeyLikeAnyOther) {
  HwMacTable table(8);
  EXPECT_EQ(table.find({MacVlanPair(), 0}), HwMacTable::kNowhere);
  ASSERT_NE(table.put(entry(0, 0)), HwMacTable::kNowhere);
  EXPECT_NE(table.find({MacVlanPair(), 0}), HwMacTable::kNowhere);
}

TEST(HwMacTableTest, PuttingAgainReplacesInPlace) {
  HwMacTable table(1000);
  const auto index = table.put(entry(10, 1, 7));
  EXPECT_EQ(table.put(entry(10, 1, 8)), index);
  EXPECT_EQ(table.at(index).destinationPort, 8);
  EXPECT_EQ(table.size(), 1U);
}

TEST(HwMacTableTest, KeyTypesTellEntriesApart) {
  HwMacTable table(1000);
  table.put(entry(10, 1, 7, 0));
  table.put(entry(10, 1, 8, 3));
  EXPECT_EQ(table.size(), 2U);
  EXPECT_TRUE(table.erase({MacVlanPair(10, EthAddr(std::uint64_t{1})), 0}));
  EXPECT_NE(table.find({MacVlanPair(10, EthAddr(std::uint64_t{1})), 3}), HwMacTable::kNowhere);
}

TEST(HwMacTableTest, ErasingTellsWhetherThereWasAnything) {
  HwMacTable table(1000);
  table.put(entry(10, 1));
  EXPECT_TRUE(table.erase(entry(10, 1).key()));
  EXPECT_FALSE(table.erase(entry(10, 1).key()));
  EXPECT_EQ(table.size(), 0U);
}

TEST(HwMacTableTest, FullBucketsRefuseAnEntryAndKeepWhatTheyHold) {
  HwMacTable table(HwMacTable::kMinSlots);  // two buckets: every key belongs into both
  for (std::uint64_t mac = 1; mac <= 8; ++mac) {
    ASSERT_NE(table.put(entry(10, mac)), HwMacTable::kNowhere);
  }
  EXPECT_EQ(table.put(entry(10, 9)), HwMacTable::kNowhere);
  EXPECT_EQ(table.size(), 8U);
  EXPECT_NE(table.put(entry(10, 3, 99)), HwMacTable::kNowhere) << "a change needs no room";
  table.erase(entry(10, 5).key());
  EXPECT_NE(table.put(entry(10, 9)), HwMacTable::kNowhere);
}

TEST(HwMacTableTest, AThirdFullThereIsRoomForEveryone) {
  constexpr std::size_t kEntries = 100'000;
  HwMacTable table(3 * kEntries);
  SeededRandom random(1);
  for (std::size_t i = 0; i < kEntries; ++i) {
    const auto vlan = static_cast<std::uint16_t>(1 + random.below(4094));
    ASSERT_NE(table.put(entry(vlan, random.next())), HwMacTable::kNowhere);
  }
}

TEST(HwMacTableTest, ASizeOutOfRangeIsRefused) {
  EXPECT_THROW(HwMacTable(HwMacTable::kMinSlots - 1), Qel::RangeException);
  EXPECT_THROW(HwMacTable(HwMacTable::kMaxSlots + 1), Qel::RangeException);
  EXPECT_EQ(HwMacTable(9).capacity(), 12U) << "rounded up to whole buckets";
}

TEST(HwMacTableTest, ACopyChangesByItself) {
  HwMacTable one(1000);
  one.put(entry(10, 1, 7));
  HwMacTable two = one;
  two.put(entry(10, 1, 8));
  two.put(entry(10, 2));
  EXPECT_EQ(one.at(one.find(entry(10, 1).key())).destinationPort, 7);
  EXPECT_EQ(two.at(two.find(entry(10, 1).key())).destinationPort, 8);
  EXPECT_EQ(one.size(), 1U);
  EXPECT_EQ(two.size(), 2U);
}

// A table against a model that has no buckets.
RC_GTEST_PROP(HwMacTableProperty, HoldsWhatWasPutAndNotErased, ()) {
  HwMacTable table(*rc::gen::inRange<std::size_t>(8, 200));
  std::map<std::pair<std::uint64_t, std::uint8_t>, HwMacEntry> model;
  const auto steps = *rc::gen::inRange(0, 400);
  for (int i = 0; i < steps; ++i) {
    const auto mac = *rc::gen::inRange<std::uint64_t>(0, 60);
    const std::uint8_t keyType = *rc::gen::element<std::uint8_t>(0, 3);
    const HwMacEntry made = entry(1, mac, *rc::gen::inRange<std::uint16_t>(0, 9), keyType);
    if (*rc::gen::inRange(0, 3) != 0) {
      if (table.put(made) != HwMacTable::kNowhere) {
        model[{mac, keyType}] = made;
      } else {
        RC_ASSERT(!model.contains({mac, keyType}));
      }
    } else {
      RC_ASSERT(table.erase(made.key()) == (model.erase({mac, keyType}) == 1));
    }
  }
  RC_ASSERT(table.size() == model.size());
  std::size_t occupied = 0;
  for (HwMacTable::Index i = 0; i < table.capacity(); ++i) {
    if (table.at(i).isEmpty()) continue;
    ++occupied;
    RC_ASSERT(table.find(table.at(i).key()) == i);
  }
  RC_ASSERT(occupied == model.size());
  for (const auto& [key, expected] : model) {
    RC_ASSERT(table.at(table.find(expected.key())) == expected);
  }
}

// Writing to several tables at once does to each what writing to it alone would do.
RC_GTEST_PROP(HwMacTableProperty, AGroupWriteIsTheSameWriteOnEveryTable, ()) {
  const auto slots = *rc::gen::inRange<std::size_t>(8, 40);
  std::vector<HwMacTable> together(3, HwMacTable(slots));
  std::vector<HwMacTable> alone(3, HwMacTable(slots));
  const auto steps = *rc::gen::inRange(0, 200);
  for (int i = 0; i < steps; ++i) {
    const HwMacEntry made =
        entry(1, *rc::gen::inRange<std::uint64_t>(0, 30), *rc::gen::inRange<std::uint16_t>(0, 4));
    const bool put = *rc::gen::inRange(0, 3) != 0;
    const unsigned tables = *rc::gen::inRange(1U, 8U);  // a bit for each
    HwGroupWrite group = put ? HwGroupWrite(made) : HwGroupWrite(made.key());
    for (std::size_t t = 0; t < 3; ++t) {
      if ((tables >> t & 1) == 0) continue;
      const bool expected =
          put ? alone[t].put(made) != HwMacTable::kNowhere : alone[t].erase(made.key());
      RC_ASSERT(group.to(together[t]) == expected);
    }
  }
  for (std::size_t t = 0; t < 3; ++t) {
    RC_ASSERT(together[t].size() == alone[t].size());
    for (HwMacTable::Index i = 0; i < alone[t].capacity(); ++i) {
      RC_ASSERT(together[t].at(i) == alone[t].at(i));
    }
  }
}

}  // namespace
}  // namespace KorvoAgent
