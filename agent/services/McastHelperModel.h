// The multicast groups of the switch: what software wants, its shadow of what it has written to the
// chips, and what the chips hold.
//
// Groups are replicated where frames come in, so every chip is to hold every group with all its
// ports. A change of a group is in the shadow and in every chip at once; a chip may be said to hold
// something else, and the shadow may be cleared. The differences are between shadow and chips.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/services/ChipSet.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/McastHelper.h"
#include "platform/types/IntfId.h"

namespace KorvoAgent {

class AnswerTable;

/** Interfaces that frames to a group leave by, ascending, each once. */
using McastPorts = std::vector<Bridging::IntfId>;

struct McastGroup {
  std::uint16_t vlan = 0;  ///< whose frames the group is for; 0 for several
  McastPorts ports{};
  friend bool operator==(const McastGroup&, const McastGroup&) = default;
};

class McastHelperModel final : public KorvoL2::KorvoL2McastHelper {
 public:
  using Groups = Qel::KeyedCollection<std::uint32_t, McastGroup>;

  explicit McastHelperModel(ChipNames chips) : chips_(std::move(chips)) {}

  void showHwMcastGroupTable(std::uint32_t socket, bool differenceOnly, bool allGroups,
                             std::uint32_t groupIndex) override;
  void showMcastGroupTable(std::uint32_t socket) override;
  void clearShadowMcastGroupTable() override;
  const Qel::TypeData& typeData() const noexcept override;

  /** The groups that software wants, by index. */
  const Groups& groups() const noexcept { return groups_; }
  /** Adds or replaces a group; shadow and chips follow. Its ports may come in any order. */
  void groupIs(std::uint32_t index, McastGroup group);
  /** Whether the shadow has the group; what it has is what software wants. */
  bool inShadow(std::uint32_t index) const { return shadow_.has(index); }
  /** Has one chip hold these ports instead, or with no value, no such group. */
  void hwGroupIs(Tessar::FapId chip, std::uint32_t index, std::optional<McastPorts> ports);
  /** What a chip holds; null for no such group. Valid until something changes. */
  const McastPorts* hwGroup(Tessar::FapId chip, std::uint32_t index) const;

 private:
  struct HwKey {
    std::uint32_t index = 0;
    std::uint8_t chip = 0;
    friend auto operator<=>(const HwKey&, const HwKey&) = default;
  };
  /** Chips that hold the same for a group; null for no such group. */
  struct Holding {
    const McastPorts* ports = nullptr;
    ChipSet chips{};
  };
  std::vector<Holding> holdings(std::uint32_t index, const ChipSet& present) const;
  std::optional<std::uint32_t> firstIndexFrom(std::uint32_t index) const;
  void addHwRows(AnswerTable& table, std::uint32_t index, const ChipSet& present) const;
  void addDifferences(AnswerTable& table, std::uint32_t index, const ChipSet& present) const;

  ChipNames chips_;
  Groups groups_;
  Qel::KeyedSet<std::uint32_t> shadow_;
  /** Where a chip holds something else than software wants. */
  Qel::KeyedCollection<HwKey, std::optional<McastPorts>> deviations_;
};

}  // namespace KorvoAgent
