#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/rendering/TableRenderer.h"
#include "tests/platform/rendering/TextCapture.h"
#include "text/Utf8.h"

namespace Rendering {
namespace {

constexpr int kLeft = ColumnFormatter::kLeft;
constexpr int kRight = ColumnFormatter::kRight;
constexpr int kCentre = ColumnFormatter::kCentre;

// The lines of a raw string that starts with a line end, so that they stand under each other.
constexpr std::string_view lines(std::string_view raw) { return raw.substr(1); }

// What a table of these columns prints for one row.
std::string row(const std::vector<ColumnFormatter>& columns,
                const std::vector<std::string_view>& cells) {
  TextCapture capture;
  TableRenderer table(capture.renderer(), columns, true, false);
  table.addRow(cells);
  return capture.take();
}

TEST(TableRendererTest, HardwareMacTable) {
  TextCapture capture;
  TableRenderer table(capture.renderer(),
                      {{6, kLeft, 1, 1, true, 0},
                       {16, kLeft, 1, 1, true, 0},
                       {15, kLeft, 4, 2, true, 0},
                       {16, kLeft, 2, 2, true, 0},
                       {11, kLeft, 2, 2, true, 0},
                       {24, kLeft, 4, 2, true, 0},
                       {10, kLeft, 1, 1, true, 0}},
                      true, false);
  table.addHeading({"Vlan", "Mac Address", "Type", "McastGroupId", "ClassId", "Port", "HW Index"});
  table.addRow({"10", "0011.2233.4455", "Learned", "-", "0", "Ethernet3/1", "77"});
  table.addRow({"4094", "ffff.ffff.fffe", "Static", "65535", "4095", "Port-Channel2000", "131071"});
  EXPECT_EQ(capture.take(), lines(R"(
 Vlan   Mac Address         Type             McastGroupId      ClassId        Port                      HW Index
 ------ ----------------    ---------------  ----------------  -----------    ------------------------  ----------
 10     0011.2233.4455      Learned          -                 0              Ethernet3/1               77
 4094   ffff.ffff.fffe      Static           65535             4095           Port-Channel2000          131071
)"));
}

std::vector<ColumnFormatter> diffColumns(bool detail) {
  std::vector<ColumnFormatter> columns{{6, kLeft, 1, 1, true, 0},
                                       {16, kLeft, 1, 1, true, 0},
                                       {24, kLeft, 1, 1, true, 0},
                                       {17, kLeft, 3, 3, true, 0},
                                       {24, kLeft, 1, 1, true, 0}};
  if (detail) columns.emplace_back(10, kLeft, 1, 1, true, 0);
  return columns;
}

TEST(TableRendererTest, MacDifferences) {
  TextCapture capture;
  TableRenderer table(capture.renderer(), diffColumns(true), true, false);
  table.addHeading({"Vlan", "Mac Address", "SW Entry", "Chip", "HW Entry", "HW Index"});
  table.addRow({"10", "0011.2233.4455", "mod=1", "Quorra1/0", "mod=1", "77"});
  table.addRow({"", "", "port=3", "", "port=4", ""});
  table.addRow({"", "", "", "", "", ""});
  table.addRow({"", "", "", "Quorra1/1", "Invalid Entry", ""});
  EXPECT_EQ(capture.take(), lines(R"(
 Vlan   Mac Address      SW Entry                   Chip                HW Entry                 HW Index
 ------ ---------------- ------------------------   -----------------   ------------------------ ----------
 10     0011.2233.4455   mod=1                      Quorra1/0           mod=1                    77
                         port=3                                         port=4

                                                    Quorra1/1           Invalid Entry
)"));
}

TEST(TableRendererTest, CellsBeyondTheLastColumnAreNotShown) {
  TextCapture capture;
  TableRenderer table(capture.renderer(), diffColumns(false), true, false);
  table.addHeading({"Vlan", "Mac Address", "SW Entry", "Chip", "HW Entry", "HW Index"});
  table.addRow({"10", "0011.2233.4455", "mod=1", "Quorra1/0", "mod=2", "77"});
  EXPECT_EQ(capture.take(), lines(R"(
 Vlan   Mac Address      SW Entry                   Chip                HW Entry
 ------ ---------------- ------------------------   -----------------   ------------------------
 10     0011.2233.4455   mod=1                      Quorra1/0           mod=2
)"));
}

TEST(TableRendererTest, MissingMacs) {
  TextCapture capture;
  TableRenderer table(capture.renderer(),
                      {{11, kLeft, 4, 2, true, 0},
                       {25, kLeft, 4, 2, true, 0},
                       {25, kLeft, 4, 2, true, 0},
                       {16, kLeft, 1, 1, true, 0},
                       {21, kLeft, 4, 4, true, 0},
                       {21, kLeft, 4, 4, true, 0},
                       {10, kLeft, 1, 1, true, 0}},
                      true, false);
  table.addHeading({"Vlan", "Mac Address", "Key Type", "Present in SW?", "Present in HW?",
                    "Missing in HW", "HW Index"});
  table.addRow({"10", "0011.2233.4455", "bridge(0)", "Y", "", "Quorra1/0", "77"});
  table.addRow({"", "", "", "", "", "Quorra1/1", ""});
  table.addRow({"4095", "0011.2233.4456", "VFI(3)", "N", "Quorra1/0", "", "78"});
  EXPECT_EQ(capture.take(), lines(R"(
    Vlan           Mac Address                  Key Type                   Present in SW?      Present in HW?           Missing in HW            HW Index
    -----------    -------------------------    -------------------------  ----------------    ---------------------    ---------------------    ----------
    10             0011.2233.4455               bridge(0)                  Y                                            Quorra1/0                77
                                                                                                                        Quorra1/1
    4095           0011.2233.4456               VFI(3)                     N                   Quorra1/0                                         78
)"));
}

TEST(TableRendererTest, BordersStandAtBothSidesOfEveryColumn) {
  TextCapture capture;
  TableRenderer table(
      capture.renderer(),
      {{4, kLeft, 1, 1, true, 0}, {7, kCentre, 1, 2, true, 0}, {5, kRight, 1, 1, true, 0}}, true,
      true);
  table.addHeading({"Vlan", "Name", "Index"});
  table.addRow({"1", "abc", "12"});
  table.addRow({"2"});
  EXPECT_EQ(capture.take(), lines(R"(
| Vlan |  Name    | Index |
+------+----------+-------+
| 1    |   abc    |    12 |
| 2    |          |       |
)"));
}

TEST(TableRendererTest, WithoutHeadingRuleTheHeadsStandAlone) {
  TextCapture capture;
  TableRenderer table(capture.renderer(), {{4, kLeft, 0, 1, true, 0}, {4, kRight, 0, 0, true, 0}},
                      false, false);
  table.addHeading({"Vlan", "Port"});
  table.addRow({"1", "2"});
  EXPECT_EQ(capture.take(), "Vlan Port\n1       2\n");
}

TEST(TableRendererTest, BetweenColumnsStandsTheLargerOfTheBlanksWanted) {
  const std::vector<ColumnFormatter> columns{
      {1, kLeft, 0, 3, true, 0}, {1, kLeft, 1, 1, true, 0}, {1, kLeft, 2, 0, true, 0}};
  EXPECT_EQ(row(columns, {"a", "b", "c"}), "a   b  c\n");
}

TEST(TableRendererTest, ContentIsAlignedAsTold) {
  EXPECT_EQ(row({{5, kRight, 0, 0, true, 0}}, {"ab"}), "   ab\n");
  EXPECT_EQ(row({{5, kCentre, 0, 0, true, 0}}, {"a"}), "  a\n");
  EXPECT_EQ(row({{5, kLeft, 2, 0, true, 0}}, {"a"}), "  a\n");
}

TEST(TableRendererTest, WideContentWrapsAtBlanksBesideItsNeighbours) {
  const std::vector<ColumnFormatter> columns{{10, kLeft, 0, 1, true, 2}, {4, kLeft, 0, 0, true, 0}};
  EXPECT_EQ(row(columns, {"one two three four", "x"}),
            "one two    x\n"
            "  three\n"
            "  four\n");
}

TEST(TableRendererTest, ContentWithoutBlanksWrapsWhereItsColumnEnds) {
  const std::vector<ColumnFormatter> columns{{4, kLeft, 0, 1, true, 0}, {3, kLeft, 0, 0, true, 0}};
  EXPECT_EQ(row(columns, {"abcdefghij", "wxyz"}),
            "abcd wxy\n"
            "efgh z\n"
            "ij\n");
}

TEST(TableRendererTest, ContentThatFillsItsColumnExactlyIsNotBrokenAtItsBlank) {
  const std::vector<ColumnFormatter> columns{{5, kLeft, 0, 1, true, 0}, {4, kLeft, 0, 0, true, 0}};
  EXPECT_EQ(row(columns, {"ab cd", "x y"}), "ab cd x y\n");
  EXPECT_EQ(row(columns, {"ab cd", "wx yz"}), "ab cd wx\n      yz\n") << "beside a wrapped cell";
  EXPECT_EQ(row(columns, {"ab c\u00e4", "wx y"}), "ab c\u00e4 wx y\n");
  EXPECT_EQ(row(columns, {"ab cd ef", "x"}), "ab cd x\nef\n") << "the rest starts at a blank";
  EXPECT_EQ(row({{5, kLeft, 0, 1, false, 0}, {4, kLeft, 0, 0, true, 0}}, {"ab cd", "wx yz"}),
            "ab cd wx\n      yz\n")
      << "nor cut";
}

TEST(TableRendererTest, BlanksAtABreakBelongToNeitherLine) {
  EXPECT_EQ(row({{4, kLeft, 0, 0, true, 0}}, {"abcd   efgh"}), "abcd\nefgh\n");
  EXPECT_EQ(row({{4, kLeft, 0, 0, true, 0}}, {"a   bcd"}), "a\nbcd\n");
  EXPECT_EQ(row({{4, kRight, 0, 0, true, 0}}, {"ab cdef"}), "  ab\ncdef\n");
  EXPECT_EQ(row({{4, kLeft, 0, 0, true, 0}}, {"abcd    "}), "abcd\n");
}

TEST(TableRendererTest, ContentThatIsCutEndsInAMark) {
  EXPECT_EQ(row({{5, kLeft, 0, 0, false, 0}}, {"abcdef"}), "abcd~\n");
  EXPECT_EQ(row({{5, kLeft, 0, 0, false, 0}}, {"abcde"}), "abcde\n");
  EXPECT_EQ(row({{1, kLeft, 0, 0, false, 0}}, {"ab"}), "~\n");
  EXPECT_EQ(row({{5, kRight, 0, 1, false, 0}, {1, kLeft, 0, 0, true, 0}}, {"abcdef", "x"}),
            "abcd~ x\n");
}

TEST(TableRendererTest, WidthCountsCodePoints) {
  const std::vector<ColumnFormatter> columns{{4, kLeft, 0, 1, true, 0}, {1, kLeft, 0, 0, true, 0}};
  EXPECT_EQ(row(columns, {"\u00e4\u00f6\u00fc", "x"}), "\u00e4\u00f6\u00fc  x\n");
  EXPECT_EQ(row(columns, {"\U0001F517\u20ac\u00e4\u00f6\u00fc", "x"}),
            "\U0001F517\u20ac\u00e4\u00f6 x\n\u00fc\n");
}

TEST(TableRendererTest, WhatIsNotPrintableIsShownByItsNumberAndCountsInTheWidth) {
  const std::vector<ColumnFormatter> columns{{12, kLeft, 0, 1, true, 0}, {1, kLeft, 0, 0, true, 0}};
  EXPECT_EQ(row(columns, {"a\nb\t", "x"}), "a\\x0ab\\x09   x\n");
  EXPECT_EQ(row(columns, {"a\xffz\xc3", "x"}), "a\\xffz\\xc3   x\n");
  EXPECT_EQ(row(columns, {"a\nb\tc\x1b", "x"}), "a\\x0ab\\x09c\\ x\nx1b\n");
  // The eight-bit control characters start escape sequences on some terminals too.
  EXPECT_EQ(row(columns, {"\u009b31\u00a0", "x"}), "\\u{009b}31\u00a0  x\n");
}

TEST(TableRendererTest, EmptyRowIsAnEmptyLine) {
  EXPECT_EQ(row(diffColumns(true), {}), "\n");
  EXPECT_EQ(row(diffColumns(true), {"", "  "}), "\n");
}

TEST(TableRendererTest, JsonShowsNothing) {
  TextCapture capture(kJson);
  TableRenderer table(capture.renderer(), diffColumns(true), true, true);
  table.addHeading({"Vlan"});
  table.addRow({"1"});
  EXPECT_EQ(capture.take(), "");
  EXPECT_EQ(capture.buffer().appended(), 0U);
}

TEST(TableRendererTest, AMillionRowsCostTheMemoryOfTheBuffer) {
  TextCapture capture;
  TableRenderer table(capture.renderer(), diffColumns(true), true, false);
  table.addRow({"10", "0011.2233.4455", "mod=1", "Quorra1/0", "mod=2", "77"});
  const std::size_t bytesPerRow = capture.take().size();
  const std::size_t capacity = capture.buffer().capacity();
  std::size_t printed = 0;
  for (int i = 0; i < 1'000'000; ++i) {
    table.addRow({"10", "0011.2233.4455", "mod=1", "Quorra1/0", "mod=2", "77"});
    if (i % 1024 == 0) printed += capture.take().size();
  }
  printed += capture.take().size();
  EXPECT_EQ(printed, 1'000'000 * bytesPerRow);
  EXPECT_LE(capture.buffer().capacity(), 2 * capacity + 4096);
}

TEST(TableRendererTest, MeasuresOutOfRangeAreRefusedByName) {
  const auto messageOf = [](auto make) -> std::string {
    try {
      make();
    } catch (const Qel::RangeException& e) {
      return e.what();
    }
    return "accepted";
  };
  EXPECT_EQ(messageOf([] { ColumnFormatter(0, kLeft, 0, 0, true, 0); }),
            "Rendering::ColumnFormatter::width < 1 or > 255 not allowed");
  EXPECT_EQ(messageOf([] { ColumnFormatter(256, kLeft, 0, 0, true, 0); }),
            "Rendering::ColumnFormatter::width < 1 or > 255 not allowed");
  EXPECT_EQ(messageOf([] { ColumnFormatter(1, 3, 0, 0, true, 0); }),
            "Rendering::ColumnFormatter::alignment < 0 or > 2 not allowed");
  EXPECT_EQ(messageOf([] { ColumnFormatter(1, kLeft, -1, 0, true, 0); }),
            "Rendering::ColumnFormatter::blanksBefore < 0 or > 255 not allowed");
  EXPECT_EQ(messageOf([] { ColumnFormatter(1, kLeft, 0, 256, true, 0); }),
            "Rendering::ColumnFormatter::blanksAfter < 0 or > 255 not allowed");
  EXPECT_EQ(messageOf([] { ColumnFormatter(4, kLeft, 0, 0, true, 4); }),
            "Rendering::ColumnFormatter::continuationIndent < 0 or > 3 not allowed");
  EXPECT_EQ(messageOf([] { ColumnFormatter(255, kCentre, 255, 255, false, 254); }), "accepted");
}

TEST(TableRendererTest, TableWithoutColumnsIsRefused) {
  TextCapture capture;
  EXPECT_THROW(TableRenderer(capture.renderer(), {}, true, false), Qel::AssertionException);
}

std::size_t codePoints(std::string_view text) {
  std::size_t count = 0;
  while (!text.empty()) {
    const std::size_t length = Text::utf8SequenceLength(text);
    RC_ASSERT(length != 0U);
    text.remove_prefix(length);
    ++count;
  }
  return count;
}

RC_GTEST_PROP(TableRendererProperty, AnyBytesStayWithinTheirColumns, ()) {
  const int width = *rc::gen::inRange(1, 12);
  const int alignment = *rc::gen::inRange(0, 3);
  const bool wrap = *rc::gen::arbitrary<bool>();
  const int indent = *rc::gen::inRange(0, width);
  const auto cells = *rc::gen::container<std::vector<std::string>>(
      rc::gen::oneOf(rc::gen::container<std::string>(rc::gen::arbitrary<char>()),
                     rc::gen::container<std::string>(rc::gen::elementOf(std::string("ab  ")))));
  TextCapture capture;
  TableRenderer table(capture.renderer(),
                      std::vector<ColumnFormatter>(3, {width, alignment, 1, 1, wrap, indent}), true,
                      true);
  table.addRow(std::vector<std::string_view>(cells.begin(), cells.end()));

  std::string text = capture.take();
  RC_ASSERT(text.ends_with('\n'));
  std::size_t lines = 0;
  for (std::string_view rest = text; !rest.empty(); ++lines) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(line.size() + 1);
    RC_ASSERT(codePoints(line) == 3 * (static_cast<std::size_t>(width) + 2) + 4);
    RC_ASSERT(line.starts_with("| "));
    RC_ASSERT(line.ends_with(" |"));
  }
  if (!wrap) RC_ASSERT(lines == 1U);
}

RC_GTEST_PROP(TableRendererProperty, WrappingLosesNothingButBlanks, ()) {
  const int width = *rc::gen::inRange(1, 8);
  const std::string cell =
      *rc::gen::container<std::string>(rc::gen::elementOf(std::string("abcdefgh   ")));
  std::string wanted = cell;
  std::erase(wanted, ' ');
  std::string shown = row({{width, kLeft, 0, 0, true, 0}}, {cell});
  std::erase_if(shown, [](char c) { return c == ' ' || c == '\n'; });
  RC_ASSERT(shown == wanted);
}

}  // namespace
}  // namespace Rendering
