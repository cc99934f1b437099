// Which keys a table held at which turn of a simulation: the model that dumps are held against.
//
// Tables change between two slices only, so a turn is one state of every table. A key that is taken
// out and put back between two slices was never away: a walk that is still to come by shows it.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace KorvoSimulation {

/** A row's key as a number; ascends as the table's own order does. */
using RowKey = std::uint64_t;
using Turn = std::uint64_t;

class TableHistory {
 public:
  /** `key` is there, or is not, from turn `now` on. Turns never decrease. */
  void presentIs(RowKey key, bool present, Turn now);
  /** Makes the state of turn `now` exactly `keys`, ascending. */
  void stateIs(const std::vector<RowKey>& keys, Turn now);

  bool presentAt(RowKey key, Turn turn) const;
  /** Whether it was there at any turn of [from, to]. */
  bool presentWithin(RowKey key, Turn from, Turn to) const;
  /** Whether it was there at every turn of [from, to]. */
  bool presentThroughout(RowKey key, Turn from, Turn to) const;
  /** The keys that were there at any turn of [from, to]; ascending. */
  std::vector<RowKey> keysWithin(Turn from, Turn to) const;

 private:
  static constexpr Turn kStillThere = ~Turn{0};
  struct Stay {
    Turn from;
    Turn to;  // the first turn without it
  };
  std::map<RowKey, std::vector<Stay>> stays_;
};

}  // namespace KorvoSimulation
