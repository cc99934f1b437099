#include "agent/chips/HwMacTable.h"

#include <string>

#include "platform/base/Exceptions.h"

namespace KorvoAgent {

const std::array<HwMacEntry, HwMacTable::kSlotsPerBucket> HwMacTable::kEmptyBucket{};

namespace {

bool holds(const HwMacEntry& slot, const HwMacKey& key) noexcept {
  return slot.pair == key.pair && slot.keyType == key.keyType && !slot.isEmpty();
}

// The hash is the chip's, fixed and the same for every chip of the switch. Whoever chooses
// addresses so that they collide fills buckets, and no more than that: a look-up always costs two.
std::uint64_t hashOf(const HwMacKey& key) noexcept {
  std::uint64_t x = std::uint64_t{key.pair.vlan()} << 48 | key.pair.mac().value();
  x ^= key.keyType * 0x9E3779B97F4A7C15ULL;
  x = (x ^ x >> 33) * 0xff51afd7ed558ccdULL;
  x = (x ^ x >> 33) * 0xc4ceb9fe1a85ec53ULL;
  return x ^ x >> 33;
}

}  // namespace

HwMacTable::HwMacTable(std::size_t slots)
    : numBuckets_((slots + kSlotsPerBucket - 1) / kSlotsPerBucket) {
  if (slots < kMinSlots || slots > kMaxSlots) {
    throw Qel::RangeException("a hardware MAC table has " + std::to_string(kMinSlots) + " to " +
                              std::to_string(kMaxSlots) + " slots, not " + std::to_string(slots));
  }
  pages_.resize((numBuckets_ + kBucketsPerPage - 1) / kBucketsPerPage);
}

HwMacTable::Buckets HwMacTable::bucketsOf(const HwMacKey& key) const noexcept {
  const std::uint64_t hash = hashOf(key);
  const std::size_t one = ((hash >> 32) * numBuckets_) >> 32;
  const std::size_t step = 1 + (((hash & 0xffff'ffffU) * (numBuckets_ - 1)) >> 32);
  const std::size_t other = one + step;
  return {one, other < numBuckets_ ? other : other - numBuckets_};
}

HwMacTable::Index HwMacTable::find(const HwMacKey& key) const noexcept {
  for (const std::size_t number : bucketsOf(key)) {
    const HwMacEntry* const slots = bucket(number);
    for (std::size_t i = 0; i < kSlotsPerBucket; ++i) {
      if (holds(slots[i], key)) return static_cast<Index>(number * kSlotsPerBucket + i);
    }
  }
  return kNowhere;
}

const HwMacEntry& HwMacTable::at(Index index) const noexcept {
  return bucket(index / kSlotsPerBucket)[index % kSlotsPerBucket];
}

HwMacEntry& HwMacTable::writable(Index index) {
  Qel::Ptr<Page>& page = pages_[index / kSlotsPerPage];
  if (page == nullptr) {
    page = Qel::makePtr<Page>();
  } else if (page->users() > 1) {
    page = Qel::makePtr<Page>(*page);
  }
  return page->slots[index % kSlotsPerPage];
}

HwMacTable::Index HwMacTable::put(const HwMacEntry& entry) {
  QEL_ASSERT(!entry.isEmpty());
  Index free = kNowhere;
  std::size_t mostFree = 0;
  for (const std::size_t number : bucketsOf(entry.key())) {
    const HwMacEntry* const slots = bucket(number);
    std::size_t numFree = 0;
    Index freeHere = kNowhere;
    for (std::size_t i = 0; i < kSlotsPerBucket; ++i) {
      const auto index = static_cast<Index>(number * kSlotsPerBucket + i);
      if (slots[i].isEmpty()) {
        ++numFree;
        if (freeHere == kNowhere) freeHere = index;
      } else if (holds(slots[i], entry.key())) {
        // Writing what is there already would end the sharing of a page for nothing.
        if (!(slots[i] == entry)) writable(index) = entry;
        return index;
      }
    }
    if (numFree > mostFree) {
      mostFree = numFree;
      free = freeHere;
    }
  }
  if (free == kNowhere) return kNowhere;
  writable(free) = entry;
  ++size_;
  return free;
}

bool HwMacTable::erase(const HwMacKey& key) {
  const Index index = find(key);
  if (index == kNowhere) return false;
  writable(index) = HwMacEntry();
  --size_;
  return true;
}

void HwMacTable::prefetch(const HwMacKey& key) const noexcept {
  for (const std::size_t number : bucketsOf(key)) __builtin_prefetch(bucket(number));
}

bool HwGroupWrite::apply(HwMacTable& table) const {
  return entry_.isEmpty() ? table.erase(entry_.key()) : table.put(entry_) != HwMacTable::kNowhere;
}

bool HwGroupWrite::to(HwMacTable& table) {
  if (first_ == nullptr) {
    first_ = &table;
    const HwMacTable::Buckets buckets = table.bucketsOf(entry_.key());
    for (std::size_t i = 0; i < 2; ++i) {
      pages_[i] = buckets[i] / HwMacTable::kBucketsPerPage;
      before_[i] = table.pages_[pages_[i]];
    }
    const std::size_t sizeBefore = table.size();
    result_ = apply(table);
    grew_ = table.size() > sizeBefore;
    shrank_ = table.size() < sizeBefore;
    return result_;
  }
  QEL_ASSERT(table.capacity() == first_->capacity());
  for (std::size_t i = 0; i < 2; ++i) {
    if (table.pages_[pages_[i]] != before_[i]) return apply(table);
  }
  for (const std::size_t page : pages_) table.pages_[page] = first_->pages_[page];
  table.size_ += grew_ ? 1 : 0;
  table.size_ -= shrank_ ? 1 : 0;
  return result_;
}

}  // namespace KorvoAgent
