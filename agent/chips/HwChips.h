// The forwarding chips of the switch with their hardware MAC tables, and what the software wants to
// stand in them.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "agent/chips/HwMacTable.h"
#include "agent/chips/PortMap.h"
#include "platform/l2/MacEntry.h"
#include "platform/types/FapId.h"

namespace KorvoAgent {

/** One chip and what it holds. */
struct HwChip {
  Tessar::FapId id;
  std::string name;
  HwMacTable macTable;
};

class HwChips {
 public:
  /** Adds a chip with an empty table of `slots`, in place of one of that id. Not the null id. */
  HwChip& chipIs(Tessar::FapId id, std::string name, std::size_t slots);
  /** The chip has gone, and its table with it. */
  void chipDel(Tessar::FapId id);
  void chipDelAll();
  /** Null when there is no such chip; the null id is none. */
  const HwChip* find(Tessar::FapId id) const noexcept {
    return id.isNull() ? nullptr : chips_[id.value()].get();
  }
  HwChip* find(Tessar::FapId id) noexcept {
    return id.isNull() ? nullptr : chips_[id.value()].get();
  }
  /** The ids of the chips that are there, ascending. */
  const std::vector<Tessar::FapId>& ids() const noexcept { return ids_; }

  /** The destinations of interfaces; lie on the chips that are there when first asked for. */
  PortMap& ports() noexcept { return ports_; }
  const PortMap& ports() const noexcept { return ports_; }

  /** What a chip is to hold for an entry of the software table. */
  HwMacEntry wanted(const Bridging::MacVlanPair& pair, const KorvoL2::MacEntry& entry);
  /**
   * Whether chip `id` is to hold the entry at all: every chip holds every entry, but for those that
   * the agent keeps for itself, which the modules of their bitmap hold.
   */
  static bool wantedOn(Tessar::FapId id, const KorvoL2::MacEntry& entry) noexcept {
    return entry.printable || inBitmap(id, entry.modBitmap);
  }
  /** Whether bitmap `modules` names the chip; it has no bit for chips from 64 on. */
  static bool inBitmap(Tessar::FapId id, std::uint64_t modules) noexcept {
    return id.value() < 64 && (modules >> id.value() & 1) != 0;
  }

 private:
  void listChips();

  std::array<std::unique_ptr<HwChip>, Tessar::FapId::max + 1> chips_;
  std::vector<Tessar::FapId> ids_;
  PortMap ports_;
};

/** The hardware's key type of a software entry. */
inline std::uint8_t hwKeyType(const KorvoL2::MacEntry& entry) noexcept {
  return static_cast<std::uint8_t>(entry.keyType);
}

}  // namespace KorvoAgent
