// The software MAC table of the switch model.
//
// Hardware follows it: whoever programs the chips listens to its changes and notes here how far it
// has come with an entry; whoever keeps the chips prints what they hold for one.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "agent/model/HwMacRows.h"
#include "agent/model/MacRowPrinter.h"
#include "platform/l2/MacTblShadow.h"

namespace KorvoAgent {

/** What the agent believes every chip's MAC table should hold. See MacRowPrinter for its rows. */
class SwMacTable final : public KorvoL2::MacTblShadow {
 public:
  const KorvoL2::MacEntryCollection* macEntry() const override {
    return collectionPresent_ ? &entries_ : nullptr;
  }
  std::uint64_t refModBitmap() const override { return refModBitmap_; }
  void printMacEntry(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
                     const KorvoL2::MacEntry& entry) const override {
    printer_.print(renderer, key, entry);
  }
  /** Needs hwRowsIs(). */
  void printMacEntryHw(Rendering::RendererV2& renderer, Rendering::TableRenderer* table,
                       Tessar::FapId fapId, bool detail, const Bridging::MacVlanPair& key,
                       const KorvoL2::MacEntry& entry,
                       KorvoL2::KorvoL2McastHelper* mcastHelper) const override;
  const Qel::TypeData& typeData() const noexcept override;

  /** Whether there is a collection to walk; while clear, macEntry() is null. */
  void collectionPresentIs(bool present) {
    attributeIs(collectionPresent_, present, "collectionPresent");
  }

  void refModBitmapIs(std::uint64_t bitmap) { attributeIs(refModBitmap_, bitmap, "refModBitmap"); }

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
  /** How many addresses learn() has added or moved so far. */
  std::uint64_t numReported() const noexcept { return numReported_; }
  /** Removes the entry; false if it was not there. */
  bool erase(const Bridging::MacVlanPair& key);
  void clear();

  /** Hears of every change to an entry, once it has been made. */
  class Listener {
   public:
    virtual ~Listener() = default;
    /** `before` is the key type of the entry that was there; nothing if there was none. */
    virtual void macEntryChanged(const Bridging::MacVlanPair& key,
                                 std::optional<KorvoL2::MacKeyType> before) = 0;
  };
  /** Who listens from now on, null for nobody; not owned. */
  void listenerIs(Listener* listener) noexcept { listener_ = listener; }
  /**
   * Notes which modules hold the entry, and whether some are still to be programmed; the listener
   * does not hear of it. Nothing happens if there is no such entry.
   */
  void hwStateIs(const Bridging::MacVlanPair& key, std::uint64_t modBitmap, bool pending);
  /** Who prints what chips hold; not owned. */
  void hwRowsIs(HwMacRows* rows) noexcept { hwRows_ = rows; }

 private:
  void entryChanged(const Bridging::MacVlanPair& key, std::optional<KorvoL2::MacKeyType> before);
  std::optional<KorvoL2::MacKeyType> keyTypeForListener(const Bridging::MacVlanPair& key) const;

  KorvoL2::MacEntryCollection entries_;
  Listener* listener_ = nullptr;
  HwMacRows* hwRows_ = nullptr;
  std::uint64_t numReported_ = 0;
  bool collectionPresent_ = true;
  std::uint64_t refModBitmap_ = 0;
  mutable MacRowPrinter printer_;  // caches the cells of interfaces
};

}  // namespace KorvoAgent
