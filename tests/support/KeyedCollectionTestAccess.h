// The collection's structure, laid open for tests: to measure it, and to damage it as a stray write
// would.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "platform/collections/KeyedCollection.h"

namespace Qel {

struct KeyedCollectionTestAccess {
  template <class Collection>
  static constexpr std::size_t kChunkEntries = Collection::kChunkEntries;

  /** Entries of each chunk, in order. */
  template <class Collection>
  static std::vector<std::size_t> chunkSizes(const Collection& collection) {
    std::vector<std::size_t> sizes;
    for (const auto& [fence, chunk] : collection.index_) sizes.push_back(chunk->entries.size());
    return sizes;
  }

  template <class Collection>
  static void loseMark(Collection& collection, std::size_t chunk) {
    chunkAt(collection, chunk).mark = 0;
  }
  template <class Collection>
  static void emptyChunk(Collection& collection, std::size_t chunk) {
    chunkAt(collection, chunk).entries.clear();
  }
  template <class Collection>
  static void swapKeys(Collection& collection, std::size_t chunk, std::size_t a, std::size_t b) {
    auto& entries = chunkAt(collection, chunk).entries;
    std::swap(entries.at(a).key, entries.at(b).key);
  }
  template <class Collection>
  static void setKey(Collection& collection, std::size_t chunk, std::size_t entry,
                     const typename Collection::Key& key) {
    chunkAt(collection, chunk).entries.at(entry).key = key;
  }

 private:
  template <class Collection>
  static auto& chunkAt(Collection& collection, std::size_t chunk) {
    return *std::next(collection.index_.begin(), static_cast<std::ptrdiff_t>(chunk))->second;
  }
};

}  // namespace Qel
