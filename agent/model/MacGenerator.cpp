#include "agent/model/MacGenerator.h"

#include <algorithm>
#include <string>
#include <vector>

#include "agent/model/SeededRandom.h"
#include "platform/base/Exceptions.h"
#include "platform/types/VlanId.h"

namespace KorvoAgent {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntrySource;
using KorvoL2::MacEntryType;

namespace {

/** The interfaces of the made-up switch, by what is learned on them. */
struct Interfaces {
  std::vector<IntfId> local;
  IntfId vxlan{"Vxlan1"};
  IntfId peerLink{"Port-Channel999"};

  explicit Interfaces(std::size_t chips) {
    constexpr std::size_t kPorts = 48;
    // A switch of one box numbers its ports plainly, one of line cards by card and port.
    for (std::size_t card = 0; card < std::min<std::size_t>(chips, 8); ++card) {
      for (std::size_t port = 1; port <= kPorts; ++port) {
        const std::string number = chips == 1
                                       ? std::to_string(port)
                                       : std::to_string(card + 3) + "/" + std::to_string(port);
        local.emplace_back("Ethernet" + number);
      }
    }
    for (std::size_t lag = 1; lag <= 16; ++lag) {
      local.emplace_back("Port-Channel" + std::to_string(lag));
    }
  }
};

MacEntry entryOf(SeededRandom& random, const Interfaces& interfaces, std::uint64_t bitmap) {
  const IntfId local = interfaces.local[random.below(interfaces.local.size())];
  MacEntry entry{.intf = local, .modBitmap = bitmap};
  const std::uint64_t share = random.below(100);
  if (share < 80) {
    if (share == 0) entry.flags = KorvoL2::MacEntryFlag::kMoved;
  } else if (share < 90) {
    entry.intf = interfaces.vxlan;
    entry.type = MacEntryType::remoteDynamic;
    entry.source = MacEntrySource::vxlan;
  } else if (share < 95) {
    entry.intf = interfaces.peerLink;
    entry.type = MacEntryType::peerDynamic;
    entry.source = MacEntrySource::mlagPeer;
  } else if (share < 99) {
    entry.type = MacEntryType::configuredStatic;
    entry.source = MacEntrySource::config;
  } else {
    entry.intf = IntfId();
    entry.type = MacEntryType::configuredDrop;
    entry.source = MacEntrySource::config;
    entry.flags = KorvoL2::MacEntryFlag::kDiscard;
  }
  return entry;
}

}  // namespace

void generateMacs(SwitchModel& model, std::uint64_t count, std::uint64_t seed) {
  if (count > kMaxGeneratedMacs) {
    throw Qel::RangeException("at most " + std::to_string(kMaxGeneratedMacs) +
                              " MAC entries are generated, not " + std::to_string(count));
  }
  constexpr std::uint64_t kPerVlan = 1000;
  constexpr std::uint64_t kMaxVlans = 4000;
  // Locally administered unicast addresses, 02:xx:xx:xx:xx:xx: nobody's.
  constexpr std::uint64_t kFirstMac = 0x0200'0000'0000ULL;
  constexpr std::uint64_t kMacs = 1ULL << 40;

  SwMacTable& table = model.swMacTable();
  const bool mayMeet = table.size() != 0;
  const std::uint64_t bitmap = model.moduleBitmap();
  const Interfaces interfaces(model.chips().size());
  SeededRandom random(seed);

  // Keys are made in ascending order, each a random step above the one before: no two are equal,
  // nothing needs sorting, and appending is what the table does best.
  const std::uint64_t vlans = std::clamp<std::uint64_t>(count / kPerVlan, 1, kMaxVlans);
  const std::uint64_t vlanStep = Bridging::VlanId::kMax / vlans;
  for (std::uint64_t i = 0; i < vlans; ++i) {
    const auto vlan = static_cast<std::uint16_t>(
        std::min<std::uint64_t>(1 + i * vlanStep, Bridging::VlanId::kMax));
    const std::uint64_t here = count / vlans + (i < count % vlans ? 1 : 0);
    if (here == 0) continue;
    const std::uint64_t maxStep = std::min<std::uint64_t>(kMacs / (2 * here), 0xffff'ffffU);
    std::uint64_t mac = kFirstMac;
    for (std::uint64_t left = here; left != 0; --left) {
      mac += 1 + random.below(maxStep);
      while (mayMeet && table.entries().has(MacVlanPair(vlan, EthAddr(mac)))) ++mac;
      table.put(MacVlanPair(vlan, EthAddr(mac)), entryOf(random, interfaces, bitmap));
    }
  }
}

}  // namespace KorvoAgent
