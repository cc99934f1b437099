// The command-ring manager of the switch model: the shadows of the hardware tables, and the ingress
// VLAN ranges that the chips hold.
#pragma once

#include <compare>
#include <cstdint>
#include <vector>

#include "agent/services/ShadowLayouts.h"
#include "agent/services/ShadowTableModel.h"
#include "platform/l2/L2CmdRingManager.h"

namespace KorvoAgent {

/** A port as the layer-2 tables number it. */
struct LogicalPort {
  std::uint16_t fap = 0;
  std::uint32_t port = 0;
  friend auto operator<=>(const LogicalPort&, const LogicalPort&) = default;
};

/** Agent's event-loop thread only. */
class CmdRingManagerModel final : public KorvoL2::L2CmdRingManager {
 public:
  explicit CmdRingManagerModel(const ChipNames& chips);

  void showEgrVfiTable(std::uint32_t socket, const Parameters& parameters) override;
  void showEgrVlanXlate2Entries(std::uint32_t socket, const Parameters& parameters) override;
  void showEgrVlanXlateEntries(std::uint32_t socket, const Parameters& parameters) override;
  void showVfiTable(std::uint32_t socket, const Parameters& parameters) override;
  void showVlanXlate2Entries(std::uint32_t socket, const Parameters& parameters) override;
  void showVlanXlateEntries(std::uint32_t socket, const Parameters& parameters) override;
  Qel::Ptr<KorvoL2::ShadowTable> evtapTable() override;
  Qel::Ptr<KorvoL2::ShadowTable> ivtapTable() override;
  Qel::Ptr<KorvoL2::ShadowTable> sourceVpTable() override;
  KorvoL2::IngVlanRangeParam getIngVlanRangeEntry(std::uint16_t logicalFap,
                                                  std::uint32_t logicalPort) override;
  const Qel::TypeData& typeData() const noexcept override;

  ShadowTableModel& shadowTable(ShadowTableId id) noexcept {
    return *tables_[static_cast<std::size_t>(id)];
  }

  /** The ingress VLAN ranges that are programmed, by port. */
  Qel::KeyedCollection<LogicalPort, KorvoL2::IngVlanRangeParam> ingVlanRanges;

 private:
  std::vector<Qel::Ptr<ShadowTableModel>> tables_;  // by ShadowTableId
};

}  // namespace KorvoAgent
