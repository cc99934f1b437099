#include "platform/l2/L2TableReadSm.h"

namespace KorvoL2 {

void EntryPropertyDir::propertyIs(std::string_view name, std::string value) {
  for (auto& [present, stored] : properties_) {
    if (present == name) {
      stored = std::move(value);
      return;
    }
  }
  properties_.emplace_back(name, std::move(value));
}

const std::string* EntryPropertyDir::property(std::string_view name) const noexcept {
  for (const auto& [present, value] : properties_) {
    if (present == name) return &value;
  }
  return nullptr;
}

}  // namespace KorvoL2
