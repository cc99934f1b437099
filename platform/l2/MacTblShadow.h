// The agent's software shadow of the MAC address table.
#pragma once

#include "platform/base/Entity.h"
#include "platform/l2/MacEntry.h"
#include "platform/rendering/RendererV2.h"
#include "platform/types/FapId.h"

namespace Rendering {
class TableRenderer;
}

namespace KorvoL2 {

class KorvoL2McastHelper;

/**
 * Holds what the agent believes every chip's MAC table should hold, and prints its rows: a dump
 * walks, the shadow knows what an entry looks like.
 *
 * Threading: the agent's event-loop thread only; the collection changes between two slices.
 */
class MacTblShadow : public Qel::Entity {
 public:
  /** The entries by (VLAN, MAC address), or null while the shadow has no collection yet. */
  virtual const MacEntryCollection* macEntry() const = 0;

  /** The modules that hold the entry of `key`, bit n for module n; 0 without such an entry. */
  virtual std::uint64_t getModBitmap(const Bridging::MacVlanPair& key) const {
    const MacEntryCollection* const entries = macEntry();
    const MacEntry* const entry = entries == nullptr ? nullptr : entries->find(key);
    return entry == nullptr ? 0 : entry->modBitmap;
  }
  /** The bitmap of an entry that every module holds; 0 while no module is known. */
  virtual std::uint64_t refModBitmap() const { return 0; }

  /**
   * Prints one entry. In text, one line under the heads of the dump: cells right-aligned to end at
   * columns 8, 24, 36, 46, 70, 82, 94, 100 and 108 (vlan, mac address, interface, mcastId, type,
   * bitmap, source, flags, keyType). In JSON, the members of an object that the caller has opened
   * and closes.
   */
  virtual void printMacEntry(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
                             const MacEntry& entry) const = 0;

  /**
   * Prints what chip `fapId` holds for one entry; the shadow decides what that is and may print
   * nothing. In text, a row of seven cells into `table` when `detail` is set, else one line in the
   * format "%4s %-17s %-8s %-12s %-7s %-17s\n" (VLAN, MAC address, type, multicast group, class,
   * port). In JSON, the members of an object that the caller has opened and closes. `table` is null
   * without `detail`; `mcastHelper` may be null.
   */
  virtual void printMacEntryHw(Rendering::RendererV2& renderer, Rendering::TableRenderer* table,
                               Tessar::FapId fapId, bool detail, const Bridging::MacVlanPair& key,
                               const MacEntry& entry, KorvoL2McastHelper* mcastHelper) const = 0;
};

}  // namespace KorvoL2
