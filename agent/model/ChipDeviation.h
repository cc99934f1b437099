// What a chip is said to hold other than the software: read from a document, made by a demo, and
// brought about in the chip's table once it has been programmed.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "agent/model/HwMacEntry.h"

namespace KorvoAgent {

/** Properties of a hardware entry, as far as they are said. */
struct HwMacProperties {
  std::optional<HwDestination> destination{};
  std::optional<std::uint16_t> classId{};
  std::optional<HwMacType> type{};
  std::optional<bool> dstDiscard{};
  std::optional<bool> invalid{};

  /** Gives `entry` those that are said. */
  void applyTo(HwMacEntry& entry) const noexcept {
    if (destination) entry.destinationIs(*destination);
    if (classId) entry.classId = *classId;
    if (type) entry.type = *type;
    if (dstDiscard) entry.dstDiscard = *dstDiscard;
    if (invalid) entry.invalid = *invalid;
  }
};

/** A chip's deviations; entries are those of the software table unless said otherwise. */
struct ChipDeviations {
  struct Differing {
    Bridging::MacVlanPair pair;
    HwMacProperties properties;
  };
  /** An entry that software does not have. */
  struct Extra {
    HwMacKey key;
    HwMacProperties properties;
  };
  std::vector<Differing> differs{};
  std::vector<Bridging::MacVlanPair> missing{};
  std::vector<Extra> extra{};

  bool empty() const noexcept { return differs.empty() && missing.empty() && extra.empty(); }
};

}  // namespace KorvoAgent
