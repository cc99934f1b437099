// IP addresses.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Bridging {

/**
 * An IPv4 or IPv6 address. Printed in dotted decimal, or as RFC 5952 says: lower case, no leading
 * zeros, the longest run of zero groups (the first of equals, two groups at least) as "::". Read in
 * dotted decimal and in every form of RFC 4291; prefix lengths and zones are no part of an address.
 *
 * Every IPv4 address comes before every IPv6 address; within a family they are ordered as numbers.
 * An IPv4 address and its IPv6-mapped form are different addresses.
 */
class IpAddr {
 public:
  using Bytes = std::array<std::uint8_t, 16>;

  /** 0.0.0.0. */
  constexpr IpAddr() noexcept = default;
  /** An IPv4 address; its first byte is the highest of `value`. */
  static constexpr IpAddr v4(std::uint32_t value) noexcept {
    IpAddr addr;
    for (std::size_t i = 0; i < 4; ++i) {
      addr.bytes_[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    }
    return addr;
  }
  /** An IPv6 address, in network order. */
  static constexpr IpAddr v6(const Bytes& bytes) noexcept {
    IpAddr addr;
    addr.isV6_ = true;
    addr.bytes_ = bytes;
    return addr;
  }
  /** Throws Qel::ParseException, which shows `text`. */
  explicit IpAddr(std::string_view text);
  /** Nothing when `text` is no address. */
  static std::optional<IpAddr> parse(std::string_view text) noexcept;

  constexpr bool isV4() const noexcept { return !isV6_; }
  constexpr bool isV6() const noexcept { return isV6_; }
  /** 0.0.0.0 or "::", which stand for "none". */
  constexpr bool isUnspecified() const noexcept { return bytes_ == Bytes{}; }
  constexpr bool isMulticast() const noexcept {
    return isV6_ ? bytes_[0] == 0xff : (bytes_[0] & 0xf0) == 0xe0;
  }
  /** The address in network order; of an IPv4 address the first four bytes, then zeros. */
  constexpr const Bytes& bytes() const noexcept { return bytes_; }
  std::string stringValue() const;

  friend constexpr auto operator<=>(const IpAddr&, const IpAddr&) noexcept = default;
  template <class H>
  friend H AbslHashValue(H h, const IpAddr& a) {
    return H::combine(std::move(h), a.isV6_, a.bytes_);
  }

 private:
  bool isV6_ = false;
  Bytes bytes_{};
};

}  // namespace Bridging
