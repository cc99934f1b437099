#include "agent/model/CellText.h"

#include "text/Printable.h"

namespace KorvoAgent {

std::string intfCellText(Bridging::IntfId id, std::size_t room) {
  if (id.isDefault()) return "-";
  std::string whole = Text::printable(id.stringValue());
  if (whole.size() <= room) return whole;
  return id.shortName().size() <= room ? id.shortName() : whole;
}

std::string shortIntfCellText(Bridging::IntfId id) { return id.isDefault() ? "-" : id.shortName(); }

}  // namespace KorvoAgent
