// One entry of the software MAC table.
#pragma once

#include <cstdint>

#include "platform/collections/KeyedCollection.h"
#include "platform/types/IntfId.h"
#include "platform/types/MacVlanPair.h"
#include "platform/types/ModPort.h"

namespace KorvoL2 {

/** How an entry came to be and how it leaves. */
enum class MacEntryType : std::uint8_t {
  learnedDynamic,    ///< learned on a local port; ages
  learnedSecure,     ///< learned by port security; does not age
  configuredStatic,  ///< configured by the operator
  configuredDrop,    ///< configured: frames to this address are dropped
  peerDynamic,       ///< learned by the MLAG peer
  peerStatic,        ///< configured on the MLAG peer
  remoteDynamic,     ///< behind a VXLAN tunnel, from the control plane
  router,            ///< an address of the switch itself
  multicast,         ///< a group address; mcastId tells the group
};

/** Who told the agent. */
enum class MacEntrySource : std::uint8_t { hardware, software, config, mlagPeer, vxlan, system };

/** What the hardware key of an entry is made of; the numbers are the hardware's. */
enum class MacKeyType : std::uint8_t { bridge = 0, vfi = 3 };

/** Bits of an entry's flag word. */
namespace MacEntryFlag {
inline constexpr std::uint16_t kMoved = 1U << 0;          ///< has changed its interface
inline constexpr std::uint16_t kRouted = 1U << 1;         ///< frames to it are routed
inline constexpr std::uint16_t kVirtualRouted = 1U << 2;  ///< the same, for the virtual router MAC
inline constexpr std::uint16_t kDiscard = 1U << 3;        ///< frames to it are dropped
inline constexpr std::uint16_t kPending = 1U << 4;        ///< not yet programmed into every chip
inline constexpr unsigned kNumFlags = 5;
}  // namespace MacEntryFlag

/** The value behind a (VLAN, MAC address) key; a plain value. */
struct MacEntry {
  /** Where the address is; the default interface for none (dropped, multicast). */
  Bridging::IntfId intf{};
  /** The modules (chips 0 to 63) that hold the entry in hardware; bit n for module n. */
  std::uint64_t modBitmap = 0;
  Bridging::ModPort modPort{};
  /** Multicast group; 0 for none. */
  std::uint16_t mcastId = 0;
  std::uint16_t flags = 0;
  MacEntryType type = MacEntryType::learnedDynamic;
  MacEntrySource source = MacEntrySource::hardware;
  MacKeyType keyType = MacKeyType::bridge;
  /** Clear for entries that the agent keeps for itself; the dump of this table skips them. */
  bool printable = true;

  friend bool operator==(const MacEntry&, const MacEntry&) = default;
};

using MacEntryCollection = Qel::KeyedCollection<Bridging::MacVlanPair, MacEntry>;

}  // namespace KorvoL2
