// The resumable walk: the one mechanism behind every time-sliced dump.
//
// A walk goes over a keyed collection in ascending order, slice by slice. It owns the state that a
// slice leaves for the next one (the bookmark and what bounds the walk); the table supplies how a
// row is written. A request with several sections has one walk for each.
//
// What it promises, while entries are added, removed and changed between slices:
//  - An entry that is there during the whole walk is visited exactly once, in order.
//  - The bookmark is a key, the next row's. If that entry goes meanwhile, the walk continues with
//    the one that would have followed it.
//  - shouldYield() is asked after every printed row and only then: skipped rows never end a slice.
//    An entry that took work and printed nothing (silent) ends it when its time is spent, or when
//    very many of them came in one slice.
//  - A row may itself stop in the middle (unfinished), where it has a walk inside: the slice ends,
//    and the next one comes back to the same row. The inner walk traces nothing: a slice that is
//    told to end after the last row of the inner walk is told so again after the row of the outer
//    one.
//  - A slice that runs out right after the last row of the table says so; what follows then is the
//    dump's to choose, most of them are done.
//  - An entry added during the walk is visited if its key lies ahead of the walk, be it one that
//    went and came back.
//  - The walk ends, even if entries are added ahead of it faster than it prints: once it has
//    visited twice as many rows, printed or silent, as the collection held when the walk began
//    and 4,096 more, it passes over entries younger than the walk. What remains is finite, for
//    nothing can join it. A walk over a collection that nothing joins, such as a private copy or
//    a table that is complete and only read from then on, has no such bound.
//    (RestingWalk, below, is the name of such a walk.)
//  - A collection that is found corrupted is told so, and the walk ends as if it were exhausted.
//    What a row throws passes on, be it that another collection is corrupted.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "KorvoL2/Trace.h"
#include "platform/base/Attribute.h"
#include "platform/base/Exceptions.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"

namespace KorvoL2 {

/** How a slice of a walk ended. */
enum class WalkEnd : std::uint8_t {
  yielded,       ///< rows remain; the bookmark is the key of the next one
  exhausted,     ///< no row is left
  yieldedAtEnd,  ///< the slice ran out right after the last row; the bookmark is where it was
};

/** What became of one entry of a walked table. */
enum class RowOutcome : std::uint8_t {
  printed,
  skipped,     ///< not one of the walk's rows; costs next to nothing
  silent,      ///< printed nothing, but took work: many of them in a row fill a slice, too
  unfinished,  ///< the slice ends within the row; the walk resumes at it, not behind it
};

/** Ends a walk that is fed; see above. */
class LateEntries {
 public:
  template <class Collection>
  void walkBegins(const Collection& collection) {
    toVisit_ = 2 * std::uint64_t{collection.size()} + kVisitsAtLeast;
    insertionsAtStart_ = collection.insertions();
  }
  void visited() noexcept {
    if (toVisit_ != 0) --toVisit_;
  }
  template <class Collection>
  bool passOver(const Collection& collection,
                const typename Collection::const_iterator& entry) const {
    return toVisit_ == 0 && collection.born(entry) > insertionsAtStart_;
  }

 private:
  // A small table may grow to a usual size meanwhile, and a walk of as many rows is soon over.
  static constexpr std::uint64_t kVisitsAtLeast = 4096;

  std::uint64_t toVisit_ = 0;  // before a late entry is passed over
  Qel::Insertions insertionsAtStart_ = 0;
};

/** The same for a collection that nothing joins. */
class NoLateEntries {
 public:
  template <class Collection>
  void walkBegins(const Collection& /*collection*/) {}
  void visited() noexcept {}
  template <class Collection>
  bool passOver(const Collection& /*collection*/,
                const typename Collection::const_iterator& /*entry*/) const {
    return false;
  }
};

template <class Collection, class Bound = LateEntries>
class ResumableWalk {
 public:
  using Key = typename Collection::Key;
  using Entry = typename Collection::Entry;

  /** A walk whose bookmark its machine has as the attribute `bookmarkName`; empty for none. */
  explicit ResumableWalk(std::string_view bookmarkName = {}) : bookmarkName_(bookmarkName) {}

  /** The key of the next row, as the last slice left it; all zero before. */
  const Key& bookmark() const noexcept { return bookmark_; }
  /** The next slice, or the first, starts at `key`; `sm` publishes it. */
  void bookmarkIs(Qel::Entity& sm, const Key& key) {
    placed_ = true;
    if (bookmark_ == key) return;
    bookmark_ = key;
    if (!bookmarkName_.empty()) sm.changed(bookmarkName_);
  }
  /** Whether the first slice has begun. */
  bool started() const noexcept { return started_; }
  /** Next time from the first entry, as a new walk; the bookmark stays until then. */
  void restart() {
    started_ = false;
    placed_ = false;
  }

  /**
   * Walks on from where the last slice stopped, and traces a yield for `site`, the machine's walk.
   * `row` prints one entry, RowOutcome(const Entry&); what it throws passes on.
   */
  template <class PrintRow>
  WalkEnd runSlice(const Collection& collection, AgentCommand::AgentAsyncCommandRequestSm& sm,
                   const Qel::TraceSite& site, PrintRow&& row) {
    const WalkEnd end = runInsideRow(collection, sm, std::forward<PrintRow>(row));
    if (end != WalkEnd::exhausted) KORVO_L2_TRACE_AT(8, site, "Yielding Cpu");
    return end;
  }

  /** The same for a walk inside a row of another walk, whose slice it is. */
  template <class PrintRow>
  WalkEnd runInsideRow(const Collection& collection, AgentCommand::AgentAsyncCommandRequestSm& sm,
                       PrintRow&& row) {
    bool inRow = false;
    bool toldToYield = false;
    try {
      auto it = position(collection);
      for (; it != collection.end(); ++it) {
        if (bound_.passOver(collection, it)) [[unlikely]]
          continue;
        inRow = true;
        const RowOutcome outcome = row(*it);
        inRow = false;
        if (outcome == RowOutcome::skipped) continue;
        if (outcome == RowOutcome::unfinished) {
          bookmarkIs(sm, it->key);
          return WalkEnd::yielded;
        }
        bound_.visited();
        toldToYield = outcome == RowOutcome::printed ? sm.shouldYield() : sm.shouldYieldSilent();
        if (toldToYield) {
          ++it;
          if (it == collection.end()) return WalkEnd::yieldedAtEnd;
          bookmarkIs(sm, it->key);
          return WalkEnd::yielded;
        }
      }
    } catch (const Qel::CorruptionException& e) {
      if (inRow) throw;
      collection.corruptionDetected(e.what());
    }
    return toldToYield ? WalkEnd::yieldedAtEnd : WalkEnd::exhausted;
  }

 private:
  typename Collection::const_iterator position(const Collection& collection) {
    if (!started_) {
      started_ = true;
      bound_.walkBegins(collection);
    }
    return placed_ ? collection.lowerBound(bookmark_) : collection.begin();
  }

  std::string_view bookmarkName_;
  Key bookmark_{};
  [[no_unique_address]] Bound bound_;
  bool started_ = false;
  bool placed_ = false;  // the bookmark is a place to start at
};

/** A walk over a collection that nothing joins: a private copy, or one that is complete. */
template <class Collection>
using RestingWalk = ResumableWalk<Collection, NoLateEntries>;

}  // namespace KorvoL2

/**
 * In the body of a machine: the member `walk##_`, of the type `Walk`, whose bookmark is the
 * machine's attribute `attr`. What follows is public, as behind QEL_ATTRIBUTE.
 */
#define KORVO_L2_WALK(Walk, walk, attr)                                                \
 private:                                                                              \
  Walk walk##_{#attr};                                                                 \
                                                                                       \
 public:                                                                               \
  ::Qel::AttributeRead<Walk::Key> attr() const noexcept { return walk##_.bookmark(); } \
  void attr##Is(const Walk::Key& key) { walk##_.bookmarkIs(*this, key); }
