// Damages a collection, for tests of what a dump does then.
#pragma once

#include <cstddef>
#include <iterator>

#include "platform/collections/KeyedCollection.h"

namespace Qel {

struct KeyedCollectionTestAccess {
  /** Breaks the mark of the chunk at `position`, as a stray write would. */
  template <class Collection>
  static void damageChunk(Collection& collection, std::size_t position) {
    auto at = collection.index_.begin();
    std::advance(at, static_cast<std::ptrdiff_t>(position));
    at->second->mark = 0;
  }
};

}  // namespace Qel
