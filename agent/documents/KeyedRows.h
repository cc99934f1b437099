// Rows of a list that each have a key of their own, on their way into a table.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "agent/documents/JsonNode.h"
#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

/** Takes one row for each element of a list, in the list's order. */
template <class Key, class Value>
class KeyedRows {
 public:
  void add(Key key, Value value) {
    const auto index = static_cast<std::uint32_t>(rows_.size());
    rows_.push_back({std::move(key), index, std::move(value)});
  }

  /**
   * Calls `put(key, value)` for every row, ascending by key: filling a table is then no more than
   * appending to it. Two rows of one key are refused; `describe(key)` begins the sentence, as in
   * "VLAN 10 is".
   */
  template <class Describe, class Put>
  void fill(const JsonNode& list, Describe&& describe, Put&& put) {
    const auto before = [](const Row& a, const Row& b) {
      return a.key != b.key ? a.key < b.key : a.index < b.index;
    };
    if (!std::ranges::is_sorted(rows_, before)) std::ranges::sort(rows_, before);
    const auto twice = std::ranges::adjacent_find(rows_, {}, &Row::key);
    if (twice != rows_.end()) {
      refuseSameKey(list, twice->index, std::next(twice)->index, describe(twice->key));
    }
    for (Row& row : rows_) put(row.key, std::move(row.value));
  }

 private:
  struct Row {
    Key key;
    std::uint32_t index;  // in the list
    Value value;
  };
  std::vector<Row> rows_;
};

}  // namespace KorvoAgent
