// Every document that walks a table, byte for byte, whatever ends its slices.
//
// The expectations are written by hand (see Dump.h), from what the documents are said to be and not
// from what prints them.
#include <algorithm>
#include <utility>

#include "tests/documents/DocumentHarness.h"
#include "tests/documents/RoutingInfo.h"
#include "tests/documents/StrictJson.h"

namespace KorvoL2::Testing {
namespace {

using Seen = RowClock::Seen;

/** How many rows the switch has where every one of them is tried. */
constexpr std::size_t kFewRows = 13;

std::vector<DumpKind> allDumps() {
  std::vector<DumpKind> all;
  for (auto* const family :
       {softwareTableDumps, hardwareTableDumps, differenceReports, missingReports, vxlanVlanDumps,
        routingInfoDumps, vlanRangeDumps, vlanTranslationDumps}) {
    for (DumpKind& kind : family()) all.push_back(std::move(kind));
  }
  return all;
}

std::vector<DumpKind> reports() {
  std::vector<DumpKind> all = allDumps();
  std::erase_if(all, [](const DumpKind& kind) { return !kind.repeatsItsEnd; });
  return all;
}

std::string nameOf(const ::testing::TestParamInfo<DumpKind>& info) { return info.param.name; }

class Documents : public DocumentHarness, public ::testing::WithParamInterface<DumpKind> {
 protected:
  const DumpKind& kind() const { return GetParam(); }
  std::unique_ptr<Dump> makeDump(std::size_t rows = 0) const {
    auto dump = kind().make();
    dump->grow(rows);
    return dump;
  }
  Outcome run(Dump& dump, const Conditions& conditions = {}) {
    return DocumentHarness::run(dump, kind(), conditions);
  }
  /** Grows `dump` to a few rows before `windows` windows are full. */
  void approach(Dump& dump, std::size_t windows) const {
    // Further rows may be much larger than others, and earlier ones may be moved.
    const std::size_t margin = kind().rowsAreAppended ? 7 : 14;
    dump.grow(std::max<std::size_t>(dump.size(), 64));
    for (;;) {
      const Document document = dump.document();
      const Slices slices(document, kDefaultWindow);
      const std::size_t rowSize = document.text().size() / dump.size() + 1;
      if (slices.full() >= windows) return;
      const std::size_t missing = (windows - slices.full()) * kDefaultWindow - slices.open();
      if (missing < margin * rowSize) return;
      dump.grow(dump.size() + (missing < 2 * margin * rowSize ? 1 : missing / rowSize / 2));
    }
  }
  /** Runs `dump`, whose document is said, in slices of `window` bytes; `slices` are those. */
  void compare(Dump& dump, const Document& document, std::size_t window, const Slices& slices) {
    const Outcome outcome = run(dump, {.window = window});
    ASSERT_TRUE(isText(outcome.text, document.text()));
    if (!kind().repeatsItsEnd) return;
    EXPECT_EQ(outcome.sliceStarts, slices.starts());
    // With the time spent as well, its rule is the one that counts.
    const Outcome late = run(dump, {.window = window, .spentAfter = {document.pieces.size()}});
    ASSERT_TRUE(isText(late.text, dump.documentRepeatedFrom(slices.starts().back()).text()));
  }
};

TEST_P(Documents, OfAnyNumberOfRows) {
  const auto dump = makeDump();
  for (const unsigned rows : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 17U, 100U, 400U}) {
    SCOPED_TRACE(rows);
    dump->grow(rows);
    const Document document = dump->document();
    const Outcome outcome = run(*dump, {.window = kDefaultWindow});
    ASSERT_TRUE(isText(outcome.text, document.text()));
    if (kind().asksOncePerPiece) {
      EXPECT_EQ(outcome.questions, document.pieces.size());
    }
    if (kind().isJson()) {
      EXPECT_EQ(jsonFault(outcome.text, kind().repeatedKeyIn), "");
    }
  }
}

TEST_P(Documents, AroundEachFullWindow) {
  const auto dump = makeDump();
  for (std::size_t windows = 1; windows <= kind().defaultWindows; ++windows) {
    SCOPED_TRACE(windows);
    approach(*dump, windows);
    std::size_t sizes = 0;
    bool filledByTheLastRow = false;
    for (int after = 0; after < 4; dump->grow(dump->size() + 1), ++sizes) {
      ASSERT_LE(dump->size(), kind().maxRows) << "there are not that many rows";
      const Document document = dump->document();
      const Slices slices(document, kDefaultWindow);
      compare(*dump, document, kDefaultWindow, slices);
      filledByTheLastRow = filledByTheLastRow || slices.endsFull();
      if (slices.full() >= windows) ++after;
    }
    EXPECT_GE(sizes, 7U) << "began too late";
    if (kind().rowsAreAppended) {
      EXPECT_TRUE(filledByTheLastRow);
    }
  }
}

TEST_P(Documents, OfEverySizeInSmallWindows) {
  constexpr std::size_t kWindow = 1024;
  const auto dump = makeDump();
  std::size_t filledByTheLastRow = 0;
  bool fillsWindows = false;
  while (dump->size() < 64) {
    dump->grow(dump->size() + 1);
    SCOPED_TRACE(dump->size());
    const Document document = dump->document();
    const Slices slices(document, kWindow);
    compare(*dump, document, kWindow, slices);
    if (slices.endsFull()) ++filledByTheLastRow;
    fillsWindows = slices.full() != 0;
  }
  // A table without a JSON form fills none.
  EXPECT_EQ(filledByTheLastRow != 0, fillsWindows);
}

TEST_P(Documents, WithASocketThatBlocksAfterAnyRow) {
  const auto dump = makeDump(kFewRows);
  const Document document = dump->document();
  std::size_t taken = 0;
  for (const std::string& piece : document.pieces) {
    SCOPED_TRACE(taken);
    // All of the row but its last byte, and not a byte of it.
    for (const std::size_t room : {taken + piece.size() - !piece.empty(), taken}) {
      const Outcome outcome =
          runBlocked(*dump, kind(), {}, room, std::numeric_limits<std::size_t>::max());
      ASSERT_TRUE(isText(outcome.text, document.text()));
      if (!piece.empty()) {
        EXPECT_TRUE(outcome.blocked.front());
      }
    }
    taken += piece.size();
  }
  // A reader that never catches up.
  const Outcome outcome = runBlocked(*dump, kind(), {}, 0, 1);
  ASSERT_TRUE(isText(outcome.text, document.text()));
  EXPECT_TRUE(std::ranges::all_of(outcome.blocked, std::identity()));
}

TEST_P(Documents, WithASmallSocketThatIsReadBetweenSlices) {
  const auto dump = makeDump(4 * kFewRows);
  const std::string expected = dump->document().text();
  bool blocked = false;
  for (std::size_t filler = 0; filler < 8; ++filler) {
    SCOPED_TRACE(filler);
    const Outcome outcome = runOnSmallSocket(*dump, kind(), filler);
    ASSERT_TRUE(isText(outcome.text, expected));
    blocked = blocked || std::ranges::count(outcome.blocked, true) != 0;
  }
  if (expected.size() > 100) {
    EXPECT_TRUE(blocked);
  }
}

TEST_P(Documents, WithTheTimeSpentAfterAnyRow) {
  const auto dump = makeDump(kFewRows);
  const std::uint64_t questions = run(*dump).questions;
  for (const Seen seen : {Seen::always, Seen::once}) {
    for (std::uint64_t row = 1; row <= questions + 1; ++row) {
      SCOPED_TRACE(row);
      const Outcome outcome = run(*dump, {.spentAfter = {row}, .seen = seen});
      const Document document = row == questions ? dump->documentRepeatedFrom(0) : dump->document();
      ASSERT_TRUE(isText(outcome.text, document.text()));
      // Once the time is spent it stays so: a walk that goes on to another table yields there.
      std::uint64_t last = row;
      while (last < questions && std::ranges::count(document.endsOfTables, last - 1) != 0) ++last;
      EXPECT_EQ(outcome.yields, row <= questions ? last - row + 1 : 0);
      if (row >= questions) continue;
      ASSERT_LE(outcome.sliceStarts.size(), 2U);
      const std::uint64_t end =
          outcome.sliceStarts.size() == 2 ? outcome.sliceStarts[1] : outcome.questions;
      EXPECT_GE(end, last);
      EXPECT_LE(end, last + (kind().asksOncePerPiece ? 0 : 1));
    }
  }
}

TEST_P(Documents, WithTheTimeSpentAfterEveryRow) {
  const auto dump = makeDump(kFewRows);
  const std::uint64_t questions = run(*dump).questions;
  std::vector<std::uint64_t> every;
  for (std::uint64_t row = 1; row <= 2 * questions + 2; ++row) every.push_back(row);
  const Outcome outcome = run(*dump, {.spentAfter = every});
  // The last row's slice is that row.
  ASSERT_TRUE(isText(outcome.text, dump->documentRepeatedFrom(questions - 1).text()));
}

TEST_P(Documents, WithAnyRowBudget) {
  const auto dump = makeDump(kFewRows);
  const Document document = dump->document();
  const std::uint64_t questions = run(*dump).questions;
  for (std::uint32_t budget = 1; budget <= questions + 1; ++budget) {
    SCOPED_TRACE(budget);
    const Outcome outcome = run(*dump, {.rowBudget = budget});
    ASSERT_TRUE(isText(outcome.text, document.text()));
    if (kind().repeatsItsEnd) {
      EXPECT_EQ(outcome.sliceStarts, Slices(document, std::size_t{1} << 40, budget).starts());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, Documents, ::testing::ValuesIn(allDumps()), nameOf);

/** The two checks, whose end is printed twice where the time is spent right after the last row. */
class Reports : public Documents {};

TEST_P(Reports, PrintTheirLastSliceTwiceWhateverEndedTheOnesBeforeIt) {
  const auto dump = makeDump(kFewRows);
  const Document document = dump->document();
  for (std::uint32_t budget = 1; budget <= kFewRows + 1; ++budget) {
    SCOPED_TRACE(budget);
    const std::uint64_t last = Slices(document, std::size_t{1} << 40, budget).starts().back();
    const Outcome byBudget = run(*dump, {.rowBudget = budget, .spentAfter = {kFewRows}});
    EXPECT_TRUE(isText(byBudget.text, dump->documentRepeatedFrom(last).text()));
  }
  for (std::uint64_t row = 1; row < kFewRows; ++row) {
    SCOPED_TRACE(row);
    const Outcome byTime = run(*dump, {.spentAfter = {row, kFewRows}});
    EXPECT_TRUE(isText(byTime.text, dump->documentRepeatedFrom(row).text()));
  }
}

TEST_P(Reports, PrintTheirLastSliceTwiceThoughTheSocketBlocksAsWell) {
  const auto dump = makeDump(kFewRows);
  const Conditions late{.spentAfter = {kFewRows}};
  const Outcome atTheEnd = runBlocked(*dump, kind(), late, dump->document().text().size() / 2,
                                      std::numeric_limits<std::size_t>::max());
  ASSERT_EQ(atTheEnd.sliceStarts.size(), 3U);
  EXPECT_TRUE(isText(atTheEnd.text, dump->documentRepeatedFrom(atTheEnd.sliceStarts[1]).text()));
  const Outcome always = runBlocked(*dump, kind(), late, 0, 0);
  EXPECT_TRUE(isText(always.text, dump->documentRepeatedFrom(kFewRows - 1).text()));
}

TEST_P(Reports, PrintTheirLastSliceTwiceOnceAtMost) {
  const auto dump = makeDump(kFewRows);
  const Outcome outcome = run(*dump, {.spentAfter = {kFewRows, 2 * kFewRows, 3 * kFewRows}});
  EXPECT_TRUE(isText(outcome.text, dump->documentRepeatedFrom(0).text()));
  EXPECT_EQ(outcome.questions, 2 * kFewRows);
}

INSTANTIATE_TEST_SUITE_P(All, Reports, ::testing::ValuesIn(reports()), nameOf);

/** The head of the routing information, whatever is configured. */
class RoutingHeads : public DocumentHarness {};

TEST_F(RoutingHeads, OfEveryConfiguration) {
  for (unsigned bits = 0; bits < 32; ++bits) {
    SCOPED_TRACE(bits);
    const RoutingHead head{.recircIntf = (bits & 1) != 0,
                           .singlePass = (bits & 2) != 0,
                           .virtualRouterMac = (bits & 4) != 0,
                           .vtepIp = (bits & 8) != 0,
                           .vtepIp6 = (bits & 16) != 0};
    for (const bool json : {false, true}) {
      const auto dump = routingInfoDump(json, head);
      const DumpKind kind{.name = "RoutingInfo",
                          .format = json ? Rendering::kJson : Rendering::kText};
      for (const unsigned rows : {0U, 1U, 9U}) {
        dump->grow(rows);
        const Outcome outcome = run(*dump, kind, {.rowBudget = 4});
        ASSERT_TRUE(isText(outcome.text, dump->document().text()));
        if (json) {
          EXPECT_EQ(jsonFault(outcome.text, ""), "");
        }
      }
    }
  }
}

TEST(StrictJson, TakesNothingButJson) {
  EXPECT_EQ(jsonFault(R"({"a":{"1":1,"b":[{"a":1},{"a":2}]}})", "a"), "");
  EXPECT_EQ(jsonFault(R"({"a":{"1":1,"1":2}})", "a"), "");
  for (const char* const text : {R"({"a":{"2":1,"2":2}})", R"({"1":1,"1":2})",
                                 R"({"a":{"b":{"1":1,"1":2}}})", R"({"a":1}{})", R"({"a":1,})",
                                 R"({"a":01})", R"({"a")", "{\"a\":\"\n\"}", "{\"a\":\"\xff\"}"}) {
    EXPECT_NE(jsonFault(text, "a"), "") << text;
  }
}

}  // namespace
}  // namespace KorvoL2::Testing
