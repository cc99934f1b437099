#include "agent/chips/PortMap.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace KorvoAgent {

using Bridging::IntfId;

namespace {

std::optional<unsigned> numberIn(std::string_view text) {
  unsigned number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stopped != end || number > 0xffff) return std::nullopt;
  return number;
}

// The card in a chip's name such as "Linecard3/1"; empty in names of another form.
std::string_view cardOf(std::string_view chipName) {
  const std::size_t slash = chipName.rfind('/');
  if (slash == std::string_view::npos) return {};
  const std::size_t before = chipName.substr(0, slash).find_last_not_of("0123456789");
  const std::size_t first = before == std::string_view::npos ? 0 : before + 1;
  return chipName.substr(first, slash - first);
}

}  // namespace

void PortMap::chipsAre(std::vector<std::pair<std::uint8_t, std::string>> idsAndNames) {
  if (!idsAndNames.empty()) chips_ = std::move(idsAndNames);
}

HwDestination PortMap::onCard(std::string_view card, unsigned port) const {
  constexpr std::size_t kPortsPerCard = 48;
  const auto isOn = [card](const auto& chip) {
    return card.empty() || cardOf(chip.second) == card;
  };
  const auto count = static_cast<std::size_t>(std::ranges::count_if(chips_, isOn));
  if (count == 0 || port == 0 || port >= kFirstLogicalPort) return {};
  // The chips of a card share its ports evenly.
  std::size_t which = std::min((port - 1) * count / kPortsPerCard, count - 1);
  for (const auto& chip : chips_) {
    if (!isOn(chip)) continue;
    if (which-- == 0) return HwDestination::onPort(chip.first, static_cast<std::uint16_t>(port));
  }
  return {};
}

// Where a name says that an interface lies; no destination when it does not say.
HwDestination PortMap::preferred(std::string_view name) const {
  constexpr std::string_view kPortChannel = "Port-Channel";
  constexpr std::string_view kEthernet = "Ethernet";
  if (name.starts_with(kPortChannel)) {
    const auto id = numberIn(name.substr(kPortChannel.size()));
    if (id) return HwDestination::trunk(static_cast<std::uint16_t>(*id));
  } else if (name.starts_with(kEthernet)) {
    const std::string_view place = name.substr(kEthernet.size());
    const std::size_t slash = place.find('/');
    const bool plain = slash == std::string_view::npos;
    const auto port = numberIn(plain ? place : place.substr(slash + 1));
    if (port && slash != 0)
      return onCard(plain ? std::string_view() : place.substr(0, slash), *port);
  }
  return {};
}

HwDestination PortMap::destinationOf(IntfId intf) {
  if (intf.isDefault()) return {};
  const auto known = destinations_.find(intf);
  if (known != destinations_.end()) return known->second;
  HwDestination to = preferred(intf.stringValue());
  if (to.kind == HwDestinationKind::none || !claim(to, intf)) {
    // More than one module has ports: names by the hundred thousand go on with the next module.
    do {
      const std::uint32_t number = nextLogicalPort_++;
      to = HwDestination::onPort(static_cast<std::uint16_t>(chips_.front().first + (number >> 16)),
                                 static_cast<std::uint16_t>(number & 0xffff));
    } while (!claim(to, intf));
  }
  destinations_.emplace(intf, to);
  return to;
}

void PortMap::portIs(const Bridging::ModPort& port, IntfId intf) {
  if (!intf.isDefault()) claim(HwDestination::onPort(port.module, port.port), intf);
}

IntfId PortMap::interfaceOf(const HwDestination& destination) const {
  const auto found = interfaces_.find(wordOf(destination));
  return found == interfaces_.end() ? IntfId() : found->second;
}

}  // namespace KorvoAgent
