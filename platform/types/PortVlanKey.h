// The key of tables by interface and VLAN.
#pragma once

#include <compare>
#include <string>
#include <utility>

#include "platform/types/IntfId.h"
#include "platform/types/VlanId.h"

namespace Bridging {

/**
 * An interface and a VLAN on it, ordered by interface (see IntfId), then VLAN. Printed as both with
 * a blank between them. The default key, no interface and VLAN 1, is the lowest of all and so the
 * start of every walk.
 */
class PortVlanKey {
 public:
  PortVlanKey() noexcept = default;
  PortVlanKey(IntfId intf, VlanId vlan) noexcept : intf_(intf), vlan_(vlan) {}

  IntfId intf() const noexcept { return intf_; }
  VlanId vlan() const noexcept { return vlan_; }
  std::string stringValue() const { return intf_.stringValue() + " " + vlan_.stringValue(); }

  friend bool operator==(const PortVlanKey&, const PortVlanKey&) noexcept = default;
  friend std::strong_ordering operator<=>(const PortVlanKey&,
                                          const PortVlanKey&) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, const PortVlanKey& k) {
    return H::combine(std::move(h), k.intf_, k.vlan_);
  }

 private:
  IntfId intf_;
  VlanId vlan_;
};

}  // namespace Bridging
