// The key of tables by VLAN and IP version.
#pragma once

#include <compare>
#include <string>
#include <utility>

#include "platform/types/VlanId.h"

namespace Bridging {

/**
 * A VLAN and whether its IPv6 or its IPv4 side is meant, ordered by VLAN, IPv4 first. Printed as
 * "10 v4". The default key, the IPv4 side of VLAN 1, is the lowest of all.
 */
class VlanIpVerKey {
 public:
  constexpr VlanIpVerKey() noexcept = default;
  constexpr VlanIpVerKey(VlanId vlan, bool isV6) noexcept : vlan_(vlan), isV6_(isV6) {}

  constexpr VlanId vlan() const noexcept { return vlan_; }
  constexpr bool isV6() const noexcept { return isV6_; }
  std::string stringValue() const { return vlan_.stringValue() + (isV6_ ? " v6" : " v4"); }

  friend constexpr auto operator<=>(const VlanIpVerKey&, const VlanIpVerKey&) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, const VlanIpVerKey& k) {
    return H::combine(std::move(h), k.vlan_, k.isV6_);
  }

 private:
  VlanId vlan_;
  bool isV6_ = false;
};

}  // namespace Bridging
