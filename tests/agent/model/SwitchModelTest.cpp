// The switch model: ready when new, and every check of a command can be made to fail.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "agent/model/SwitchModel.h"
#include "platform/base/Exceptions.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
using Tessar::FapId;
using Testing::makeModel;

TEST(SwitchModelTest, ANewSwitchIsReadyForEveryCommand) {
  const auto model = makeModel();
  ASSERT_NE(model->unicastAgent(), nullptr);
  EXPECT_TRUE(model->unicastAgent()->initialized());
  EXPECT_TRUE(model->unicastAgent()->ready());
  EXPECT_TRUE(model->status().configReady);
  EXPECT_TRUE(model->status().hardwareReady);
  ASSERT_NE(model->macAddrSmHelper(), nullptr);
  ASSERT_NE(model->macAddrSmHelper()->macTblShadow(), nullptr);
  ASSERT_NE(model->macAddrSmHelper()->macTblShadow()->macEntry(), nullptr);
  EXPECT_TRUE(model->macAddrSmHelper()->macTblShadow()->macEntry()->empty());
  EXPECT_NE(model->mcast(), nullptr);
  EXPECT_FALSE(model->l2TableMode());
  EXPECT_NE(model->activityClock(), nullptr);
  const auto* const attributes = model->chipAttrDir().find(model->unicastAgent()->chipIdentity());
  ASSERT_NE(attributes, nullptr);
  EXPECT_TRUE((*attributes)->ingVlanXlate);
}

TEST(SwitchModelTest, EveryReadinessCheckCanBeMadeToFailAndToPassAgain) {
  const auto model = makeModel();
  for (const bool state : {false, true}) {
    model->configReadyIs(state);
    EXPECT_EQ(model->status().configReady, state);
    model->hardwareReadyIs(state);
    EXPECT_EQ(model->status().hardwareReady, state);
    model->unicast().initializedIs(state);
    EXPECT_EQ(model->unicastAgent()->initialized(), state);
    model->unicast().readyIs(state);
    EXPECT_EQ(model->unicastAgent()->ready(), state);
    model->macTblShadowPresentIs(state);
    EXPECT_EQ(model->macAddrSmHelper()->macTblShadow() != nullptr, state);
    model->swMacTable().collectionPresentIs(state);
    EXPECT_EQ(model->swMacTable().macEntry() != nullptr, state);
    model->mcastPresentIs(state);
    EXPECT_EQ(model->mcast() != nullptr, state);
    model->l2TableModeIs(state);
    EXPECT_EQ(model->l2TableMode(), state);
  }
  model->l2AgentPresentIs(false);
  EXPECT_EQ(model->l2Agent(), nullptr);
  model->l2AgentPresentIs(true);
  EXPECT_EQ(model->l2Agent(), model.get());
  model->unicastAgentPresentIs(false);
  EXPECT_EQ(model->unicastAgent(), nullptr);
  model->macAddrSmHelperPresentIs(false);
  EXPECT_EQ(model->macAddrSmHelper(), nullptr);
  model->chipAttrDelAll();
  EXPECT_FALSE(model->chipAttrDir().has(SwitchModel::kDefaultChipIdentity));
}

TEST(SwitchModelTest, ASwitchHasOneToOneHundredAndTwentyEightChips) {
  const auto model = makeModel();
  model->chipsIs(128);
  ASSERT_EQ(model->chips().size(), 128U);
  EXPECT_EQ(model->chips().front().name, "Linecard3/0");
  EXPECT_EQ(model->chips().back().id, FapId(127));
  EXPECT_TRUE(model->isModulePresent(FapId(127)));
  EXPECT_EQ(model->moduleBitmap(), ~std::uint64_t{0});
  EXPECT_THROW(model->chipsIs(0), Qel::RangeException);
  EXPECT_THROW(model->chipsIs(129), Qel::RangeException);
  EXPECT_EQ(model->chips().size(), 128U);
}

TEST(SwitchModelTest, ChipsAreKeptInOrderAndCanBeRenamed) {
  const auto model = makeModel();
  model->chipDelAll();
  model->chipIs(FapId(5), "five");
  model->chipIs(FapId(2), "two");
  model->chipIs(FapId(5), "FIVE");
  ASSERT_EQ(model->chips().size(), 2U);
  EXPECT_EQ(model->chips()[0].name, "two");
  EXPECT_EQ(model->chips()[1].name, "FIVE");
  EXPECT_FALSE(model->isModulePresent(FapId(3)));
  EXPECT_EQ(model->moduleBitmap(), 0b100100U);
  EXPECT_THROW(model->chipIs(FapId(), "none"), Qel::RangeException);
  // A name is a chip's key in JSON.
  EXPECT_THROW(model->chipIs(FapId(7), "two"), Qel::RangeException);
  EXPECT_THROW(model->chipIs(FapId(5), "two"), Qel::RangeException);
  EXPECT_THROW(model->chipIs(Chip{.id = FapId(7), .name = "FIVE"}), Qel::RangeException);
  model->chipIs(FapId(2), "two");
}

class SwMacTableTest : public ::testing::Test {
 protected:
  const MacEntry* find() const { return table_->entries().find(key_); }

  const MacVlanPair key_{Bridging::VlanId(10), EthAddr(0x020000000001ULL)};
  const IntfId one_{"Ethernet1"};
  const IntfId two_{"Ethernet2"};
  Qel::Ptr<SwMacTable> table_ = Qel::makePtr<SwMacTable>();
};

TEST_F(SwMacTableTest, AnAddressSeenForTheFirstTimeIsLearned) {
  EXPECT_TRUE(table_->learn(key_, one_, 3));
  ASSERT_NE(find(), nullptr);
  EXPECT_EQ(*find(), (MacEntry{.intf = one_, .modBitmap = 3}));
  EXPECT_FALSE(table_->learn(key_, one_, 3));
}

TEST_F(SwMacTableTest, AnAddressSeenElsewhereMoves) {
  table_->learn(key_, one_, 3);
  EXPECT_TRUE(table_->learn(key_, two_, 3));
  EXPECT_EQ(find()->intf, two_);
  EXPECT_EQ(find()->flags, KorvoL2::MacEntryFlag::kMoved);
}

TEST_F(SwMacTableTest, AConfiguredAddressDoesNotMove) {
  table_->put(key_, {.intf = one_, .type = MacEntryType::configuredStatic});
  EXPECT_FALSE(table_->learn(key_, two_, 3));
  EXPECT_EQ(find()->intf, one_);
}

TEST_F(SwMacTableTest, ErasingTellsWhetherThereWasAnything) {
  table_->learn(key_, one_, 3);
  EXPECT_TRUE(table_->erase(key_));
  EXPECT_FALSE(table_->erase(key_));
  EXPECT_EQ(table_->size(), 0U);
}

class RecordingListener final : public SwMacTable::Listener {
 public:
  explicit RecordingListener(SwMacTable& table) : table_(table) { table_.listenerIs(this); }
  ~RecordingListener() override { table_.listenerIs(nullptr); }
  void macEntryChanged(const MacVlanPair& key, std::optional<KorvoL2::MacKeyType> before) override {
    const MacEntry* const now = table_.entries().find(key);
    const auto word = [](bool there, bool vfi) { return !there ? "none" : vfi ? "vfi" : "bridge"; };
    heard.push_back(
        std::string(word(before.has_value(), before == KorvoL2::MacKeyType::vfi)) + "->" +
        word(now != nullptr, now != nullptr && now->keyType == KorvoL2::MacKeyType::vfi));
  }
  std::vector<std::string> heard;

 private:
  SwMacTable& table_;
};

TEST_F(SwMacTableTest, AListenerHearsOfEveryChangeOnceItIsMade) {
  RecordingListener listener(*table_);
  table_->learn(key_, one_, 3);
  table_->learn(key_, one_, 3);  // nothing changes
  table_->learn(key_, two_, 3);
  table_->put(key_, {.intf = two_, .keyType = KorvoL2::MacKeyType::vfi});
  table_->erase(key_);
  table_->erase(key_);
  table_->put(key_, {.intf = one_});
  table_->clear();
  EXPECT_THAT(listener.heard,
              ::testing::ElementsAre("none->bridge", "bridge->bridge", "bridge->vfi", "vfi->none",
                                     "none->bridge", "bridge->none"));
}

TEST_F(SwMacTableTest, HowFarTheChipsAreIsNotedAndNobodyHearsOfIt) {
  table_->put(key_, {.intf = one_, .modBitmap = 7, .flags = KorvoL2::MacEntryFlag::kMoved});
  RecordingListener listener(*table_);
  table_->hwStateIs(key_, 2, true);
  EXPECT_EQ(find()->modBitmap, 2U);
  EXPECT_EQ(find()->flags, KorvoL2::MacEntryFlag::kMoved | KorvoL2::MacEntryFlag::kPending);
  table_->hwStateIs(key_, 7, false);
  EXPECT_EQ(find()->flags, KorvoL2::MacEntryFlag::kMoved);
  table_->hwStateIs(MacVlanPair(), 7, false);  // no such entry
  EXPECT_EQ(table_->size(), 1U);
  EXPECT_TRUE(listener.heard.empty());
}

}  // namespace
}  // namespace KorvoAgent
