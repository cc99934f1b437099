// The command-ring manager of the switch model: the hardware tables that its chips are said to
// hold.
#pragma once

#include <compare>
#include <cstdint>

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

  /** The ingress VLAN ranges that are programmed, by port. */
  Qel::KeyedCollection<LogicalPort, KorvoL2::IngVlanRangeParam> ingVlanRanges;
};

}  // namespace KorvoAgent
