// The keyed collection that every table of the agent is, and that resumable walks run over.
//
// What a walk may rely on. A walk remembers a key, gives the processor back, and positions again
// with lowerBound(key) when it continues; the collection may have changed in any way meanwhile.
//  - Order is ascending by key, whatever the history of the collection: growing and shrinking
//    never reorder anything.
//  - An entry that is present during the whole walk comes out exactly once.
//  - An entry removed before the walk reaches it does not come out.
//  - Resuming at a key that is gone continues with the entry that would have followed it.
//  - An entry added during the walk comes out if its key lies ahead of the walk, else not. An entry
//    that is removed and added again is a new one: it comes out where its key stands at that
//    moment, so once in all, unless it was added again behind the walk before the walk had reached
//    it.
//  - A walk that is fed ends: once it has visited twice as many rows as the collection held when it
//    began and 4,096 more, it passes over entries added since. Before that it leaves none out.
//  - Positioning costs O(log n). Iterators are for the time between two changes only.
//  - born(iterator) tells entries that were there at insertions() == n from later ones, which is
//    how a walk knows what to pass over.
//
// How it is made. Entries lie in chunks of up to kChunkEntries, sorted, side by side in memory;
// the chunks hang in a B-tree by their lowest key. Walking therefore runs along memory (a few
// nanoseconds an entry, where a node-based map takes a cache miss), a lookup is a B-tree descent
// and a binary search, and no single change ever moves more than one chunk's entries: there is no
// rehash that could stall the event loop, and keys chosen by an attacker degrade nothing.
//
// Corruption. Positioning and iteration check what they step over (chunk mark, fences, ascending
// keys) and throw CorruptionException when it does not hold. A walk hands that exception's message
// to corruptionDetected() and treats the collection as exhausted.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/btree_map.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "platform/base/Exceptions.h"

namespace Qel {

struct KeyedCollectionTestAccess;

/** Counts the insertions of a collection; later entries have higher ones. */
using Insertions = std::uint64_t;

template <class KeyType, class ValueType>
class KeyedCollection {
 public:
  using Key = KeyType;
  using Value = ValueType;
  struct Entry {
    Key key;
    Value value;
  };
  using CorruptionHandler = std::function<void(std::string_view message)>;

 private:
  struct Chunk;
  // Owns one chunk. Not a std::unique_ptr: that is of standard layout with some compilers only, and
  // without it the B-tree copies keys (which may fail) where it otherwise moves them.
  class ChunkOwner {
   public:
    ChunkOwner() noexcept = default;
    explicit ChunkOwner(std::unique_ptr<Chunk> chunk) noexcept : chunk_(chunk.release()) {}
    ChunkOwner(ChunkOwner&& other) noexcept : chunk_(std::exchange(other.chunk_, nullptr)) {}
    ChunkOwner& operator=(ChunkOwner&& other) noexcept {
      std::swap(chunk_, other.chunk_);
      return *this;
    }
    ~ChunkOwner() { delete chunk_; }
    Chunk& operator*() const noexcept { return *chunk_; }
    Chunk* operator->() const noexcept { return chunk_; }

   private:
    Chunk* chunk_ = nullptr;
  };
  using Index = absl::btree_map<Key, ChunkOwner>;

 public:
  /** Read-only forward iterator; moving it throws CorruptionException on a broken structure. */
  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = const Entry*;
    using reference = const Entry&;

    const_iterator() = default;
    reference operator*() const { return *entry_; }
    pointer operator->() const { return entry_; }
    const_iterator& operator++() {
      const Entry* const next = entry_ + 1;
      if (next != chunkEnd_) [[likely]] {
        if (!(entry_->key < next->key)) [[unlikely]]
          corrupted("keys do not ascend");
        entry_ = next;
      } else {
        nextChunk();
      }
      return *this;
    }
    const_iterator operator++(int) {
      const_iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const const_iterator& a, const const_iterator& b) {
      return a.entry_ == b.entry_;
    }

   private:
    friend class KeyedCollection;
    const_iterator(const Index* index, typename Index::const_iterator at, std::size_t position)
        : index_(index), at_(at) {
      enter(position);
    }
    void enter(std::size_t position) {
      if (at_ == index_->end()) {
        entry_ = nullptr;
        return;
      }
      const Chunk& chunk = *at_->second;
      check(at_->first, chunk);
      entry_ = chunk.entries.data() + position;
      chunkEnd_ = chunk.entries.data() + chunk.entries.size();
    }
    void nextChunk() {
      const Entry* const last = entry_;
      ++at_;
      enter(0);
      if (entry_ == nullptr) return;
      if (!(last->key < entry_->key)) corrupted("chunks overlap");
      fetchAhead();
    }
    // What follows is fetched while this chunk is walked: the first entries of the next one, until
    // the processor sees by itself what is read, and where those of the one after it are.
    void fetchAhead() const {
      auto following = std::next(at_);
      if (following == index_->end()) return;
      const auto* const entries = reinterpret_cast<const char*>(following->second->entries.data());
      constexpr std::size_t kLine = 64;
      for (std::size_t i = 0; i < 4; ++i) __builtin_prefetch(entries + i * kLine);
      if (++following != index_->end()) __builtin_prefetch(&*following->second);
    }

    const Index* index_ = nullptr;
    typename Index::const_iterator at_;
    const Entry* entry_ = nullptr;
    const Entry* chunkEnd_ = nullptr;
  };

  KeyedCollection() = default;
  KeyedCollection(const KeyedCollection&) = delete;
  KeyedCollection& operator=(const KeyedCollection&) = delete;

  std::size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  /** Insertions so far; entries present now were born at this number or below. */
  Insertions insertions() const noexcept { return insertions_; }

  const_iterator begin() const { return const_iterator(&index_, index_.begin(), 0); }
  const_iterator end() const noexcept { return const_iterator(); }

  /** The entry of `key` or, without one, the first after it; end() if there is none. */
  const_iterator lowerBound(const Key& key) const {
    auto at = chunkFor(key);
    if (at == index_.end()) return end();
    check(at->first, *at->second);
    const std::size_t position = positionIn(*at->second, key);
    if (position == at->second->entries.size()) return const_iterator(&index_, ++at, 0);
    return const_iterator(&index_, at, position);
  }

  /** The first entry after `key`, whether or not `key` is there; end() if there is none. */
  const_iterator upperBound(const Key& key) const {
    const_iterator it = lowerBound(key);
    if (it != end() && !(key < it->key)) ++it;
    return it;
  }

  /** The value of `key`, or null; valid until the collection changes. */
  const Value* find(const Key& key) const {
    const const_iterator it = lowerBound(key);
    return it == end() || key < it->key ? nullptr : &it->value;
  }
  bool has(const Key& key) const { return find(key) != nullptr; }

  /** At which insertion the entry came in; the first one of a collection is 1. */
  Insertions born(const const_iterator& it) const {
    const Chunk& chunk = *it.at_->second;
    return chunk.births[static_cast<std::size_t>(it.entry_ - chunk.entries.data())];
  }

  /** Adds the entry or replaces its value, keeping its age; true if it was added. */
  bool put(const Key& key, Value value) {
    if (Value* const present = findMutable(key)) {
      *present = std::move(value);
      return false;
    }
    insert(key, std::move(value));
    return true;
  }

  /** Changes a value in place; false, and nothing called, when `key` is not there. */
  template <class Change>
  bool change(const Key& key, Change&& apply) {
    Value* const present = findMutable(key);
    if (present == nullptr) return false;
    std::forward<Change>(apply)(*present);
    return true;
  }

  /** Removes the entry; false if it was not there. */
  bool erase(const Key& key) {
    auto at = chunkFor(key);
    if (at == index_.end()) return false;
    Chunk& chunk = *at->second;
    const std::size_t position = positionIn(chunk, key);
    if (position == chunk.entries.size() || key < chunk.entries[position].key) return false;
    const auto offset = static_cast<std::ptrdiff_t>(position);
    chunk.entries.erase(chunk.entries.begin() + offset);
    chunk.births.erase(chunk.births.begin() + offset);
    --size_;
    if (chunk.entries.empty()) {
      index_.erase(at);
    } else {
      mergeIfSparse(at);
    }
    return true;
  }

  void clear() noexcept {
    index_.clear();
    size_ = 0;
  }

  /** Who hears of corruption; nobody unless set. Called from within a walk, so it must not throw.
   */
  void corruptionHandlerIs(CorruptionHandler handler) { corruptionHandler_ = std::move(handler); }
  void corruptionDetected(std::string_view message) const {
    if (corruptionHandler_ != nullptr) corruptionHandler_(message);
  }

 private:
  friend struct KeyedCollectionTestAccess;

  // A few KiB of entries, whatever their size: large enough that moving to the next chunk costs
  // nothing per entry, small enough that inserting in the middle stays in the first-level cache.
  static constexpr std::size_t kChunkEntries =
      std::clamp<std::size_t>(4096 / sizeof(Entry), 16, 128);

  struct Chunk {
    static constexpr std::uint64_t kMark = 0x6b65796564436e6bULL;
    std::uint64_t mark = kMark;
    std::vector<Entry> entries;
    std::vector<Insertions> births;  // apart from the entries: a walk hardly ever reads them
    Chunk() {
      entries.reserve(kChunkEntries);
      births.reserve(kChunkEntries);
    }
  };

  [[noreturn]] static void corrupted(const char* what) {
    throw CorruptionException(std::string("keyed collection is damaged: ") + what);
  }
  static void check(const Key& fence, const Chunk& chunk) {
    if (chunk.mark != Chunk::kMark) [[unlikely]]
      corrupted("a chunk has lost its mark");
    if (chunk.entries.empty()) [[unlikely]]
      corrupted("an empty chunk is linked");
    if (chunk.entries.front().key < fence) [[unlikely]]
      corrupted("a key is below its chunk");
  }

  // The chunk in which `key` is or would be: the last whose fence is not above it, else the first.
  typename Index::const_iterator chunkFor(const Key& key) const {
    auto at = index_.upper_bound(key);
    return at == index_.begin() ? at : std::prev(at);
  }
  typename Index::iterator chunkFor(const Key& key) {
    auto at = index_.upper_bound(key);
    return at == index_.begin() ? at : std::prev(at);
  }
  static std::size_t positionIn(const Chunk& chunk, const Key& key) {
    const auto it = std::lower_bound(chunk.entries.begin(), chunk.entries.end(), key,
                                     [](const Entry& e, const Key& k) { return e.key < k; });
    return static_cast<std::size_t>(it - chunk.entries.begin());
  }
  Value* findMutable(const Key& key) { return const_cast<Value*>(std::as_const(*this).find(key)); }

  // Everything that may throw (copies of the key, memory) comes before the change that it is for,
  // so that a failed insertion leaves the collection as it was.
  void insert(const Key& key, Value value) {
    static_assert(std::is_nothrow_move_constructible_v<Entry>);
    Entry entry{key, std::move(value)};
    if (index_.empty()) {
      add(newChunk(key), 0, std::move(entry));
      return;
    }
    auto at = chunkFor(key);
    if (key < at->first) {
      // Below everything: the first chunk's fence moves down, for fences never exceed their keys.
      at = index_.emplace(key, ChunkOwner()).first;
      const auto old = std::next(at);
      at->second = std::move(old->second);
      at = std::prev(index_.erase(old));
    }
    if (at->second->entries.size() == kChunkEntries) {
      if (at->second->entries.back().key < key && std::next(at) == index_.end()) {
        // Keys that arrive in order leave full chunks behind instead of half-full ones.
        add(newChunk(key), 0, std::move(entry));
        return;
      }
      split(*at->second);
      at = chunkFor(key);
    }
    Chunk& chunk = *at->second;
    add(chunk, positionIn(chunk, key), std::move(entry));
  }

  Chunk& newChunk(const Key& fence) {
    ChunkOwner chunk(std::make_unique<Chunk>());
    return *index_.emplace(fence, std::move(chunk)).first->second;
  }

  // Within the chunk's reserved room.
  void add(Chunk& chunk, std::size_t position, Entry&& entry) noexcept {
    const auto offset = static_cast<std::ptrdiff_t>(position);
    chunk.entries.insert(chunk.entries.begin() + offset, std::move(entry));
    chunk.births.insert(chunk.births.begin() + offset, ++insertions_);
    ++size_;
  }

  // Makes room in a full chunk: its upper half goes to a chunk of its own.
  void split(Chunk& full) {
    constexpr auto kHalf = static_cast<std::ptrdiff_t>(kChunkEntries / 2);
    Chunk& upper = newChunk(full.entries[kHalf].key);
    upper.entries.assign(std::make_move_iterator(full.entries.begin() + kHalf),
                         std::make_move_iterator(full.entries.end()));
    upper.births.assign(full.births.begin() + kHalf, full.births.end());
    full.entries.erase(full.entries.begin() + kHalf, full.entries.end());
    full.births.erase(full.births.begin() + kHalf, full.births.end());
  }

  // Keeps a shrunken table from becoming a long chain of nearly empty chunks: of two neighbours,
  // one is always more than a quarter full.
  void mergeIfSparse(typename Index::iterator at) {
    if (at->second->entries.size() > kChunkEntries / 4) return;
    if (const auto next = std::next(at); next != index_.end() && fitTogether(at, next)) {
      at = std::prev(mergeInto(at, next));
    }
    if (at != index_.begin()) {
      if (const auto lower = std::prev(at); fitTogether(lower, at)) mergeInto(lower, at);
    }
  }
  static bool fitTogether(typename Index::iterator lower, typename Index::iterator upper) {
    // Half full at most, so that the next few insertions do not split it again.
    return lower->second->entries.size() + upper->second->entries.size() <= kChunkEntries / 2;
  }
  // Moves the entries of `upper` behind those of `lower`; returns what follows both.
  typename Index::iterator mergeInto(typename Index::iterator lower,
                                     typename Index::iterator upper) {
    std::ranges::move(upper->second->entries, std::back_inserter(lower->second->entries));
    std::ranges::copy(upper->second->births, std::back_inserter(lower->second->births));
    return index_.erase(upper);
  }

  Index index_;
  std::size_t size_ = 0;
  Insertions insertions_ = 0;
  CorruptionHandler corruptionHandler_;
};

/** A collection of keys alone, with the same promises. */
template <class KeyType>
class KeyedSet : public KeyedCollection<KeyType, std::monostate> {
 public:
  /** Adds the key; false if it was there. */
  bool add(const KeyType& key) { return this->put(key, {}); }
};

}  // namespace Qel
