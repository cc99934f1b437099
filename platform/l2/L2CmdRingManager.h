// The agent's command-ring manager: access to the hardware tables and their software shadows.
#pragma once

#include <cstdint>

#include "platform/base/Entity.h"
#include "platform/l2/VlanXlateRecords.h"
#include "platform/types/FapId.h"

namespace KorvoL2 {

/** What a shadow-table command selects. One per command callback; printers read it. */
class ShadowShow final : public Qel::Entity {
 public:
  bool raw = false;              ///< print raw entry contents
  bool allEntries = false;       ///< print every entry of the table
  std::uint32_t entryId = 0;     ///< index of the single entry to print
  std::uint32_t entryValue = 0;  ///< the same number again, for tables searched by value
  bool entryIdSet = false;       ///< only the entry of that index is printed
  std::uint32_t chip = Tessar::FapId::null;  ///< chip to read; the null id for every chip
};

/** A shadow table that prints itself. */
class ShadowTable : public Qel::Entity {
 public:
  virtual void show(std::uint32_t socket, const Qel::Ptr<ShadowShow>& parameters) = 0;
};

/**
 * Prints the shadow tables to the socket given, as the parameters select, and reads single entries
 * of the hardware tables.
 *
 * Threading: the agent's event-loop thread only.
 */
class L2CmdRingManager : public Qel::Entity {
 public:
  using Parameters = Qel::Ptr<ShadowShow>;
  virtual void showEgrVfiTable(std::uint32_t socket, const Parameters& parameters) = 0;
  virtual void showEgrVlanXlate2Entries(std::uint32_t socket, const Parameters& parameters) = 0;
  virtual void showEgrVlanXlateEntries(std::uint32_t socket, const Parameters& parameters) = 0;
  virtual void showVfiTable(std::uint32_t socket, const Parameters& parameters) = 0;
  virtual void showVlanXlate2Entries(std::uint32_t socket, const Parameters& parameters) = 0;
  virtual void showVlanXlateEntries(std::uint32_t socket, const Parameters& parameters) = 0;
  /** The egress and ingress VLAN tag action profiles and the source virtual ports; never null. */
  virtual Qel::Ptr<ShadowTable> evtapTable() = 0;
  virtual Qel::Ptr<ShadowTable> ivtapTable() = 0;
  virtual Qel::Ptr<ShadowTable> sourceVpTable() = 0;

  /**
   * Reads the ingress VLAN ranges that are programmed for one port, at once; none for a port that
   * has none. `logicalFap` is the number of the port's chip towards the layer-2 tables.
   */
  virtual IngVlanRangeParam getIngVlanRangeEntry(std::uint16_t logicalFap,
                                                 std::uint32_t logicalPort) = 0;
};

}  // namespace KorvoL2
