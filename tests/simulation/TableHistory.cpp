#include "tests/simulation/TableHistory.h"

#include <algorithm>

namespace KorvoSimulation {

void TableHistory::presentIs(RowKey key, bool present, Turn now) {
  std::vector<Stay>& stays = stays_[key];
  const bool before = !stays.empty() && stays.back().to == kStillThere;
  if (present == before) return;
  if (!present) {
    stays.back().to = now;
  } else if (!stays.empty() && stays.back().to == now) {
    stays.back().to = kStillThere;
  } else {
    stays.push_back({now, kStillThere});
  }
}

void TableHistory::stateIs(const std::vector<RowKey>& keys, Turn now) {
  for (auto& [key, stays] : stays_) {
    if (!stays.empty() && stays.back().to == kStillThere &&
        !std::ranges::binary_search(keys, key)) {
      stays.back().to = now;
    }
  }
  for (const RowKey key : keys) presentIs(key, true, now);
}

bool TableHistory::presentAt(RowKey key, Turn turn) const { return presentWithin(key, turn, turn); }

bool TableHistory::presentWithin(RowKey key, Turn from, Turn to) const {
  const auto found = stays_.find(key);
  return found != stays_.end() && std::ranges::any_of(found->second, [&](const Stay& stay) {
           return stay.from <= to && stay.to > from;
         });
}

bool TableHistory::presentThroughout(RowKey key, Turn from, Turn to) const {
  const auto found = stays_.find(key);
  return found != stays_.end() && std::ranges::any_of(found->second, [&](const Stay& stay) {
           return stay.from <= from && stay.to > to;
         });
}

std::vector<RowKey> TableHistory::keysWithin(Turn from, Turn to) const {
  std::vector<RowKey> keys;
  for (const auto& [key, stays] : stays_) {
    if (presentWithin(key, from, to)) keys.push_back(key);
  }
  return keys;
}

}  // namespace KorvoSimulation
