// The demo switch.

#include <gtest/gtest.h>

#include <set>

#include "agent/model/DemoSwitch.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using KorvoL2::MacEntryType;
using Testing::makeModel;

class DemoSwitchTest : public ::testing::Test {
 protected:
  void SetUp() override { fillDemo(*model_); }
  const KorvoL2::MacEntryCollection& entries() const { return model_->swMacTable().entries(); }

  Qel::Ptr<SwitchModel> model_ = makeModel();
};

TEST_F(DemoSwitchTest, ItIsASwitchOfThreeChipsAndSomeTwoHundredEntries) {
  EXPECT_EQ(model_->chips().size(), 3U);
  EXPECT_GE(entries().size(), 180U);
  EXPECT_LE(entries().size(), 220U);
}

TEST_F(DemoSwitchTest, EveryTypeOfEntryIsThere) {
  std::set<MacEntryType> types;
  std::size_t unprintable = 0;
  std::size_t wide = 0;
  for (const auto& [key, entry] : entries()) {
    types.insert(entry.type);
    unprintable += entry.printable ? 0 : 1;
    wide += entry.intf.shortName().size() > 11 ? 1 : 0;
  }
  EXPECT_EQ(types.size(), 9U);
  EXPECT_EQ(unprintable, 3U);
  EXPECT_GE(wide, 2U);
}

TEST_F(DemoSwitchTest, ItContradictsItselfNowhere) {
  for (const auto& [key, entry] : entries()) {
    const bool group = entry.type == MacEntryType::multicast;
    EXPECT_EQ(key.mac().isGroup(), group) << key.stringValue();
    EXPECT_EQ(entry.mcastId != 0, group) << key.stringValue();
    EXPECT_EQ(model_->unicast().remoteMac().has(key), entry.type == MacEntryType::remoteDynamic)
        << key.stringValue();
    EXPECT_EQ(entry.modBitmap & ~model_->moduleBitmap(), 0U) << key.stringValue();
    // A member of a port-channel learns nothing itself.
    EXPECT_FALSE(model_->unicast().lagMembership().has(entry.intf)) << key.stringValue();
  }
}

TEST_F(DemoSwitchTest, ItIsAlwaysTheSame) {
  const auto other = makeModel();
  fillDemo(*other);
  ASSERT_EQ(other->swMacTable().size(), entries().size());
  auto it = entries().begin();
  for (const auto& [key, entry] : other->swMacTable().entries()) {
    EXPECT_EQ(it->key, key);
    EXPECT_EQ(it->value, entry);
    ++it;
  }
}

}  // namespace
}  // namespace KorvoAgent
