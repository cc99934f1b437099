// Directories: the agent's configuration and status tables as commands are handed them.
#pragma once

#include "platform/base/Ptr.h"
#include "platform/collections/KeyedCollection.h"

namespace KorvoL2 {

/**
 * A keyed table that the agent shares: it changes the entries, whoever holds a pointer to const
 * reads them. The table may change between any two slices of a request.
 *
 * Threading: the agent's event-loop thread only.
 */
template <class Key, class Value>
struct Directory final : public Qel::RefCounted {
  using Entries = Qel::KeyedCollection<Key, Value>;
  Entries entries;
};

}  // namespace KorvoL2
