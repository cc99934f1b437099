// The tokens of a command and the attributes of the plain callback.

#include <gmock/gmock.h>

#include "platform/base/Exceptions.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"
#include "tests/KorvoL2/SetterWalk.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class CmdTokensTest : public CallbackFixture {
 protected:
  CmdTokensTest() {
    plain->publisher().subscribe([this](const Qel::Entity&, std::string_view attribute) {
      changes.emplace_back(attribute);
    });
  }
  std::vector<std::pair<int, std::string>> tokens() const {
    std::vector<std::pair<int, std::string>> result;
    for (const auto& [position, entry] : plain->cmdTokens()) {
      EXPECT_EQ(position, entry->position());
      result.emplace_back(position, entry->text());
    }
    return result;
  }
  std::vector<std::string> changes;
};

TEST_F(CmdTokensTest, FindSubArgOnAnEmptyMapGivesZero) { EXPECT_EQ(plain->findSubArg("A"), 0); }

TEST_F(CmdTokensTest, FindSubArgGivesTheFirstOfEqualTokensAndZeroForNone) {
  plain->cmdTokensIs(3, "A");
  plain->cmdTokensIs(2, "B");
  plain->cmdTokensIs(1, "A");
  EXPECT_EQ(plain->findSubArg("A"), 1);
  EXPECT_EQ(plain->findSubArg("B"), 2);
  EXPECT_EQ(plain->findSubArg("C"), 0);
}

TEST_F(CmdTokensTest, FindSubArgComparesWholeTokensWithTheirCase) {
  plain->cmdTokensIs(1, "EGR_XLATE_2");
  EXPECT_EQ(plain->findSubArg("EGR_XLATE"), 0);
  EXPECT_EQ(plain->findSubArg("egr_xlate_2"), 0);
  EXPECT_EQ(plain->findSubArg("EGR_XLATE_2"), 1);
}

TEST_F(CmdTokensTest, StoringTheSameTextTwicePublishesOneChange) {
  plain->cmdTokensIs(2, "A");
  plain->cmdTokensIs(2, "A");
  EXPECT_THAT(changes, ElementsAre("cmdTokens"));
}

TEST_F(CmdTokensTest, StoringAnotherTextReplacesTheTokenAndPublishes) {
  plain->cmdTokensIs(2, "A");
  plain->cmdTokensIs(2, "B");
  EXPECT_THAT(tokens(), ElementsAre(Pair(2, "B")));
  EXPECT_THAT(changes, ElementsAre("cmdTokens", "cmdTokens"));
}

TEST_F(CmdTokensTest, AskingBeyondTheTokensGivesAnEmptyText) {
  plain->cmdTokensIs(1, "A");
  plain->cmdTokensIs(2, "B");
  plain->cmdTokensIs(3, "C");
  EXPECT_EQ(plain->cmdTokens(7), "");
  EXPECT_EQ(plain->cmdTokensGet(7), "");
  EXPECT_EQ(plain->cmdTokens(3), "C");
  EXPECT_EQ(plain->cmdTokensGet(3), "C");
}

TEST_F(CmdTokensTest, AreKeptInAscendingOrderOfPosition) {
  for (const int position : {200, 3, 1, 255, 2}) {
    plain->cmdTokensIs(static_cast<std::uint8_t>(position), std::to_string(position));
  }
  EXPECT_THAT(tokens(), ElementsAre(Pair(1, "1"), Pair(2, "2"), Pair(3, "3"), Pair(200, "200"),
                                    Pair(255, "255")));
}

TEST_F(CmdTokensTest, DeletingByPositionRemovesThatTokenAndIgnoresOthers) {
  plain->cmdTokensIs(1, "A");
  plain->cmdTokensIs(2, "B");
  changes.clear();
  plain->cmdTokensDel(9);
  EXPECT_THAT(changes, IsEmpty());
  plain->cmdTokensDel(1);
  EXPECT_THAT(tokens(), ElementsAre(Pair(2, "B")));
  EXPECT_THAT(changes, ElementsAre("cmdTokens"));
}

TEST_F(CmdTokensTest, DeletingByIteratorRemovesWhatItPointsAt) {
  plain->cmdTokensIs(1, "A");
  plain->cmdTokensIs(2, "B");
  plain->cmdTokensIs(3, "C");
  plain->cmdTokensDel(plain->cmdTokens().find(2));
  EXPECT_THAT(tokens(), ElementsAre(Pair(1, "A"), Pair(3, "C")));
  EXPECT_THROW(plain->cmdTokensDel(plain->cmdTokens().end()), Qel::AssertionException);
}

TEST_F(CmdTokensTest, DeletingAllRemovesThemOneByOne) {
  plain->cmdTokensIs(1, "A");
  plain->cmdTokensIs(2, "B");
  changes.clear();
  plain->cmdTokensDelAll();
  EXPECT_TRUE(plain->cmdTokens().empty());
  EXPECT_THAT(changes, ElementsAre("cmdTokens", "cmdTokens"));
  EXPECT_EQ(Qel::liveInstances("CliCallback::QelCmdTokens::Entry"), 0);
}

TEST_F(CmdTokensTest, AnEntryThatSomebodyHoldsOutlivesItsToken) {
  plain->cmdTokensIs(1, "A");
  const auto held = plain->cmdTokens().begin()->second;
  plain->cmdTokensDelAll();
  EXPECT_EQ(held->text(), "A");
  EXPECT_EQ(held->users(), 1U);
}

TEST_F(CmdTokensTest, The256thTokenStandsAtPositionZeroWhereItLooksLikeNone) {
  std::string command = "1";
  for (int token = 2; token <= 256; ++token) command += "+" + std::to_string(token);
  runPlain(command);
  EXPECT_EQ(plain->cmdTokens().size(), 256U);
  EXPECT_EQ(plain->cmdTokens(0), "256");
  EXPECT_EQ(plain->findSubArg("256"), 0);
  EXPECT_EQ(plain->findSubArg("255"), 255);
}

TEST_F(CmdTokensTest, MoreThan256TokensOverwriteTheFirst) {
  std::string command = "1";
  for (int token = 2; token <= 258; ++token) command += "+" + std::to_string(token);
  runPlain(command);
  EXPECT_EQ(plain->cmdTokens().size(), 256U);
  EXPECT_EQ(plain->cmdTokens(1), "257");
  EXPECT_EQ(plain->cmdTokens(2), "258");
  EXPECT_EQ(plain->cmdTokens(3), "3");
}

class CliCallbackAttributesTest : public CmdTokensTest {};

TEST_F(CliCallbackAttributesTest, ANewCallbackHasItsNamesAndInitialValues) {
  EXPECT_EQ(plain->name(), "cli");
  EXPECT_EQ(plain->secondName(), "KorvoL2");
  EXPECT_EQ(plain->arg(), "");
  EXPECT_EQ(plain->chipAttr(), nullptr);
  EXPECT_TRUE(plain->cmdTokens().empty());
  EXPECT_EQ(plain->command(), "");
  EXPECT_EQ(plain->macAddrSmHelper(), nullptr);
  EXPECT_EQ(plain->l2ModFifoMonitorSm(), nullptr);
  EXPECT_EQ(plain->mcastHelper(), nullptr);
  EXPECT_EQ(plain->shw(), nullptr);
  EXPECT_EQ(plain->socket(), 0U);
  EXPECT_FALSE(plain->detail());
  EXPECT_EQ(plain->subArgPos(), 0);
  EXPECT_FALSE(plain->vlanXlateFeature());
  EXPECT_FALSE(plain->egrVlanXlateFeature());
  EXPECT_EQ(plain->typeData().name, "KorvoL2::CliCallback");
}

TEST_F(CliCallbackAttributesTest, BothWaysOfCreationGiveACallbackOfItsOwn) {
  const auto other = CliCallback::CliCallbackIs("other");
  EXPECT_NE(other, plain);
  EXPECT_EQ(other->name(), "other");
  EXPECT_EQ(other->secondName(), "KorvoL2");
  EXPECT_EQ(Qel::liveInstances("CliCallback"), 2);
}

TEST_F(CliCallbackAttributesTest, EachSetterPublishesItsAttributeOnChangeOnly) {
  const auto attributes = Qel::makePtr<ChipAttr>();
  const auto shw = Qel::makePtr<ShadowShow>();
  plain->l2AgentIs(nullptr);
  expectSettersPublish(
      *plain,
      {setter("l2Agent", [&] { plain->l2AgentIs(world.agent.get()); }),
       setter("arg", [&] { plain->argIs("x"); }),
       setter("chipAttr", [&] { plain->chipAttrIs(attributes); }),
       setter("cmdTokens", [&] { plain->cmdTokensIs(1, "x"); }),
       {"cmdTokensDel", "cmdTokens", [&] { plain->cmdTokensDel(1); }},
       setter("cmdTokens", [&] { plain->cmdTokensIs(2, "x"); }),
       {"cmdTokensDelAll", "cmdTokens", [&] { plain->cmdTokensDelAll(); }},
       setter("command", [&] { plain->commandIs("x"); }),
       setter("macAddrSmHelper", [&] { plain->macAddrSmHelperIs(world.macHelper.get()); }),
       setter("l2ModFifoMonitorSm", [&] { plain->l2ModFifoMonitorSmIs(world.fifoMonitor.get()); }),
       setter("mcastHelper", [&] { plain->mcastHelperIs(world.mcastHelper.get()); }),
       setter("shw", [&] { plain->shwIs(shw); }),
       setter("socket", [&] { plain->socketIs(1); }),
       setter("detail", [&] { plain->detailIs(true); }),
       setter("subArgPos", [&] { plain->subArgPosIs(1); }),
       setter("vlanXlateFeature", [&] { plain->vlanXlateFeatureIs(true); }),
       setter("egrVlanXlateFeature", [&] { plain->egrVlanXlateFeatureIs(true); })},
      settersDeclaredIn(
          {"platform/command/CliCallbackBase.h", "KorvoL2/KorvoL2CliCallbacks/CliCallback.h"}));
  EXPECT_EQ(plain->arg(), "x");
  EXPECT_EQ(plain->chipAttr(), attributes);
  EXPECT_EQ(plain->command(), "x");
  EXPECT_EQ(plain->macAddrSmHelper(), world.macHelper.get());
  EXPECT_EQ(plain->l2ModFifoMonitorSm(), world.fifoMonitor.get());
  EXPECT_EQ(plain->mcastHelper(), world.mcastHelper.get());
  EXPECT_EQ(plain->shw(), shw);
  EXPECT_EQ(plain->socket(), 1U);
  EXPECT_TRUE(plain->detail());
  EXPECT_EQ(plain->subArgPos(), 1);
  EXPECT_TRUE(plain->vlanXlateFeature());
  EXPECT_TRUE(plain->egrVlanXlateFeature());
}

TEST_F(CliCallbackAttributesTest, ChipAttributesAndTheShadowRecordAreShared) {
  const auto attributes = Qel::makePtr<ChipAttr>();
  const auto shw = Qel::makePtr<ShadowShow>();
  plain->chipAttrIs(attributes);
  plain->shwIs(shw);
  EXPECT_EQ(attributes->users(), 2U);
  EXPECT_EQ(shw->users(), 2U);
}

}  // namespace
}  // namespace KorvoL2::Testing
