#include "agent/chips/HwFaults.h"

#include <string>

#include "platform/base/Exceptions.h"

namespace KorvoAgent {

namespace {

constexpr std::uint64_t kCertain = std::uint64_t{1} << 32;

std::uint64_t checkedThreshold(double rate) {
  if (!(rate >= 0 && rate <= 1)) {
    throw Qel::RangeException("the share of writes that go wrong is 0 to 1, not " +
                              std::to_string(rate));
  }
  return static_cast<std::uint64_t>(rate * static_cast<double>(kCertain));
}

}  // namespace

HwFaults::HwFaults(double rate, std::uint64_t seed)
    : threshold_(checkedThreshold(rate)), random_(seed) {}

HwFault HwFaults::draw(Tessar::FapId chip, const HwMacEntry& present, HwMacEntry& entry) {
  if (!enabled()) return HwFault::none;
  const Place place{chip, entry.key()};
  HwFault fault = HwFault::none;
  // A write that changes nothing cannot go wrong.
  const bool same = present.isEmpty() ? entry.isEmpty() : present == entry;
  if (!same && random_.below(kCertain) < threshold_) fault = kindOf(present, entry);
  if (fault == HwFault::none) {
    standing_.erase(place);
  } else {
    standing_[place] = fault;
  }
  return fault;
}

HwFault HwFaults::kindOf(const HwMacEntry& present, HwMacEntry& entry) {
  const bool hasPort =
      !entry.isEmpty() && entry.destinationKind == HwDestinationKind::port && !entry.dstDiscard;
  if (hasPort && random_.onceIn(2)) {
    HwMacEntry wrong = entry;
    wrong.destinationPort ^= static_cast<std::uint16_t>(1 + random_.below(7));
    // By chance what was there: then it is one more entry that stayed as it was.
    if (!(wrong == present)) {
      entry = wrong;
      ++counts_.wrongPorts;
      return HwFault::wrongPort;
    }
  }
  if (present.isEmpty()) {
    ++counts_.lostWrites;
    return HwFault::lostWrite;
  }
  ++counts_.staleEntries;
  return HwFault::staleEntry;
}

void HwFaults::chipDel(Tessar::FapId chip) {
  absl::erase_if(standing_, [chip](const auto& item) { return item.first.chip == chip; });
}

}  // namespace KorvoAgent
