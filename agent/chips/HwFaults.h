// Programming errors, injected at a seeded rate: what the consistency checks are there to find.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstddef>
#include <cstdint>

#include "agent/model/HwMacEntry.h"
#include "agent/model/SeededRandom.h"
#include "platform/types/FapId.h"

namespace KorvoAgent {

enum class HwFault : std::uint8_t {
  none,
  lostWrite,   ///< a new entry was not written: it is missing
  staleEntry,  ///< a change or a removal was not carried out: what was there stays
  wrongPort,   ///< the entry was written with another port
};

/**
 * Decides which writes go wrong, and remembers those whose effect still stands: until the same
 * entry of the same chip is written correctly.
 */
class HwFaults {
 public:
  /** `rate` is the share of writes that go wrong, 0 to 1. */
  HwFaults(double rate, std::uint64_t seed);

  bool enabled() const noexcept { return threshold_ != 0; }

  /**
   * What becomes of a write that turns `present` (empty: no entry) into `entry`, (empty: removed)
   * of the same key on `chip`. After wrongPort, `entry` has another port.
   */
  HwFault draw(Tessar::FapId chip, const HwMacEntry& present, HwMacEntry& entry);

  /** Where a fault stands. */
  struct Place {
    Tessar::FapId chip;
    HwMacKey key;
    friend bool operator==(const Place&, const Place&) noexcept = default;
    template <class H>
    friend H AbslHashValue(H h, const Place& place) {
      return H::combine(std::move(h), place.chip, place.key);
    }
  };
  using Standing = absl::flat_hash_map<Place, HwFault>;
  const Standing& standing() const noexcept { return standing_; }
  /** The chip and its errors have gone. */
  void chipDel(Tessar::FapId chip);

  /** Faults injected so far, whether or not they still stand. */
  struct Counts {
    std::uint64_t lostWrites = 0;
    std::uint64_t staleEntries = 0;
    std::uint64_t wrongPorts = 0;
  };
  const Counts& counts() const noexcept { return counts_; }

 private:
  HwFault kindOf(const HwMacEntry& present, HwMacEntry& entry);

  std::uint64_t threshold_;  // of 2^32
  SeededRandom random_;
  Standing standing_;
  Counts counts_;
};

}  // namespace KorvoAgent
