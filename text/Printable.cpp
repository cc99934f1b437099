#include "text/Printable.h"

#include <algorithm>
#include <cstdint>

#include "text/Utf8.h"

namespace Text {

namespace {

constexpr std::string_view kHex = "0123456789abcdef";

bool isPlain(char c) noexcept { return static_cast<std::uint8_t>(c - ' ') < 0x7F - ' '; }

// Length of the character at the start of `text` if it is shown as it is, else 0.
std::size_t shownLength(std::string_view text) noexcept {
  const std::size_t length = utf8SequenceLength(text);
  return length != 0 && !isUnsafe(utf8CodePoint(text.substr(0, length))) ? length : 0;
}

void appendByte(std::string& out, char c) {
  const auto byte = static_cast<std::uint8_t>(c);
  out.append("\\x").append(1, kHex[byte >> 4]).append(1, kHex[byte & 0xF]);
}

// All of these have four digits: no unsafe character lies beyond U+FFFF.
void appendCodePoint(std::string& out, char32_t c) {
  out += "\\u{";
  for (int shift = 12; shift >= 0; shift -= 4) out += kHex[c >> shift & 0xF];
  out += '}';
}

}  // namespace

bool isPrintable(std::string_view text) noexcept {
  while (true) {
    text.remove_prefix(static_cast<std::size_t>(
        std::find_if_not(text.begin(), text.end(), isPlain) - text.begin()));
    if (text.empty()) return true;
    const std::size_t length = shownLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
}

std::string printable(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    std::size_t used = shownLength(text);
    if (used != 0) {
      shown += text.substr(0, used);
    } else if (used = utf8SequenceLength(text); used > 1) {
      appendCodePoint(shown, utf8CodePoint(text.substr(0, used)));
    } else {
      used = 1;
      appendByte(shown, text.front());
    }
    text.remove_prefix(used);
  }
  return shown;
}

std::string_view printable(std::string_view text, std::string& room) {
  if (isPrintable(text)) return text;
  room = printable(text);
  return room;
}

std::string shortened(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return std::string(text);
  const auto continues = [&](std::size_t i) {
    return (static_cast<std::uint8_t>(text[i]) & 0xC0U) == 0x80U;
  };
  std::size_t end = limit;
  while (end > 0 && continues(end)) --end;
  return std::string(text.substr(0, end)) + "...";
}

std::string inQuotes(std::string_view text, std::size_t limit) {
  std::string quoted = "\"";
  for (const char c : shortened(text, limit)) {
    if (c == '\0') {
      appendByte(quoted, c);
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

}  // namespace Text
