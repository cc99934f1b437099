// The multicast group tables: what software wants, the shadow, and what chips hold.

#include <gtest/gtest.h>

#include <algorithm>

#include "agent/services/AnswerTable.h"
#include "agent/services/McastHelperModel.h"
#include "tests/agent/services/ServiceTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;
using Tessar::FapId;
using Testing::transcript;

McastPorts ports(std::initializer_list<const char*> names) {
  McastPorts all;
  for (const char* const name : names) all.emplace_back(name);
  return all;
}

class McastHelperTest : public ::testing::Test {
 protected:
  std::string hardware() {
    return transcript([this](auto s) { helper_->showHwMcastGroupTable(s, false, true, 0); });
  }
  std::string differences() {
    return transcript([this](auto s) { helper_->showHwMcastGroupTable(s, true, true, 0); });
  }
  std::string one(std::uint32_t index) {
    return transcript(
        [=, this](auto s) { helper_->showHwMcastGroupTable(s, false, false, index); });
  }
  std::string software() {
    return transcript([this](auto s) { helper_->showMcastGroupTable(s); });
  }
  void twoGroups() {
    helper_->groupIs(3, {.vlan = 10, .ports = ports({"Vxlan1", "Ethernet3/4", "Ethernet3/1"})});
    helper_->groupIs(12, {.vlan = 0, .ports = {}});
  }

  Qel::Ptr<McastHelperModel> helper_ = Qel::makePtr<McastHelperModel>(Testing::chips(3));
};

TEST_F(McastHelperTest, ASwitchWithoutGroupsSaysSo) {
  EXPECT_EQ(software(), "No multicast groups.\n");
  EXPECT_EQ(hardware(), "No chip holds a multicast group.\n");
  EXPECT_EQ(differences(), "No multicast group differs between shadow and hardware.\n");
  EXPECT_EQ(one(7), "Multicast group 7 is on no chip.\n");
}

TEST_F(McastHelperTest, GroupsAreInSoftwareAndInEveryChip) {
  twoGroups();
  EXPECT_EQ(software(),
            "Multicast groups\n"
            "Index  VLAN  Shadow  Ports  Interfaces\n"
            "-----  ----  ------  -----  -----------------\n"
            "    3    10  yes         3  Et3/1, Et3/4, Vx1\n"
            "   12     -  yes         0  -\n"
            "2 groups\n");
  EXPECT_EQ(hardware(),
            "Hardware multicast groups\n"
            "Index  Chips  Ports  Interfaces\n"
            "-----  -----  -----  -----------------\n"
            "    3  0-2        3  Et3/1, Et3/4, Vx1\n"
            "   12  0-2        0  -\n"
            "2 entries\n");
  EXPECT_EQ(differences(), "No multicast group differs between shadow and hardware.\n");
}

TEST_F(McastHelperTest, ChipsThatHoldSomethingElseAreShownApart) {
  twoGroups();
  helper_->hwGroupIs(FapId(0), 3, ports({"Ethernet3/1"}));
  helper_->hwGroupIs(FapId(2), 3, ports({"Ethernet3/1"}));
  helper_->hwGroupIs(FapId(1), 12, std::nullopt);
  helper_->hwGroupIs(FapId(1), 99, ports({"Ethernet4/1"}));
  EXPECT_EQ(hardware(),
            "Hardware multicast groups\n"
            "Index  Chips  Ports  Interfaces\n"
            "-----  -----  -----  -----------------\n"
            "    3  1          3  Et3/1, Et3/4, Vx1\n"
            "    3  0,2        1  Et3/1\n"
            "   12  0,2        0  -\n"
            "   99  1          1  Et4/1\n"
            "4 entries\n");
  EXPECT_EQ(differences(),
            "Multicast groups that differ between shadow and hardware\n"
            "Index  Chips  Shadow             Hardware\n"
            "-----  -----  -----------------  --------\n"
            "    3  0,2    Et3/1, Et3/4, Vx1  Et3/1\n"
            "   12  1      no ports           -\n"
            "   99  1      -                  Et4/1\n"
            "3 differences\n");
}

TEST_F(McastHelperTest, OneGroupIsSelectedByItsIndex) {
  twoGroups();
  helper_->hwGroupIs(FapId(1), 12, std::nullopt);
  EXPECT_EQ(one(12),
            "Hardware multicast groups\n"
            "Index  Chips  Ports  Interfaces\n"
            "-----  -----  -----  ----------\n"
            "   12  0,2        0  -\n"
            "1 entry\n");
  EXPECT_EQ(one(11), "Multicast group 11 is on no chip.\n");
  EXPECT_EQ(one(0xffff'ffff), "Multicast group 4294967295 is on no chip.\n");
}

TEST_F(McastHelperTest, ClearingTheShadowLeavesChipsAndSoftwareAlone) {
  twoGroups();
  const std::string before = hardware();
  helper_->clearShadowMcastGroupTable();
  EXPECT_EQ(hardware(), before);
  EXPECT_EQ(differences(),
            "Multicast groups that differ between shadow and hardware\n"
            "Index  Chips  Shadow  Hardware\n"
            "-----  -----  ------  -----------------\n"
            "    3  0-2    -       Et3/1, Et3/4, Vx1\n"
            "   12  0-2    -       no ports\n"
            "2 differences\n");
  EXPECT_NE(software().find("   12     -  no          0"), std::string::npos);
  // What is written again is in the shadow again.
  helper_->groupIs(12, {});
  EXPECT_TRUE(helper_->inShadow(12));
  EXPECT_FALSE(helper_->inShadow(3));
}

TEST_F(McastHelperTest, AChipThatIsNotPresentIsNotShown) {
  twoGroups();
  helper_->hwGroupIs(FapId(9), 3, std::nullopt);
  EXPECT_EQ(differences(), "No multicast group differs between shadow and hardware.\n");
  EXPECT_EQ(helper_->hwGroup(FapId(9), 3), nullptr);
  EXPECT_EQ(*helper_->hwGroup(FapId(0), 3), helper_->groups().find(3)->ports);
}

TEST_F(McastHelperTest, ALargeTableIsCutAndSaysHowToGoOn) {
  constexpr std::uint32_t kGroups = 12'000;
  for (std::uint32_t i = 0; i < kGroups; ++i) {
    helper_->groupIs(i, {.ports = ports({"Ethernet1", "Ethernet2"})});
  }
  constexpr auto kLines = static_cast<std::ptrdiff_t>(AnswerTable::kMaxRows + 5);
  EXPECT_TRUE(software().ends_with(
      "\n... 7904 more; select one with HW_MCAST_MCIDX+INDEX\n12000 groups\n"));
  EXPECT_EQ(std::ranges::count(software(), '\n'), kLines);
  EXPECT_TRUE(hardware().ends_with(
      "\n... and perhaps more; select one with HW_MCAST_MCIDX+INDEX\nat least 4096 entries\n"));
  EXPECT_EQ(std::ranges::count(hardware(), '\n'), kLines);
  // Nothing to show is not told before all groups have been looked at.
  EXPECT_TRUE(
      differences().ends_with("\n... and perhaps more; select one with "
                              "HW_MCAST_MCIDX+INDEX\nat least 0 differences\n"));
}

}  // namespace
}  // namespace KorvoAgent
