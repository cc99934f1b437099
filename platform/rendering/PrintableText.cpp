#include "platform/rendering/PrintableText.h"

#include <algorithm>
#include <cstdint>

namespace Rendering {

namespace {

bool isControl(char c) noexcept {
  const auto byte = static_cast<std::uint8_t>(c);
  return byte < 0x20 || byte == 0x7f;
}

}  // namespace

bool hasControlBytes(std::string_view text) noexcept {
  return std::any_of(text.begin(), text.end(), isControl);
}

std::string withoutControlBytes(std::string_view text) {
  constexpr std::string_view kHex = "0123456789abcdef";
  std::string shown;
  shown.reserve(text.size());
  for (const char c : text) {
    if (isControl(c)) {
      const auto byte = static_cast<std::uint8_t>(c);
      shown.append("\\x").append(1, kHex[byte >> 4]).append(1, kHex[byte & 0xF]);
    } else {
      shown += c;
    }
  }
  return shown;
}

std::string_view printableText(std::string_view text, std::string& room) {
  if (!hasControlBytes(text)) return text;
  room = withoutControlBytes(text);
  return room;
}

std::string quotedText(std::string_view text) {
  constexpr std::size_t kMost = 80;
  std::string quoted = "\"" + withoutControlBytes(text.substr(0, kMost));
  if (text.size() > kMost) quoted += "...";
  return quoted += '"';
}

}  // namespace Rendering
