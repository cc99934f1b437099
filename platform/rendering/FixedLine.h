// A line of a text table with columns of fixed width, put together in the print buffer itself.
//
//   FixedLine(buffer).left<8>("Et1").left<6>(10).right<4>(1).end();    "Et1     10       1"
//
// Cells are those of printf's "%-8s" and "%4d": padded with blanks to their width; content that is
// wider keeps its whole text and pushes what follows. For tables that are printed by the hundred
// thousand: there is no format to read and nothing is allocated.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include "platform/rendering/PrintBuffer.h"

namespace Rendering {

class FixedLine {
 public:
  /** `buffer` must outlive the line; nothing else may be printed to it before end(). */
  explicit FixedLine(PrintBuffer& buffer) noexcept : buffer_(buffer) {}

  /** Left-aligned in `kWidth` bytes. */
  template <std::size_t kWidth>
  FixedLine& left(std::string_view text) {
    char* const out = buffer_.reserve(std::max(kWidth, text.size()));
    std::memset(out, ' ', kWidth);  // a known width: a store or two
    if (!text.empty()) std::memcpy(out, text.data(), text.size());
    buffer_.commit(out + std::max(kWidth, text.size()));
    return *this;
  }
  template <std::size_t kWidth>
  FixedLine& left(std::uint32_t number) {
    char* const out = buffer_.reserve(std::max(kWidth, kMaxDigits));
    std::memset(out, ' ', kWidth);
    const char* const end = std::to_chars(out, out + kMaxDigits, number).ptr;
    buffer_.commit(std::max<const char*>(end, out + kWidth));
    return *this;
  }
  /** Left-aligned in `kWidth` bytes; "-" for 0, where that stands for "none". */
  template <std::size_t kWidth>
  FixedLine& leftOrDash(std::uint32_t number) {
    return number == 0 ? left<kWidth>("-") : left<kWidth>(number);
  }
  /** Right-aligned in `kWidth` bytes. */
  template <std::size_t kWidth>
  FixedLine& right(std::uint32_t number) {
    char digits[kMaxDigits];
    const char* const end = std::to_chars(digits, digits + kMaxDigits, number).ptr;
    const auto length = static_cast<std::size_t>(end - digits);
    const std::size_t padding = length < kWidth ? kWidth - length : 0;
    char* const out = buffer_.reserve(std::max(kWidth, kMaxDigits));
    std::memset(out, ' ', kWidth);
    std::memcpy(out + padding, digits, length);
    buffer_.commit(out + padding + length);
    return *this;
  }
  void end() { buffer_.append('\n'); }

 private:
  static constexpr std::size_t kMaxDigits = std::numeric_limits<std::uint32_t>::digits10 + 1;

  PrintBuffer& buffer_;
};

}  // namespace Rendering
