#include "agent/services/RouterMacModel.h"

#include <string>

#include "agent/services/AnswerTable.h"
#include "agent/services/ChipSet.h"
#include "platform/base/Exceptions.h"

namespace KorvoAgent {

using Bridging::EthAddr;
using Bridging::VlanId;

void RouterMacModel::ownAddressIs(EthAddr mac) {
  if (!ownAddresses_.has(mac) && ownAddresses_.size() == kMaxOwnAddresses) {
    throw Qel::RangeException("a switch has at most " + std::to_string(kMaxOwnAddresses) +
                              " addresses of its own besides those that it routes under");
  }
  ownAddresses_.add(mac);
  changed("ownAddress");
}

std::vector<EthAddr> RouterMacModel::addresses() const {
  std::vector<EthAddr> all;
  for (const EthAddr mac : {routing_->routerMac, routing_->virtualRouterMac}) {
    if (!mac.isZero() && (all.empty() || mac != all.front())) all.push_back(mac);
  }
  for (const auto& [mac, nothing] : ownAddresses_) {
    if (kindOf(mac) == "own") all.push_back(mac);
  }
  return all;
}

std::string_view RouterMacModel::kindOf(EthAddr mac) const {
  if (mac == routing_->routerMac) return "router";
  return mac == routing_->virtualRouterMac ? "virtual" : "own";
}

std::uint32_t RouterMacModel::nextVlan(std::uint32_t from) const {
  const KorvoL2::MacEntryCollection* const entries =
      table_ == nullptr ? nullptr : table_->macEntry();
  if (entries == nullptr || from > VlanId::kMax) return VlanId::kMax + 1U;
  const auto it = entries->lowerBound({static_cast<std::uint16_t>(from), EthAddr()});
  return it == entries->end() ? VlanId::kMax + 1U : it->key.vlan();
}

void RouterMacModel::addRow(AnswerTable& table, std::uint16_t vlan, EthAddr mac) const {
  const KorvoL2::MacEntryCollection* const entries =
      table_ == nullptr ? nullptr : table_->macEntry();
  if (entries == nullptr) return;
  const KorvoL2::MacEntry* const entry = entries->find({vlan, mac});
  if (entry == nullptr || entry->type != KorvoL2::MacEntryType::router) return;
  const bool pending = (entry->flags & KorvoL2::MacEntryFlag::kPending) != 0;
  table.row(vlan, mac.stringValue(), kindOf(mac), entry->intf.stringValue(),
            ChipSet::ofModules(entry->modBitmap).text(),
            std::string_view(pending ? "pending" : "programmed"));
}

void RouterMacModel::handleShowCommand(std::uint32_t socket, EthAddr mac, VlanId vlan,
                                       ShowKind kind) {
  using enum AnswerTable::Alignment;
  AnswerTable table(
      {{"VLAN", kRight}, {"MAC address"}, {"Kind"}, {"Interface"}, {"Chips"}, {"State"}});
  const std::vector<EthAddr> known = addresses();
  // Each row is looked up in a table that may be far larger than the processor's caches.
  constexpr std::size_t kMaxLooks = 16'384;
  std::size_t looks = 0;
  const auto addVlan = [&](std::uint16_t number) {
    for (const EthAddr address : known) addRow(table, number, address);
    looks += known.size();
  };
  std::string none = "No router MAC address";
  switch (kind) {
    case ShowKind::vlan:
      addVlan(vlan.value());
      none += " in VLAN " + vlan.stringValue();
      break;
    case ShowKind::all:
      for (std::uint32_t number = nextVlan(VlanId::kMin); number <= VlanId::kMax;
           number = nextVlan(number + 1)) {
        if (table.full() || looks >= kMaxLooks) {
          table.cutOff();
          break;
        }
        addVlan(static_cast<std::uint16_t>(number));
      }
      break;
    case ShowKind::mac:
      for (std::uint16_t number = VlanId::kMin; number <= VlanId::kMax; ++number) {
        addRow(table, number, mac);
      }
      none = mac.stringValue() + " is no router MAC address in any VLAN";
      break;
  }
  none += '.';
  Answer answer(socket);
  table.print(answer, {.title = "Router MAC addresses",
                       .one = "entry",
                       .many = "entries",
                       .none = none,
                       .hint = "select some with PER_VLAN_ENTRY_VLAN-VLAN"});
}

const Qel::TypeData& RouterMacModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::RouterMacModel"};
  return kType;
}

}  // namespace KorvoAgent
