// The hardware MAC table of one chip.
//
// A table of fixed size, made of buckets of four slots. A key belongs into either of two buckets,
// which a hash of the key tells; a new entry goes where more slots are free. When both buckets are
// full, the entry does not fit, however empty the rest of the table is: so it is with chips, and
// entries never move to make room. With the table less than half full that practically does not
// happen. An entry's index, bucket * 4 + slot, stays the same until it is removed.
//
// Memory. Slots lie in pages, made when first written. A copy of a table shares its pages; a page
// is copied when one of those that share it writes to it. The chips of a switch hold mostly the
// same entries in the same places, and cost the memory of one (see HwGroupWrite).
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "agent/model/HwMacEntry.h"
#include "platform/base/Ptr.h"

namespace KorvoAgent {

class HwMacTable {
 public:
  using Index = std::uint32_t;
  static constexpr Index kNowhere = ~Index{0};
  static constexpr std::size_t kSlotsPerBucket = 4;
  static constexpr std::size_t kMinSlots = 2 * kSlotsPerBucket;
  static constexpr std::size_t kMaxSlots = std::size_t{1} << 30;

  /** Room for `slots` entries, rounded up to whole buckets; throws Qel::RangeException unless
   * kMinSlots to kMaxSlots. */
  explicit HwMacTable(std::size_t slots);

  std::size_t capacity() const noexcept { return numBuckets_ * kSlotsPerBucket; }
  std::size_t size() const noexcept { return size_; }

  /** Index of the entry of `key`, or kNowhere. */
  Index find(const HwMacKey& key) const noexcept;
  /** The slot at `index`, below capacity(); it may be empty. */
  const HwMacEntry& at(Index index) const noexcept;
  /** Adds an entry, not empty, or replaces that of its key; its index, or kNowhere: no room. */
  Index put(const HwMacEntry& entry);
  /** Whether it was there. */
  bool erase(const HwMacKey& key);
  /** Has what find(key) reads fetched from memory. */
  void prefetch(const HwMacKey& key) const noexcept;

 private:
  friend class HwGroupWrite;

  static constexpr std::size_t kBucketsPerPage = 64;
  static constexpr std::size_t kSlotsPerPage = kBucketsPerPage * kSlotsPerBucket;
  struct Page final : Qel::RefCounted {
    Page() = default;
    Page(const Page& other) : Qel::RefCounted(), slots(other.slots) {}
    // A bucket is a line of the cache.
    alignas(64) std::array<HwMacEntry, kSlotsPerPage> slots;
  };
  using Buckets = std::array<std::size_t, 2>;

  Buckets bucketsOf(const HwMacKey& key) const noexcept;
  const HwMacEntry* bucket(std::size_t number) const noexcept {
    const Page* const page = pages_[number / kBucketsPerPage].get();
    return page == nullptr ? kEmptyBucket.data()
                           : &page->slots[number % kBucketsPerPage * kSlotsPerBucket];
  }
  HwMacEntry& writable(Index index);

  static const std::array<HwMacEntry, kSlotsPerBucket> kEmptyBucket;

  std::size_t numBuckets_;
  std::size_t size_ = 0;
  std::vector<Qel::Ptr<Page>> pages_;  // null while nothing was written to it
};

/**
 * One write to several tables of one capacity. Tables that share what the write touches go on
 * sharing it afterwards. For as long as it lives, no other write reaches the tables.
 */
class HwGroupWrite {
 public:
  /** Puts `entry`. */
  explicit HwGroupWrite(const HwMacEntry& entry) : entry_(entry) {}
  /** Erases the entry of `key`. */
  explicit HwGroupWrite(const HwMacKey& key) : entry_(key, HwMacType::none) {}

  /** Carries the write out on one more table; false if there was no room, or nothing to erase. */
  bool to(HwMacTable& table);

 private:
  bool apply(HwMacTable& table) const;

  HwMacEntry entry_;  // empty: erase
  const HwMacTable* first_ = nullptr;
  bool result_ = false;
  bool grew_ = false;
  bool shrank_ = false;
  std::array<std::size_t, 2> pages_{};
  std::array<Qel::Ptr<HwMacTable::Page>, 2> before_;
};

}  // namespace KorvoAgent
