#include "tests/simulation/World.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "agent/model/LogicalPorts.h"
#include "tests/support/ManualClock.h"

namespace KorvoSimulation {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using Bridging::VlanId;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
using Tessar::FapId;

namespace {

constexpr unsigned kMaxChips = 6;
constexpr RowKey kFirstLag = 10'000;

unsigned numberAfter(std::string_view text, std::string_view prefix) {
  unsigned number = 0;
  const std::string_view digits = text.substr(prefix.size());
  if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc()) {
    throw std::runtime_error("no interface of the simulation: " + std::string(text));
  }
  return number;
}

std::string chipName(unsigned id) { return "Linecard3/" + std::to_string(id); }

// Tables of all sizes, most of them small: faults lie at the edges, and a seed should be quick.
std::uint64_t space(SeededRandom& random, std::uint64_t small, std::uint64_t large) {
  return 1 + random.below(random.onceIn(8) ? large : small);
}

}  // namespace

RowKey macRow(const MacVlanPair& pair) { return (RowKey{pair.vlan()} << 48) | pair.mac().value(); }

RowKey intfRow(std::string_view name) {
  for (const std::string_view prefix : {"Ethernet", "Et"}) {
    if (name.starts_with(prefix)) return numberAfter(name, prefix);
  }
  for (const std::string_view prefix : {"Port-Channel", "Po"}) {
    if (name.starts_with(prefix)) return kFirstLag + numberAfter(name, prefix);
  }
  throw std::runtime_error("no interface of the simulation: " + std::string(name));
}

RowKey portVlanRow(std::string_view intf, unsigned vlan) { return intfRow(intf) << 16 | vlan; }
RowKey edgeRow(unsigned vlan, std::string_view intf) { return RowKey{vlan} << 32 | intfRow(intf); }
RowKey vlanIpVerRow(unsigned vlan, bool v6) { return RowKey{vlan} << 1 | (v6 ? 1U : 0U); }

World::World(std::uint64_t seed, Qel::Ptr<Qel::ManualClock> clock)
    : random_(seed),
      macSpace_(space(random_, 150, 600)),
      vlanSpace_(space(random_, 30, 90)),
      intfSpace_(space(random_, 40, 80)),
      clock_(std::move(clock)),
      model_(Qel::makePtr<KorvoAgent::SwitchModel>(clock_)),
      faults_(random_.next(), clock_),
      agent_(Qel::makePtr<FaultyAgent>(*model_, faults_)) {
  fill();
  KorvoAgent::HardwarePolicy policy;
  chipSlots_ = random_.onceIn(4) ? 64 : 2048;  // in a small one some entries find no room
  policy.tableSize = chipSlots_;
  policy.entriesPerSecond = random_.onceIn(2) ? 300 : 50'000;
  policy.faultRate = random_.onceIn(2) ? 0.05 : 0;
  policy.seed = random_.next();
  hardware_.emplace(clock_, model_, policy);
  churn_.emplace(*model_, random_.onceIn(3) ? 0 : 200, random_.next());
}

World::~World() = default;

void World::fill() {
  model_->chipsIs(1 + static_cast<unsigned>(random_.below(kMaxChips)));
  for (const KorvoAgent::Chip& chip : model_->chips()) {
    agent_->helper().chips.put(chip.id,
                               {.fapChipName = chipName(chip.id.value()), .chipData = chip.id});
  }
  model_->l2TableFeature().ingVlanRange = true;
  model_->l2TableFeature().ingVlanDynamicRange = random_.onceIn(2);
  auto& unicast = model_->unicast();
  unicast.routing().routerMac = EthAddr(0x0200'0f00'0001ULL);
  if (random_.onceIn(2)) unicast.routing().virtualRouterMac = EthAddr(0x0200'0f00'0002ULL);
  for (unsigned vlan = 1; vlan <= vlanSpace_; ++vlan) {
    unicast.vxlan().l3Config().vlanMapping.put(
        VlanId(vlan), {.vlanId = static_cast<std::uint16_t>(vlan), .vfi = 7, .vni = 10'000 + vlan});
  }
  // Every fourth interface has no ranges, whatever it asks for.
  for (unsigned port = 1; port <= intfSpace_; ++port) {
    const IntfId intf("Ethernet" + std::to_string(port));
    const Bridging::ModPort modPort{.module = 0, .port = static_cast<std::uint16_t>(port)};
    unicast.common().intfPortId.put(intf, {.modPort = modPort, .systemPort = port});
    unicast.common().modPortLogicalFap.put(modPort, 0);
    unicast.ingVlanRange().hwIndexes->entries.put(intf, modPort.port);
    KorvoL2::IngVlanRangeParam ranges;
    if (port % 4 != 0) ranges.ranges.emplace_back(VlanId(port), VlanId(port + 5));
    model_->cmdRingManager().ingVlanRanges.put(KorvoAgent::logicalPortOf(*model_, intf),
                                               std::move(ranges));
  }
  const std::uint64_t changes = 2 * (macSpace_ + vlanSpace_ + intfSpace_);
  for (std::uint64_t i = 0; i < changes; ++i) {
    switch (random_.below(5)) {
      case 0:
        changeVlan(0);
        break;
      case 1:
        changeEdgePort(0);
        break;
      case 2:
        changeIntf(0);
        break;
      case 3:
        changeTranslation(0);
        break;
      default:
        changeMac(0);
    }
  }
}

std::string World::anyIntf() {
  if (random_.onceIn(10)) return "Port-Channel" + std::to_string(1 + random_.below(4));
  return "Ethernet" + std::to_string(1 + random_.below(intfSpace_));
}

void World::note(Table table, RowKey key, bool present, Turn now) {
  histories_[static_cast<std::size_t>(table)].presentIs(key, present, now);
}

void World::change(Turn now) {
  for (std::uint64_t i = 1 + random_.below(4); i != 0; --i) changeOne(now);
}

void World::changeOne(Turn now) {
  switch (random_.below(40)) {
    case 0:
      return changeChips(now);
    case 1:
      return flip();
    default:
      break;
  }
  switch (random_.below(6)) {
    case 0:
      return changeVlan(now);
    case 1:
      return changeEdgePort(now);
    case 2:
      return changeIntf(now);
    case 3:
      return changeTranslation(now);
    default:
      return changeMac(now);
  }
}

void World::changeMac(Turn now) {
  const std::uint64_t number = random_.below(macSpace_);
  const MacVlanPair key(VlanId(1 + static_cast<unsigned>(number / 50)),
                        EthAddr(0x0200'0000'0000ULL + number));
  KorvoAgent::SwMacTable& table = model_->swMacTable();
  if (random_.onceIn(3)) {
    table.erase(key);
  } else {
    MacEntry entry;
    entry.intf = IntfId(anyIntf());
    entry.modBitmap = model_->moduleBitmap();
    entry.type = random_.onceIn(3) ? MacEntryType::configuredStatic : MacEntryType::learnedDynamic;
    entry.keyType = random_.onceIn(4) ? KorvoL2::MacKeyType::vfi : KorvoL2::MacKeyType::bridge;
    entry.printable = !random_.onceIn(4);
    table.put(key, entry);
  }
  const MacEntry* const entry = table.entries().find(key);
  note(Table::macs, macRow(key), entry != nullptr, now);
  note(Table::printableMacs, macRow(key), entry != nullptr && entry->printable, now);
  maxRows_ = std::max<std::uint64_t>(maxRows_, table.size());
}

void World::noteMacs(Turn now) {
  std::vector<RowKey> all;
  std::vector<RowKey> printable;
  for (const auto& [key, entry] : model_->swMacTable().entries()) {
    all.push_back(macRow(key));
    if (entry.printable) printable.push_back(all.back());
  }
  maxRows_ = std::max<std::uint64_t>(maxRows_, all.size());
  histories_[static_cast<std::size_t>(Table::macs)].stateIs(all, now);
  histories_[static_cast<std::size_t>(Table::printableMacs)].stateIs(printable, now);
}

void World::churn(Turn now) {
  constexpr int kEventsPerTurn = 2;
  if (churn_->advance(clock_->now(), kEventsPerTurn) != 0) noteMacs(now);
}

void World::changeVlan(Turn now) {
  auto& l2State = model_->unicast().vxlan().l2State();
  const unsigned vlan = anyVlan();
  const bool add = !random_.onceIn(3);
  switch (random_.below(3)) {
    case 0:
      add ? static_cast<void>(l2State.vlanMapping.add(VlanId(vlan)))
          : static_cast<void>(l2State.vlanMapping.erase(VlanId(vlan)));
      return note(Table::vxlanVlans, vlan, add, now);
    case 1:
      add ? static_cast<void>(l2State.vlanToSvp.put(VlanId(vlan), {.number = 9}))
          : static_cast<void>(l2State.vlanToSvp.erase(VlanId(vlan)));
      return note(Table::vlanToSvp, vlan, add, now);
    default:
      model_->unicast().vxlan().l3Config().vlanMapping.change(
          VlanId(vlan), [](KorvoL2::VlanMapping& mapping) { ++mapping.vfi; });
  }
}

void World::changeEdgePort(Turn now) {
  const std::string name = anyIntf();
  const IntfId intf(name);
  if (random_.onceIn(8)) {
    const IntfId lag("Port-Channel" + std::to_string(1 + random_.below(4)));
    if (random_.onceIn(2)) {
      model_->unicast().lagMembershipIs(IntfId("Ethernet1"), lag);
    } else {
      model_->unicast().common().lagMembershipDel(IntfId("Ethernet1"));
    }
    return;
  }
  auto& ports = model_->unicast().vxlan().l2State().portToEdgeSvp;
  const unsigned vlan = anyVlan();
  const bool add = !random_.onceIn(3);
  if (add) {
    ports.put({intf, VlanId(vlan)}, {.svp = 5});
  } else {
    ports.erase({intf, VlanId(vlan)});
  }
  maxRows_ = std::max<std::uint64_t>(maxRows_, ports.size());
  // Whether a port-channel is one already when a dump asks is left open.
  const bool lag = name.starts_with("Port");
  note(lag ? Table::lagEdgePorts : Table::edgePorts, edgeRow(vlan, name), add, now);
}

void World::changeIntf(Turn now) {
  auto& common = model_->unicast().common();
  auto& scale = model_->unicast().ingVlanRange().scaleEntries->entries;
  const std::string name = "Ethernet" + std::to_string(1 + random_.below(intfSpace_));
  const IntfId intf(name);
  const bool add = !random_.onceIn(3);
  if (random_.onceIn(2)) {
    add ? static_cast<void>(common.intf.add(intf)) : static_cast<void>(common.intf.erase(intf));
  } else {
    add ? static_cast<void>(scale.put(intf, {.size = 1})) : static_cast<void>(scale.erase(intf));
  }
  const RowKey row = intfRow(name);
  note(Table::rangeIntfs, row, common.intf.has(intf) && scale.has(intf) && row % 4 != 0, now);
}

void World::changeTranslation(Turn now) {
  auto& xlate = model_->unicast().vlanXlate();
  const std::string name = anyIntf();
  const unsigned vlan = anyVlan();
  const Bridging::PortVlanKey key{IntfId(name), VlanId(vlan)};
  const bool add = !random_.onceIn(3);
  const auto apply = [&](Table table, auto& entries, const auto& entryKey, auto value, RowKey row) {
    if (add) {
      entries.put(entryKey, value);
    } else {
      entries.erase(entryKey);
    }
    note(table, row, add, now);
  };
  switch (random_.below(6)) {
    case 0:
      return apply(Table::dips, xlate.dips->entries,
                   Bridging::IpAddr("192.0.2." + std::to_string(vlan)), true, vlan);
    case 1:
      return apply(Table::vlanSvps, xlate.vlanSvps->entries, VlanId(vlan),
                   KorvoL2::VlanSvpStatus{.vlan = static_cast<std::uint16_t>(vlan), .svp = 3},
                   vlan);
    case 2:
      return apply(Table::portVlans, xlate.portVlans->entries, key,
                   KorvoL2::PortVlanXlateStatus{.svp = 4}, portVlanRow(name, vlan));
    case 3: {
      const bool v6 = random_.onceIn(2);
      return apply(Table::vlanVnis, xlate.vlanVnis->entries,
                   Bridging::VlanIpVerKey(VlanId(vlan), v6),
                   KorvoL2::EgrVlanXlateVxlanVfiConfig{.vni = 1}, vlanIpVerRow(vlan, v6));
    }
    case 4:
      return apply(Table::egrPortVlans, xlate.egrPortVlans->entries, key,
                   KorvoL2::EgrPortVlanXlateStatus{.dot1qTag = 1}, portVlanRow(name, vlan));
    default:
      return apply(Table::egrVxlanVlans, xlate.egrVxlanVlans->entries, key,
                   KorvoL2::EgrVxlanVlanXlateStatus{.dvp = 2, .dot1qTag = 1},
                   portVlanRow(name, vlan));
  }
}

void World::changeChips(Turn /*now*/) {
  const auto number = static_cast<unsigned>(random_.below(kMaxChips));
  const FapId id(number);
  auto& shown = agent_->helper().chips;
  ++upheavals_;
  if (shown.has(id)) {
    shown.erase(id);
    if (random_.onceIn(2)) hardware_->chipDel(id);
  } else {
    if (hardware_->chips().find(id) == nullptr) {
      hardware_->chips().chipIs(id, chipName(number), chipSlots_);
    }
    KorvoL2::FapChip chip{.fapChipName = chipName(number)};
    if (!random_.onceIn(5)) chip.chipData = id;
    shown.put(id, std::move(chip));
  }
}

void World::flip() {
  auto& unicast = model_->unicast();
  // Mostly there, or hardly any command would get anywhere.
  const bool on = !random_.onceIn(10);
  switch (random_.below(16)) {
    case 0:
      return model_->configReadyIs(on);
    case 1:
      return model_->hardwareReadyIs(on);
    case 2:
      return model_->unicastAgentPresentIs(on);
    case 3:
      return unicast.initializedIs(on);
    case 4:
      return unicast.readyIs(on);
    case 5:
      return model_->macAddrSmHelperPresentIs(on);
    case 6:
      ++upheavals_;
      return model_->macTblShadowPresentIs(on);
    case 7:
      ++upheavals_;
      return model_->swMacTable().collectionPresentIs(on);
    case 8:
      return unicast.vxlanPresentIs(on);
    case 9:
      return unicast.vlanXlatePresentIs(on);
    case 10:
      return unicast.ingVlanRangePresentIs(on);
    case 11:
      return model_->mcastPresentIs(on);
    case 12:
      return model_->services().flexCounter.presentIs(on);
    case 13:
      return model_->l2AgentPresentIs(on);
    case 14:
      return model_->services().cmdRingManager.presentIs(on);
    default:
      return unicast.services().svpManager.presentIs(on);
  }
}

void World::settle(Turn now) {
  auto& unicast = model_->unicast();
  model_->configReadyIs(true);
  model_->hardwareReadyIs(true);
  model_->unicastAgentPresentIs(true);
  unicast.initializedIs(true);
  unicast.readyIs(true);
  model_->macAddrSmHelperPresentIs(true);
  model_->macTblShadowPresentIs(true);
  model_->swMacTable().collectionPresentIs(true);
  unicast.vxlanPresentIs(true);
  unicast.vlanXlatePresentIs(true);
  unicast.ingVlanRangePresentIs(true);
  model_->l2AgentPresentIs(true);
  model_->mcastPresentIs(true);
  model_->services().cmdRingManager.presentIs(true);
  // Chips that are still coming up have told their ids.
  for (const auto& [number, name] : chips()) {
    agent_->helper().chips.put(FapId(number), {.fapChipName = name, .chipData = FapId(number)});
  }
  ++upheavals_;
  noteMacs(now);
}

bool World::ready() {
  return model_->l2Agent() != nullptr && model_->unicastAgent() != nullptr &&
         model_->unicast().initialized() && model_->unicast().ready() &&
         model_->status().configReady && model_->status().hardwareReady;
}

bool World::hasObjectsFor(std::string_view keyword) {
  const auto& unicast = model_->unicast();
  if (keyword.starts_with("MACT_") || keyword == "VXLAN_ROUTING_INFO") {
    return model_->macAddrSmHelper() != nullptr &&
           model_->macAddrSmHelper()->macTblShadow() != nullptr;
  }
  if (keyword == "VXLAN_VLAN") return unicast.vxlanL2Sm() != nullptr;
  if (keyword == "ING_VLAN_RANGE") {
    return unicast.ingVlanRangeSm() != nullptr && model_->l2CmdRingManager() != nullptr;
  }
  if (keyword.ends_with("XLATE_STATUS")) return unicast.vlanXlateSm() != nullptr;
  return true;
}

bool World::tableIsAway(std::string_view keyword) {
  if (keyword == "VXLAN_ROUTING_INFO") return model_->unicast().vxlanL2Sm() == nullptr;
  return keyword.starts_with("MACT_") && model_->swMacTable().macEntry() == nullptr;
}

bool World::failsWithoutMulticast(std::string_view keyword) {
  return (keyword == "MACT_DIFF" || keyword == "MACT_MISSING") && model_->mcast() == nullptr;
}

std::map<unsigned, std::string> World::chips() const {
  std::map<unsigned, std::string> names;
  for (const auto& [id, chip] : agent_->helper().chips) names[id.value()] = chip.fapChipName;
  return names;
}

}  // namespace KorvoSimulation
