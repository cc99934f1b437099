// VLAN numbers and ranges of them.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace Bridging {

/** A VLAN number, 1 to 4094 (IEEE 802.1Q; 0 and 4095 are reserved). Printed in decimal. */
class VlanId {
 public:
  static constexpr std::uint16_t kMin = 1;
  static constexpr std::uint16_t kMax = 4094;

  /** VLAN 1, the default VLAN. */
  constexpr VlanId() noexcept = default;
  /** Throws Qel::RangeException "Bridging::VlanId::value < 1 or > 4094 not allowed". */
  constexpr explicit VlanId(std::uint32_t value) : value_(checked(value)) {}

  constexpr std::uint16_t value() const noexcept { return value_; }
  std::string stringValue() const { return std::to_string(value_); }

  friend constexpr auto operator<=>(VlanId, VlanId) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, VlanId v) {
    return H::combine(std::move(h), v.value_);
  }

 private:
  static constexpr std::uint16_t checked(std::uint32_t value) {
    if (value < kMin || value > kMax) outOfRange();
    return static_cast<std::uint16_t>(value);
  }
  [[noreturn]] static void outOfRange();

  std::uint16_t value_ = kMin;
};

/** The VLANs from first() to last(), both included. Printed as "10-20", a single VLAN as "10". */
class VlanIdRange {
 public:
  constexpr explicit VlanIdRange(VlanId single) noexcept : first_(single), last_(single) {}
  /** Throws Qel::RangeException when `last` is below `first`. */
  VlanIdRange(VlanId first, VlanId last);

  constexpr VlanId first() const noexcept { return first_; }
  constexpr VlanId last() const noexcept { return last_; }
  constexpr bool contains(VlanId vlan) const noexcept { return first_ <= vlan && vlan <= last_; }
  std::string stringValue() const;

  friend constexpr auto operator<=>(const VlanIdRange&, const VlanIdRange&) noexcept = default;

 private:
  VlanId first_;
  VlanId last_;
};

}  // namespace Bridging
