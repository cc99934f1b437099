// Tables of columns, and sets of chips.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "agent/services/AnswerTable.h"
#include "platform/base/Exceptions.h"
#include "tests/agent/services/ServiceTestSupport.h"

namespace KorvoAgent {
namespace {

using Testing::chipSet;
using Testing::transcript;

std::string printed(const AnswerTable& table, const AnswerTable::Texts& texts) {
  return transcript([&](std::uint32_t socket) {
    Answer answer(socket);
    table.print(answer, texts);
  });
}

AnswerTable makeTable() { return AnswerTable({{"Chip", AnswerTable::kRight}, {"Name"}}); }

TEST(AnswerTableTest, ColumnsAreAsWideAsTheirWidestCell) {
  AnswerTable table = makeTable();
  table.row(0U, "Linecard3/0");
  table.row(127U, std::string("x"));
  table.row(std::optional<unsigned>(), "");
  table.row(NoneIfZero{0}, std::optional<std::string>("y"));
  EXPECT_EQ(printed(table, {.title = "Chips", .one = "chip", .many = "chips", .total = "all up"}),
            "Chips\n"
            "Chip  Name\n"
            "----  -----------\n"
            "   0  Linecard3/0\n"
            " 127  x\n"
            "   -  -\n"
            "   -  y\n"
            "4 chips; all up\n");
}

TEST(AnswerTableTest, ATableWithoutRowsIsOneLine) {
  EXPECT_EQ(printed(makeTable(), {.title = "Chips", .one = "chip", .many = "chips"}),
            "No chips.\n");
  EXPECT_EQ(printed(makeTable(), {.one = "chip", .many = "chips", .none = "Nothing here."}),
            "Nothing here.\n");
}

TEST(AnswerTableTest, OneRowIsCountedInTheSingular) {
  AnswerTable table = makeTable();
  table.row(1U, "a");
  EXPECT_EQ(printed(table, {.one = "chip", .many = "chips"}),
            "Chip  Name\n----  ----\n   1  a\n1 chip\n");
}

TEST(AnswerTableTest, LongCellsGoOnBelow) {
  AnswerTable table({{"Ports"}, {"N", AnswerTable::kRight}});
  table.row(std::string(40, 'a') + ", " + std::string(40, 'b'), 7U);
  EXPECT_EQ(printed(table, {.one = "row", .many = "rows"}),
            "Ports" + std::string(59, ' ') + "  N\n" + std::string(64, '-') + "  -\n" +
                std::string(40, 'a') + "," + std::string(23, ' ') + "  7\n" + std::string(40, 'b') +
                "\n1 row\n");
}

TEST(AnswerTableTest, NamesCannotBreakTheTable) {
  AnswerTable table = makeTable();
  table.row(1U, "a\nb\x1b");
  EXPECT_EQ(printed(table, {.one = "chip", .many = "chips"}),
            "Chip  Name\n----  ----------\n   1  a\\x0ab\\x1b\n1 chip\n");
}

TEST(AnswerTableTest, RowsBeyondTheBoundAreCountedOnly) {
  AnswerTable table = makeTable();
  for (unsigned i = 0; i < AnswerTable::kMaxRows + 5; ++i) table.row(i, "x");
  EXPECT_TRUE(table.full());
  table.omit(37);
  EXPECT_EQ(table.size(), AnswerTable::kMaxRows + 42);
  const std::string text =
      printed(table, {.one = "chip", .many = "chips", .hint = "select one with CHIP+N"});
  EXPECT_EQ(std::ranges::count(text, '\n'), static_cast<std::ptrdiff_t>(AnswerTable::kMaxRows + 4));
  EXPECT_TRUE(text.ends_with("4095  x\n... 42 more; select one with CHIP+N\n4138 chips\n"));
}

TEST(AnswerTableTest, ATableThatIsCutOffSaysThatThereMayBeMore) {
  AnswerTable table = makeTable();
  table.cutOff();
  const AnswerTable::Texts texts{.one = "chip", .many = "chips", .hint = "select one"};
  EXPECT_EQ(printed(table, texts),
            "Chip  Name\n----  ----\n... and perhaps more; select one\nat least 0 chips\n");
  table.row(1U, "a");
  EXPECT_EQ(printed(table, texts),
            "Chip  Name\n----  ----\n   1  a\n... and perhaps more; select one\nat least 1 chip\n");
}

TEST(AnswerTableTest, WideRowsFillATableSooner) {
  AnswerTable table = makeTable();
  const std::string wide(60'000, 'x');
  for (unsigned i = 0; i < 100; ++i) table.row(i, wide);
  EXPECT_TRUE(table.full());
  EXPECT_EQ(table.size(), 100U);
  const std::string text = printed(table, {.one = "chip", .many = "chips"});
  constexpr std::size_t kShown = AnswerTable::kMaxBytes / 60'000 + 1;
  const std::string more = "\n... " + std::to_string(100 - kShown) + " more\n100 chips\n";
  EXPECT_TRUE(text.ends_with(more));
}

TEST(AnswerTableTest, ASpanOfNumbersIsACellForEach) {
  AnswerTable table({{"A", AnswerTable::kRight}, {"B", AnswerTable::kRight}, {"C"}});
  const std::vector<std::uint32_t> numbers{7, 4'294'967'295};
  table.row(std::span(numbers), "x");
  table.row(std::uint64_t{18'446'744'073'709'551'615U}, std::uint8_t{0}, "");
  EXPECT_EQ(printed(table, {.one = "row", .many = "rows"}),
            "                   A           B  C\n--------------------  ----------  -\n"
            "                   7  4294967295  x\n18446744073709551615           0  -\n2 rows\n");
}

TEST(AnswerTableTest, ARowHasACellForEveryColumn) {
  AnswerTable table = makeTable();
  EXPECT_THROW(table.row("only one"), Qel::AssertionException);
}

TEST(AnswerTableTest, FactsAreAligned) {
  EXPECT_EQ(transcript([](std::uint32_t socket) {
              Answer answer(socket);
              answer.line("State");
              answer.fact("Short", 7);
              answer.fact("A somewhat longer name", "x");
              answer.fact("Nothing", "");
            }),
            "State\n"
            "  Short                          : 7\n"
            "  A somewhat longer name         : x\n"
            "  Nothing                        : -\n");
}

TEST(ChipSetTest, RunsOfChipsAreJoined) {
  EXPECT_EQ(ChipSet().text(), "");
  EXPECT_EQ(chipSet({3}).text(), "3");
  EXPECT_EQ(chipSet({0, 1, 2, 5, 7, 8, 127}).text(), "0-2,5,7-8,127");
  EXPECT_EQ(ChipSet::ofModules(0x8000'0000'0000'0003ULL).text(), "0-1,63");
}

TEST(ChipSetTest, TheNullIdIsInNoSet) {
  ChipSet set;
  EXPECT_THROW(set.add(Tessar::FapId()), Qel::AssertionException);
  set.remove(Tessar::FapId());
  EXPECT_FALSE(set.has(Tessar::FapId()));
}

TEST(ChipSetTest, SetsAreCombined) {
  EXPECT_EQ(chipSet({1, 2, 3}) & chipSet({2, 3, 4}), chipSet({2, 3}));
  EXPECT_EQ(chipSet({1, 2, 3}).without(chipSet({2})), chipSet({1, 3}));
  EXPECT_EQ(idsOf(Testing::chips(3)()), chipSet({0, 1, 2}));
}

}  // namespace
}  // namespace KorvoAgent
