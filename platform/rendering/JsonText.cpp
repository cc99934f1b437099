#include "platform/rendering/JsonText.h"

#include <cstdint>

namespace Rendering {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Length of the well-formed UTF-8 sequence at the start of `text` (Unicode 15, table 3-7); 0 if
// none.
std::size_t sequenceLength(std::string_view text) noexcept {
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

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  constexpr std::string_view kHex = "0123456789abcdef";
  out += '"';
  while (!text.empty()) {
    const char c = text.front();
    const auto byte = static_cast<std::uint8_t>(c);
    std::size_t used = 1;
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      default:
        if (byte < 0x20) {
          out += "\\u00";
          out += kHex[byte >> 4];
          out += kHex[byte & 0xF];
        } else if (const std::size_t length = sequenceLength(text); length != 0) {
          out += text.substr(0, length);
          used = length;
        } else {
          out += kReplacement;
        }
    }
    text.remove_prefix(used);
  }
  out += '"';
}

}  // namespace Rendering
