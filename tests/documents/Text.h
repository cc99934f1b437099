// How expectations are written down: with snprintf and strings, and with none of the code that
// prints the documents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KorvoL2::Testing {

/** snprintf into a string. */
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

/** `text` as a JSON string with its quotes. `text` is valid UTF-8. */
std::string jsonString(std::string_view text);
/** "true" or "false". */
const char* jsonBool(bool value);
/** The members as an object, with commas between them. */
std::string jsonObject(const std::vector<std::string>& members);

/** Control bytes as \xNN, everything else as it is. */
std::string withoutControls(std::string_view text);

/** "hhhh.hhhh.hhhh". */
std::string macText(std::uint64_t mac);
/** A line of `length` dashes. */
std::string rule(std::size_t length);

/** A table of left-aligned columns whose cells wrap at their width. */
class ColumnTable {
 public:
  struct Column {
    std::string head;
    std::size_t width;
    std::size_t before;  ///< fewest blanks in front
    std::size_t after;   ///< fewest blanks behind
  };
  explicit ColumnTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /** The heads and a rule of dashes under each. */
  std::string heading() const;
  /** One row; cells beyond the last column are not shown. */
  std::string row(const std::vector<std::string>& cells) const;

 private:
  std::vector<Column> columns_;
};

}  // namespace KorvoL2::Testing
