// UTF-8, as far as writers of text need it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Text {

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

/** The code point of one well-formed sequence. */
constexpr char32_t utf8CodePoint(std::string_view sequence) noexcept {
  const auto lead = static_cast<std::uint8_t>(sequence[0]);
  if (sequence.size() == 1) return lead;
  // The lead byte of a sequence of n bytes begins with n ones and a zero.
  char32_t codePoint = lead & (0x7FU >> sequence.size());
  for (const char c : sequence.substr(1)) {
    codePoint = codePoint << 6 | (static_cast<std::uint8_t>(c) & 0x3FU);
  }
  return codePoint;
}

}  // namespace Text
