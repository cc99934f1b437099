// Ethernet addresses.
#pragma once

#include <compare>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Bridging {

/**
 * A 48-bit MAC address. The display form is "hhhh.hhhh.hhhh" in lower case; both that and
 * "hh:hh:hh:hh:hh:hh" are read, in either case. Ordered as a number, first byte highest.
 */
class EthAddr {
 public:
  /** Length of the display form. */
  static constexpr std::size_t kDisplayLength = 14;
  static constexpr std::uint64_t kMask = 0xffff'ffff'ffffULL;

  /** All zero. */
  constexpr EthAddr() noexcept = default;
  /** The low 48 bits of `value`. */
  constexpr explicit EthAddr(std::uint64_t value) noexcept : value_(value & kMask) {}
  /** Throws Qel::ParseException, which shows `text` and the two forms. */
  explicit EthAddr(std::string_view text);
  /** Nothing when `text` is in neither form. */
  static std::optional<EthAddr> parse(std::string_view text) noexcept;

  constexpr std::uint64_t value() const noexcept { return value_; }
  constexpr bool isZero() const noexcept { return value_ == 0; }
  /** The group bit: multicast and broadcast addresses. */
  constexpr bool isGroup() const noexcept { return ((value_ >> 40) & 1) != 0; }

  /** Writes the display form, exactly kDisplayLength characters without a terminator. */
  void writeDisplay(char* out) const noexcept;
  std::string stringValue() const;

  friend constexpr auto operator<=>(EthAddr, EthAddr) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, EthAddr a) {
    return H::combine(std::move(h), a.value_);
  }

 private:
  std::uint64_t value_ = 0;
};

inline void EthAddr::writeDisplay(char* out) const noexcept {
  // The twelve digits at once, each in a byte of its own: digits 0 to 7 in `high`, 8 to 11 in
  // `low`.
  const auto digits = [](std::uint64_t nibbles) noexcept {
    // "+ 0x76 + n" sets bit 7 of a byte whose nibble n is above 9; those bytes get 'a' - '0' - 10.
    const std::uint64_t letter = ((nibbles + 0x7676767676767676ULL) >> 7) & 0x0101010101010101ULL;
    return nibbles + 0x3030303030303030ULL + letter * 0x27;
  };
  const auto spread = [](std::uint64_t word) noexcept {  // 32 bits to 8 nibbles, highest first
    word = ((word << 16) | word) & 0x0000ffff0000ffffULL;
    word = ((word << 8) | word) & 0x00ff00ff00ff00ffULL;
    word = ((word << 4) | word) & 0x0f0f0f0f0f0f0f0fULL;
    return __builtin_bswap64(word);
  };
  const std::uint64_t high = digits(spread(value_ >> 16));
  const std::uint64_t low = digits(spread((value_ & 0xffff) << 16));
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "digits are placed by byte order");
  std::memcpy(out, &high, 4);
  out[4] = '.';
  const std::uint64_t second = high >> 32;
  std::memcpy(out + 5, &second, 4);
  out[9] = '.';
  std::memcpy(out + 10, &low, 4);
}

}  // namespace Bridging
