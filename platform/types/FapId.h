// Forwarding chip numbers.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <utility>

namespace Tessar {

/**
 * The number of one forwarding chip ("module") of the switch: 0 to 127, or the null id 128. One
 * byte; wider numbers are checked before they are narrowed.
 */
class FapId {
 public:
  static constexpr std::uint8_t min = 0;
  static constexpr std::uint8_t max = 127;
  static constexpr std::uint8_t null = 128;

  /** The null id. */
  constexpr FapId() noexcept = default;
  /**
   * Throws Qel::RangeException
   * "Tessar::FapId::value < Tessar::FapId::min or > Tessar::FapId::null not allowed".
   */
  constexpr explicit FapId(std::uint32_t value) : value_(checked(value)) {}

  constexpr std::uint8_t value() const noexcept { return value_; }
  constexpr bool isNull() const noexcept { return value_ == null; }
  std::string stringValue() const { return std::to_string(value_); }

  friend constexpr auto operator<=>(FapId, FapId) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, FapId f) {
    return H::combine(std::move(h), f.value_);
  }

 private:
  static constexpr std::uint8_t checked(std::uint32_t value) {
    if (value > null) outOfRange();
    return static_cast<std::uint8_t>(value);
  }
  [[noreturn]] static void outOfRange();

  std::uint8_t value_ = null;
};

}  // namespace Tessar
