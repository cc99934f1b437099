#include "agent/chips/HwProgrammer.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Exceptions.h"

namespace KorvoAgent {

using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacKeyType;
using Tessar::FapId;

namespace {

constexpr Qel::Duration kProgrammingPiece = std::chrono::milliseconds(1);
constexpr std::size_t kEntriesPerReading = 16;
// Often enough for an operator, seldom enough not to be noticed.
constexpr Qel::Duration kShortestWait = std::chrono::milliseconds(5);

constexpr std::array kKeyTypes{MacKeyType::bridge, MacKeyType::vfi};

constexpr std::uint8_t bitOf(MacKeyType keyType) {
  return static_cast<std::uint8_t>(1U << static_cast<unsigned>(keyType));
}

// Whether a chip holds the entry when the agent starts.
bool heldAtStart(FapId id, const MacEntry& entry) {
  return HwChips::inBitmap(id, entry.modBitmap) || (id.value() >= 64 && entry.printable);
}

HwMacEntry entryAt(const HwMacTable& table, const HwMacKey& key) {
  const HwMacTable::Index index = table.find(key);
  return index == HwMacTable::kNowhere ? HwMacEntry() : table.at(index);
}

double checkedRate(double entriesPerSecond) {
  if (!(entriesPerSecond > 0 && entriesPerSecond <= 1e9)) {
    throw Qel::RangeException("a chip is programmed with more than 0 entries per second, not " +
                              std::to_string(entriesPerSecond));
  }
  return entriesPerSecond;
}

}  // namespace

HwProgrammer::HwProgrammer(Qel::Ptr<const Qel::Clock> clock, Qel::Ptr<SwMacTable> software,
                           HwChips& chips, double entriesPerSecond, double faultRate,
                           std::uint64_t seed)
    : clock_(std::move(clock)),
      software_(std::move(software)),
      chips_(chips),
      rate_(checkedRate(entriesPerSecond)),
      faults_(faultRate, seed) {}

HwProgrammer::~HwProgrammer() { software_->listenerIs(nullptr); }

void HwProgrammer::start() {
  const std::vector<FapId>& ids = chips_.ids();
  if (!ids.empty()) {
    // Most entries stand in every chip: they are programmed once, and the table is copied.
    HwMacTable& first = chips_.find(ids.front())->macTable;
    std::vector<MacVlanPair> someChips;
    std::vector<MacVlanPair> noRoom;
    // Where entries go is spread over the whole table: it is fetched while others are written.
    constexpr int kAhead = 16;
    auto ahead = software_->entries().begin();
    const auto end = software_->entries().end();
    const auto fetchNext = [&] {
      if (ahead == end) return;
      first.prefetch({ahead->key, hwKeyType(ahead->value)});
      ++ahead;
    };
    for (int i = 0; i < kAhead; ++i) fetchNext();
    for (const auto& [pair, entry] : software_->entries()) {
      fetchNext();
      if (!std::ranges::all_of(ids, [&e = entry](FapId id) { return heldAtStart(id, e); })) {
        someChips.push_back(pair);
      } else if (first.put(chips_.wanted(pair, entry)) == HwMacTable::kNowhere) {
        noRoom.push_back(pair);
      }
    }
    for (const FapId id : ids) chips_.find(id)->macTable = first;
    for (const MacVlanPair& pair : someChips) {
      const MacEntry& entry = *software_->entries().find(pair);
      HwGroupWrite group(chips_.wanted(pair, entry));
      std::uint64_t bitmap = entry.modBitmap;
      for (const FapId id : ids) {
        if (!heldAtStart(id, entry) || group.to(chips_.find(id)->macTable)) continue;
        ++numWithoutRoom_;
        if (id.value() < 64) bitmap &= ~(std::uint64_t{1} << id.value());
      }
      if (bitmap != entry.modBitmap) software_->hwStateIs(pair, bitmap, false);
    }
    for (const MacVlanPair& pair : noRoom) software_->hwStateIs(pair, 0, false);
    numWithoutRoom_ += noRoom.size() * ids.size();
    if (faults_.enabled()) startWithFaults();
  }
  software_->listenerIs(this);
}

// As if the tables had been programmed entry by entry.
void HwProgrammer::startWithFaults() {
  for (const FapId id : chips_.ids()) {
    HwMacTable& table = chips_.find(id)->macTable;
    for (const auto& [pair, entry] : software_->entries()) {
      HwMacEntry written = entryAt(table, {pair, hwKeyType(entry)});
      if (written.isEmpty()) continue;
      switch (faults_.draw(id, HwMacEntry(), written)) {
        case HwFault::none:
          break;
        case HwFault::lostWrite:
        case HwFault::staleEntry:
          table.erase(written.key());
          break;
        case HwFault::wrongPort:
          table.put(written);
          break;
      }
    }
  }
}

void HwProgrammer::deviate(FapId id, const ChipDeviations& deviations) {
  HwChip* const chip = chips_.find(id);
  if (chip == nullptr || deviations.empty()) return;
  HwMacTable& table = chip->macTable;
  const auto refuse = [chip](const char* said, const MacVlanPair& pair, const char* why) {
    throw Qel::RangeException("chip " + chip->name + " is said to " + said + " VLAN " +
                              std::to_string(pair.vlan()) + " MAC address " +
                              pair.mac().stringValue() + ", " + why);
  };
  const auto keyOf = [&](const char* said, const MacVlanPair& pair) {
    const MacEntry* const entry = software_->entries().find(pair);
    if (entry == nullptr) refuse(said, pair, "which is not in the software table");
    return HwMacKey{pair, hwKeyType(*entry)};
  };
  for (const MacVlanPair& pair : deviations.missing) table.erase(keyOf("miss", pair));
  for (const auto& [pair, properties] : deviations.differs) {
    HwMacEntry entry = entryAt(table, keyOf("differ in", pair));
    if (entry.isEmpty()) refuse("differ in", pair, "which it does not hold");
    properties.applyTo(entry);
    table.put(entry);
  }
  for (const auto& [key, properties] : deviations.extra) {
    const MacEntry* const inSoftware = software_->entries().find(key.pair);
    if (inSoftware != nullptr && hwKeyType(*inSoftware) == key.keyType) {
      refuse("hold in excess", key.pair, "which is in the software table");
    }
    HwMacEntry entry(key, key.pair.mac().isGroup() ? HwMacType::multicast : HwMacType::dynamic);
    properties.applyTo(entry);
    if (table.put(entry) == HwMacTable::kNowhere) {
      refuse("hold in excess", key.pair, "for which its table has no room");
    }
  }
}

void HwProgrammer::macEntryChanged(const MacVlanPair& pair, std::optional<MacKeyType> before) {
  if (due_.empty()) {
    since_ = clock_->now();
    done_ = 0;
    wakeAt_ = since_ + kShortestWait;
    awake_ = false;
  }
  const auto [due, added] = due_.try_emplace(pair, OldKeyTypes{0});
  if (added) queue_.push_back(pair);
  if (before) due->second |= bitOf(*before);
  const MacEntry* const entry = software_->entries().find(pair);
  if (entry == nullptr) return;
  // What the agent keeps for itself is wanted where its bitmap says, before and after.
  const bool nowhereYet = !before && entry->printable;
  software_->hwStateIs(pair, nowhereYet ? 0 : entry->modBitmap, true);
}

std::optional<Qel::Duration> HwProgrammer::nextDeadline() const {
  return due_.empty() || awake_ ? std::nullopt : std::optional(wakeAt_);
}

// How many entries the chips could have taken by `now` beyond those they have.
std::uint64_t HwProgrammer::allowed(Qel::Duration now) {
  if (now < since_) {  // a clock that was set back starts the time anew
    since_ = now;
    done_ = 0;
  }
  const double seconds = std::chrono::duration<double>(now - since_).count();
  const auto taken = static_cast<std::uint64_t>(seconds * rate_);
  if (taken <= done_) return 0;
  // A pause is made up for by a second's worth at most.
  const auto mostMadeUpFor = std::max<std::uint64_t>(1, static_cast<std::uint64_t>(rate_));
  done_ = std::max(done_, taken - std::min(taken, mostMadeUpFor));
  return taken - done_;
}

void HwProgrammer::runPiece() {
  Qel::BudgetTimer timer;
  timer.start(*clock_, kProgrammingPiece);
  const Qel::Duration now = clock_->now();
  for (std::uint64_t left = allowed(now); left != 0 && !queue_.empty(); --left) {
    programNext();
    ++done_;
    // What is left over is carried out in later turns, between what others have to do.
    if (left % kEntriesPerReading == 0 && timer.spent()) return;
  }
  awake_ = false;
  const auto next =
      since_ + std::chrono::duration_cast<Qel::Duration>(
                   std::chrono::duration<double>(static_cast<double>(done_ + 1) / rate_));
  wakeAt_ = std::max(next, now + kShortestWait);
}

void HwProgrammer::programNext() {
  const MacVlanPair pair = queue_.front();
  queue_.pop_front();
  const auto due = due_.extract(pair);
  program(pair, due.mapped());
}

void HwProgrammer::program(const MacVlanPair& pair, OldKeyTypes oldKeyTypes) {
  const MacEntry* const entry = software_->entries().find(pair);
  for (const MacKeyType keyType : kKeyTypes) {
    const bool current = entry != nullptr && entry->keyType == keyType;
    if ((oldKeyTypes & bitOf(keyType)) != 0 && !current) {
      removeFromAll({pair, static_cast<std::uint8_t>(keyType)});
    }
  }
  if (entry == nullptr) return;
  const HwMacEntry hw = chips_.wanted(pair, *entry);
  HwGroupWrite group(hw);
  std::uint64_t bitmap = 0;
  for (const FapId id : chips_.ids()) {
    if (!HwChips::wantedOn(id, *entry)) continue;
    if (!write(*chips_.find(id), group, hw)) {
      ++numWithoutRoom_;
    } else if (id.value() < 64) {
      bitmap |= std::uint64_t{1} << id.value();
    }
  }
  software_->hwStateIs(pair, bitmap, false);
}

void HwProgrammer::removeFromAll(const HwMacKey& key) {
  HwGroupWrite group(key);
  const HwMacEntry removed(key, HwMacType::none);
  for (const FapId id : chips_.ids()) write(*chips_.find(id), group, removed);
}

// Writes `entry` (empty: takes it out) as far as no fault intervenes; false if it found no room.
bool HwProgrammer::write(HwChip& chip, HwGroupWrite& group, const HwMacEntry& entry) {
  const bool mayFail = !entry.isEmpty();
  if (!faults_.enabled()) return group.to(chip.macTable) || !mayFail;
  HwMacEntry written = entry;
  switch (faults_.draw(chip.id, entryAt(chip.macTable, entry.key()), written)) {
    case HwFault::none:
      return group.to(chip.macTable) || !mayFail;
    case HwFault::lostWrite:
    case HwFault::staleEntry:
      break;
    case HwFault::wrongPort:
      return chip.macTable.put(written) != HwMacTable::kNowhere;
  }
  return true;
}

}  // namespace KorvoAgent
