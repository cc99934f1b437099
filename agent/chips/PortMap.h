// Which interface is which destination of the chips.
//
// Interfaces have names, chips have modules, ports and trunks. An Ethernet port lies on one of the
// chips of its line card ("Ethernet3/7" on a chip whose name ends in "3/0", "3/1", ...; a plain
// "Ethernet7" on any), a port-channel is the trunk of its number, and what lies on no chip (a
// tunnel, a name of no known kind) gets a logical port on the first module, from kFirstLogicalPort
// on, in the order in which such interfaces turn up.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/model/HwMacEntry.h"
#include "platform/types/IntfId.h"
#include "platform/types/ModPort.h"

namespace KorvoAgent {

class PortMap {
 public:
  static constexpr std::uint16_t kFirstLogicalPort = 1024;

  /** The chips on which interfaces that are asked for from now on lie. */
  void chipsAre(std::vector<std::pair<std::uint8_t, std::string>> idsAndNames);

  /** Where the chips send frames to `intf`; always the same, and no two interfaces alike. */
  HwDestination destinationOf(Bridging::IntfId intf);
  /** Has `port`, if it is nobody's yet, shown as `intf`. */
  void portIs(const Bridging::ModPort& port, Bridging::IntfId intf);
  /** The interface of a destination; the default interface when it is of none. */
  Bridging::IntfId interfaceOf(const HwDestination& destination) const;

 private:
  static std::uint64_t wordOf(const HwDestination& to) noexcept {
    return std::uint64_t{static_cast<std::uint8_t>(to.kind)} << 32 |
           std::uint64_t{to.number} << 16 | to.port;
  }
  HwDestination preferred(std::string_view name) const;
  HwDestination onCard(std::string_view card, unsigned port) const;
  bool claim(const HwDestination& to, Bridging::IntfId intf) {
    return interfaces_.try_emplace(wordOf(to), intf).second;
  }

  std::vector<std::pair<std::uint8_t, std::string>> chips_{{0, ""}};
  absl::flat_hash_map<Bridging::IntfId, HwDestination> destinations_;
  absl::flat_hash_map<std::uint64_t, Bridging::IntfId> interfaces_;
  std::uint32_t nextLogicalPort_ = kFirstLogicalPort;
};

}  // namespace KorvoAgent
