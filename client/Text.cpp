#include "client/Text.h"

#include <cstddef>

namespace KorvoCtl {

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  std::size_t end = text.find(separator);
  while (end != std::string_view::npos) {
    pieces.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
    end = text.find(separator);
  }
  pieces.push_back(text);
  return pieces;
}

}  // namespace KorvoCtl
