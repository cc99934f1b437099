// The rows of the hardware MAC table dump: what a chip holds for an entry of the software table.
//
// Text. The cells VLAN, MAC address, type, multicast group, class and port, in the short form
// padded as "%4s %-17s %-8s %-12s %-7s %-17s\n" does it, in the detailed form followed by the index
// in the hardware table. "-" stands for VLAN number 0, no group, no class and no port, and in every
// cell but the first two for an entry that the chip does not hold. The port is the interface's
// name, or its short form where the whole does not fit; "discard" where frames are dropped; and the
// number of the module and port, or the trunk, where no interface is known for it. The type is
// "invalid" where the chip found the slot damaged.
//
// JSON. Always all of these members, in this order, each always of one type: "vlan" (number), "mac"
// (string), "programmed" (false: the chip does not hold the entry), "type" (string, "" where it is
// not held), "mcastGroupId" (number, 0 for none), "classId" (number, 0 for none), "port" (string,
// "" for none), "hwIndex" (number, -1 where it is not held).
//
// A dump asks for one row after the other, in the order of the software table, which is no order at
// all in the hardware table. So the slots of the next few rows are fetched from memory ahead.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "agent/chips/HwChips.h"
#include "agent/model/HwMacRows.h"

namespace KorvoAgent {

class HwRowPrinter final : public HwMacRows {
 public:
  explicit HwRowPrinter(const HwChips& chips) : chips_(chips) {}

  void printHwRow(Rendering::RendererV2& renderer, Rendering::TableRenderer* table,
                  Tessar::FapId chip, const KorvoL2::MacEntryCollection& entries,
                  const Bridging::MacVlanPair& pair, const KorvoL2::MacEntry& entry) override;

 private:
  static constexpr std::size_t kPortRoom = 17;

  /** A destination's cells, ready to be copied whole. */
  struct PortCell {
    std::uint64_t word = 0;              ///< identifies the destination; 0 while unused
    std::uint8_t textLength = 0;         ///< 0: the text does not fit its column
    std::uint8_t jsonLength = 0;         ///< 0: the JSON string is too long for `json`
    std::array<char, kPortRoom> text{};  ///< left-aligned
    std::array<char, 40> json{};         ///< left-aligned, with quotes
  };

  const HwMacEntry* find(const HwChip& chip, const KorvoL2::MacEntryCollection& entries,
                         const HwMacKey& key, std::int32_t& index);
  void fetchAhead(const HwChip& chip, const KorvoL2::MacEntryCollection& entries,
                  const Bridging::MacVlanPair& pair);
  const PortCell& cellOf(const HwMacEntry& hw);
  std::string portText(const HwMacEntry& hw, std::size_t room) const;
  void fill(PortCell& cell, const HwMacEntry& hw) const;

  bool printLineFast(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& pair,
                     const HwMacEntry* hw);
  bool printJsonFast(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& pair,
                     const HwMacEntry* hw, std::int32_t index);
  void printJsonPlain(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& pair,
                      const HwMacEntry* hw, std::int32_t index) const;
  void printTextPlain(Rendering::RendererV2& renderer, Rendering::TableRenderer* table,
                      const Bridging::MacVlanPair& pair, const HwMacEntry* hw,
                      std::int32_t index) const;

  const HwChips& chips_;

  // 20 KiB: the destinations of a switch fit, and with many more the cells are made anew.
  static constexpr unsigned kCellBits = 8;
  std::array<PortCell, 1U << kCellBits> cells_{};

  // The rows that are expected next. Nothing but speed depends on what is in here.
  static constexpr std::size_t kAhead = 16;
  std::array<Bridging::MacVlanPair, kAhead> ahead_{};
  std::size_t numAhead_ = 0;
  std::size_t nextAhead_ = 0;
  const HwChip* aheadChip_ = nullptr;
};

}  // namespace KorvoAgent
