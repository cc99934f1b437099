// The shadow tables: options, and which table is shown.

#include <gmock/gmock.h>

#include <functional>

#include "KorvoL2/KorvoL2CliCallbacks/ShadowShowHandlers.h"
#include "platform/base/Exceptions.h"
#include "platform/command/CommandArgument.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::_;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::Not;
using ::testing::NotNull;
using ::testing::Return;

class ShadowShowTest : public CallbackFixture {
 protected:
  ShadowShowTest() { world.chipIs({.ingVlanXlate = false, .egrVlanXlate = true}); }

  /** Runs a command that shows the VFI table and gives the parameters that the printer got. */
  const ShadowShow& parametersOf(const std::string& options) {
    EXPECT_CALL(*world.ringManager, showVfiTable(socket(), NotNull()))
        .WillOnce(
            [this](std::uint32_t, const Qel::Ptr<ShadowShow>& given) { parameters_ = given; });
    traces->clear();
    runPlain("ShadowShow+VFI" + options);
    EXPECT_EQ(executed(), "ShadowShow");
    return *parameters_;
  }
  void expectNothingShown(const std::string& command, const std::string& reason,
                          Kind kind = Kind::noHandler) {
    traces->clear();
    runPlain(command);
    EXPECT_EQ(executed(), "ShadowShow");
    EXPECT_EQ(traced(8).back(), "Unknown command!");
    expectUntouchedSocket();
    EXPECT_EQ(plain->outcome().kind, kind);
    EXPECT_EQ(plain->outcome().reason, reason);
  }

 private:
  Qel::Ptr<ShadowShow> parameters_;
};

TEST_F(ShadowShowTest, WithoutOptionsEverythingIsOffAndTheChipIsTheNullId) {
  const ShadowShow& parameters = parametersOf("");
  EXPECT_FALSE(parameters.raw);
  EXPECT_FALSE(parameters.allEntries);
  EXPECT_FALSE(parameters.entryIdSet);
  EXPECT_EQ(parameters.entryId, 0U);
  EXPECT_EQ(parameters.entryValue, 0U);
  EXPECT_EQ(parameters.chip, 128U);
  EXPECT_THAT(traced(8),
              ElementsAre("Raw: false", "All: false", "EntryId set: false, value: 0", "Fap: 128"));
  expectUntouchedSocket();
  expectHandled(plain->outcome());
}

TEST_F(ShadowShowTest, ReadsEveryOption) {
  const ShadowShow& parameters = parametersOf("+RAW+ALLENTRIES+VAL+17+CHIP+3");
  EXPECT_TRUE(parameters.raw);
  EXPECT_TRUE(parameters.allEntries);
  EXPECT_TRUE(parameters.entryIdSet);
  EXPECT_EQ(parameters.entryId, 17U);
  EXPECT_EQ(parameters.entryValue, 17U);
  EXPECT_EQ(parameters.chip, 3U);
  EXPECT_THAT(traced(8),
              ElementsAre("Raw: true", "All: true", "EntryId set: true, value: 17", "Fap: 3"));
}

TEST_F(ShadowShowTest, OptionsStandInAnyOrderAndKeepTheirCase) {
  EXPECT_CALL(*world.ringManager, showVfiTable(socket(), _)).Times(2);
  runPlain("ShadowShow+CHIP+3+VAL+17+RAW+VFI");
  EXPECT_TRUE(plain->shw()->raw);
  EXPECT_EQ(plain->shw()->entryId, 17U);
  EXPECT_EQ(plain->shw()->chip, 3U);
  runPlain("ShadowShow+VFI+raw+allentries+val+1+chip+2");
  EXPECT_FALSE(plain->shw()->raw);
  EXPECT_FALSE(plain->shw()->allEntries);
  EXPECT_FALSE(plain->shw()->entryIdSet);
  EXPECT_EQ(plain->shw()->chip, 128U);
}

TEST_F(ShadowShowTest, ValWithoutANumberSelectsEntryZero) {
  EXPECT_TRUE(parametersOf("+VAL").entryIdSet);
  EXPECT_EQ(plain->shw()->entryId, 0U);
  EXPECT_TRUE(parametersOf("+VAL+many").entryIdSet);
  EXPECT_EQ(plain->shw()->entryId, 0U);
  EXPECT_EQ(plain->shw()->entryValue, 0U);
}

TEST_F(ShadowShowTest, ChipWithoutANumberIsChipZero) {
  EXPECT_EQ(parametersOf("+CHIP").chip, 0U);
  EXPECT_EQ(parametersOf("+CHIP+all").chip, 0U);
}

TEST_F(ShadowShowTest, NoOptionOfTheCommandBeforeSurvives) {
  parametersOf("+RAW+ALLENTRIES+VAL+17+CHIP+3");
  const ShadowShow& parameters = parametersOf("");
  EXPECT_FALSE(parameters.raw);
  EXPECT_FALSE(parameters.allEntries);
  EXPECT_FALSE(parameters.entryIdSet);
  EXPECT_EQ(parameters.entryId, 0U);
  EXPECT_EQ(parameters.entryValue, 0U);
  EXPECT_EQ(parameters.chip, 128U);
}

TEST_F(ShadowShowTest, TheRecordOfTheAgentIsUsedWhenItGaveOne) {
  const auto record = Qel::makePtr<ShadowShow>();
  plain->shwIs(record);
  EXPECT_CALL(*world.ringManager, showVfiTable(socket(), record));
  runPlain("ShadowShow+VFI+RAW");
  EXPECT_TRUE(record->raw);
}

TEST_F(ShadowShowTest, OneRecordServesAllCommandsOfACallback) {
  const ShadowShow* const first = &parametersOf("");
  EXPECT_EQ(&parametersOf("+RAW"), first);
}

TEST_F(ShadowShowTest, EachTableIsPrintedByItsOwnPrinter) {
  EXPECT_CALL(*world.ringManager, showEgrVfiTable(socket(), NotNull()));
  runPlain("ShadowShow+EGR_VFI");
  EXPECT_CALL(*world.ringManager, showEgrVlanXlate2Entries(socket(), NotNull()));
  runPlain("ShadowShow+EGR_XLATE_2");
  EXPECT_CALL(*world.ringManager, showEgrVlanXlateEntries(socket(), NotNull()));
  runPlain("ShadowShow+EGR_XLATE");
  EXPECT_CALL(*world.ringManager, showVfiTable(socket(), NotNull()));
  runPlain("ShadowShow+VFI");
  EXPECT_CALL(*world.ringManager, showVlanXlate2Entries(socket(), NotNull()));
  runPlain("ShadowShow+VLAN_XLATE_2");
  EXPECT_CALL(*world.ringManager, showVlanXlateEntries(socket(), NotNull()));
  runPlain("ShadowShow+VLAN_XLATE");
  expectUntouchedSocket();
}

TEST_F(ShadowShowTest, TagActionProfilesAndVirtualPortsPrintThemselves) {
  const InSequence inOrder;
  EXPECT_CALL(*world.ringManager, evtapTable());
  EXPECT_CALL(*world.evtap, show(socket(), NotNull()));
  runPlain("ShadowShow+EVTAP");
  EXPECT_CALL(*world.ringManager, ivtapTable());
  EXPECT_CALL(*world.ivtap, show(socket(), NotNull()));
  runPlain("ShadowShow+IVTAP");
  EXPECT_CALL(*world.ringManager, sourceVpTable());
  EXPECT_CALL(*world.sourceVp, show(socket(), NotNull()));
  runPlain("ShadowShow+SOURCE_VP");
  expectUntouchedSocket();
}

TEST_F(ShadowShowTest, TheSecondStageIsNotTakenForTheFirst) {
  EXPECT_CALL(*world.ringManager, showEgrVlanXlate2Entries(socket(), NotNull()));
  runPlain("ShadowShow+CHIP+1+EGR_XLATE_2");
  EXPECT_EQ(plain->subArgPos(), 4);
}

TEST_F(ShadowShowTest, OfTwoTablesTheFirstInTheOrderOfTheTablesIsShown) {
  EXPECT_CALL(*world.ringManager, showEgrVfiTable(socket(), NotNull()));
  runPlain("ShadowShow+VFI+EGR_VFI");
  EXPECT_CALL(*world.ringManager, showEgrVlanXlate2Entries(socket(), NotNull()));
  runPlain("ShadowShow+EGR_XLATE+EGR_XLATE_2");
  EXPECT_CALL(*world.ringManager, showVfiTable(socket(), NotNull()));
  runPlain("ShadowShow+VLAN_XLATE+VLAN_XLATE_2+VFI");
}

TEST_F(ShadowShowTest, TheFirstStageAtEgressTracesItsChip) {
  EXPECT_CALL(*world.ringManager, showEgrVlanXlateEntries(socket(), NotNull()));
  EXPECT_CALL(*world.agent, isModulePresent(Tessar::FapId(3))).WillOnce(Return(true));
  runPlain("ShadowShow+EGR_XLATE+CHIP+3");
  EXPECT_EQ(traced(8).back(), "fapId : 3");
}

TEST_F(ShadowShowTest, TheFirstStageAtEgressAsksForTheNullIdWithoutAChip) {
  EXPECT_CALL(*world.ringManager, showEgrVlanXlateEntries(socket(), NotNull()));
  EXPECT_CALL(*world.agent, isModulePresent(Tessar::FapId())).WillOnce(Return(true));
  runPlain("ShadowShow+EGR_XLATE");
}

TEST_F(ShadowShowTest, TheFirstStageAtEgressNeedsItsModuleAndTheChipsFeature) {
  world.modulePresent = false;
  expectNothingShown("ShadowShow+EGR_XLATE", "EGR_XLATE is read from a chip; name it with CHIP");
  expectNothingShown("ShadowShow+EGR_XLATE+CHIP+7", "there is no chip 7");
  world.modulePresent = true;
  world.chipIs({});
  expectNothingShown("ShadowShow+EGR_XLATE", "the chip does not translate VLANs at egress");
}

TEST_F(ShadowShowTest, TheFirstStageAtEgressDoesWithoutShadowsTheOthersDoNot) {
  world.hwTableStateAvailable = false;
  EXPECT_CALL(*world.ringManager, showEgrVlanXlateEntries(socket(), NotNull()));
  runPlain("ShadowShow+EGR_XLATE");
  for (const auto& table : CliCallback::ShadowShowH::tables()) {
    if (table.keyword == "EGR_XLATE") continue;
    expectNothingShown("ShadowShow+" + std::string(table.keyword),
                       "the hardware table state is not available", Kind::notReady);
  }
}

TEST_F(ShadowShowTest, ATableThatCannotBeShownDoesNotSpeakForTheOneThatIs) {
  world.modulePresent = false;
  EXPECT_CALL(*world.ringManager, showVfiTable(socket(), NotNull()));
  runPlain("ShadowShow+EGR_XLATE+VFI");
  expectHandled(plain->outcome());
}

TEST_F(ShadowShowTest, AChipNumberThatIsNoneEndsTheCommandThatNeedsIt) {
  try {
    runPlain("ShadowShow+EGR_XLATE+CHIP+129x");
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Qel::RangeException& e) {
    EXPECT_EQ(AgentCommand::messageOf(e), std::string("chip \"129x\": ") + e.what());
  }
  EXPECT_EQ(liveHandlers(), 0);
  expectUntouchedSocket();
  // Other tables leave the number to their printer.
  EXPECT_EQ(parametersOf("+CHIP+129").chip, 129U);
}

TEST_F(ShadowShowTest, WithoutATableNothingIsShown) {
  // Whatever else is missing.
  world.hwTableStateAvailable = false;
  for (const char* const command : {"ShadowShow", "ShadowShow+RAW", "ShadowShow+vfi",
                                    "ShadowShow+VFIX", "ShadowShow+VFIX+CHIP+7", "ShadowShowVFI"}) {
    expectNothingShown(command,
                       "it names none of the tables EGR_VFI, EGR_XLATE_2, EGR_XLATE, EVTAP, IVTAP, "
                       "SOURCE_VP, VFI, VLAN_XLATE_2, VLAN_XLATE");
  }
}

TEST_F(ShadowShowTest, ATableNameAsTheNumberOfAnOptionStillNamesTheTable) {
  // Tokens are looked for one by one; none knows that another has used it.
  const ShadowShow& parameters = parametersOf("+VAL+VFI");
  EXPECT_TRUE(parameters.entryIdSet);
  EXPECT_EQ(parameters.entryId, 0U);
}

TEST_F(ShadowShowTest, AMissingManagerIsTraced) {
  ON_CALL(*world.agent, l2CmdRingManager).WillByDefault(Return(nullptr));
  for (const auto& table : CliCallback::ShadowShowH::tables()) {
    traces->clear();
    runPlain("ShadowShow+" + std::string(table.keyword));
    EXPECT_EQ(traced(8).back(), "no l2CmdRingManager");
    expectNotReady(plain->outcome(), "no l2CmdRingManager");
    expectUntouchedSocket();
  }
}

TEST_F(ShadowShowTest, AMissingTableIsTraced) {
  EXPECT_CALL(*world.ringManager, evtapTable()).WillOnce(Return(nullptr));
  runPlain("ShadowShow+EVTAP");
  EXPECT_EQ(traced(8).back(), "no evtapTable");
  expectNotReady(plain->outcome(), "no evtapTable");
}

TEST_F(ShadowShowTest, ThePrinterIsHeldWhileItPrints) {
  EXPECT_CALL(*world.ringManager, showVfiTable).WillOnce([this](auto, const auto& parameters) {
    EXPECT_GE(world.ringManager->users(), 2U);
    // The callback's and the handler's.
    EXPECT_GE(parameters->users(), 2U);
    plain->shwIs(nullptr);
    EXPECT_GE(parameters->users(), 1U);
  });
  runPlain("ShadowShow+VFI");
  EXPECT_EQ(world.ringManager->users(), 1U);
}

TEST_F(ShadowShowTest, AnExceptionOfAPrinterPassesOn) {
  EXPECT_CALL(*world.ringManager, showVfiTable)
      .WillOnce(::testing::Throw(std::runtime_error("ring is down")));
  EXPECT_THROW(runPlain("ShadowShow+VFI"), std::runtime_error);
  EXPECT_EQ(liveHandlers(), 0);
}

TEST(ShadowShowTablesTest, StandInTheOrderInWhichTheyAreLookedFor) {
  std::vector<std::pair<std::string, std::string>> tables;
  for (const auto& row : CliCallback::ShadowShowH::tables()) {
    const auto handler = row.make(row.keyword);
    tables.emplace_back(handler->cmdName(), handler->typeData().name);
  }
  using ::testing::Pair;
  EXPECT_THAT(tables, ElementsAre(Pair("EGR_VFI", "CliCallback::ShadowShowH::EgrVfiH"),
                                  Pair("EGR_XLATE_2", "CliCallback::ShadowShowH::EgrXlate2H"),
                                  Pair("EGR_XLATE", "CliCallback::ShadowShowH::EgrXlateH"),
                                  Pair("EVTAP", "CliCallback::ShadowShowH::EvTapH"),
                                  Pair("IVTAP", "CliCallback::ShadowShowH::IvTapH"),
                                  Pair("SOURCE_VP", "CliCallback::ShadowShowH::SourceVpH"),
                                  Pair("VFI", "CliCallback::ShadowShowH::VfiH"),
                                  Pair("VLAN_XLATE_2", "CliCallback::ShadowShowH::VlanXlate2H"),
                                  Pair("VLAN_XLATE", "CliCallback::ShadowShowH::VlanXlateH")));
  EXPECT_EQ(CliCallback::ShadowShowH::VfiH::fmTypeName, "CliCallback::ShadowShowH::VfiH");
  // No keyword stands behind one that is its prefix.
  for (std::size_t row = 0; row < tables.size(); ++row) {
    for (std::size_t later = row + 1; later < tables.size(); ++later) {
      EXPECT_FALSE(tables[later].first.starts_with(tables[row].first)) << tables[later].first;
    }
  }
}

}  // namespace
}  // namespace KorvoL2::Testing
