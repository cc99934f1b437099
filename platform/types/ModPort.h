// A port as a forwarding chip addresses it.
#pragma once

#include <compare>
#include <cstdint>

namespace Bridging {

/**
 * Module (forwarding chip) and port number on it, each 16 bits wide. The default, module 0x40 port
 * 0x3FF, is what the hardware uses for "no port".
 */
struct ModPort {
  std::uint16_t module = 0x40;
  std::uint16_t port = 0x3FF;

  friend constexpr auto operator<=>(const ModPort&, const ModPort&) noexcept = default;
};

}  // namespace Bridging
