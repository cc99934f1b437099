#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/Suggestion.h"

namespace KorvoCtl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::string_view> suggest(const std::vector<std::string_view>& typed,
                                      std::string_view unknown) {
  return suggestCommands(typed, unknown);
}

TEST(SuggestionTest, WordIsNearWhenAbbreviatedOrMisspeltButNotWhenItIsAnother) {
  EXPECT_TRUE(isNear("sh", "show"));
  EXPECT_TRUE(isNear("adress-table", "address-table"));
  EXPECT_TRUE(isNear("vxlna", "vxlan"));
  EXPECT_FALSE(isNear("s", "show"));
  EXPECT_FALSE(isNear("xyz", "show"));
  EXPECT_FALSE(isNear(std::string(100000, 'x'), "show"));
}

TEST(SuggestionTest, MisspeltWordLeadsToItsCommand) {
  EXPECT_THAT(suggest({"shwo", "mac", "adress-table"}, "shwo"),
              ElementsAre("show mac address-table"));
  EXPECT_THAT(suggest({"show", "vxlan", "vlan", "sumary"}, "sumary"),
              ElementsAre("show vxlan vlan summary"));
}

TEST(SuggestionTest, RightWordBehindTheWrongOneLeadsToItsCommand) {
  EXPECT_THAT(suggest({"show", "mac", "diff"}, "diff"), ElementsAre("check mac diff"));
  EXPECT_THAT(suggest({"mac", "missing"}, "mac"), ElementsAre("check mac missing"));
}

TEST(SuggestionTest, KeywordOfTheAgentLeadsToItsCommand) {
  EXPECT_THAT(suggest({"MACT_ALL"}, "MACT_ALL"), ElementsAre("show mac address-table"));
  EXPECT_THAT(suggest({"show", "vlan_xlate_status_2"}, "vlan_xlate_status_2"),
              ElementsAre("show vlan translation ingress stage-2"));
  EXPECT_THAT(suggest({"HW_MCAST_MCIDX+5"}, "HW_MCAST_MCIDX+5"),
              ElementsAre("show multicast groups hardware"));
  EXPECT_THAT(suggest({"ShadowShow+EVTAP+RAW"}, "ShadowShow+EVTAP+RAW"),
              ElementsAre("show shadow egress-tag-actions"));
  EXPECT_THAT(suggest({"show", "shadow", "ivtap"}, "ivtap"),
              ElementsAre("show shadow ingress-tag-actions"));
}

TEST(SuggestionTest, NothingNearGivesNoSuggestion) {
  EXPECT_THAT(suggest({"show", "weather"}, "weather"), IsEmpty());
}

TEST(SuggestionTest, NoMoreThanThreeAreGiven) { EXPECT_THAT(suggest({"shwo"}, "shwo"), SizeIs(3)); }

}  // namespace
}  // namespace KorvoCtl
