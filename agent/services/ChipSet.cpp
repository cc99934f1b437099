#include "agent/services/ChipSet.h"

#include "platform/base/Exceptions.h"

namespace KorvoAgent {

void ChipSet::add(Tessar::FapId chip) {
  QEL_ASSERT(!chip.isNull());
  chips_.set(chip.value());
}

void ChipSet::remove(Tessar::FapId chip) {
  if (!chip.isNull()) chips_.reset(chip.value());
}

std::string ChipSet::text() const {
  std::string text;
  for (std::size_t first = 0; first < chips_.size(); ++first) {
    if (!chips_[first]) continue;
    std::size_t last = first;
    while (last + 1 < chips_.size() && chips_[last + 1]) ++last;
    if (!text.empty()) text += ',';
    text += std::to_string(first);
    if (last != first) text.append("-").append(std::to_string(last));
    first = last;
  }
  return text;
}

ChipSet idsOf(const std::vector<ChipName>& chips) {
  ChipSet ids;
  for (const ChipName& chip : chips) ids.add(chip.id);
  return ids;
}

}  // namespace KorvoAgent
