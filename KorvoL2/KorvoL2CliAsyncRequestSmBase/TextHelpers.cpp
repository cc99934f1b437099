#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/TextHelpers.h"

namespace KorvoL2 {

void split(std::string_view text, char delimiter, std::vector<std::string>& pieces) {
  while (!text.empty()) {
    const std::size_t end = text.find(delimiter);
    pieces.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

std::int64_t lenientDecimal(std::string_view text) noexcept {
  std::size_t i = 0;
  const auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  while (i < text.size() && blank(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  std::uint64_t value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = value * 10 + static_cast<std::uint64_t>(text[i] - '0');
  }
  return static_cast<std::int64_t>(negative ? ~value + 1 : value);
}

}  // namespace KorvoL2
