#include "agent/model/SwMacTable.h"

#include <utility>

namespace KorvoAgent {

using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;

const Qel::TypeData& SwMacTable::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::SwMacTable"};
  return kType;
}

bool SwMacTable::put(const Bridging::MacVlanPair& key, MacEntry entry) {
  const bool added = entries_.put(key, std::move(entry));
  changed("macEntry");
  return added;
}

bool SwMacTable::learn(const Bridging::MacVlanPair& key, Bridging::IntfId intf,
                       std::uint64_t modBitmap) {
  if (const MacEntry* const present = entries_.find(key)) {
    if (present->type != MacEntryType::learnedDynamic || present->intf == intf) return false;
    entries_.change(key, [&](MacEntry& entry) {
      entry.intf = intf;
      entry.flags |= KorvoL2::MacEntryFlag::kMoved;
    });
    changed("macEntry");
    return true;
  }
  put(key, MacEntry{.intf = intf, .modBitmap = modBitmap});
  return true;
}

bool SwMacTable::erase(const Bridging::MacVlanPair& key) {
  if (!entries_.erase(key)) return false;
  changed("macEntry");
  return true;
}

void SwMacTable::clear() {
  if (entries_.empty()) return;
  entries_.clear();
  changed("macEntry");
}

}  // namespace KorvoAgent
