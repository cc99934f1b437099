// Small free helpers of the request state machines: taking lists apart and lining columns up.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KorvoL2 {

/**
 * Appends the pieces of `text` between delimiters to `pieces`, as reading delimited fields from a
 * stream does: empty pieces between two delimiters are kept, an empty text has no piece, and a
 * delimiter at the end opens no empty last one ("1,,2" is three pieces, "1,2," is two).
 */
void split(std::string_view text, char delimiter, std::vector<std::string>& pieces);

/**
 * A decimal number as lenient tools read it: leading blanks and a sign are taken, reading stops at
 * the first character that is no digit, and a text without digits is 0. Wider numbers wrap to their
 * low 64 bits.
 */
std::int64_t lenientDecimal(std::string_view text) noexcept;

/** Appends `fill` to each column until all are as long as the longest; removes nothing. */
template <class... Columns>
void zip_longest(const std::string& fill, Columns&... columns) {
  const std::size_t longest = std::max({columns.size()...});
  (columns.resize(longest, fill), ...);
}

}  // namespace KorvoL2
