// The properties of hardware entries as the reports of the consistency checks name them.
//
// Most entries of a table have the same few sets of properties, so each set is made once: a report
// of half a million differences holds as many directories as there are ports.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstdint>

#include "agent/model/HwMacEntry.h"
#include "platform/l2/L2TableReadSm.h"

namespace KorvoAgent {

class PropertyDirs {
 public:
  using Dir = Qel::Ptr<const KorvoL2::EntryPropertyDir>;

  /** The properties of `entry`; the same directory for the same properties. */
  const Dir& of(const HwMacEntry& entry) {
    Dir& dir = dirs_[entry.propertyWord()];
    if (dir == nullptr) dir = make(entry);
    return dir;
  }

 private:
  static Dir make(const HwMacEntry& entry);

  absl::flat_hash_map<std::uint64_t, Dir> dirs_;
};

}  // namespace KorvoAgent
