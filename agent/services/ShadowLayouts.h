// The hardware tables whose shadows the command-ring manager keeps.
#pragma once

#include <span>

#include "agent/services/ShadowTableModel.h"

namespace KorvoAgent {

/** In the order in which commands look for their names. */
enum class ShadowTableId : std::uint8_t {
  egrVfi,
  egrXlate2,
  egrXlate,
  evTap,
  ivTap,
  sourceVp,
  vfi,
  vlanXlate2,
  vlanXlate,
};
inline constexpr std::size_t kNumShadowTables = 9;

/** By ShadowTableId. */
std::span<const ShadowLayout, kNumShadowTables> shadowLayouts();

}  // namespace KorvoAgent
