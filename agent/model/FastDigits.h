// Digits of small numbers, a machine word at a time, for rows that are printed by the million.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace KorvoAgent {

static_assert(std::endian::native == std::endian::little, "digits are placed by byte order");

/** `count` digit characters in a word, first digit in the lowest byte. */
template <class Word>
struct Digits {
  Word word;          ///< with leading zeros
  unsigned leading8;  ///< how many leading zeros, times 8; the last digit is not counted

  /** For a right-aligned cell: leading zeros turned into blanks. */
  Word blanked() const noexcept {
    constexpr auto kToBlank = static_cast<Word>(0x1010101010101010ULL);  // '0' ^ ' '
    return word ^ (kToBlank & static_cast<Word>((Word{1} << leading8) - 1));
  }
  /** For text that continues: the digits at the low end, then rubbish. */
  Word leftAligned() const noexcept { return static_cast<Word>(word >> leading8); }
  unsigned length() const noexcept { return static_cast<unsigned>(sizeof(Word)) - leading8 / 8; }
};

template <class Word>
inline Digits<Word> digitsOf(Word word) noexcept {
  constexpr auto kZeros = static_cast<Word>(0x3030303030303030ULL);
  constexpr auto kLast = static_cast<Word>(Word{1} << (sizeof(Word) * 8 - 8));
  const auto significant = static_cast<Word>((word ^ kZeros) | kLast);
  return {word, static_cast<unsigned>(std::countr_zero(significant)) & ~7U};
}

/** Decimal digits of a number below 10000. */
inline Digits<std::uint32_t> decimal4(std::uint32_t value) noexcept {
  static constexpr auto kPairs = [] {
    std::array<std::uint16_t, 100> pairs{};
    for (unsigned i = 0; i < 100; ++i) {
      pairs[i] = static_cast<std::uint16_t>(('0' + i / 10) | (('0' + i % 10) << 8));
    }
    return pairs;
  }();
  return digitsOf(std::uint32_t{kPairs[value / 100]} | std::uint32_t{kPairs[value % 100]} << 16);
}

/** Hexadecimal digits of a 32-bit number, in lower case. */
inline Digits<std::uint64_t> hex8(std::uint32_t value) noexcept {
  std::uint64_t nibbles = value;  // spread to one per byte, highest first
  nibbles = ((nibbles << 16) | nibbles) & 0x0000ffff0000ffffULL;
  nibbles = ((nibbles << 8) | nibbles) & 0x00ff00ff00ff00ffULL;
  nibbles = ((nibbles << 4) | nibbles) & 0x0f0f0f0f0f0f0f0fULL;
  nibbles = __builtin_bswap64(nibbles);
  // "+ 0x76" sets bit 7 of a byte whose nibble is above 9; those bytes get 'a' - '0' - 10 as well.
  const std::uint64_t letters = ((nibbles + 0x7676767676767676ULL) >> 7) & 0x0101010101010101ULL;
  return digitsOf<std::uint64_t>(nibbles + 0x3030303030303030ULL + letters * 0x27);
}

/** Copies a word to memory of any alignment. */
template <class Word>
inline void store(char* out, Word word) noexcept {
  std::memcpy(out, &word, sizeof word);
}

}  // namespace KorvoAgent
