#include "platform/rendering/JsonText.h"

#include <cstdint>

#include "platform/rendering/Utf8.h"

namespace Rendering {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

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
        } else if (const std::size_t length = utf8SequenceLength(text); length != 0) {
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
