#include "agent/server/PrintableText.h"

#include <simdjson.h>

#include <algorithm>

namespace KorvoAgent {

namespace {

constexpr std::string_view kCutMark = "...";

// At its first use the library finds out what the processor can do, for which it takes memory and
// ends the process if it gets none. So it is used once while the program starts.
[[maybe_unused]] const bool kLibraryUsed = simdjson::validate_utf8("", 0);

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U; }

}  // namespace

std::string printable(std::string_view text, std::size_t limit) {
  const bool cut = text.size() > limit;
  if (cut) {
    std::size_t end = limit;
    while (end > 0 && isContinuation(text[end])) --end;
    text = text.substr(0, end);
  }
  const bool valid = simdjson::validate_utf8(text.data(), text.size());
  std::string result(text);
  std::ranges::replace_if(
      result,
      [valid](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7f || (byte >= 0x80 && !valid);
      },
      '?');
  if (cut) result += kCutMark;
  return result;
}

}  // namespace KorvoAgent
