// Sets of forwarding chips, and the chips of a switch as its services see them.
#pragma once

#include <bitset>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/types/FapId.h"

namespace KorvoAgent {

/** Any of the chips 0 to 127. */
class ChipSet {
 public:
  ChipSet() = default;
  explicit ChipSet(Tessar::FapId chip) { add(chip); }
  /** Module n for bit n, as in bitmaps of the MAC table. */
  static ChipSet ofModules(std::uint64_t bitmap) {
    ChipSet set;
    set.chips_ = bitmap;
    return set;
  }

  /** Throws AssertionException for the null id. */
  void add(Tessar::FapId chip);
  void remove(Tessar::FapId chip);
  /** The null id is in no set. */
  bool has(Tessar::FapId chip) const noexcept { return !chip.isNull() && chips_[chip.value()]; }
  bool empty() const noexcept { return chips_.none(); }
  /** "0-2,5"; empty for none. */
  std::string text() const;

  ChipSet operator&(const ChipSet& other) const { return ChipSet(chips_ & other.chips_); }
  /** Those that are in this set and not in the other. */
  ChipSet without(const ChipSet& other) const { return ChipSet(chips_ & ~other.chips_); }
  bool operator==(const ChipSet&) const = default;

 private:
  using Bits = std::bitset<Tessar::FapId::max + 1>;
  explicit ChipSet(const Bits& chips) : chips_(chips) {}
  Bits chips_;
};

/** One chip of the switch. */
struct ChipName {
  Tessar::FapId id;
  std::string name;
};
/** Tells the chips that are present at the time, ascending by id. */
using ChipNames = std::function<std::vector<ChipName>()>;

/** The ids of those chips. */
ChipSet idsOf(const std::vector<ChipName>& chips);

}  // namespace KorvoAgent
