#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <chrono>
#include <stdexcept>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2HwTableRequestSm.h"
#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "platform/command/CommandArgument.h"
#include "tests/KorvoL2/RequestHarness.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

class L2HwTableRequest : public RequestHarness {
 protected:
  L2HwTableRequest() {
    addChip(*helper, 0, "Chip0");
    addChip(*helper, 1, "Chip1");
    addChip(*helper, 5, "Chip5");
  }
  Qel::Ptr<L2HwTableRequestSm> start(std::uint32_t format, const std::string& chips,
                                     bool detail = false, std::uint32_t rowBudget = 0) {
    auto sm = l2HwTableRequestSmFactory("request-1", request(format), 50ms, clock, chips, detail,
                                        helper.get(), mcastHelper.get());
    sm->handleInitialized();
    rowBudgetIs(*sm, rowBudget);
    return sm;
  }
  std::string dump(std::uint32_t format, const std::string& chips, bool detail = false,
                   std::uint32_t rowBudget = 0) {
    runToCompletion(*start(format, chips, detail, rowBudget));
    return reader->received;
  }
  static std::string rule(std::size_t length) { return std::string(length, '-') + "\n"; }
  static std::string shortHead(const std::string& chip) {
    return "\n" + rule(70) + "         Switch " + chip + " Mac Table\n" + rule(70) +
           "Vlan Mac Address       Type     McastGroupId ClassId Port             \n"
           "---- ----------------- -------- ------------ ------- -----------------\n";
  }
};

TEST_F(L2HwTableRequest, PrintsASectionForEachChipAsText) {
  putEntry(10, 1);
  putEntry(4094, 2, "Port-Channel7");
  const std::string rows =
      "  10 0000.0000.0001    dynamic  -            0       Ethernet1        \n"
      "4094 0000.0000.0002    dynamic  -            0       Port-Channel7    \n";
  EXPECT_EQ(dump(kText, "0,5"),
            shortHead("Chip0") + rows + rule(70) + shortHead("Chip5") + rows + rule(70));
  EXPECT_EQ(helper->shadow->lastMcastHelper, mcastHelper.get());
}

TEST_F(L2HwTableRequest, PrintsAColumnTableForEachChipInDetail) {
  putEntry(10, 1);
  putEntry(4094, 2, "Port-Channel7");
  const std::string text = dump(kText, "1", true);
  const std::string expectedHead =
      "\n" + rule(119) + std::string(59 - 22 / 2, ' ') + "Switch Chip1 Mac Table\n" + rule(119);
  ASSERT_EQ(text.substr(0, expectedHead.size()), expectedHead);
  const std::string table = text.substr(expectedHead.size());
  EXPECT_EQ(table,
            " Vlan   Mac Address         Type             McastGroupId      ClassId        Port"
            "                      HW Index\n"
            " ------ ----------------    ---------------  ----------------  -----------    "
            "------------------------  ----------\n"
            " 10     0000.0000.0001      dynamic          -                 0              "
            "Ethernet1                 1010\n"
            " 4094   0000.0000.0002      dynamic          -                 0              "
            "Port-Channel7             5094\n"
            "\n");
}

TEST_F(L2HwTableRequest, PrintsAnObjectForEachChipAsJson) {
  putEntry(10, 1);
  putEntry(11, 2);
  const std::string rows =
      R"({"macTableEntries":[{"vlan":10,"mac":"0000.0000.0001"},{"vlan":11,"mac":"0000.0000.0002"}]})";
  for (const bool detail : {false, true}) {
    std::string expected = R"({"chips":{"Chip0":)";
    expected.append(rows).append(R"(,"Chip1":)").append(rows).append("}}\n");
    EXPECT_EQ(dump(kJson, "0,1", detail), expected);
  }
}

TEST_F(L2HwTableRequest, EmptyChipListCompletesAtOnce) {
  putEntry(10, 1);
  EXPECT_EQ(dump(kJson, ""), "{\"chips\":{}}\n");
  EXPECT_TRUE(traces->contains("Execution Completed"));
  EXPECT_EQ(dump(kText, ""), "");
}

TEST_F(L2HwTableRequest, ChipNamedTwiceIsDumpedOnceAndChipsComeInAscendingOrder) {
  putEntry(10, 1);
  const std::string sorted = dump(kJson, "0,1,5");
  EXPECT_EQ(dump(kJson, "5,1,0,1,5,5"), sorted);
}

TEST_F(L2HwTableRequest, UnknownChipBetweenKnownOnesIsSkippedWithATrace) {
  putEntry(10, 1);
  const std::string known = dump(kJson, "0,5");
  traces->clear();
  EXPECT_EQ(dump(kJson, "0,3,5"), known);
  EXPECT_EQ(traces->count("skipping fapId 3"), 1u);
}

TEST_F(L2HwTableRequest, YieldOnTheLastEntryOfAChipClosesItsSectionInTheSameSlice) {
  putEntry(10, 1);
  putEntry(10, 2);
  auto sm = start(kJson, "0,1", false, 2);
  sm->runCommand();
  EXPECT_EQ(reader->received, R"({"chips":{"Chip0":{"macTableEntries":[)"
                              R"({"vlan":10,"mac":"0000.0000.0001"},)"
                              R"({"vlan":10,"mac":"0000.0000.0002"}]})");
  EXPECT_FALSE(sm->chipInProgress());
  EXPECT_EQ(sm->fapBookmark(), 1u);
  sm->runCommand();
  EXPECT_FALSE(sm->executionCompleteFlag());
  EXPECT_THAT(reader->received, HasSubstr(R"(,"Chip1":{"macTableEntries":[)"));
  sm->runCommand();  // past the last chip: nothing but the end
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_THAT(reader->received, ::testing::EndsWith("]}}}\n"));
}

TEST_F(L2HwTableRequest, OutputIsTheSameAtEverySliceBudget) {
  for (unsigned i = 0; i < 100; ++i) putEntry(1 + i % 7, std::uint64_t{7919} * i);
  for (const auto format : {kText, kJson}) {
    for (const bool detail : {false, true}) {
      const std::string whole = dump(format, "0,1,5", detail);
      for (const std::uint32_t budget : {1u, 2u, 3u, 99u, 100u, 101u}) {
        EXPECT_EQ(dump(format, "0,1,5", detail, budget), whole) << budget;
      }
    }
  }
}

TEST_F(L2HwTableRequest, EmptyTableHasEmptySections) {
  EXPECT_EQ(dump(kJson, "0"), "{\"chips\":{\"Chip0\":{\"macTableEntries\":[]}}}\n");
  EXPECT_EQ(dump(kText, "0"), shortHead("Chip0") + rule(70));
}

TEST_F(L2HwTableRequest, UnprintableEntriesAreNotSkipped) {
  putEntry(10, 1, "Ethernet1", false);
  EXPECT_THAT(dump(kJson, "0"), HasSubstr("0000.0000.0001"));
}

TEST_F(L2HwTableRequest, EntryUnderBookmarkDeletedBetweenSlicesResumesAtTheNext) {
  for (unsigned i = 1; i <= 4; ++i) putEntry(10, i);
  auto sm = start(kJson, "0", false, 2);
  sm->runCommand();
  ASSERT_EQ(sm->bookmark(), macKey(10, 3));
  eraseEntry(10, 3);
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, Not(HasSubstr("0000.0000.0003")));
  EXPECT_THAT(reader->received, HasSubstr("0000.0000.0004"));
}

TEST_F(L2HwTableRequest, ChipsAddedAndRemovedBetweenSlicesAreFollowed) {
  for (unsigned i = 1; i <= 4; ++i) putEntry(10, i);
  auto sm = start(kJson, "0,5", false, 2);
  sm->runCommand();
  sm->fapIs(1);
  sm->fapDel(5);
  sm->runCommand();
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, HasSubstr("\"Chip1\""));
  EXPECT_THAT(reader->received, Not(HasSubstr("\"Chip5\"")));
  rapidjson::Document document;
  ASSERT_FALSE(document.Parse(reader->received.c_str()).HasParseError());
}

TEST_F(L2HwTableRequest, ChipRemovedFromTheListWhileItIsDumpedHasItsSectionClosed) {
  for (unsigned i = 1; i <= 4; ++i) putEntry(10, i);
  auto sm = start(kJson, "0,1", false, 2);
  sm->runCommand();
  sm->fapDel(0);
  runToCompletion(*sm);
  rapidjson::Document document;
  ASSERT_FALSE(document.Parse(reader->received.c_str()).HasParseError()) << reader->received;
  EXPECT_EQ(document["chips"]["Chip0"]["macTableEntries"].Size(), 2u);
  EXPECT_EQ(document["chips"]["Chip1"]["macTableEntries"].Size(), 4u);
}

TEST_F(L2HwTableRequest, LastChipRemovedFromTheListWhileItIsDumpedHasItsSectionClosed) {
  for (const bool detail : {false, true}) {
    for (const auto format : {kText, kJson}) {
      helper->shadow->entries.clear();
      putEntry(10, 1);
      const std::string wholeChip = dump(format, "0", detail);
      putEntry(10, 2);
      auto sm = start(format, "0", detail, 1);
      sm->runCommand();
      sm->fapDel(0);
      EXPECT_EQ(runToCompletion(*sm), 2U);
      EXPECT_EQ(reader->received, wholeChip) << "as if the chip had ended there";
      EXPECT_FALSE(sm->chipInProgress());
    }
  }
}

TEST_F(L2HwTableRequest, PieceThatIsNoNumberThrowsWhatTheConversionThrows) {
  for (const char* list : {"x", "0,,1", "0, ,1", ",", "0,x"}) {
    auto sm = start(kText, list);
    try {
      sm->runCommand();
      FAIL() << list;
    } catch (const std::invalid_argument& e) {
      EXPECT_STREQ(e.what(), "stoi") << list;
      EXPECT_EQ(AgentCommand::messageOf(e), "chip list \"" + std::string(list) + "\": stoi");
    }
  }
  auto sm = start(kText, "4294967296");
  EXPECT_THROW(sm->runCommand(), std::out_of_range);
}

TEST_F(L2HwTableRequest, LenientPiecesAreReadAsTheConversionReadsThem) {
  putEntry(10, 1);
  const std::string two = dump(kJson, "0,1");
  EXPECT_EQ(dump(kJson, " 0,+1x,"), two);
}

TEST_F(L2HwTableRequest, ChipNumberAboveTheNullIdFailsTheRangeCheck) {
  for (const char* list : {"129", "300", "-1", "0,129"}) {
    auto sm = start(kText, list);
    try {
      sm->runCommand();
      FAIL() << list;
    } catch (const Qel::RangeException& e) {
      EXPECT_STREQ(
          e.what(),
          "Tessar::FapId::value < Tessar::FapId::min or > Tessar::FapId::null not allowed");
      EXPECT_EQ(AgentCommand::messageOf(e), "chip list \"" + std::string(list) + "\": " + e.what());
    }
  }
  traces->clear();
  EXPECT_EQ(dump(kJson, "128"), "{\"chips\":{}}\n");
  EXPECT_TRUE(traces->contains("skipping fapId 128"));
}

TEST_F(L2HwTableRequest, HundredThousandPiecesAreReadOnce) {
  std::string list = "0";
  for (unsigned i = 0; i < 100'000; ++i) list += ",0";
  EXPECT_EQ(dump(kJson, list), dump(kJson, "0"));
}

TEST_F(L2HwTableRequest, TableRendererAndChipListGoAtCompletion) {
  putEntry(10, 1);
  auto sm = start(kText, "0", true);
  runToCompletion(*sm);
  EXPECT_TRUE(sm->fapIdList().empty());
  EXPECT_FALSE(sm->ready());
}

TEST_F(L2HwTableRequest, LongChipNameKeepsItsTitle) {
  addChip(*helper, 7, std::string(130, 'x').c_str());
  EXPECT_THAT(dump(kText, "7", true), HasSubstr("\nSwitch " + std::string(130, 'x')));
}

TEST_F(L2HwTableRequest, BaseMachineHasNoWalk) {
  auto base = l2HwTableRequestSmBaseFactory("base", request(kText), 50ms, clock, "0", true);
  base->handleInitialized();
  EXPECT_TRUE(base->initialized());
  EXPECT_TRUE(base->detail());
  try {
    base->showMacTableHw();
    FAIL();
  } catch (const Qel::NoImplementationException& e) {
    EXPECT_STREQ(e.what(), "not implemented in base-class");
  }
}

TEST_F(L2HwTableRequest, ReleasedMachineLeavesNoLiveInstance) {
  const auto before = Qel::liveInstances("L2HwTableRequestSm");
  {
    putEntry(10, 1);
    putEntry(10, 2);
    auto sm = start(kText, "0", true, 1);
    sm->runCommand();
    EXPECT_EQ(Qel::liveInstances("L2HwTableRequestSm"), before + 1);
  }
  EXPECT_EQ(Qel::liveInstances("L2HwTableRequestSm"), before);
}

}  // namespace
}  // namespace KorvoL2::Testing
