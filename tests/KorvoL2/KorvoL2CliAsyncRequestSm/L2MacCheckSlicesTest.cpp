// Where the reports of the consistency checks are cut into slices, and what comes out: the same
// bytes at every cut, but for one. If a slice's time is spent right after the last entry, the next
// slice prints from the bookmark again, once.
#include <gmock/gmock.h>

#include <chrono>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "tests/KorvoL2/MacCheckHarness.h"

namespace KorvoL2::Testing {
namespace {

using namespace std::chrono_literals;
using AgentCommand::AgentAsyncCommandRequestSm;
using AgentCommand::SlicePolicy;

struct Report {
  const char* name;
  bool differences;  // or missing entries
  std::uint32_t format;

  friend std::ostream& operator<<(std::ostream& out, const Report& report) {
    return out << report.name;
  }
};

constexpr Report kReports[] = {{"DifferencesInText", true, Rendering::kText},
                               {"DifferencesInJson", true, Rendering::kJson},
                               {"MissingInText", false, Rendering::kText},
                               {"MissingInJson", false, Rendering::kJson}};

class MacCheckSlices : public MacCheck, public ::testing::WithParamInterface<Report> {
 protected:
  static constexpr std::size_t kNoWindow = std::size_t{1} << 40;

  MacCheckSlices() { Qel::traceHandle("KorvoL2CliCallbacks").levelIs(0); }

  static bool isJson() { return GetParam().format == Rendering::kJson; }

  /** A check whose reads are complete and found `entries` entries, each on one chip. */
  Qel::Ptr<AgentAsyncCommandRequestSm> check(unsigned entries) {
    constexpr std::uint64_t kFirstMac = 0x0200'0000'0000;
    helper->reader->requests.clear();
    if (GetParam().differences) {
      const auto sm = diff(GetParam().format);
      for (unsigned i = 0; i < entries; ++i) {
        addDiff(*sm, 10, kFirstMac + i, 1,
                {{EntryProperty::kMod, "0"}, {EntryProperty::kPort, "3"}},
                {{"Linecard3/0", {{EntryProperty::kMod, "0"}, {EntryProperty::kPort, "12"}}}});
      }
      sm->diffEntryTable()->readCompleteIs(true);
      return sm;
    }
    const auto sm = missing(GetParam().format);
    for (unsigned i = 0; i < entries; ++i) {
      addMissing(*sm, 10, kFirstMac + i, 0, true, {"Linecard3/0"});
    }
    sm->missingEntryTable()->readCompleteIs(true);
    return sm;
  }

  /** What closes a report whose totals say `count`. */
  static std::string trailer(unsigned count) {
    if (isJson()) return "]}\n";
    if (GetParam().differences) return diffTotal(count);
    const std::string number = std::to_string(count);
    return "\nTotal entries missing in software:  0\n\nTotal entries missing in hardware:  " +
           number + "\n" + (count == 0 ? "" : "            Linecard3/0:  " + number + "\n");
  }
  std::string inOneSlice(unsigned entries) {
    const auto sm = check(entries);
    sm->slicePolicyIs({.outputWindow = kNoWindow});
    EXPECT_EQ(runToCompletion(*sm), 1U);
    return reader->received;
  }
  /** What stands before the trailer. */
  std::string upToTrailer(unsigned entries) {
    const std::string whole = inOneSlice(entries);
    EXPECT_THAT(whole, ::testing::EndsWith(trailer(entries)));
    return whole.substr(0, whole.size() - trailer(entries).size());
  }
  /** The report of `entries`, of which the last `again` stand there twice. */
  std::string withRepeatedEnd(unsigned entries, unsigned again) {
    const std::string all = upToTrailer(entries);
    std::string repeated = all.substr(upToTrailer(entries - again).size());
    if (isJson() && !repeated.starts_with(",")) repeated.insert(0, ",");
    return all + repeated + trailer(entries + again);
  }

  /** The clock's step at which a slice's time is spent after `rows` rows, and not before. */
  static Qel::Duration stepSpentAfter(unsigned rows) {
    return rows == 1 ? kBudget + 1ns : kBudget / (rows - 1);
  }
};

INSTANTIATE_TEST_SUITE_P(Reports, MacCheckSlices, ::testing::ValuesIn(kReports),
                         [](const auto& report) { return std::string(report.param.name); });

TEST_P(MacCheckSlices, EverySizeAroundAFullWindowHasItsOwnTotals) {
  const auto large = check(7000);
  large->slicePolicyIs({});
  std::vector<unsigned> rowsOfFullWindows;
  for (int window = 0; window < 2; ++window) {
    large->runCommand();
    rowsOfFullWindows.push_back(static_cast<unsigned>(large->rows()));
  }
  ASSERT_FALSE(large->executionCompleteFlag());
  constexpr unsigned kAround = 6;
  for (std::uint64_t windows = 1; const unsigned full : rowsOfFullWindows) {
    for (unsigned entries = full - kAround; entries <= full + kAround; ++entries) {
      const std::string whole = inOneSlice(entries);
      const auto sm = check(entries);
      sm->slicePolicyIs({});
      // The last row that fills a window ends its slice, and the report if nothing is behind it.
      EXPECT_EQ(runToCompletion(*sm), windows + (entries > full ? 1 : 0)) << entries;
      EXPECT_EQ(sm->rows(), entries);
      ASSERT_TRUE(reader->received == whole) << entries << " entries";
      ASSERT_THAT(whole, ::testing::EndsWith(trailer(entries)));
    }
    ++windows;
  }
}

TEST_P(MacCheckSlices, EveryRowBudgetGivesTheSameReport) {
  for (unsigned entries = 0; entries <= 6; ++entries) {
    const std::string whole = inOneSlice(entries);
    for (std::uint32_t budget = 1; budget <= entries + 1; ++budget) {
      const auto sm = check(entries);
      rowBudgetIs(*sm, budget);
      runToCompletion(*sm);
      EXPECT_EQ(reader->received, whole) << budget << " rows a slice";
    }
  }
}

TEST_P(MacCheckSlices, AReaderThatStopsGetsTheSameReportOnceItReads) {
  constexpr auto kAll = std::numeric_limits<std::size_t>::max();
  for (unsigned entries = 1; entries <= 24; ++entries) {
    const std::string whole = inOneSlice(entries);
    for (const std::size_t appetite : {0U, 1U, 700U, 1023U, 1024U, 1500U, 2048U}) {
      const auto sm = check(entries);
      reader->appetite = appetite;
      // Driven on though nothing drains: every row from the one that blocks on ends a slice.
      runToCompletion(*sm);
      reader->appetite = kAll;
      sm->renderer().buffer().flush();
      EXPECT_EQ(reader->received, whole) << entries << " entries, " << appetite << " bytes read";
    }
  }
}

TEST_P(MacCheckSlices, AReaderThatReadsSlowlyGetsTheSameReport) {
  for (unsigned entries = 10; entries <= 24; ++entries) {
    const std::string whole = inOneSlice(entries);
    for (const std::size_t appetite : {100U, 333U, 1025U}) {
      const auto sm = check(entries);
      while (!sm->executionCompleteFlag()) {
        reader->appetite = appetite;
        if (sm->renderer().buffer().flush()) sm->runCommand();
      }
      reader->appetite = std::numeric_limits<std::size_t>::max();
      sm->renderer().buffer().flush();
      EXPECT_EQ(reader->received, whole) << entries << " entries, " << appetite << " bytes a time";
    }
  }
}

TEST_P(MacCheckSlices, TimeSpentAtTheLastEntryRepeatsTheSliceOnce) {
  Qel::traceHandle("KorvoL2CliCallbacks").levelIs(8);
  for (unsigned entries = 1; entries <= 6; ++entries) {
    const std::string expected = withRepeatedEnd(entries, entries);
    const auto sm = check(entries);
    clock->perReadingIs(stepSpentAfter(entries));
    traces->clear();
    sm->runCommand();
    EXPECT_FALSE(sm->executionCompleteFlag());
    EXPECT_EQ(traces->count("Yielding Cpu"), 1U);
    // The time of every later slice is spent there, too.
    EXPECT_EQ(runToCompletion(*sm), 2U);
    EXPECT_EQ(reader->received, expected);
    clock->perReadingIs(0ms);
  }
}

TEST_P(MacCheckSlices, TimeThatIsSpentAtTheLastEntryOfALaterSliceRepeatsThatSlice) {
  const std::string expected = withRepeatedEnd(5, 2);
  const auto sm = check(5);
  rowBudgetIs(*sm, 3);
  sm->runCommand();
  clock->perReadingIs(stepSpentAfter(2));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, expected);
}

TEST_P(MacCheckSlices, TimeHoldsWhereEverythingElseIsUsedUpAsWell) {
  constexpr unsigned kEntries = 12;
  const std::string expected = withRepeatedEnd(kEntries, kEntries);
  const std::size_t filled = upToTrailer(kEntries).size();
  for (const SlicePolicy& policy : {SlicePolicy{.outputWindow = filled},
                                    SlicePolicy{.outputWindow = kNoWindow, .rowBudget = kEntries},
                                    SlicePolicy{.outputWindow = filled, .rowBudget = kEntries}}) {
    const auto sm = check(kEntries);
    sm->slicePolicyIs(policy);
    clock->perReadingIs(stepSpentAfter(kEntries));
    sm->runCommand();
    EXPECT_FALSE(sm->executionCompleteFlag());
    clock->perReadingIs(0ms);
    runToCompletion(*sm);
    EXPECT_EQ(reader->received, expected);
  }
}

TEST_P(MacCheckSlices, TimeThatIsNotSpentAtTheLastEntryRepeatsNothing) {
  for (const std::uint32_t budget : {0U, 5U}) {
    const std::string whole = inOneSlice(5);
    const auto sm = check(5);
    rowBudgetIs(*sm, budget);
    clock->perReadingIs(kBudget / 6);
    EXPECT_EQ(runToCompletion(*sm), 1U);
    EXPECT_EQ(reader->received, whole);
    clock->perReadingIs(0ms);
  }
}

TEST_P(MacCheckSlices, AReportWithoutEntriesIsNeverRepeated) {
  const std::string whole = inOneSlice(0);
  const auto sm = check(0);
  clock->perReadingIs(1h);
  EXPECT_EQ(runToCompletion(*sm), 1U);
  EXPECT_EQ(reader->received, whole);
}

/**
 * Far ahead at every reading but the first after restart(), and to be read only when many cycles
 * have passed.
 */
class SeldomReadClock final : public Qel::Clock {
 public:
  Qel::Duration now() const override { return readings_++ == 0 ? 0ms : 51ms; }
  bool followsCycleCounter() const noexcept override { return true; }
  void restart() { readings_ = 0; }

 private:
  mutable int readings_ = 0;
};

TEST_F(MacCheck, TheTimeIsAskedForExactlyAfterTheLastEntry) {
  const auto seldomRead = Qel::makePtr<SeldomReadClock>();
  auto sm = l2MacDiffRequestSmFactory("request-1", request(Rendering::kText), kBudget, seldomRead,
                                      helper.get(), mcastHelper.get(), "0", false);
  addDiff(*sm, 10, 1, 1, {}, {});
  sm->diffEntryTable()->readCompleteIs(true);
  seldomRead->restart();
  sm->runCommand();
  EXPECT_FALSE(sm->executionCompleteFlag());
  EXPECT_EQ(traces->count("Yielding Cpu"), 1U);
  EXPECT_THAT(finish(*sm), ::testing::EndsWith(diffTotal(2)));
}

}  // namespace
}  // namespace KorvoL2::Testing
