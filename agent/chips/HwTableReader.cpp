#include "agent/chips/HwTableReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/chips/PropertyDirs.h"
#include "platform/base/Exceptions.h"

namespace KorvoAgent {

using KorvoL2::DiffMacEntry;
using KorvoL2::DiffMacEntryTable;
using KorvoL2::L2TableReadReq;
using KorvoL2::L2TableReadType;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryCollection;
using KorvoL2::MissingMacEntry;
using KorvoL2::MissingMacEntryTable;
using Tessar::FapId;

namespace {

constexpr Qel::Duration kReadingPiece = std::chrono::milliseconds(1);
// How long a table may stay for nobody. That its report is printed does not tell itself.
constexpr Qel::Duration kBetweenLooks = std::chrono::milliseconds(20);
constexpr std::size_t kEntriesPerShrink = 64;
constexpr std::size_t kMiB = std::size_t{1} << 20;

// Entries between two looks at the clock. What a block needs is fetched from memory all at once.
constexpr std::size_t kEntriesPerBlock = 64;
// Entries that joined meanwhile are only stepped over, faster than they can come.
constexpr std::size_t kStepsPerBlock = 1024;
constexpr std::size_t kSlotsPerBlock = 512;

bool isPending(const MacEntry& entry) {
  return (entry.flags & KorvoL2::MacEntryFlag::kPending) != 0;
}

bool sameProperties(const KorvoL2::EntryPropertyDir* a, const KorvoL2::EntryPropertyDir* b) {
  if (a == b) return true;  // nearly always: equal sets of properties are one
  if (a == nullptr || b == nullptr || a->size() != b->size()) return false;
  namespace Property = KorvoL2::EntryProperty;
  for (const std::string_view name :
       {Property::kDstDiscard, Property::kMcastId, Property::kTrunkId, Property::kMod,
        Property::kPort, Property::kClassId, Property::kMacAddressType, Property::kInvalidEntry}) {
    const std::string* const inA = a->property(name);
    const std::string* const inB = b->property(name);
    if ((inA == nullptr) != (inB == nullptr) || (inA != nullptr && *inA != *inB)) return false;
  }
  return true;
}

// What the heap adds to each block of it, and what a node of a std::map holds beside its value.
constexpr std::size_t kHeapBlock = 16;
constexpr std::size_t kMapNode = 4 * sizeof(void*);

std::size_t heapBytes(const std::string& text) {
  static const std::size_t kInPlace = std::string().capacity();
  return text.size() <= kInPlace ? 0 : text.size() + 1 + kHeapBlock;
}

/** The entry of `key` in a result table, added, and counted in `bytes`, if it is not there. */
template <class Table, class Key>
auto& resultOf(Table& table, const Key& key, std::size_t& bytes) {
  using Result = typename Table::Collection::Value::element_type;
  if (const auto* const present = table.entries().find(key)) return **present;
  auto added = Qel::makePtr<Result>();
  Result& result = *added;
  table.entries().put(key, std::move(added));
  bytes += sizeof(Result) + kHeapBlock + sizeof(typename Table::Collection::Entry);
  return result;
}

}  // namespace

/** What is being read for one result table, and how far it has come. */
struct HwTableReader::Read : ResultTable {
  std::vector<FapId> chips;  // asked for, each once
  std::size_t nextChip = 0;  // the first that is still to be begun
  bool closed = false;
  PropertyDirs properties;

  enum class Stage : std::uint8_t { betweenChips, software, hardware };
  Stage stage = Stage::betweenChips;
  Bridging::MacVlanPair nextPair;         // stage software: where it goes on
  Qel::Insertions insertionsAtStart = 0;  // of the software table
  HwMacTable::Index nextIndex = 0;        // stage hardware: where it goes on
  std::size_t capacity = 0;               // of the chip's table
  std::vector<bool> met;                  // by index: entries of the chip found in software
  std::size_t bytes = 0;                  // taken by the findings, about

  void compare(const HwChip& chip, HwChips& chips, const MacEntryCollection::Entry& entry);
  void differs(const HwChip& chip, const HwMacEntry& wanted, HwMacTable::Index index);
  void isMissing(const HwChip& chip, const HwMacKey& key, bool inSoftware, std::int32_t hwTblIndex);
};

HwTableReader::HwTableReader(Qel::Ptr<const Qel::Clock> clock,
                             Qel::Ptr<const KorvoL2::MacTblShadow> software, HwChips& chips,
                             const HwProgrammer& programmer, std::size_t resultMemory)
    : clock_(std::move(clock)),
      software_(std::move(software)),
      chips_(chips),
      programmer_(programmer),
      resultMemory_(resultMemory) {}

HwTableReader::~HwTableReader() = default;

const Qel::TypeData& HwTableReader::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::HwTableReader"};
  return kType;
}

void HwTableReader::newReqIs(const L2TableReadReq& request) {
  const bool difference = request.type == L2TableReadType::difference;
  QEL_ASSERT((request.diffEntryTable != nullptr) == difference);
  QEL_ASSERT((request.missingEntryTable != nullptr) == !difference);
  const ResultTable table{request.diffEntryTable, request.missingEntryTable};
  if (table.givenUp()) return;
  auto read = std::ranges::find_if(reads_, [&table](const Read& r) { return r == table; });
  if (read == reads_.end()) {
    finished_.remove(table);
    read = reads_.emplace(reads_.end());
    static_cast<ResultTable&>(*read) = table;
  }
  read->closed = request.fapId.isNull();
  if (read->closed) return;
  read->completeIs(false);
  if (std::ranges::find(read->chips, request.fapId) == read->chips.end()) {
    read->chips.push_back(request.fapId);
  }
}

std::size_t HwTableReader::numRequests() const noexcept {
  std::size_t count = 0;
  for (const Read& read : reads_) {
    count += read.chips.size() - read.nextChip + (read.stage == Read::Stage::betweenChips ? 0 : 1);
  }
  return count;
}

bool HwTableReader::ResultTable::abandoned() const noexcept {
  return diff != nullptr ? diff->users() == 1 : missing->users() == 1;
}

void HwTableReader::ResultTable::completeIs(bool complete) const {
  if (diff != nullptr) {
    diff->readCompleteIs(complete);
  } else {
    missing->readCompleteIs(complete);
  }
}

void HwTableReader::ResultTable::givenUpFor(const std::string& reason) const {
  if (diff != nullptr) {
    diff->whyGivenUpIs(reason);
  } else {
    missing->whyGivenUpIs(reason);
  }
}

bool HwTableReader::ResultTable::givenUp() const noexcept {
  return !(diff != nullptr ? diff->whyGivenUp() : missing->whyGivenUp()).empty();
}

bool HwTableReader::ResultTable::shrink() const {
  const auto shrinkTable = [](auto& entries) {
    for (std::size_t i = 0; i < kEntriesPerShrink && !entries.empty(); ++i) {
      const auto key = entries.begin()->key;
      entries.erase(key);
    }
    return !entries.empty();
  };
  return diff != nullptr ? shrinkTable(diff->entries()) : shrinkTable(missing->entries());
}

void HwTableReader::takeOverAbandoned() {
  for (auto read = reads_.begin(); read != reads_.end();) {
    if (read->abandoned()) {
      leftovers_.push_back(static_cast<const ResultTable&>(*read));
      read = reads_.erase(read);
    } else {
      ++read;
    }
  }
}

std::optional<Qel::Duration> HwTableReader::nextDeadline() const {
  return finished_.empty() ? std::nullopt : std::optional(lookAt_);
}

void HwTableReader::deadlinesPassed(Qel::Duration now) {
  lookAt_ = now + kBetweenLooks;
  for (auto table = finished_.begin(); table != finished_.end();) {
    const auto next = std::next(table);
    if (table->abandoned()) leftovers_.splice(leftovers_.end(), finished_, table);
    table = next;
  }
}

void HwTableReader::runPiece() {
  takeOverAbandoned();
  // Reading and freeing take turns, so that neither keeps the other waiting.
  if (reads_.empty() || (demolitionNext_ && !leftovers_.empty())) {
    demolitionNext_ = false;
    runDemolition();
  } else {
    demolitionNext_ = true;
    runRead();
  }
}

void HwTableReader::runDemolition() {
  Qel::BudgetTimer timer;
  timer.start(*clock_, kReadingPiece);
  while (!leftovers_.empty()) {
    if (!leftovers_.front().shrink()) leftovers_.pop_front();
    if (timer.spent()) return;
  }
}

void HwTableReader::runRead() {
  Qel::BudgetTimer timer;
  timer.start(*clock_, kReadingPiece);
  const auto read = reads_.begin();
  bool more = true;
  do {
    more = step(*read);
    if (read->bytes > resultMemory_) {
      read->givenUpFor(
          fmt::format("the findings take more than {} MiB; name fewer chips, or start "
                      "the agent with a larger --check-memory",
                      resultMemory_ / kMiB));
      more = false;
    }
  } while (more && !timer.spent());
  if (more) {
    reads_.splice(reads_.end(), reads_, read);
    return;
  }
  if (finished_.empty()) lookAt_ = clock_->now() + kBetweenLooks;
  // A table that was not closed is taken up again when the next request names it.
  if (read->closed) read->completeIs(true);
  finished_.push_back(static_cast<const ResultTable&>(*read));
  reads_.erase(read);
}

// Compares one block; whether anything is left to do for the table.
bool HwTableReader::step(Read& read) {
  if (const HwChip* const chip = chipOf(read)) {
    if (read.stage == Read::Stage::software) {
      compareSoftware(read, *chip);
    } else {
      compareHardware(read, *chip);
    }
  }
  return read.stage != Read::Stage::betweenChips || read.nextChip != read.chips.size();
}

// The chip that is being read, begun if it is the next one's turn; null when it is not there.
const HwChip* HwTableReader::chipOf(Read& read) {
  if (read.stage != Read::Stage::betweenChips) {
    const HwChip* const chip = chips_.find(read.chips[read.nextChip - 1]);
    if (chip != nullptr && chip->macTable.capacity() == read.capacity) return chip;
    read.stage = Read::Stage::betweenChips;
    return nullptr;
  }
  if (read.nextChip == read.chips.size()) return nullptr;
  const HwChip* const chip = chips_.find(read.chips[read.nextChip++]);
  const MacEntryCollection* const entries = software_->macEntry();
  if (chip == nullptr || entries == nullptr) return nullptr;
  read.stage = Read::Stage::software;
  read.nextPair = Bridging::MacVlanPair();
  read.insertionsAtStart = entries->insertions();
  read.capacity = chip->macTable.capacity();
  read.nextIndex = 0;
  if (read.missing != nullptr) read.met.assign(read.capacity, false);
  return chip;
}

void HwTableReader::compareSoftware(Read& read, const HwChip& chip) {
  const MacEntryCollection* const entries = software_->macEntry();
  bool atEnd = entries == nullptr;
  if (entries != nullptr) {
    std::array<const MacEntryCollection::Entry*, kEntriesPerBlock> block{};
    std::size_t count = 0;
    try {
      auto it = entries->lowerBound(read.nextPair);
      for (std::size_t steps = 0;
           count != kEntriesPerBlock && steps != kStepsPerBlock && it != entries->end();
           ++steps, ++it) {
        if (entries->born(it) > read.insertionsAtStart) continue;
        chip.macTable.prefetch({it->key, hwKeyType(it->value)});
        block[count++] = &*it;
      }
      atEnd = it == entries->end();
      if (!atEnd) read.nextPair = it->key;
    } catch (const Qel::CorruptionException& e) {
      entries->corruptionDetected(e.what());
      atEnd = true;
    }
    for (std::size_t i = 0; i < count; ++i) read.compare(chip, chips_, *block[i]);
    numCompared_ += count;
  }
  if (!atEnd) return;
  read.stage = read.missing == nullptr ? Read::Stage::betweenChips : Read::Stage::hardware;
}

void HwTableReader::compareHardware(Read& read, const HwChip& chip) {
  const MacEntryCollection* const entries = software_->macEntry();
  const std::size_t end = std::min<std::size_t>(read.nextIndex + kSlotsPerBlock, read.capacity);
  // Software that has no collection any more says nothing about what hardware should not hold.
  for (; entries != nullptr && read.nextIndex < end; ++read.nextIndex) {
    const HwMacEntry& entry = chip.macTable.at(read.nextIndex);
    if (entry.isEmpty() || read.met[read.nextIndex]) continue;
    const MacEntry* const inSoftware = entries->find(entry.pair);
    const bool wanted = inSoftware != nullptr && hwKeyType(*inSoftware) == entry.keyType;
    if (wanted || programmer_.isDue(entry.pair)) continue;
    read.isMissing(chip, entry.key(), false, static_cast<std::int32_t>(read.nextIndex));
  }
  if (entries != nullptr && read.nextIndex < read.capacity) return;
  read.stage = Read::Stage::betweenChips;
  read.met = {};
}

void HwTableReader::Read::compare(const HwChip& chip, HwChips& chipSet,
                                  const MacEntryCollection::Entry& entry) {
  const HwMacKey key{entry.key, hwKeyType(entry.value)};
  const HwMacTable::Index index = chip.macTable.find(key);
  const bool present = index != HwMacTable::kNowhere;
  if (present && missing != nullptr) met[index] = true;
  if (isPending(entry.value)) return;
  if (diff != nullptr) {
    if (!present) return;
    const HwMacEntry wanted = chipSet.wanted(entry.key, entry.value);
    if (!(chip.macTable.at(index) == wanted)) differs(chip, wanted, index);
  } else if (!present && HwChips::wantedOn(chip.id, entry.value)) {
    constexpr std::int32_t kNoIndex = -1;
    isMissing(chip, key, true, kNoIndex);
  }
}

void HwTableReader::Read::differs(const HwChip& chip, const HwMacEntry& wanted,
                                  HwMacTable::Index index) {
  DiffMacEntry& result = resultOf(*diff, wanted.pair, bytes);
  const PropertyDirs::Dir& software = properties.of(wanted);
  if (!sameProperties(result.swEntry.get(), software.get())) result.hwEntries.clear();
  result.swEntry = software;
  if (result.hwEntries.empty()) result.hwTblIndex = static_cast<std::int32_t>(index);
  const auto [of, added] = result.hwEntries.try_emplace(chip.name);
  of->second = properties.of(chip.macTable.at(index));
  if (added) bytes += kMapNode + sizeof(*of) + kHeapBlock + heapBytes(chip.name);
  result.diffCount = static_cast<std::uint32_t>(result.hwEntries.size());
}

void HwTableReader::Read::isMissing(const HwChip& chip, const HwMacKey& key, bool inSoftware,
                                    std::int32_t hwTblIndex) {
  MissingMacEntry& result = resultOf(
      *missing, KorvoL2::L2HwEntryKey(key.pair.vlan(), key.pair.mac(), key.keyType), bytes);
  if (result.inSw != inSoftware) result.modules.clear();
  result.inSw = inSoftware;
  if (result.modules.empty()) result.hwTblIndex = hwTblIndex;
  const auto at = std::ranges::lower_bound(result.modules, chip.name);
  if (at != result.modules.end() && *at == chip.name) return;
  result.modules.insert(at, chip.name);
  bytes += sizeof(std::string) + kHeapBlock + heapBytes(chip.name);
}

}  // namespace KorvoAgent
