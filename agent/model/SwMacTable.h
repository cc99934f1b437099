// The software MAC table of the switch model.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "agent/model/MacRowPrinter.h"
#include "platform/l2/MacTblShadow.h"

namespace KorvoAgent {

/** What the agent believes every chip's MAC table should hold. See MacRowPrinter for its rows. */
class SwMacTable final : public KorvoL2::MacTblShadow {
 public:
  const KorvoL2::MacEntryCollection* macEntry() const override {
    return collectionPresent_ ? &entries_ : nullptr;
  }
  void printMacEntry(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
                     const KorvoL2::MacEntry& entry) const override {
    printer_.print(renderer, key, entry);
  }
  const Qel::TypeData& typeData() const noexcept override;

  /** Whether there is a collection to walk; while clear, macEntry() is null. */
  void collectionPresentIs(bool present) {
    attributeIs(collectionPresent_, present, "collectionPresent");
  }

  const KorvoL2::MacEntryCollection& entries() const noexcept { return entries_; }
  std::size_t size() const noexcept { return entries_.size(); }

  /** Adds the entry or replaces the one of that key; true if it was added. */
  bool put(const Bridging::MacVlanPair& key, KorvoL2::MacEntry entry);
  /**
   * An address seen on an interface: adds a learnedDynamic entry held by the modules of
   * `modBitmap`, or moves a learnedDynamic one from another interface, which sets its flag kMoved.
   * An entry of any other type stays as it is. True if the table changed.
   */
  bool learn(const Bridging::MacVlanPair& key, Bridging::IntfId intf, std::uint64_t modBitmap);
  /** Removes the entry; false if it was not there. */
  bool erase(const Bridging::MacVlanPair& key);
  void clear();

 private:
  KorvoL2::MacEntryCollection entries_;
  bool collectionPresent_ = true;
  mutable MacRowPrinter printer_;  // caches the cells of interfaces
};

}  // namespace KorvoAgent
