// Made-up MAC tables.

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "agent/model/MacGenerator.h"
#include "platform/base/Exceptions.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using KorvoL2::MacEntry;
using Testing::makeModel;
using Entries = std::vector<std::pair<Bridging::MacVlanPair, MacEntry>>;

Entries generated(std::uint64_t count, std::uint64_t seed, unsigned chips = 2) {
  const auto model = makeModel();
  model->chipsIs(chips);
  generateMacs(*model, count, seed);
  Entries entries;
  for (const auto& [key, value] : model->swMacTable().entries()) entries.emplace_back(key, value);
  return entries;
}

TEST(MacGeneratorTest, ExactlyAsManyEntriesAsAskedFor) {
  for (const std::uint64_t count : {0U, 1U, 2U, 999U, 1001U, 25'013U}) {
    EXPECT_EQ(generated(count, 1).size(), count);
  }
}

TEST(MacGeneratorTest, TheSameSeedGivesTheSameTable) {
  EXPECT_EQ(generated(5000, 7), generated(5000, 7));
  EXPECT_NE(generated(5000, 7), generated(5000, 8));
}

TEST(MacGeneratorTest, EntriesAreBelievable) {
  const Entries entries = generated(20'000, 3);
  std::set<std::uint32_t> vlans;
  std::set<Bridging::IntfId> interfaces;
  std::set<KorvoL2::MacEntryType> types;
  for (const auto& [key, entry] : entries) {
    ASSERT_GE(key.vlan(), 1U);
    ASSERT_LE(key.vlan(), 4094U);
    ASSERT_FALSE(key.mac().isGroup());
    ASSERT_EQ(entry.modBitmap, 3U);
    vlans.insert(key.vlan());
    interfaces.insert(entry.intf);
    types.insert(entry.type);
  }
  EXPECT_EQ(vlans.size(), 20U);
  EXPECT_GT(interfaces.size(), 50U);
  EXPECT_EQ(types.size(), 5U);
}

TEST(MacGeneratorTest, EntriesThatAreThereAlreadyStayAndDoNotCount) {
  const auto model = makeModel();
  generateMacs(*model, 3000, 1);
  const auto first = model->swMacTable().entries().begin();
  const auto key = first->key;
  model->swMacTable().put(key, MacEntry{.intf = Bridging::IntfId("mine")});
  generateMacs(*model, 3000, 1);  // every key is taken
  EXPECT_EQ(model->swMacTable().size(), 6000U);
  EXPECT_EQ(model->swMacTable().entries().find(key)->intf, Bridging::IntfId("mine"));
}

TEST(MacGeneratorTest, MoreThanTenMillionAreRefused) {
  const auto model = makeModel();
  EXPECT_THROW(generateMacs(*model, kMaxGeneratedMacs + 1, 1), Qel::RangeException);
  EXPECT_EQ(model->swMacTable().size(), 0U);
}

}  // namespace
}  // namespace KorvoAgent
