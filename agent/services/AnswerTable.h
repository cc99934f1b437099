// How the agent's objects answer a plain command: lines, facts and tables of columns.
//
//   Answer answer(socket);
//   AnswerTable table({{"Chip", AnswerTable::kRight}, {"Name"}});
//   table.row(0, "Linecard3/0");
//   table.print(answer, {.title = "Chips", .one = "chip", .many = "chips"});
//
//   Chips
//   Chip  Name
//   ----  -----------
//      0  Linecard3/0
//   1 chip
//
// A plain command is answered in one go, and the event loop waits for it. A table therefore takes a
// bounded number of rows and bytes, whatever the size of what it shows, and says how many it left
// out.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/rendering/PrintBuffer.h"
#include "platform/rendering/RendererV2.h"

namespace KorvoAgent {

/** "1 chip", "3 chips". */
std::string counted(std::uint64_t number, std::string_view one, std::string_view many);

/** A cell's number whose 0 stands for none. */
struct NoneIfZero {
  std::uint64_t number = 0;
};

/** The answer of one command. What the socket does not take at once is sent by the event loop. */
class Answer {
 public:
  explicit Answer(std::uint32_t socket);

  void line(std::string_view text);
  /** "  name       : value", the names in one column; "-" for an empty value. */
  void fact(std::string_view name, std::string_view value);
  void fact(std::string_view name, std::uint64_t value);

  Rendering::RendererV2& renderer() noexcept { return *renderer_; }

 private:
  Qel::Ptr<Rendering::RendererV2> renderer_;
};

class AnswerTable {
 public:
  /**
   * Rows and bytes of cells that a table takes: a row for every VLAN, and no turn of the loop that
   * others would notice.
   */
  static constexpr std::size_t kMaxRows = 4'096;
  static constexpr std::size_t kMaxBytes = std::size_t{192} * 1024;
  /** Entries of its source that a command goes over to count them, at some nanoseconds each. */
  static constexpr std::size_t kMaxCounted = 500'000;

  enum Alignment : std::uint8_t { kLeft, kRight };
  struct Column {
    std::string_view head;  ///< with the unit, where there is one
    Alignment alignment = kLeft;
  };
  /** The texts around a table; those that are empty are left out. */
  struct Texts {
    std::string_view title = {};
    std::string_view one;         ///< what a row is: "chip"
    std::string_view many;        ///< and several: "chips"
    std::string_view none = {};   ///< the line that there is no row; unless given, "No chips."
    std::string_view total = {};  ///< said behind the count of rows
    std::string_view hint = {};   ///< how to get at rows that were left out: "select one with ..."
  };

  explicit AnswerTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /** Whether further rows are only counted. A caller may then go on with omit() alone. */
  bool full() const noexcept { return numRows_ == kMaxRows || text_.size() >= kMaxBytes; }
  /**
   * Adds a row, one cell for each column: text, a number, or an optional of either; a span of
   * numbers is a cell for each.
   */
  template <class... Cells>
  void row(const Cells&... cells) {
    if (full()) return omit(1);
    (add(cells), ...);
    rowEnd();
  }
  /** Counts rows that are not shown. */
  void omit(std::size_t rows) noexcept { omitted_ += rows; }
  /** There may be further rows, which are not even counted. */
  void cutOff() noexcept { cutOff_ = true; }
  /** Rows added, shown or not. */
  std::size_t size() const noexcept { return numRows_ + omitted_; }

  /** Prints the title, the table and the count, or one line that there are no rows. */
  void print(Answer& answer, const Texts& texts) const;

 private:
  void add(std::string_view text);
  template <std::unsigned_integral T>
  void add(T number) {
    addNumber(number);
  }
  void add(std::span<const std::uint32_t> numbers) {
    for (const std::uint32_t number : numbers) addNumber(number);
  }
  void add(NoneIfZero cell) { cell.number == 0 ? add(std::string_view()) : addNumber(cell.number); }
  template <class T>
  void add(const std::optional<T>& value) {
    if (value) return add(*value);
    add(std::string_view());
  }
  void addNumber(std::uint64_t number);
  void rowEnd();
  int widthOf(std::size_t column) const;

  std::vector<Column> columns_;
  // Cells one after the other, row by row: the texts, and where each of them ends.
  std::string text_;
  std::vector<std::size_t> ends_;
  std::size_t numRows_ = 0;
  std::size_t omitted_ = 0;
  bool cutOff_ = false;
};

}  // namespace KorvoAgent
