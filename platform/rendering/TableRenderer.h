// Text tables with columns that line up.
//
// A table writes every line as it comes and keeps none: a table of a million rows costs the memory
// of one. It is decoration for people, so it prints nothing when the renderer's format is JSON.
//
//   TableRenderer table(renderer, {{6, ColumnFormatter::kLeft, 1, 1, true, 0}, ...}, true, false);
//   table.addHeading({"Vlan", "Mac Address"});
//   table.addRow({"10", "0011.2233.4455"});
//
//    Vlan   Mac Address
//    ------ ----------------
//    10     0011.2233.4455
//
// A row with fewer cells than the table has columns leaves the rest blank; surplus cells are not
// shown, so that a caller can hand over the same row to a table with and without its last columns.
// A cell is a single paragraph: control characters, and bytes that are no UTF-8, are shown as '?',
// so that a name cannot break the columns or command the terminal.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Ptr.h"
#include "platform/rendering/ColumnFormatter.h"
#include "platform/rendering/RendererV2.h"

namespace Rendering {

class TableRenderer {
 public:
  using Cells = std::span<const std::string_view>;

  /**
   * A table on `renderer`, which it keeps alive. With `headingRule`, a rule of '-' under every
   * column's head; with `borders`, a '|' at both sides of every column. Without borders, blanks at
   * the end of a line are left out. Throws AssertionException when there are no columns.
   */
  TableRenderer(RendererV2& renderer, const std::vector<ColumnFormatter>& columns, bool headingRule,
                bool borders);

  /** Prints the heads, and their rule. A dump of several sections calls it once in each. */
  void addHeading(Cells heads);
  void addHeading(std::initializer_list<std::string_view> heads) {
    addHeading(Cells(heads.begin(), heads.size()));
  }
  /** Prints one row: one line, or more where cells are wrapped. */
  void addRow(Cells cells);
  void addRow(std::initializer_list<std::string_view> cells) {
    addRow(Cells(cells.begin(), cells.size()));
  }

 private:
  struct Column {
    ColumnFormatter format;
    std::string lead;  // what stands between the cell before, or the line's start, and this cell
  };

  bool addPlainLine(Cells cells);
  void addWrappedLines(Cells cells);
  void addRule();
  static char* writeLead(char* out, const Column& column);
  char* endLine(const char* line, char* out) const;

  Qel::Ptr<RendererV2> renderer_;
  std::vector<Column> columns_;
  std::string lineEnd_;
  std::size_t maxLineBytes_;                 // of a line of which every code point takes four bytes
  std::vector<std::string_view> remaining_;  // of each cell, while a row is wrapped
  std::vector<std::string> rooms_;           // for what is shown instead of a cell
  bool headingRule_;
  bool borders_;
};

}  // namespace Rendering
