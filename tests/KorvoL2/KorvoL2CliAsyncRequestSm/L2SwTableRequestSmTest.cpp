#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <chrono>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"
#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "tests/KorvoL2/RequestHarness.h"
#include "tests/support/KeyedCollectionTestAccess.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace std::chrono_literals;

class L2SwTableRequest : public RequestHarness {
 protected:
  Qel::Ptr<L2SwTableRequestSm> start(std::uint32_t format, std::uint32_t rowBudget = 0) {
    auto sm = l2SwTableRequestSmFactory("request-1", request(format), 50ms, clock, helper.get());
    sm->handleInitialized();
    rowBudgetIs(*sm, rowBudget);
    return sm;
  }
  std::string dump(std::uint32_t format, std::uint32_t rowBudget = 0) {
    runToCompletion(*start(format, rowBudget));
    return reader->received;
  }
  /** Entries of the two VLANs and interfaces that most tests need. */
  void fillFive() {
    putEntry(20, 0x2, "Port-Channel7");
    putEntry(10, 0x1);
    putEntry(10, 0x3);
    putEntry(20, 0x1);
    putEntry(10, 0x2, "Ethernet2");
  }
  static std::string rule() { return std::string(110, '-') + "\n"; }
  static std::string heads() {
    return rule() +
           "    vlan     mac address   interface   mcastId                    type      bitmap"
           "      source flags keyType\n" +
           rule();
  }
};

TEST_F(L2SwTableRequest, PrintsRulesHeadsRowsAndCountAsText) {
  fillFive();
  EXPECT_EQ(dump(kText), heads() +
                             "      10  0000.0000.0001   Ethernet1\n"
                             "      10  0000.0000.0002   Ethernet2\n"
                             "      10  0000.0000.0003   Ethernet1\n"
                             "      20  0000.0000.0001   Ethernet1\n"
                             "      20  0000.0000.0002Port-Channel7\n" +
                             rule() + "Number of entries : 5\n");
}

TEST_F(L2SwTableRequest, PrintsOneDocumentAsJson) {
  putEntry(10, 0x1);
  putEntry(4094, 0xffffffffffff, "Port-Channel7");
  EXPECT_EQ(dump(kJson),
            R"({"macTableEntries":[{"vlan":10,"mac":"0000.0000.0001","interface":"Ethernet1"},)"
            R"({"vlan":4094,"mac":"ffff.ffff.ffff","interface":"Port-Channel7"}],"numEntries":2})"
            "\n");
}

TEST_F(L2SwTableRequest, EmptyTablePrintsHeadsAndCountZeroInOneSlice) {
  auto sm = start(kText);
  EXPECT_EQ(runToCompletion(*sm), 1u);
  EXPECT_EQ(reader->received, heads() + rule() + "Number of entries : 0\n");
  EXPECT_THAT(traces->messages(), ElementsAre("socket:7, format:1", "Execution Completed", ""));
}

TEST_F(L2SwTableRequest, EmptyTableIsAnEmptyListInJson) {
  EXPECT_EQ(dump(kJson), "{\"macTableEntries\":[],\"numEntries\":0}\n");
}

TEST_F(L2SwTableRequest, ShadowWithoutCollectionCountsZero) {
  helper->shadow->hasCollection = false;
  EXPECT_EQ(dump(kJson), "{\"macTableEntries\":[],\"numEntries\":0}\n");
}

TEST_F(L2SwTableRequest, UnprintableEntriesPrintNothingNeverYieldAndAreCounted) {
  for (unsigned i = 0; i < 1000; ++i) putEntry(1, i, "Ethernet1", false);
  auto sm = start(kText, 1);
  EXPECT_EQ(runToCompletion(*sm), 1u);
  EXPECT_EQ(sm->rows(), 0u);
  EXPECT_FALSE(traces->contains("Yielding Cpu"));
  EXPECT_EQ(reader->received, heads() + rule() + "Number of entries : 1000\n");
}

TEST_F(L2SwTableRequest, SkipsUnprintableEntriesBetweenOthers) {
  putEntry(1, 1);
  putEntry(1, 2, "Ethernet1", false);
  putEntry(1, 3);
  const std::string text = dump(kText, 1);
  EXPECT_THAT(text, HasSubstr("0000.0000.0001"));
  EXPECT_THAT(text, ::testing::Not(HasSubstr("0000.0000.0002")));
  EXPECT_THAT(text, HasSubstr("0000.0000.0003"));
  EXPECT_THAT(text, HasSubstr("Number of entries : 3\n"));
}

TEST_F(L2SwTableRequest, EntryUnderBookmarkDeletedBetweenSlicesResumesAtTheNext) {
  fillFive();
  auto sm = start(kJson, 2);
  sm->runCommand();
  ASSERT_EQ(sm->bookmark(), macKey(10, 3));
  ASSERT_TRUE(eraseEntry(10, 3));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            R"({"macTableEntries":[{"vlan":10,"mac":"0000.0000.0001","interface":"Ethernet1"},)"
            R"({"vlan":10,"mac":"0000.0000.0002","interface":"Ethernet2"},)"
            R"({"vlan":20,"mac":"0000.0000.0001","interface":"Ethernet1"},)"
            R"({"vlan":20,"mac":"0000.0000.0002","interface":"Port-Channel7"}],"numEntries":4})"
            "\n");
}

TEST_F(L2SwTableRequest, AllEntriesAheadDeletedBetweenSlicesCompletes) {
  fillFive();
  auto sm = start(kText, 4);
  sm->runCommand();
  ASSERT_FALSE(sm->executionCompleteFlag());
  ASSERT_TRUE(eraseEntry(20, 2));
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_THAT(reader->received, ::testing::EndsWith("Number of entries : 4\n"));
}

TEST_F(L2SwTableRequest, YieldAfterTheLastEntryCompletesInTheSameCall) {
  fillFive();
  auto sm = start(kText, 5);
  EXPECT_EQ(runToCompletion(*sm), 1u);
  EXPECT_TRUE(traces->contains("Yielding Cpu"));
  EXPECT_TRUE(traces->contains("Execution Completed"));
}

TEST_F(L2SwTableRequest, YieldsWhenTheSliceHasRunLongerThanItsBudget) {
  fillFive();
  auto sm = start(kText);
  helper->shadow->onPrint = [&](const Bridging::MacVlanPair&) { clock->advance(30ms); };
  EXPECT_EQ(runToCompletion(*sm), 3u);  // two rows make 60 ms
  EXPECT_EQ(traces->count("Yielding Cpu"), 2u);
}

TEST_F(L2SwTableRequest, EverySliceMakesProgressWhateverTheClockDoes) {
  fillFive();
  for (const auto step : {0ms, 1000000ms, -1000000ms}) {
    clock->perReadingIs(step);
    auto sm = start(kText);
    EXPECT_LE(runToCompletion(*sm), 5u) << step.count();
    EXPECT_EQ(sm->rows(), 5u);
  }
}

TEST_F(L2SwTableRequest, OutputIsTheSameAtEverySliceBudget) {
  for (unsigned i = 0; i < 300; ++i)
    putEntry(1 + i % 7, std::uint64_t{7919} * i, "Ethernet1", i % 5 != 0);
  for (const auto format : {kText, kJson}) {
    const std::string whole = dump(format);
    for (const std::uint32_t budget : {1u, 2u, 3u, 7u, 100u, 239u, 240u, 241u}) {
      EXPECT_EQ(dump(format, budget), whole) << "rows per slice: " << budget;
    }
  }
}

TEST_F(L2SwTableRequest, SliceEndsWithinOneRowOnceTheReaderTakesNoMore) {
  for (unsigned i = 0; i < 5000; ++i) putEntry(1, i);
  auto sm = start(kText);
  reader->appetite = 3000;
  sm->runCommand();
  EXPECT_EQ(reader->received.size(), 3000u);
  // What was gathered for the send that came back short, and no row more.
  EXPECT_LE(sm->renderer().buffer().pending(), 1024u + 40u);
  EXPECT_FALSE(sm->executionCompleteFlag());
}

TEST_F(L2SwTableRequest, SliceEndsWhenItsOutputWindowIsFull) {
  for (unsigned i = 0; i < 5000; ++i) putEntry(1, i);
  auto sm = start(kText);
  sm->slicePolicyIs({.outputWindow = 10'000});
  sm->runCommand();
  EXPECT_GE(reader->received.size(), 10'000u);
  EXPECT_LE(reader->received.size(), 10'000u + 40u);
}

TEST_F(L2SwTableRequest, WalkEndsThoughEntriesAreAddedAheadOfItFasterThanItPrints) {
  for (unsigned i = 0; i < 10; ++i) putEntry(1, std::uint64_t{1000} * i);
  std::uint64_t next = 1;
  auto sm = start(kText, 1);
  runToCompletion(*sm, [&] {
    if (next < 20'000) {
      putEntry(1, 8000 + next++);
      putEntry(1, 8000 + next++);
    }
  });
  EXPECT_LT(next, 20'000u) << "it was fed to its end";
  for (unsigned i = 0; i < 10; ++i) {
    EXPECT_THAT(reader->received, HasSubstr(macKey(1, std::uint64_t{1000} * i).mac().stringValue()))
        << i;
  }
}

TEST_F(L2SwTableRequest, AnEntryThatWentAndCameBackAheadOfTheWalkIsPrintedAndCounted) {
  for (const unsigned mac : {10u, 20u, 30u}) putEntry(1, mac);
  auto sm = start(kText, 1);
  sm->runCommand();
  for (const unsigned mac : {22u, 24u}) putEntry(1, mac);
  ASSERT_TRUE(eraseEntry(1, 30));
  putEntry(1, 30);
  runToCompletion(*sm);
  EXPECT_EQ(sm->rows(), 5u);
  EXPECT_THAT(reader->received, HasSubstr(macKey(1, 30).mac().stringValue()));
  EXPECT_THAT(reader->received, ::testing::EndsWith("Number of entries : 5\n"));
}

TEST_F(L2SwTableRequest, CountIsTheTablesSizeAtCompletionNotTheRowsPrinted) {
  fillFive();
  auto sm = start(kText, 3);
  sm->runCommand();
  putEntry(1, 1);  // behind the walk
  runToCompletion(*sm);
  EXPECT_EQ(sm->rows(), 5u);
  EXPECT_THAT(reader->received, ::testing::EndsWith("Number of entries : 6\n"));
}

TEST_F(L2SwTableRequest, CorruptionGoesToTheTablesHandlerAndTheDumpEndsWithItsTrailer) {
  for (unsigned i = 0; i < 1000; ++i) putEntry(1, i);
  std::vector<std::string> reports;
  helper->shadow->entries.corruptionHandlerIs(
      [&](std::string_view message) { reports.emplace_back(message); });
  Qel::KeyedCollectionTestAccess::loseMark(helper->shadow->entries, 2);
  for (const auto format : {kText, kJson}) {
    reports.clear();
    auto sm = start(format, 50);
    runToCompletion(*sm);
    EXPECT_THAT(reports, ElementsAre("keyed collection is damaged: a chunk has lost its mark"));
    EXPECT_GT(sm->rows(), 0u);
    EXPECT_LT(sm->rows(), 1000u);
    if (format == kJson) {
      rapidjson::Document document;
      document.Parse(reader->received.c_str());
      ASSERT_FALSE(document.HasParseError());
      EXPECT_EQ(document["macTableEntries"].Size(), sm->rows());
      EXPECT_EQ(document["numEntries"].GetUint(), 1000u);
    } else {
      EXPECT_THAT(reader->received, ::testing::EndsWith("Number of entries : 1000\n"));
    }
  }
}

TEST_F(L2SwTableRequest, CorruptionThatARowFindsElsewhereIsNotTheWalkedTables) {
  fillFive();
  bool blamed = false;
  helper->shadow->entries.corruptionHandlerIs([&](std::string_view) { blamed = true; });
  helper->shadow->onPrint = [](const Bridging::MacVlanPair&) {
    throw Qel::CorruptionException("another table is damaged");
  };
  auto sm = start(kText);
  EXPECT_THROW(sm->runCommand(), Qel::CorruptionException);
  EXPECT_FALSE(blamed);
  EXPECT_FALSE(sm->executionCompleteFlag());
}

TEST_F(L2SwTableRequest, OtherExceptionsPassOnAndTheShadowIsReleased) {
  fillFive();
  auto sm = start(kText);
  const auto users = helper->shadow->users();
  const auto helperUsers = helper->users();
  helper->shadow->onPrint = [](const Bridging::MacVlanPair&) {
    throw std::runtime_error("printer on fire");
  };
  EXPECT_THROW(sm->runCommand(), std::runtime_error);
  EXPECT_EQ(helper->shadow->users(), users);
  EXPECT_EQ(helper->users(), helperUsers);
}

TEST_F(L2SwTableRequest, ReleasedMachineLeavesNoLiveInstance) {
  const auto before = Qel::liveInstances("L2SwTableRequestSm");
  {
    auto sm = start(kText, 1);
    fillFive();
    sm->runCommand();
    EXPECT_EQ(Qel::liveInstances("L2SwTableRequestSm"), before + 1);
  }
  EXPECT_EQ(Qel::liveInstances("L2SwTableRequestSm"), before);
}

TEST_F(L2SwTableRequest, ConstructorThatThrowsReleasesItsMemory) {
  const auto before = Qel::liveInstances("L2SwTableRequestSm");
  EXPECT_THROW(L2SwTableRequestSmIs("request-1", request(kText), 50ms, clock, nullptr),
               Qel::AssertionException);
  EXPECT_EQ(Qel::liveInstances("L2SwTableRequestSm"), before);
}

TEST_F(L2SwTableRequest, StateGoesFromCreatedToInProgressToComplete) {
  fillFive();
  auto sm = l2SwTableRequestSmFactory("the-name", request(kText), 50ms, clock, helper.get());
  EXPECT_EQ(sm->name(), "the-name");
  EXPECT_TRUE(sm->hasNotificationActive());
  EXPECT_FALSE(sm->initialized());
  sm->handleInitialized();
  EXPECT_TRUE(sm->initialized());
  EXPECT_FALSE(sm->inProgress());
  EXPECT_TRUE(sm->printHeader());
  EXPECT_EQ(sm->bookmark(), Bridging::MacVlanPair());
  rowBudgetIs(*sm, 3);
  sm->runCommand();
  EXPECT_TRUE(sm->inProgress());
  EXPECT_FALSE(sm->printHeader());
  EXPECT_EQ(sm->bookmark(), macKey(20, 1));
  sm->runCommand();
  EXPECT_FALSE(sm->inProgress());
  EXPECT_TRUE(sm->executionCompleteFlag());
}

TEST_F(L2SwTableRequest, CalledAgainAfterCompletionWouldWriteThePreambleAgain) {
  auto sm = start(kJson);
  runToCompletion(*sm);
  EXPECT_THROW(sm->runCommand(), Qel::AssertionException);  // which is why the platform refuses
  const std::string before = reader->received;
  sm->handleAsyncCommand(7, kJson);
  EXPECT_THAT(reader->received.substr(before.size()), StartsWith(",{\"macTableEntries\":["));
}

TEST_F(L2SwTableRequest, BaseMachineHasNoWalk) {
  auto base = l2SwTableRequestSmBaseFactory("base", request(kText), 50ms, clock);
  base->handleInitialized();
  EXPECT_TRUE(base->initialized());
  try {
    base->showMacTableAll();
    FAIL() << "the base has no table";
  } catch (const Qel::NoImplementationException& e) {
    EXPECT_STREQ(e.what(), "not implemented in base-class");
  }
  EXPECT_THROW(base->runCommand(), Qel::NoImplementationException);
}

TEST_F(L2SwTableRequest, SliceTracesSocketAndFormatThenYieldThenCompletion) {
  putEntry(1, 1);
  putEntry(1, 2);
  runToCompletion(*start(kJson, 1));
  EXPECT_THAT(traces->messages(),
              ElementsAre("socket:7, format:2", "Yielding Cpu", "socket:7, format:2",
                          "Yielding Cpu", "Execution Completed", ""));
  for (const auto& line : traces->lines()) EXPECT_EQ(line.level, 8);
}

}  // namespace
}  // namespace KorvoL2::Testing
