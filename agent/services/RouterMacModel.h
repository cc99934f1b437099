// The addresses under which the switch routes, VLAN by VLAN, as the software MAC table has them.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/collections/KeyedCollection.h"
#include "platform/l2/L2Services.h"
#include "platform/l2/MacTblShadow.h"

namespace KorvoAgent {

class AnswerTable;

class RouterMacModel final : public KorvoL2::KorvoRouterMacSm {
 public:
  /** Addresses besides those of the routing status; each is looked for in every VLAN. */
  static constexpr std::size_t kMaxOwnAddresses = 16;

  explicit RouterMacModel(Qel::Ptr<const KorvoL3::RoutingStatus> routing)
      : routing_(std::move(routing)) {}

  void handleShowCommand(std::uint32_t socket, Bridging::EthAddr mac, Bridging::VlanId vlan,
                         ShowKind kind) override;
  const Qel::TypeData& typeData() const noexcept override;

  /** Where the entries are, null for nowhere; not owned. */
  void macTableIs(const KorvoL2::MacTblShadow* table) noexcept { table_ = table; }
  const Qel::KeyedSet<Bridging::EthAddr>& ownAddresses() const noexcept { return ownAddresses_; }
  /** Throws Qel::RangeException when there are kMaxOwnAddresses of them already. */
  void ownAddressIs(Bridging::EthAddr mac);

 private:
  std::vector<Bridging::EthAddr> addresses() const;
  std::string_view kindOf(Bridging::EthAddr mac) const;
  /** The first VLAN of the MAC table from `from` on; beyond VlanId::kMax when there is none. */
  std::uint32_t nextVlan(std::uint32_t from) const;
  void addRow(AnswerTable& table, std::uint16_t vlan, Bridging::EthAddr mac) const;

  Qel::Ptr<const KorvoL3::RoutingStatus> routing_;
  const KorvoL2::MacTblShadow* table_ = nullptr;
  Qel::KeyedSet<Bridging::EthAddr> ownAddresses_;
};

}  // namespace KorvoAgent
