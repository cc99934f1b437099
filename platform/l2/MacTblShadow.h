// The agent's software shadow of the MAC address table.
#pragma once

#include "platform/base/Entity.h"
#include "platform/l2/MacEntry.h"
#include "platform/rendering/RendererV2.h"

namespace KorvoL2 {

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

  /**
   * Prints one entry. In text, one line under the heads of the dump: cells right-aligned to end at
   * columns 8, 24, 36, 46, 70, 82, 94, 100 and 108 (vlan, mac address, interface, mcastId, type,
   * bitmap, source, flags, keyType). In JSON, the members of an object that the caller has opened
   * and closes.
   */
  virtual void printMacEntry(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
                             const MacEntry& entry) const = 0;
};

}  // namespace KorvoL2
