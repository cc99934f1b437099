// What every writer of text has to know about UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Rendering {

/**
 * Length in bytes of the well-formed UTF-8 sequence at the start of `text` (Unicode 15, table 3-7);
 * 0 if there is none. `text` must not be empty.
 */
constexpr std::size_t utf8SequenceLength(std::string_view text) noexcept {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const auto continues = [&](std::size_t i, std::uint8_t low = 0x80, std::uint8_t high = 0xBF) {
    return i < text.size() && byte(i) >= low && byte(i) <= high;
  };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return continues(1) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    const std::uint8_t low = lead == 0xE0 ? 0xA0 : 0x80;
    const std::uint8_t high = lead == 0xED ? 0x9F : 0xBF;
    return continues(1, low, high) && continues(2) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    const std::uint8_t low = lead == 0xF0 ? 0x90 : 0x80;
    const std::uint8_t high = lead == 0xF4 ? 0x8F : 0xBF;
    return continues(1, low, high) && continues(2) && continues(3) ? 4 : 0;
  }
  return 0;
}

}  // namespace Rendering
