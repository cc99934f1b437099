// One entry of a chip's hardware MAC table.
//
// An entry is what the chip needs to forward a frame, packed as a chip packs it: what it is looked
// up by (a VLAN number or that of a virtual forwarding instance, the address, and the key type that
// tells which), one destination, and a few properties. All bytes zero is an empty slot.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/types/MacVlanPair.h"

namespace KorvoAgent {

/** How a chip treats an address; `none` marks an empty slot. */
enum class HwMacType : std::uint8_t {
  none,
  dynamic,    ///< learned on one of its ports; ages
  permanent,  ///< programmed by the agent; does not age
  remote,     ///< learned elsewhere (a tunnel, the MLAG peer); the chip neither learns nor ages it
  router,     ///< an address of the switch; frames to it are routed
  multicast,  ///< a group address
};

/** Indexed by HwMacType: what reports and rows show and documents read. */
inline constexpr std::array<std::string_view, 6> kHwMacTypeWords{"",       "dynamic", "static",
                                                                 "remote", "router",  "mcast"};

enum class HwDestinationKind : std::uint8_t { none, port, trunk, mcastGroup };

/** Where a chip sends frames: a port on a module, a trunk, a multicast group, or nowhere. */
struct HwDestination {
  HwDestinationKind kind = HwDestinationKind::none;
  std::uint16_t number = 0;  ///< of the module, the trunk or the group
  std::uint16_t port = 0;    ///< on that module

  static constexpr HwDestination onPort(std::uint16_t module, std::uint16_t port) noexcept {
    return {HwDestinationKind::port, module, port};
  }
  static constexpr HwDestination trunk(std::uint16_t id) noexcept {
    return {HwDestinationKind::trunk, id, 0};
  }
  static constexpr HwDestination mcastGroup(std::uint16_t id) noexcept {
    return {HwDestinationKind::mcastGroup, id, 0};
  }
  friend constexpr bool operator==(const HwDestination&, const HwDestination&) noexcept = default;
};

/** What a chip looks an entry up by. */
struct HwMacKey {
  Bridging::MacVlanPair pair;
  std::uint8_t keyType = 0;

  friend constexpr bool operator==(const HwMacKey&, const HwMacKey&) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, const HwMacKey& key) {
    return H::combine(std::move(h), key.pair, key.keyType);
  }
};

struct HwMacEntry {
  Bridging::MacVlanPair pair{};
  std::uint16_t destinationNumber = 0;
  std::uint16_t destinationPort = 0;
  std::uint16_t classId = 0;  ///< for the chip's access lists; 0 is no class
  std::uint8_t keyType = 0;
  HwMacType type : 4 = HwMacType::none;
  HwDestinationKind destinationKind : 2 = HwDestinationKind::none;
  bool dstDiscard : 1 = false;  ///< frames to the address are dropped
  bool invalid : 1 = false;     ///< the chip found the slot damaged and does not use it

  HwMacEntry() noexcept = default;
  /** An entry without destination and properties; with type none, an empty slot's that has a key.
   */
  HwMacEntry(const HwMacKey& of, HwMacType as) noexcept
      : pair(of.pair), keyType(of.keyType), type(as) {}

  bool isEmpty() const noexcept { return type == HwMacType::none; }
  HwMacKey key() const noexcept { return {pair, keyType}; }
  HwDestination destination() const noexcept {
    return {destinationKind, destinationNumber, destinationPort};
  }
  void destinationIs(const HwDestination& to) noexcept {
    destinationKind = to.kind;
    destinationNumber = to.number;
    destinationPort = to.port;
  }
  /** Everything but the key in one word: equal words, equal properties. */
  std::uint64_t propertyWord() const noexcept {
    return std::uint64_t{destinationNumber} | std::uint64_t{destinationPort} << 16 |
           std::uint64_t{classId} << 32 | std::uint64_t{static_cast<std::uint8_t>(type)} << 48 |
           std::uint64_t{static_cast<std::uint8_t>(destinationKind)} << 52 |
           std::uint64_t{dstDiscard} << 54 | std::uint64_t{invalid} << 55;
  }

  friend bool operator==(const HwMacEntry&, const HwMacEntry&) noexcept = default;
};

static_assert(sizeof(HwMacEntry) == 16);

}  // namespace KorvoAgent
