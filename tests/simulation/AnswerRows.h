// The rows of an answer, read back from its text or JSON.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tests/simulation/TableHistory.h"

namespace KorvoSimulation {

struct AnswerRow {
  /** Which of the answer's tables the row is of: a chip's name, a heading, "Y" or "N". */
  std::string section;
  RowKey key = 0;
  /** Where the row begins in the answer, in bytes. */
  std::size_t offset = 0;

  /** The same row, wherever it stands. */
  bool sameAs(const AnswerRow& other) const { return section == other.section && key == other.key; }
};

/**
 * The rows of the complete answer to an asynchronous command of that keyword, in the order of the
 * answer. Throws std::runtime_error for JSON that is not one strict document, for duplicate members
 * of an object, and for rows that cannot be read.
 */
std::vector<AnswerRow> rowsOfText(std::string_view keyword, const std::string& answer);
std::vector<AnswerRow> rowsOfJson(std::string_view keyword, const std::string& answer);

}  // namespace KorvoSimulation
