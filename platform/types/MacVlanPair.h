// The key of the software MAC table.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/types/EthAddr.h"
#include "platform/types/VlanId.h"

namespace Bridging {

/**
 * A VLAN number and a MAC address, ordered by VLAN, then address. Eight bytes.
 *
 * The VLAN is a plain 16-bit number here, not a VlanId: 0 stands for "outside any VLAN", as a
 * bridge without VLAN filtering holds its entries, and the pair of all zero is the start of every
 * walk.
 */
class MacVlanPair {
 public:
  constexpr MacVlanPair() noexcept = default;
  constexpr MacVlanPair(VlanId vlan, EthAddr mac) noexcept : MacVlanPair(vlan.value(), mac) {}
  constexpr MacVlanPair(std::uint16_t vlanNumber, EthAddr mac) noexcept
      : packed_((std::uint64_t{vlanNumber} << 48) | mac.value()) {}

  constexpr std::uint32_t vlan() const noexcept {
    return static_cast<std::uint32_t>(packed_ >> 48);
  }
  constexpr EthAddr mac() const noexcept { return EthAddr(packed_); }
  std::string stringValue() const { return std::to_string(vlan()) + " " + mac().stringValue(); }

  friend constexpr auto operator<=>(MacVlanPair, MacVlanPair) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, MacVlanPair p) {
    return H::combine(std::move(h), p.packed_);
  }

 private:
  std::uint64_t packed_ = 0;
};

static_assert(sizeof(MacVlanPair) == 8);

}  // namespace Bridging
