#include "agent/model/SwMacTable.h"

#include "platform/base/Exceptions.h"

namespace KorvoAgent {

using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
using KorvoL2::MacKeyType;
namespace Flag = KorvoL2::MacEntryFlag;

const Qel::TypeData& SwMacTable::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::SwMacTable"};
  return kType;
}

void SwMacTable::printMacEntryHw(Rendering::RendererV2& renderer, Rendering::TableRenderer* table,
                                 Tessar::FapId fapId, bool detail, const MacVlanPair& key,
                                 const MacEntry& entry, KorvoL2::KorvoL2McastHelper*) const {
  QEL_ASSERT(hwRows_ != nullptr);
  hwRows_->printHwRow(renderer, detail ? table : nullptr, fapId, entries_, key, entry);
}

bool SwMacTable::put(const MacVlanPair& key, MacEntry entry) {
  const std::optional<MacKeyType> before = keyTypeForListener(key);
  const bool added = entries_.put(key, entry);
  entryChanged(key, before);
  return added;
}

bool SwMacTable::learn(const MacVlanPair& key, Bridging::IntfId intf, std::uint64_t modBitmap) {
  if (const MacEntry* const present = entries_.find(key)) {
    if (present->type != MacEntryType::learnedDynamic || present->intf == intf) return false;
    const MacKeyType keyType = present->keyType;
    entries_.change(key, [&](MacEntry& entry) {
      entry.intf = intf;
      entry.flags |= Flag::kMoved;
    });
    entryChanged(key, keyType);
    ++numReported_;
    return true;
  }
  ++numReported_;
  put(key, MacEntry{.intf = intf, .modBitmap = modBitmap});
  return true;
}

bool SwMacTable::erase(const MacVlanPair& key) {
  const std::optional<MacKeyType> before = keyTypeForListener(key);
  if (!entries_.erase(key)) return false;
  entryChanged(key, before);
  return true;
}

void SwMacTable::clear() {
  if (listener_ != nullptr) {
    // One after the other, so that what the chips hold is taken out too.
    while (!entries_.empty()) erase(MacVlanPair(entries_.begin()->key));
    return;
  }
  if (entries_.empty()) return;
  entries_.clear();
  changed("macEntry");
}

void SwMacTable::hwStateIs(const MacVlanPair& key, std::uint64_t modBitmap, bool pending) {
  entries_.change(key, [&](MacEntry& entry) {
    entry.modBitmap = modBitmap;
    if (pending) {
      entry.flags |= Flag::kPending;
    } else {
      entry.flags &= static_cast<std::uint16_t>(~Flag::kPending);
    }
  });
}

void SwMacTable::entryChanged(const MacVlanPair& key, std::optional<MacKeyType> before) {
  if (listener_ != nullptr) listener_->macEntryChanged(key, before);
  changed("macEntry");
}

std::optional<MacKeyType> SwMacTable::keyTypeForListener(const MacVlanPair& key) const {
  // Looked up only where somebody wants to know: tables of millions are filled through here.
  const MacEntry* const entry = listener_ == nullptr ? nullptr : entries_.find(key);
  return entry == nullptr ? std::nullopt : std::optional(entry->keyType);
}

}  // namespace KorvoAgent
