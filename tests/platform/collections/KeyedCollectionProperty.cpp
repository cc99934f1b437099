// The promises of KeyedCollection.h, against a std::map that lives through the same changes.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <array>
#include <cstdint>
#include <map>
#include <numeric>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "platform/collections/KeyedCollection.h"
#include "tests/support/KeyedCollectionTestAccess.h"

namespace Qel {
namespace {

// Large enough that a chunk holds 16 entries only: a few hundred of them split and merge chunks.
struct Value {
  int number = 0;
  std::array<char, 508> ballast{};
};
using Collection = KeyedCollection<int, Value>;
constexpr int kKeys = 400;

static_assert(KeyedCollectionTestAccess::kChunkEntries<Collection> == 16);

// A change of many entries at once: put or erase the keys first, first + step, ... `count` of them,
// downwards when step is negative.
struct Change {
  bool put = true;
  int first = 0;
  int count = 1;
  int step = 1;

  std::vector<int> keys() const {
    std::vector<int> result;
    for (int i = 0, key = first; i < count; ++i, key += step) {
      if (key >= 0 && key < kKeys) result.push_back(key);
    }
    return result;
  }
};

void showValue(const Change& change, std::ostream& out) {
  out << (change.put ? "put " : "erase ") << change.first << " + " << change.step << " * "
      << change.count;
}

rc::Gen<Change> anyChange() {
  return rc::gen::build<Change>(
      rc::gen::set(&Change::put), rc::gen::set(&Change::first, rc::gen::inRange(0, kKeys)),
      rc::gen::set(&Change::count,
                   rc::gen::oneOf(rc::gen::inRange(1, 4), rc::gen::inRange(1, 150))),
      rc::gen::set(&Change::step, rc::gen::element(-3, -1, 1, 2, 5, 16)));
}

// The collection and the map that it has to equal.
class Twins {
 public:
  struct Expected {
    int number;
    Insertions born;
  };

  void apply(const Change& change) {
    for (const int key : change.keys()) {
      if (change.put) {
        put(key);
      } else {
        erase(key);
      }
    }
  }
  void put(int key) {
    const int number = ++lastNumber_;
    const auto it = model_.find(key);
    const bool isNew = it == model_.end();
    RC_ASSERT(collection_.put(key, {number, {}}) == isNew);
    if (isNew) {
      model_.emplace(key, Expected{number, ++lastBorn_});
    } else {
      it->second.number = number;
    }
  }
  void erase(int key) {
    const bool present = model_.erase(key) != 0;
    RC_ASSERT(collection_.erase(key) == present);
  }

  void compare() const {
    RC_ASSERT(collection_.size() == model_.size());
    RC_ASSERT(collection_.empty() == model_.empty());
    RC_ASSERT(collection_.insertions() == lastBorn_);
    auto it = collection_.begin();
    for (const auto& [key, expected] : model_) {
      RC_ASSERT(it != collection_.end());
      RC_ASSERT(it->key == key);
      RC_ASSERT(it->value.number == expected.number);
      RC_ASSERT(collection_.born(it) == expected.born);
      ++it;
    }
    RC_ASSERT(it == collection_.end());
    for (int key = -1; key <= kKeys; ++key) {
      compareAt(collection_.lowerBound(key), model_.lower_bound(key));
      compareAt(collection_.upperBound(key), model_.upper_bound(key));
      const auto found = model_.find(key);
      const Value* const value = collection_.find(key);
      RC_ASSERT((value != nullptr) == (found != model_.end()));
      if (value != nullptr) RC_ASSERT(value->number == found->second.number);
    }
  }

  const Collection& collection() const { return collection_; }
  const std::map<int, Expected>& model() const { return model_; }

 private:
  void compareAt(const Collection::const_iterator& it,
                 const std::map<int, Expected>::const_iterator& expected) const {
    RC_ASSERT((it == collection_.end()) == (expected == model_.end()));
    if (expected != model_.end()) {
      RC_ASSERT(it->key == expected->first);
      RC_ASSERT(collection_.born(it) == expected->second.born);
    }
  }

  Collection collection_;
  std::map<int, Expected> model_;
  int lastNumber_ = 0;
  Insertions lastBorn_ = 0;
};

RC_GTEST_PROP(KeyedCollectionProperty, BehavesAsAnOrderedMap, ()) {
  Twins twins;
  for (const Change& change : *rc::gen::container<std::vector<Change>>(anyChange())) {
    twins.apply(change);
    if (*rc::gen::weightedElement<bool>({{1, true}, {3, false}})) twins.compare();
  }
  twins.compare();
}

RC_GTEST_PROP(KeyedCollectionProperty, ChunksAreNeverEmptyAndNeverALongSparseChain, ()) {
  Twins twins;
  constexpr std::size_t kChunk = KeyedCollectionTestAccess::kChunkEntries<Collection>;
  for (const Change& change : *rc::gen::container<std::vector<Change>>(anyChange())) {
    twins.apply(change);
    const auto sizes = KeyedCollectionTestAccess::chunkSizes(twins.collection());
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      RC_ASSERT(sizes[i] >= 1U);
      RC_ASSERT(sizes[i] <= kChunk);
      if (i != 0) RC_ASSERT(sizes[i - 1] + sizes[i] > kChunk / 4);
    }
  }
}

// One walk in slices, with changes between them, as a request state machine makes it: the bookmark
// is the key of the next entry to come. Notes what came out, and what was there at every moment.
struct Walk {
  std::vector<int> out;
  std::set<int> presentThroughout;
  std::set<int> neverPresent;

  void run(Twins& twins) {
    for (int key = 0; key < kKeys; ++key) {
      (twins.model().contains(key) ? presentThroughout : neverPresent).insert(key);
    }
    int bookmark = 0;
    for (bool more = true; more;) {
      int left = *rc::gen::inRange(1, 40);
      auto it = twins.collection().lowerBound(bookmark);
      while (it != twins.collection().end() && left-- > 0) {
        out.push_back(it->key);
        ++it;
      }
      more = it != twins.collection().end();
      if (!more) break;
      bookmark = it->key;
      change(twins, bookmark);
    }
  }

 private:
  void change(Twins& twins, int bookmark) {
    auto changes = *rc::gen::resize(3, rc::gen::container<std::vector<Change>>(anyChange()));
    // Often, the very entry that the walk would go on with leaves.
    if (*rc::gen::arbitrary<bool>()) changes.push_back({false, bookmark, 1, 1});
    for (const Change& each : changes) {
      twins.apply(each);
      for (const int key : each.keys()) {
        (each.put ? neverPresent : presentThroughout).erase(key);
      }
    }
  }
};

RC_GTEST_PROP(KeyedCollectionWalkProperty, ComesOutAscendingAndNothingTwice, ()) {
  Twins twins;
  twins.apply({true, 0, kKeys, *rc::gen::element(1, 2, 5)});
  Walk walk;
  walk.run(twins);
  for (std::size_t i = 1; i < walk.out.size(); ++i) RC_ASSERT(walk.out[i - 1] < walk.out[i]);
}

RC_GTEST_PROP(KeyedCollectionWalkProperty, WhatIsThereThroughoutComesOutAndWhatNeverWasDoesNot,
              ()) {
  Twins twins;
  twins.apply({true, 0, kKeys, *rc::gen::element(1, 2, 5)});
  Walk walk;
  walk.run(twins);
  const std::set<int> out(walk.out.begin(), walk.out.end());
  for (const int key : walk.presentThroughout) RC_ASSERT(out.contains(key));
  for (const int key : walk.neverPresent) RC_ASSERT(!out.contains(key));
}

RC_GTEST_PROP(KeyedCollectionWalkProperty, WhatIsRemovedAheadDoesNotComeOutAndWhatIsAddedAheadDoes,
              ()) {
  Twins twins;
  twins.apply({true, 0, kKeys, 3});
  const int stop = *rc::gen::inRange(0, kKeys);
  std::vector<int> out;
  auto it = twins.collection().begin();
  for (; it != twins.collection().end() && it->key < stop; ++it) out.push_back(it->key);
  const int bookmark = it == twins.collection().end() ? kKeys : it->key;

  const auto changes = *rc::gen::container<std::vector<Change>>(anyChange());
  for (const Change& change : changes) twins.apply(change);
  for (it = twins.collection().lowerBound(bookmark); it != twins.collection().end(); ++it) {
    out.push_back(it->key);
  }

  // Behind the bookmark, what was there when the walk passed; ahead of it, what is there now.
  std::vector<int> expected;
  for (int key = 0; key < bookmark; key += 3) expected.push_back(key);
  for (auto now = twins.model().lower_bound(bookmark); now != twins.model().end(); ++now) {
    expected.push_back(now->first);
  }
  RC_ASSERT(out == expected);
}

RC_GTEST_PROP(KeyedCollectionWalkProperty, WalkOfWhatWasThereEndsThoughEntriesAreAddedAhead, ()) {
  Twins twins;
  const int count = *rc::gen::inRange(1, 50);
  twins.apply({true, 0, count, 1});
  const Insertions limit = twins.collection().insertions();
  const int slice = *rc::gen::inRange(1, 5);
  std::vector<int> out;
  std::vector<int> expected(static_cast<std::size_t>(count));
  std::iota(expected.begin(), expected.end(), 0);

  // Two entries are added at the far end for every one printed, and the table has room for a lot.
  int next = count;
  int bookmark = 0;
  int slices = 0;
  for (bool more = true; more; ++slices) {
    RC_ASSERT(slices <= count + 1);
    int left = slice;
    more = false;
    for (auto it = twins.collection().lowerBound(bookmark); it != twins.collection().end(); ++it) {
      // The first younger entry of a tail that only grows ends the walk.
      if (twins.collection().born(it) > limit) break;
      if (left-- == 0) {
        bookmark = it->key;
        more = true;
        break;
      }
      out.push_back(it->key);
    }
    for (int i = 0; i < 2 * slice; ++i) twins.put(next++);
  }
  RC_ASSERT(out == expected);
}

}  // namespace
}  // namespace Qel
