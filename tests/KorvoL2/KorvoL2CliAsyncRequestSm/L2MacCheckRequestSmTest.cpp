// The two consistency checks: asking for the reads, waiting for them, and the two reports.
#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <chrono>

#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "platform/command/CommandArgument.h"
#include "tests/KorvoL2/MacCheckHarness.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

TEST_F(MacCheck, AsksForEachChipAndClosesWithTheNullChip) {
  auto sm = diff(kText, "0,1");
  EXPECT_THAT(requestedChips(), ElementsAre(0, 1, 128));
  EXPECT_EQ(sm->numReq(), 2u);
  std::uint64_t last = 0;
  for (const auto& each : helper->reader->requests) {
    EXPECT_GT(each.transactionId, last);
    last = each.transactionId;
    EXPECT_EQ(each.type, L2TableReadType::difference);
    EXPECT_EQ(each.diffEntryTable, sm->diffEntryTable());
    EXPECT_EQ(each.missingEntryTable, nullptr);
  }
  EXPECT_THAT(helper->reader->mcastHelpers, ::testing::Each(mcastHelper.get()));
  EXPECT_TRUE(traces->contains("requesting L2 table read fapIds"));
}

TEST_F(MacCheck, MissingCheckNamesItsOwnTableAndType) {
  auto sm = missing(kText, "1");
  EXPECT_THAT(requestedChips(), ElementsAre(1, 128));
  for (const auto& each : helper->reader->requests) {
    EXPECT_EQ(each.type, L2TableReadType::missing);
    EXPECT_EQ(each.missingEntryTable, sm->missingEntryTable());
    EXPECT_EQ(each.diffEntryTable, nullptr);
  }
}

TEST_F(MacCheck, ReadsAreIssuedOncePerCommandThoughTheFrontEndInitializesAgain) {
  auto sm = diff(kText, "0,1");
  sm->handleInitialized();
  EXPECT_EQ(helper->reader->requests.size(), 3u);
  EXPECT_EQ(sm->numReq(), 2u);
}

TEST_F(MacCheck, EmptyChipListIssuesNothingAndReportsNothing) {
  auto sm = diff(kText, "");
  EXPECT_TRUE(helper->reader->requests.empty());
  EXPECT_TRUE(sm->l2TableReadDone());
  EXPECT_EQ(runToCompletion(*sm), 1u);
  EXPECT_EQ(reader->received, kDiffHeads + diffTotal(0));
  auto json = missing(kJson, "");
  EXPECT_EQ(runToCompletion(*json), 1u);
  EXPECT_EQ(reader->received, "{\"macTableMissingEntries\":[]}\n");
}

TEST_F(MacCheck, ChipNamedTwiceIsReadTwiceAndKeptOnce) {
  auto sm = diff(kText, "0,0");
  EXPECT_THAT(requestedChips(), ElementsAre(0, 0, 128));
  EXPECT_EQ(sm->numReq(), 2u);
  EXPECT_EQ(sm->fap().size(), 1u);
}

TEST_F(MacCheck, NumberWhoseLowByteIsAboveTheNullIdThrowsOutOfTheFactory) {
  const auto before = Qel::liveInstances("L2MacDiffRequestSm");
  try {
    diff(kText, "0,129,1");
    FAIL();
  } catch (const Qel::RangeException& e) {
    EXPECT_STREQ(e.what(),
                 "Tessar::FapId::value < Tessar::FapId::min or > Tessar::FapId::null not allowed");
    EXPECT_EQ(AgentCommand::messageOf(e), std::string("chip list \"0,129,1\": ") + e.what());
  }
  // What was asked for before is not withdrawn, and nobody else holds its table.
  ASSERT_EQ(helper->reader->requests.size(), 1u);
  EXPECT_EQ(helper->reader->requests[0].diffEntryTable->users(), 1u);
  EXPECT_EQ(Qel::liveInstances("L2MacDiffRequestSm"), before);
}

TEST_F(MacCheck, NullChipIsReadOnlyIfAChipOrTheHelpersFlagAdmitsIt) {
  auto refused = diff(kText, "128");
  EXPECT_TRUE(helper->reader->requests.empty());
  EXPECT_TRUE(refused->fapHas(128));
  helper->readUnknown = true;
  diff(kText, "128");
  EXPECT_THAT(requestedChips(), ElementsAre(128, 128));
  helper->readUnknown = false;
  helper->reader->requests.clear();
  helper->chips.put(Tessar::FapId(9), {.fapChipName = "coming up"});  // no data yet: counts as 128
  diff(kText, "128,9");
  EXPECT_THAT(requestedChips(), ElementsAre(128, 128));
}

TEST_F(MacCheck, NumbersAreReadByTheirLowByteAndKeptInFull) {
  addChip(*helper, 44, "Chip44");
  auto sm = diff(kText, "300");
  EXPECT_THAT(requestedChips(), ElementsAre(44, 128));
  EXPECT_TRUE(sm->fapHas(300));
  EXPECT_FALSE(sm->fapHas(44));
}

TEST_F(MacCheck, AllChipsSkippedIssuesNoClosingRequest) {
  auto sm = diff(kText, "7,8");
  EXPECT_TRUE(helper->reader->requests.empty());
  EXPECT_EQ(sm->numReq(), 0u);
  EXPECT_EQ(sm->fap().size(), 2u);
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, kDiffHeads + diffTotal(0));
}

TEST_F(MacCheck, JunkPiecesCountAsChipZero) {
  auto sm = diff(kText, "x, 1,-0,");
  EXPECT_THAT(requestedChips(), ElementsAre(0, 1, 0, 128));
}

TEST_F(MacCheck, ReadWithoutMulticastHelperIsAnAssertionFailure) {
  EXPECT_THROW(l2MacDiffRequestSmFactory("r", request(kText), 50ms, clock, helper.get(), nullptr,
                                         "0", false),
               Qel::AssertionException);
  // With nothing to read, nobody misses it.
  EXPECT_NO_THROW(l2MacDiffRequestSmFactory("r", request(kText), 50ms, clock, helper.get(), nullptr,
                                            "", false));
}

TEST_F(MacCheck, WaitsWithoutAnyOutputUntilTheReadsAreComplete) {
  for (const auto format : {kText, kJson}) {
    traces->clear();
    auto sm = diff(format);
    for (int i = 0; i < 5; ++i) sm->runCommand();
    EXPECT_EQ(reader->received, "");
    EXPECT_EQ(traces->count("l2 table read still in progress"), 5u);
    EXPECT_FALSE(sm->l2TableReadDone());
    finish(*sm);
    EXPECT_NE(reader->received, "");
  }
}

TEST_F(MacCheck, ReleasedWhileWaitingLeavesTheTableToTheReaderAlone) {
  const auto before = Qel::liveInstances("L2MacMissingRequestSm");
  {
    auto sm = missing(kText);
    sm->runCommand();
  }
  EXPECT_EQ(Qel::liveInstances("L2MacMissingRequestSm"), before);
  const auto table = helper->reader->requests[0].missingEntryTable;
  helper->reader->requests.clear();
  EXPECT_EQ(table->users(), 1u);
}

TEST_F(MacCheck, DifferenceReportShowsEveryPropertyInItsFixedOrder) {
  auto sm = diff(kText, "0,1", true);
  addDiff(*sm, 10, 1, 1,
          {{EntryProperty::kInvalidEntry, "1"},
           {EntryProperty::kMacAddressType, "dynamic"},
           {EntryProperty::kClassId, "2"},
           {EntryProperty::kPort, "7"},
           {EntryProperty::kMod, "3"},
           {EntryProperty::kTrunkId, "5"},
           {EntryProperty::kMcastId, "abc"},
           {EntryProperty::kDstDiscard, "1"},
           {"something else", "9"}},
          {{"Chip0", {{EntryProperty::kMod, "4"}, {EntryProperty::kPort, "7"}}}});
  EXPECT_EQ(finish(*sm),
            " Vlan   Mac Address      SW Entry                   Chip                HW Entry"
            "                 HW Index\n"
            " ------ ---------------- ------------------------   -----------------   "
            "------------------------ ----------\n"
            " 10     0000.0000.0001   dstDiscard                 Chip0               mod=4"
            "                    17\n"
            "                         mcastId=abc                                    port=7\n"
            "                         trunkId=5\n"
            "                         mod=3\n"
            "                         port=7\n"
            "                         classId=2\n"
            "                         dynamic\n"
            "                         Invalid Entry\n" +
                diffTotal(1));
}

TEST_F(MacCheck, DifferenceReportWritesPropertiesInTheOrderOfItsJson) {
  auto sm = diff(kJson);
  addDiff(*sm, 10, 1, 2,
          {{EntryProperty::kDstDiscard, "0"},
           {EntryProperty::kMcastId, "abc"},
           {EntryProperty::kTrunkId, "5x"},
           {EntryProperty::kMod, "3"},
           {EntryProperty::kPort, "7"},
           {EntryProperty::kClassId, "2"},
           {EntryProperty::kMacAddressType, "dyn\"amic"},
           {EntryProperty::kInvalidEntry, ""}},
          {{"Chip1", {{EntryProperty::kMod, "1"}}}, {"Chip0", {}}}, -1);
  EXPECT_EQ(finish(*sm),
            R"({"macTableDiffEntries":[{"vlan":10,"mac":"0000.0000.0001","swEntries":[)"
            R"({"macAddressType":"dyn\"amic","mcastId":0,"port":7,"mod":3,"dstDiscard":true,)"
            R"("trunkId":5,"classId":2,"invalidEntry":true}],)"
            R"("hwEntries":{"Chip0":{},"Chip1":{"mod":1}},"hwTblIndex":-1}]})"
            "\n");
}

TEST_F(MacCheck, SoftwareEntryShowsModBeforePortInTextAndAfterItInJson) {
  const Properties sw{{EntryProperty::kPort, "2"}, {EntryProperty::kMod, "1"}};
  std::vector<std::string> lines;
  prepareDiffEntryList(lines, propertyDir(sw).get());
  EXPECT_THAT(lines, ElementsAre("mod=1", "port=2"));
  auto sm = diff(kJson);
  addDiff(*sm, 1, 1, 1, sw, {});
  EXPECT_THAT(finish(*sm), HasSubstr(R"("swEntries":[{"port":2,"mod":1}])"));
}

TEST_F(MacCheck, OneDifferenceOnOneChipHasOneRowForEachLine) {
  auto sm = diff(kText, "0,1", true);
  addDiff(*sm, 10, 1, 1, {{EntryProperty::kMod, "1"}},
          {{"Chip0",
            {{EntryProperty::kMcastId, "4"},
             {EntryProperty::kMod, "2"},
             {EntryProperty::kPort, "3"}}}});
  EXPECT_THAT(
      finish(*sm),
      HasSubstr(" 10     0000.0000.0001   mod=1                      Chip0               mcastId=4"
                "                17\n"
                "                                                                        mod=2\n"
                "                                                                        port=3\n" +
                diffTotal(1)));
}

TEST_F(MacCheck, TwoDifferencesSetTheChipsApart) {
  auto sm = diff(kText);
  addDiff(
      *sm, 10, 1, 2, {{EntryProperty::kMod, "1"}},
      {{"Chip0",
        {{EntryProperty::kMcastId, "4"}, {EntryProperty::kMod, "2"}, {EntryProperty::kPort, "3"}}},
       {"Chip1", {{EntryProperty::kMod, "5"}}}});
  EXPECT_EQ(finish(*sm),
            std::string(kDiffHeads) +
                " 10     0000.0000.0001   mod=1                      Chip0               "
                "mcastId=4\n"
                "                                                                        mod=2\n"
                "                                                                        port=3\n"
                "\n"
                "                                                    Chip1               mod=5\n"
                "\n" +
                diffTotal(2));
}

TEST_F(MacCheck, EntryWithoutPropertiesHasAnEmptyCellAndAnEmptyObject) {
  auto sm = diff(kJson);
  addDiff(*sm, 10, 1, 1, {}, {{"Chip0", {{EntryProperty::kMod, "1"}}}});
  EXPECT_THAT(finish(*sm), HasSubstr(R"("swEntries":[{}],"hwEntries":{"Chip0":{"mod":1}})"));
  auto text = diff(kText);
  addDiff(*text, 10, 1, 1, {}, {{"Chip0", {{EntryProperty::kMod, "1"}}}});
  EXPECT_THAT(finish(*text),
              HasSubstr(" 10     0000.0000.0001                              Chip0"));
}

TEST_F(MacCheck, TotalCountsDifferencesNotEntries) {
  auto sm = diff(kText);
  addDiff(*sm, 10, 1, 2, {}, {});
  addDiff(*sm, 10, 2, 3, {}, {});
  EXPECT_THAT(finish(*sm), ::testing::EndsWith(diffTotal(5)));
  EXPECT_TRUE(traces->contains("total diff count 5"));
}

TEST_F(MacCheck, EmptyResultTablesReportTotalsOfZero) {
  auto sm = diff(kText);
  EXPECT_EQ(finish(*sm), kDiffHeads + diffTotal(0));
  auto json = diff(kJson);
  EXPECT_EQ(finish(*json), "{\"macTableDiffEntries\":[]}\n");
  auto gone = missing(kText);
  EXPECT_THAT(finish(*gone), ::testing::EndsWith("\nTotal entries missing in software:  0\n\n"
                                                 "Total entries missing in hardware:  0\n"));
}

TEST_F(MacCheck, MissingReportNamesModulesOneToARowAndCountsThem) {
  auto sm = missing(kText);
  addMissing(*sm, 10, 1, 0, true, {"A", "B"});
  addMissing(*sm, 20, 2, 3, false, {"B"});
  addMissing(*sm, 30, 3, 7, true, {});
  EXPECT_EQ(
      finish(*sm),
      "    Vlan           Mac Address                Present in SW?      Present in HW?"
      "           Missing in HW\n"
      "    -----------    -------------------------  ----------------    "
      "---------------------    ---------------------\n"
      "    10             0000.0000.0001             Y                                        "
      "    A\n"
      "                                                                                       "
      "    B\n"
      "    20             0000.0000.0002             N                   B\n"
      "    30             0000.0000.0003             Y\n"
      "\nTotal entries missing in software:  1\n\n"
      "Total entries missing in hardware:  2\n"
      "            A:  1\n"
      "            B:  1\n");
  EXPECT_EQ(sm->hwMissingCount(), 2u);
  EXPECT_EQ(sm->swMissingCount(), 1u);
}

TEST_F(MacCheck, MissingReportCountsEveryModuleOfEveryEntry) {
  auto sm = missing(kText);
  addMissing(*sm, 10, 1, 0, true, {"A", "B"});
  addMissing(*sm, 10, 2, 0, true, {"A"});
  addMissing(*sm, 10, 3, 0, true, {"A", "C"});
  addMissing(*sm, 10, 4, 0, false, {"A", "B"});
  addMissing(*sm, 10, 5, 0, false, {"B"});
  EXPECT_THAT(finish(*sm), ::testing::EndsWith("\nTotal entries missing in software:  3\n\n"
                                               "Total entries missing in hardware:  5\n"
                                               "            A:  3\n"
                                               "            B:  1\n"
                                               "            C:  1\n"));
}

TEST_F(MacCheck, DetailedMissingReportHasAColumnForKeyTypeAndIndex) {
  auto sm = missing(kText, "0,1", true);
  addMissing(*sm, 10, 1, 0, true, {"A", "B"}, 41);
  addMissing(*sm, 4094, 2, 3, false, {"B"}, 131071);
  EXPECT_EQ(finish(*sm),
            "    Vlan           Mac Address                  Key Type                   "
            "Present in SW?      Present in HW?           Missing in HW            HW Index\n"
            "    -----------    -------------------------    -------------------------  "
            "----------------    ---------------------    ---------------------    ----------\n"
            "    10             0000.0000.0001               bridge(0)                  "
            "Y                                            A                        41\n"
            "                                                                           "
            "                                             B\n"
            "    4094           0000.0000.0002               VFI(3)                     "
            "N                   B                                                 131071\n"
            "\nTotal entries missing in software:  1\n\n"
            "Total entries missing in hardware:  2\n"
            "            A:  1\n"
            "            B:  1\n");
}

TEST_F(MacCheck, KeyTypeAndIndexShowInDetailOnlyAndInJsonAlways) {
  auto text = missing(kText, "0,1", true);
  addMissing(*text, 10, 1, 3, true, {"A"}, 41);
  addMissing(*text, 10, 2, 7, true, {"A"}, 42);
  addMissing(*text, 10, 3, 0, true, {"A"}, 43);
  const std::string table = finish(*text);
  for (const char* cell :
       {"Key Type", "HW Index", "VFI(3)", "undefined(7)", "bridge(0)", " 41\n", " 42\n", " 43\n"}) {
    EXPECT_THAT(table, HasSubstr(cell));
  }
  for (const bool detail : {false, true}) {
    auto json = missing(kJson, "0,1", detail);
    addMissing(*json, 10, 1, 3, true, {"A", "B"}, 41);
    addMissing(*json, 11, 2, 0, false, {}, -1);
    EXPECT_EQ(finish(*json),
              R"~({"macTableMissingEntries":[{"vlan":10,"mac":"0000.0000.0001","inSw":true,)~"
              R"~("hwTblIndex":41,"keyType":"VFI(3)","modules":["A","B"]},)~"
              R"~({"vlan":11,"mac":"0000.0000.0002","inSw":false,"hwTblIndex":-1,)~"
              R"~("keyType":"bridge(0)","modules":[]}]})~"
              "\n");
  }
}

TEST_F(MacCheck, SliceWhoseTimeIsSpentAfterTheLastEntryPrintsFromItsBookmarkAgain) {
  auto sm = diff(kText);
  for (unsigned i = 1; i <= 3; ++i) addDiff(*sm, 10, i, 1, {{EntryProperty::kMod, "1"}}, {});
  sm->diffEntryTable()->readCompleteIs(true);
  clock->perReadingIs(60ms);  // every slice is over after its first row
  sm->runCommand();
  ASSERT_EQ(sm->bookmark(), macKey(10, 2));
  sm->runCommand();
  ASSERT_EQ(sm->bookmark(), macKey(10, 3));
  sm->runCommand();  // runs out right after the last entry
  EXPECT_FALSE(sm->executionCompleteFlag());
  EXPECT_EQ(sm->bookmark(), macKey(10, 3));
  clock->perReadingIs(0ms);
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag());
  const std::string row = " 10     0000.0000.000";
  EXPECT_EQ(reader->received, std::string(kDiffHeads) + row + "1   mod=1\n" + row + "2   mod=1\n" +
                                  row + "3   mod=1\n" + row + "3   mod=1\n" + diffTotal(4));
}

TEST_F(MacCheck, OneSliceForAllWhoseTimeIsSpentAfterTheLastEntryPrintsAllAgain) {
  auto sm = missing(kJson);
  addMissing(*sm, 10, 1, 0, true, {"A"});
  addMissing(*sm, 10, 2, 0, true, {"A"});
  sm->missingEntryTable()->readCompleteIs(true);
  clock->perReadingIs(30ms);
  sm->runCommand();
  EXPECT_FALSE(sm->executionCompleteFlag());
  EXPECT_EQ(sm->bookmark(), L2HwEntryKey());
  clock->perReadingIs(0ms);
  sm->runCommand();
  rapidjson::Document document;
  ASSERT_FALSE(document.Parse(reader->received.c_str()).HasParseError());
  EXPECT_EQ(document["macTableMissingEntries"].Size(), 4u);
  EXPECT_EQ(sm->hwMissingCount(), 4u);
}

TEST_F(MacCheck, ReportEndsThoughTheTimeOfEverySliceIsSpentAfterTheLastEntry) {
  auto sm = diff(kText);
  addDiff(*sm, 10, 1, 1, {}, {});
  sm->diffEntryTable()->readCompleteIs(true);
  clock->perReadingIs(60ms);
  EXPECT_EQ(runToCompletion(*sm), 2u);
  EXPECT_THAT(reader->received, ::testing::EndsWith(diffTotal(2)));
}

TEST_F(MacCheck, ReportIsTheSameAtEveryRowBudget) {
  const auto report = [&](std::uint32_t format, std::uint32_t budget) {
    auto sm = diff(format, "0,1", true);
    for (unsigned i = 0; i < 100; ++i) {
      addDiff(*sm, 1 + i % 3, i, 1 + i % 2, {{EntryProperty::kMod, std::to_string(i)}},
              {{"Chip0", {{EntryProperty::kPort, "1"}}}, {"Chip1", {}}});
    }
    rowBudgetIs(*sm, budget);
    return finish(*sm);
  };
  for (const auto format : {kText, kJson}) {
    const std::string whole = report(format, 0);
    for (std::uint32_t budget = 1; budget <= 101; ++budget) {
      EXPECT_EQ(report(format, budget), whole) << budget;
    }
  }
}

TEST_F(MacCheck, CompletionReleasesWhatTheReportNeeded) {
  auto sm = missing(kText);
  addMissing(*sm, 10, 1, 0, true, {"A"});
  finish(*sm);
  EXPECT_TRUE(sm->fap().empty());
  EXPECT_FALSE(sm->inProgress());
  EXPECT_TRUE(sm->executionCompleteFlag());
}

TEST_F(MacCheck, ModuleCountsAreSetAndRemovedByName) {
  auto sm = missing(kText);
  sm->moduleCountIs("A", 3);
  sm->moduleCountIs("B", 1);
  sm->moduleCountDel("A");
  EXPECT_EQ(sm->moduleCount().size(), 1u);
  sm->moduleCountDelAll();
  EXPECT_TRUE(sm->moduleCount().empty());
}

TEST_F(MacCheck, ReleasedChecksLeaveNoLiveInstance) {
  const auto live = [] {
    std::int64_t sum = 0;
    for (const char* name :
         {"L2MacDiffRequestSm", "L2MacMissingRequestSm", "DiffMacEntryTable",
          "MissingMacEntryTable", "DiffMacEntry", "MissingMacEntry", "EntryPropertyDir"}) {
      sum += Qel::liveInstances(name);
    }
    return sum;
  };
  helper->reader->requests.clear();
  const auto before = live();
  {
    auto sm = diff(kText);
    addDiff(*sm, 10, 1, 1, {{EntryProperty::kMod, "1"}}, {{"Chip0", {}}});
    auto other = missing(kText);
    addMissing(*other, 1, 1, 0, true, {"A"});
    EXPECT_GT(live(), before);
  }
  helper->reader->requests.clear();
  EXPECT_EQ(live(), before);
}

}  // namespace
}  // namespace KorvoL2::Testing
