#include "agent/chips/HwChips.h"

#include <utility>

#include "platform/base/Exceptions.h"

namespace KorvoAgent {

using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
namespace Flag = KorvoL2::MacEntryFlag;

namespace {

HwMacType hwType(MacEntryType type) {
  switch (type) {
    case MacEntryType::learnedDynamic:
      return HwMacType::dynamic;
    case MacEntryType::learnedSecure:
    case MacEntryType::configuredStatic:
    case MacEntryType::configuredDrop:
    case MacEntryType::peerStatic:
      return HwMacType::permanent;
    case MacEntryType::peerDynamic:
    case MacEntryType::remoteDynamic:
      return HwMacType::remote;
    case MacEntryType::router:
      return HwMacType::router;
    case MacEntryType::multicast:
      return HwMacType::multicast;
  }
  return HwMacType::permanent;
}

// The classes by which the chips' access lists know addresses that are routed.
constexpr std::uint16_t kRoutedClass = 1;
constexpr std::uint16_t kVirtualRoutedClass = 2;

}  // namespace

HwChip& HwChips::chipIs(Tessar::FapId id, std::string name, std::size_t slots) {
  QEL_ASSERT(!id.isNull());
  auto& chip = chips_[id.value()];
  chip = std::make_unique<HwChip>(HwChip{id, std::move(name), HwMacTable(slots)});
  listChips();
  return *chip;
}

void HwChips::chipDel(Tessar::FapId id) {
  if (id.isNull()) return;
  chips_[id.value()].reset();
  listChips();
}

void HwChips::chipDelAll() {
  for (auto& chip : chips_) chip.reset();
  listChips();
}

void HwChips::listChips() {
  ids_.clear();
  std::vector<std::pair<std::uint8_t, std::string>> names;
  for (const auto& chip : chips_) {
    if (chip == nullptr) continue;
    ids_.push_back(chip->id);
    names.emplace_back(chip->id.value(), chip->name);
  }
  ports_.chipsAre(std::move(names));
}

HwMacEntry HwChips::wanted(const Bridging::MacVlanPair& pair, const MacEntry& entry) {
  HwMacEntry hw({pair, hwKeyType(entry)}, hwType(entry.type));
  if ((entry.flags & Flag::kVirtualRouted) != 0) {
    hw.classId = kVirtualRoutedClass;
  } else if ((entry.flags & Flag::kRouted) != 0) {
    hw.classId = kRoutedClass;
  }
  if (entry.mcastId != 0) {
    hw.destinationIs(HwDestination::mcastGroup(entry.mcastId));
  } else if (entry.type == MacEntryType::configuredDrop || (entry.flags & Flag::kDiscard) != 0) {
    hw.dstDiscard = true;
  } else if (entry.modPort != Bridging::ModPort()) {
    ports_.portIs(entry.modPort, entry.intf);
    hw.destinationIs(HwDestination::onPort(entry.modPort.module, entry.modPort.port));
  } else if (entry.type != MacEntryType::router) {
    // Frames to the switch itself leave the layer-2 table for the routing engine.
    hw.destinationIs(ports_.destinationOf(entry.intf));
  }
  return hw;
}

}  // namespace KorvoAgent
