// The key of an entry in a chip's layer-2 hardware table.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/types/EthAddr.h"

namespace KorvoL2 {

/**
 * What the hardware looks an entry up by: a number, a MAC address, and the key type that tells what
 * the number is (the chip's own code: 0 for a VLAN, 3 for a virtual forwarding instance). Ordered
 * by number, address, key type; printed as the three with a blank between them. All zero, the
 * default, is the start of every walk.
 */
class L2HwEntryKey {
 public:
  constexpr L2HwEntryKey() noexcept = default;
  constexpr L2HwEntryKey(std::uint32_t vlan, Bridging::EthAddr mac, std::uint8_t keyType) noexcept
      : vlan_(vlan), keyType_(keyType), mac_(mac) {}

  /** The VLAN number or that of the virtual forwarding instance; not checked for a range. */
  constexpr std::uint32_t vlan() const noexcept { return vlan_; }
  constexpr Bridging::EthAddr mac() const noexcept { return mac_; }
  constexpr std::uint8_t keyType() const noexcept { return keyType_; }
  std::string stringValue() const {
    return std::to_string(vlan_) + " " + mac_.stringValue() + " " + std::to_string(keyType_);
  }

  friend constexpr bool operator==(const L2HwEntryKey&, const L2HwEntryKey&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const L2HwEntryKey& a,
                                                    const L2HwEntryKey& b) noexcept {
    if (a.vlan_ != b.vlan_) return a.vlan_ <=> b.vlan_;
    if (a.mac_ != b.mac_) return a.mac_ <=> b.mac_;
    return a.keyType_ <=> b.keyType_;
  }
  template <class H>
  friend H AbslHashValue(H h, const L2HwEntryKey& k) {
    return H::combine(std::move(h), k.vlan_, k.mac_, k.keyType_);
  }

 private:
  std::uint32_t vlan_ = 0;
  std::uint8_t keyType_ = 0;
  Bridging::EthAddr mac_;
};

static_assert(sizeof(L2HwEntryKey) == 16);

}  // namespace KorvoL2
