// What every request state machine does in the same way at its birth and at its end.
#pragma once

#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"

namespace KorvoL2 {

/** The common body of all creation functions: a new machine with its notifications switched on. */
template <class Sm, class... Args>
Qel::Ptr<Sm> createRequestSm(Args&&... args) {
  Qel::Ptr<Sm> sm(new Sm(std::forward<Args>(args)...));
  sm->hasNotificationActiveIs(true);
  return sm;
}

/** `record`, or an empty one for null: a dump of a table that is not there is one of no rows. */
template <class Record>
Qel::Ptr<const Record> recordOrEmpty(Qel::Ptr<const Record> record) {
  if (record == nullptr) return Qel::makePtr<Record>();
  return record;
}

/**
 * Visits all entries at once, for tables that are small by nature: void(const Entry&). A collection
 * that is found corrupted is told so, and ends there.
 */
template <class Collection, class Visit>
void forEachEntry(const Collection& collection, Visit&& visit) {
  try {
    for (const typename Collection::Entry& entry : collection) visit(entry);
  } catch (const Qel::CorruptionException& e) {
    collection.corruptionDetected(e.what());
  }
}

}  // namespace KorvoL2
