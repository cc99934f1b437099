// The hardware attached to a switch: what the model shows of it, and that it comes and goes.

#include <gtest/gtest.h>

#include "agent/model/DemoSwitch.h"
#include "platform/base/Exceptions.h"
#include "tests/agent/chips/ChipsTestSupport.h"

namespace KorvoAgent {
namespace {

using Tessar::FapId;

class SwitchHardwareTest : public Testing::HardwareTest {};

TEST_F(SwitchHardwareTest, TheMacHelperShowsTheChipsWhileThereIsHardware) {
  const KorvoL2::KorvoL2MacAddrSmHelper* const helper = model_->macAddrSmHelper();
  EXPECT_EQ(helper->fapChip(), nullptr);
  EXPECT_EQ(helper->l2TableReadSm(), nullptr);
  startHardware();
  ASSERT_NE(helper->fapChip(), nullptr);
  ASSERT_EQ(helper->fapChip()->size(), 3U);
  EXPECT_EQ(helper->fapChip()->find(FapId(1))->fapChipName, "Linecard3/1");
  EXPECT_EQ(helper->fapChip()->find(FapId(1))->fapId(), FapId(1));
  EXPECT_EQ(helper->l2TableReadSm(), &hardware_->reader());
  hardware_.reset();
  EXPECT_EQ(helper->fapChip(), nullptr);
  EXPECT_EQ(helper->l2TableReadSm(), nullptr);
  put(10, 1);  // nobody listens any more
}

TEST_F(SwitchHardwareTest, AChipThatIsStillComingUpHasNoData) {
  Chip chip = model_->chips()[1];
  chip.hasData = false;
  model_->chipIs(chip);
  startHardware();
  EXPECT_TRUE(model_->macAddrSmHelper()->fapChip()->find(FapId(1))->fapId().isNull());
}

TEST_F(SwitchHardwareTest, AChipThatGoesIsNotShownAnyMore) {
  startHardware();
  hardware_->chipDel(FapId(1));
  EXPECT_FALSE(model_->macAddrSmHelper()->fapChip()->has(FapId(1)));
  EXPECT_EQ(hardware_->chips().find(FapId(1)), nullptr);
  put(10, 1);
  settle();
  EXPECT_FALSE(hw(2, 10, 1).isEmpty());
}

TEST_F(SwitchHardwareTest, ATableHasRoomForThreeTimesWhatSoftwareHolds) {
  for (std::uint64_t mac = 1; mac <= 10'000; ++mac) put(10, mac);
  startHardware();
  EXPECT_GE(chip(0).capacity(), 30'000U);
  hardware_.reset();
  policy_.tableSize = 20'000;
  startHardware();
  EXPECT_EQ(chip(0).capacity(), 20'000U);
}

TEST_F(SwitchHardwareTest, APolicyOutOfRangeIsRefused) {
  policy_.tableSize = 1;
  EXPECT_THROW(startHardware(), Qel::RangeException);
  policy_ = {.entriesPerSecond = 0};
  EXPECT_THROW(startHardware(), Qel::RangeException);
  policy_ = {.faultRate = 2};
  EXPECT_THROW(startHardware(), Qel::RangeException);
}

TEST_F(SwitchHardwareTest, TheMulticastHelperThatTheChecksNeedIsThere) {
  ASSERT_NE(model_->mcast(), nullptr);
  EXPECT_NE(dynamic_cast<KorvoL2::KorvoL2McastHelper*>(model_->mcast()->mcastHelper()), nullptr);
}

}  // namespace
}  // namespace KorvoAgent
