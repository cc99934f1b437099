// The words for the enumerations and flags of a MAC entry: what rows print and documents read.
//
// They are spelled as the enumerators are, so that code, output and documents say the same.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/l2/MacEntry.h"

namespace KorvoAgent {

/** Indexed by KorvoL2::MacEntryType. */
inline constexpr std::array<std::string_view, 9> kMacTypeWords{
    "learnedDynamic", "learnedSecure", "configuredStatic", "configuredDrop", "peerDynamic",
    "peerStatic",     "remoteDynamic", "router",           "multicast"};

/** Indexed by KorvoL2::MacEntrySource. */
inline constexpr std::array<std::string_view, 6> kMacSourceWords{"hardware", "software", "config",
                                                                 "mlagPeer", "vxlan",    "system"};

/** A hardware key type and its word; the numbers of key types have gaps. */
struct MacKeyTypeWord {
  KorvoL2::MacKeyType keyType;
  std::string_view word;
};
inline constexpr std::array<MacKeyTypeWord, 2> kMacKeyTypeWords{{
    {KorvoL2::MacKeyType::bridge, "bridge"},
    {KorvoL2::MacKeyType::vfi, "vfi"},
}};

/** Indexed by the number of the bit in the flag word. */
inline constexpr std::array<std::string_view, KorvoL2::MacEntryFlag::kNumFlags> kMacFlagWords{
    "moved", "routed", "virtualRouted", "discard", "pending"};

static_assert(static_cast<std::size_t>(KorvoL2::MacEntryType::multicast) + 1 ==
              kMacTypeWords.size());
static_assert(static_cast<std::size_t>(KorvoL2::MacEntrySource::system) + 1 ==
              kMacSourceWords.size());

}  // namespace KorvoAgent
