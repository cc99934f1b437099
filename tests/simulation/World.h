// The switch of one simulation: tables that change at random between two turns, chips that come and
// go, flags that flip, and the history of it all.
//
// Threading: one thread.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/chips/SwitchHardware.h"
#include "agent/model/Churn.h"
#include "agent/model/SeededRandom.h"
#include "agent/model/SwitchModel.h"
#include "tests/simulation/FaultyAgent.h"
#include "tests/simulation/TableHistory.h"
#include "tests/support/ManualClock.h"

namespace KorvoSimulation {

using KorvoAgent::SeededRandom;

/** The tables that dumps walk, as far as their rows are printed. */
enum class Table : std::uint8_t {
  macs,           ///< software MAC entries
  printableMacs,  ///< those that the software dump shows
  vxlanVlans,     ///< VLANs mapped to a VXLAN network
  edgePorts,      ///< virtual ports by VLAN, then interface, port-channels left out
  lagEdgePorts,   ///< those of port-channels
  vlanToSvp,
  rangeIntfs,  ///< interfaces that have ingress VLAN ranges
  dips,
  vlanSvps,
  portVlans,
  vlanVnis,
  egrPortVlans,
  egrVxlanVlans,
  numTables,
};

RowKey macRow(const Bridging::MacVlanPair& pair);
/** By name, as tables of interfaces are ordered. The simulation's names only. */
RowKey intfRow(std::string_view name);
RowKey portVlanRow(std::string_view intf, unsigned vlan);
RowKey edgeRow(unsigned vlan, std::string_view intf);
RowKey vlanIpVerRow(unsigned vlan, bool v6);

class World {
 public:
  World(std::uint64_t seed, Qel::Ptr<Qel::ManualClock> clock);
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /** Changes something, or a few things, from turn `now` on. */
  void change(Turn now);
  /** Everything present and ready again, no chip on its way. */
  void settle(Turn now);
  /** Hosts come and go, as far as it is time for it. */
  void churn(Turn now);

  const TableHistory& history(Table table) const {
    return histories_[static_cast<std::size_t>(table)];
  }
  /** Rows of the largest table, ever: what bounds the length of a dump. */
  std::uint64_t maxRows() const noexcept { return maxRows_; }

  /** Whether a command finds the agent ready. */
  bool ready();
  /** Whether an asynchronous command finds what its keyword needs. */
  bool hasObjectsFor(std::string_view keyword);
  /** Whether the table that the command walks counts as empty, for its object is not there. */
  bool tableIsAway(std::string_view keyword);
  /** The checks' readers need to know the multicast groups: without, a check is an error. */
  bool failsWithoutMulticast(std::string_view keyword);
  /** The chips as commands see them now: name by id. */
  std::map<unsigned, std::string> chips() const;
  /** How often chips or the MAC table as a whole came or went: dumps on the way differ then. */
  std::uint64_t upheavals() const noexcept { return upheavals_; }

  KorvoAgent::SwitchModel& model() noexcept { return *model_; }
  KorvoAgent::SwitchHardware& hardware() noexcept { return *hardware_; }
  FaultPlan& faults() noexcept { return faults_; }
  /** The agent as commands see it, or null. */
  KorvoL2::L2Agent* agent() { return model_->l2Agent() == nullptr ? nullptr : agent_.get(); }

 private:
  void fill();
  void changeOne(Turn now);
  void changeMac(Turn now);
  void changeVlan(Turn now);
  void changeEdgePort(Turn now);
  void changeIntf(Turn now);
  void changeTranslation(Turn now);
  void changeChips(Turn now);
  void flip();
  void noteMacs(Turn now);
  void note(Table table, RowKey key, bool present, Turn now);
  unsigned anyVlan() { return 1 + static_cast<unsigned>(random_.below(vlanSpace_)); }
  std::string anyIntf();

  SeededRandom random_;
  std::uint64_t macSpace_;
  std::uint64_t vlanSpace_;
  std::uint64_t intfSpace_;
  Qel::Ptr<Qel::ManualClock> clock_;
  Qel::Ptr<KorvoAgent::SwitchModel> model_;
  FaultPlan faults_;
  Qel::Ptr<FaultyAgent> agent_;
  std::optional<KorvoAgent::SwitchHardware> hardware_;
  std::optional<KorvoAgent::Churn> churn_;
  std::size_t chipSlots_ = 0;
  std::array<TableHistory, static_cast<std::size_t>(Table::numTables)> histories_;
  std::uint64_t maxRows_ = 0;
  std::uint64_t upheavals_ = 0;
};

}  // namespace KorvoSimulation
