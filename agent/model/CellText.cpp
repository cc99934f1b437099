#include "agent/model/CellText.h"

#include <cstdint>

namespace KorvoAgent {

std::string withoutControlBytes(std::string_view text) {
  constexpr std::string_view kHex = "0123456789abcdef";
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (byte < 0x20 || byte == 0x7f) {
      shown.append("\\x").append(1, kHex[byte >> 4]).append(1, kHex[byte & 0xF]);
    } else {
      shown += c;
    }
  }
  return shown;
}

std::string intfCellText(Bridging::IntfId id, std::size_t room) {
  if (id.isDefault()) return "-";
  std::string whole = withoutControlBytes(id.stringValue());
  if (whole.size() <= room) return whole;
  std::string brief = withoutControlBytes(id.shortName());
  return brief.size() <= room ? brief : whole;
}

std::string shortIntfCellText(Bridging::IntfId id) {
  return id.isDefault() ? "-" : withoutControlBytes(id.shortName());
}

}  // namespace KorvoAgent
