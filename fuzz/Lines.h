// The lines of an input that holds many commands.
#pragma once

#include <string_view>
#include <vector>

namespace KorvoFuzz {

/** What stands between line ends, without empty ones; views into `text`. */
inline std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const auto end = text.find('\n');
    if (end != 0) lines.push_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

}  // namespace KorvoFuzz
