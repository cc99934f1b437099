#include "text/JsonString.h"

#include <algorithm>

#include "text/Printable.h"
#include "text/Utf8.h"

namespace Text {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// What stands in a JSON string as it is, one byte at a time.
bool standsAsItIs(char c) noexcept { return c >= ' ' && c < '\x7F' && c != '"' && c != '\\'; }

// The letter of the short escape of `c`, or 0.
char escapeLetter(char c) noexcept {
  switch (c) {
    case '"':
    case '\\':
      return c;
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    default:
      return '\0';
  }
}

void appendEscape(std::string& out, char32_t c) {
  constexpr std::string_view kHex = "0123456789abcdef";
  out += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) out += kHex[c >> shift & 0xF];
}

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  out += '"';
  while (true) {
    const auto plain = static_cast<std::size_t>(
        std::find_if_not(text.begin(), text.end(), standsAsItIs) - text.begin());
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const std::size_t length = utf8SequenceLength(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    if (length == 0) {
      out += kReplacement;
    } else if (const char letter = escapeLetter(text.front()); letter != '\0') {
      (out += '\\') += letter;
    } else if (const char32_t c = utf8CodePoint(character); isUnsafe(c)) {
      appendEscape(out, c);
    } else {
      out += character;
    }
    text.remove_prefix(character.size());
  }
  out += '"';
}

}  // namespace Text
