#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/base/Ptr.h"
#include "platform/collections/KeyedCollection.h"
#include "tests/support/KeyedCollectionTestAccess.h"

namespace Qel {
namespace {

using Access = KeyedCollectionTestAccess;
using Numbers = KeyedCollection<int, int>;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Le;

static_assert(std::forward_iterator<Numbers::const_iterator>);
static_assert(!std::is_copy_constructible_v<Numbers> && !std::is_copy_assignable_v<Numbers>);

constexpr int kChunk = static_cast<int>(Access::kChunkEntries<Numbers>);
static_assert(kChunk == 128);

std::vector<int> keysOf(const Numbers& numbers) {
  std::vector<int> keys;
  for (const auto& [key, value] : numbers) keys.push_back(key);
  return keys;
}
void fill(Numbers& numbers, int first, int end, int step = 1) {
  for (int key = first; key < end; key += step) numbers.put(key, key);
}

TEST(KeyedCollectionTest, EmptyCollectionHasNothing) {
  Numbers numbers;
  EXPECT_TRUE(numbers.empty());
  EXPECT_EQ(numbers.size(), 0U);
  EXPECT_EQ(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers.lowerBound(0), numbers.end());
  EXPECT_EQ(numbers.upperBound(0), numbers.end());
  EXPECT_EQ(numbers.find(0), nullptr);
  EXPECT_FALSE(numbers.erase(0));
  EXPECT_EQ(numbers.insertions(), 0U);
}

TEST(KeyedCollectionTest, PutAddsOrReplaces) {
  Numbers numbers;
  EXPECT_TRUE(numbers.put(1, 10));
  EXPECT_FALSE(numbers.put(1, 11));
  EXPECT_EQ(numbers.size(), 1U);
  ASSERT_TRUE(numbers.has(1));
  EXPECT_EQ(*numbers.find(1), 11);
  EXPECT_EQ(numbers.insertions(), 1U);
}

TEST(KeyedCollectionTest, ChangeReachesThePresentOnly) {
  Numbers numbers;
  numbers.put(1, 10);
  EXPECT_TRUE(numbers.change(1, [](int& value) { ++value; }));
  EXPECT_EQ(*numbers.find(1), 11);
  EXPECT_FALSE(numbers.change(2, [](int&) { FAIL() << "called without an entry"; }));
}

TEST(KeyedCollectionTest, WalkAscendsWhateverTheOrderOfArrival) {
  Numbers numbers;
  for (const int key : {5, -1, 3, 4, 0}) numbers.put(key, 0);
  EXPECT_THAT(keysOf(numbers), ElementsAre(-1, 0, 3, 4, 5));
}

TEST(KeyedCollectionTest, BoundsFindTheKeyOrWhatFollows) {
  Numbers numbers;
  fill(numbers, 0, 10 * kChunk, 2);
  for (int key = 0; key < 10 * kChunk - 2; key += 2) {
    EXPECT_EQ(numbers.lowerBound(key)->key, key);
    EXPECT_EQ(numbers.lowerBound(key - 1)->key, key);
    EXPECT_EQ(numbers.upperBound(key)->key, key + 2);
    EXPECT_EQ(numbers.upperBound(key - 1)->key, key);
  }
  EXPECT_EQ(numbers.lowerBound(10 * kChunk), numbers.end());
  EXPECT_EQ(numbers.upperBound(10 * kChunk - 2), numbers.end());
}

TEST(KeyedCollectionTest, EntryIsBornOnce) {
  Numbers numbers;
  numbers.put(1, 0);
  numbers.put(2, 0);
  numbers.put(1, 1);  // replaces the value, keeps the age
  EXPECT_EQ(numbers.born(numbers.lowerBound(1)), 1U);
  EXPECT_EQ(numbers.born(numbers.lowerBound(2)), 2U);
  numbers.erase(1);
  numbers.put(1, 2);  // a new entry
  EXPECT_EQ(numbers.born(numbers.lowerBound(1)), 3U);
}

TEST(KeyedCollectionTest, ClearForgetsEntriesButNotHowManyThereWere) {
  Numbers numbers;
  fill(numbers, 0, 3 * kChunk);
  numbers.clear();
  EXPECT_TRUE(numbers.empty());
  EXPECT_EQ(numbers.begin(), numbers.end());
  numbers.put(7, 0);
  EXPECT_EQ(numbers.born(numbers.begin()), static_cast<Insertions>(3 * kChunk + 1));
}

TEST(KeyedCollectionTest, ValuesMayBePointersThatCannotBeCopied) {
  KeyedCollection<std::string, std::unique_ptr<int>> collection;
  for (int i = 0; i < 500; ++i) collection.put(std::to_string(i), std::make_unique<int>(i));
  for (int i = 0; i < 500; i += 2) EXPECT_TRUE(collection.erase(std::to_string(i)));
  EXPECT_EQ(**collection.find("499"), 499);
  EXPECT_EQ(collection.find("498"), nullptr);
}

TEST(KeyedCollectionTest, ErasedValuesAreReleasedAtOnce) {
  class Shared final : public RefCounted {};
  const auto shared = makePtr<Shared>();
  KeyedCollection<int, Ptr<Shared>> collection;
  for (int key = 0; key < 1000; ++key) collection.put(key, shared);
  EXPECT_EQ(shared->users(), 1001U);
  for (int key = 0; key < 500; ++key) collection.erase(key);
  EXPECT_EQ(shared->users(), 501U);
  collection.clear();
  EXPECT_EQ(shared->users(), 1U);
}

// Structure.

TEST(KeyedCollectionTest, AscendingFillLeavesFullChunks) {
  Numbers numbers;
  fill(numbers, 0, 10 * kChunk);
  EXPECT_EQ(Access::chunkSizes(numbers), std::vector<std::size_t>(10, kChunk));
}

TEST(KeyedCollectionTest, DescendingFillLeavesChunksHalfFullAtLeast) {
  Numbers numbers;
  for (int key = 10 * kChunk; key > 0; --key) numbers.put(key, key);
  EXPECT_LE(Access::chunkSizes(numbers).size(), 20U);
}

TEST(KeyedCollectionTest, ChunksHoldAFewKibibytesWhateverTheEntrysSize) {
  struct Large {
    char bytes[8192];
  };
  using Larges = KeyedCollection<int, Large>;
  using Bytes = KeyedCollection<std::uint8_t, std::uint8_t>;
  EXPECT_EQ(Access::kChunkEntries<Larges>, 16U);
  EXPECT_EQ(Access::kChunkEntries<Bytes>, 128U);
}

// Of two neighbours one is more than a quarter full, so chunks are an eighth full on average.
void expectNoSparseChain(const Numbers& numbers) {
  const auto sizes = Access::chunkSizes(numbers);
  for (std::size_t i = 1; i < sizes.size(); ++i) {
    ASSERT_GT(sizes[i - 1] + sizes[i], static_cast<std::size_t>(kChunk / 4))
        << "chunks " << i - 1 << " and " << i << " of " << sizes.size();
  }
}

TEST(KeyedCollectionTest, ShrinkingFromTheFrontMergesChunks) {
  Numbers numbers;
  fill(numbers, 0, 100 * kChunk);
  for (int key = 0; key < 100 * kChunk; ++key) {
    if (key % kChunk != 0) numbers.erase(key);
  }
  EXPECT_EQ(numbers.size(), 100U);
  expectNoSparseChain(numbers);
  EXPECT_LE(Access::chunkSizes(numbers).size(), 8U);
}

TEST(KeyedCollectionTest, ShrinkingFromTheBackMergesChunks) {
  Numbers numbers;
  fill(numbers, 0, 100 * kChunk);
  for (int key = 100 * kChunk - 1; key >= 0; --key) {
    if (key % kChunk != 0) numbers.erase(key);
  }
  EXPECT_EQ(numbers.size(), 100U);
  expectNoSparseChain(numbers);
  EXPECT_LE(Access::chunkSizes(numbers).size(), 8U);
}

TEST(KeyedCollectionTest, ShrinkingEvenlyMergesChunks) {
  Numbers numbers;
  fill(numbers, 0, 64 * kChunk);
  for (int step = 2; step <= 4096; step *= 2) {
    for (int key = step / 2; key < 64 * kChunk; key += step) numbers.erase(key);
    expectNoSparseChain(numbers);
  }
  EXPECT_THAT(keysOf(numbers), ElementsAre(0, 4096));
}

TEST(KeyedCollectionTest, EmptiedCollectionKeepsNoChunks) {
  Numbers numbers;
  fill(numbers, 0, 10 * kChunk);
  for (int key = 0; key < 10 * kChunk; ++key) EXPECT_TRUE(numbers.erase(key));
  EXPECT_THAT(Access::chunkSizes(numbers), IsEmpty());
  numbers.put(1, 1);
  EXPECT_THAT(keysOf(numbers), ElementsAre(1));
}

// Costs, in comparisons and moves of keys.

struct CountedKey {
  static inline std::uint64_t comparisons = 0;
  static inline std::uint64_t moves = 0;

  CountedKey(int n) : number(n) {}  // NOLINT(google-explicit-constructor)
  CountedKey(const CountedKey&) = default;
  CountedKey(CountedKey&& other) noexcept : number(other.number) { ++moves; }
  CountedKey& operator=(const CountedKey&) = default;
  CountedKey& operator=(CountedKey&& other) noexcept {
    number = other.number;
    ++moves;
    return *this;
  }
  ~CountedKey() = default;
  friend bool operator<(const CountedKey& a, const CountedKey& b) {
    ++comparisons;
    return a.number < b.number;
  }

  int number;
};

class CostTest : public testing::Test {
 protected:
  using Counted = KeyedCollection<CountedKey, int>;
  static constexpr int kEntries = 1 << 17;

  void SetUp() override {
    // In an order that leaves chunks of every fill.
    for (std::uint32_t i = 0; i < kEntries; ++i) {
      counted_.put(static_cast<int>(2 * (i * 40503 % kEntries)), 0);
    }
    ASSERT_EQ(counted_.size(), static_cast<std::size_t>(kEntries));
  }

  Counted counted_;
};

TEST_F(CostTest, PositioningComparesAsOftenAsALogarithmSays) {
  constexpr std::uint64_t kLogarithm = 17;
  for (int key = -1; key < 2 * kEntries; key += 997) {
    CountedKey::comparisons = 0;
    counted_.lowerBound(key);
    // The B-tree compares twice and thrice where its own assertions are on.
    ASSERT_LE(CountedKey::comparisons, 4 * kLogarithm);
  }
}

TEST_F(CostTest, WalkingAndResumingComparesLittleMoreThanOncePerEntry) {
  CountedKey::comparisons = 0;
  int walked = 0;
  for (auto it = counted_.begin(); it != counted_.end(); ++it) ++walked;
  EXPECT_EQ(walked, kEntries);
  EXPECT_LE(CountedKey::comparisons, static_cast<std::uint64_t>(kEntries) * 11 / 10);
}

TEST_F(CostTest, NoChangeMovesMoreThanAChunkOrTwo) {
  const auto most = 4 * Access::kChunkEntries<Counted>;
  for (int key = 1; key < 2 * kEntries; key += 2 * 499) {
    CountedKey::moves = 0;
    counted_.put(key, 0);
    ASSERT_LE(CountedKey::moves, most);
  }
  for (int key = 0; key < 2 * kEntries; key += 2) {
    CountedKey::moves = 0;
    counted_.erase(key);
    ASSERT_LE(CountedKey::moves, most);
  }
}

// Failures.

// Copies fail on demand; moves do not.
struct FragileKey {
  static inline int copiesLeft = -1;  // none counted while negative

  FragileKey(int n) : number(n), text(100, 'x') {}  // NOLINT(google-explicit-constructor)
  FragileKey(const FragileKey& other) : number(other.number), text(other.text) {
    if (copiesLeft >= 0 && copiesLeft-- == 0) throw std::bad_alloc();
  }
  FragileKey(FragileKey&&) noexcept = default;
  FragileKey& operator=(const FragileKey&) = delete;
  FragileKey& operator=(FragileKey&&) noexcept = default;
  ~FragileKey() = default;
  friend bool operator<(const FragileKey& a, const FragileKey& b) { return a.number < b.number; }

  int number;
  std::string text;
};

TEST(KeyedCollectionTest, InsertionThatFailsChangesNothing) {
  using Fragile = KeyedCollection<FragileKey, int>;
  const auto chunk = static_cast<int>(Access::kChunkEntries<Fragile>);
  // Into nothing, below everything, at the end of a full chunk, into the middle of a full one.
  struct Case {
    int present;
    int key;
  };
  for (const Case& each : {Case{0, 5}, Case{chunk, -1}, Case{3, -1}, Case{chunk, 10 * chunk},
                           Case{chunk, chunk / 2 * 2 + 1}, Case{3 * chunk, 11}}) {
    bool added = false;
    for (int copies = 0; !added; ++copies) {
      Fragile collection;
      for (int i = 0; i < each.present; ++i) collection.put(2 * i, i);
      const auto insertions = collection.insertions();
      FragileKey::copiesLeft = copies;
      try {
        added = collection.put(each.key, 77);
      } catch (const std::bad_alloc&) {
        EXPECT_EQ(collection.insertions(), insertions);
      }
      FragileKey::copiesLeft = -1;
      ASSERT_LT(copies, 10) << "never succeeds";
      EXPECT_EQ(collection.has(each.key), added);
      EXPECT_EQ(std::distance(collection.begin(), collection.end()),
                each.present + (added ? 1 : 0));
      EXPECT_EQ(collection.size(), static_cast<std::size_t>(each.present + (added ? 1 : 0)));
      for (int i = 0; i < each.present; ++i) ASSERT_TRUE(collection.has(2 * i));
    }
  }
}

class CorruptionTest : public testing::Test {
 protected:
  void SetUp() override { fill(numbers_, 0, 4 * kChunk); }

  // What a walk over everything ends with: the corruption's message, or "" at the end.
  std::string walk() {
    reached_ = 0;
    try {
      for (auto it = numbers_.begin(); it != numbers_.end(); ++it) ++reached_;
    } catch (const CorruptionException& e) {
      return e.what();
    }
    return "";
  }
  std::string position(int key) {
    try {
      numbers_.lowerBound(key);
    } catch (const CorruptionException& e) {
      return e.what();
    }
    return "";
  }

  Numbers numbers_;
  int reached_ = 0;
};

TEST_F(CorruptionTest, SoundCollectionIsWalkedToItsEnd) {
  EXPECT_EQ(walk(), "");
  EXPECT_EQ(reached_, 4 * kChunk);
}

TEST_F(CorruptionTest, LostMarkIsFoundWhenTheWalkGetsThere) {
  Access::loseMark(numbers_, 2);
  EXPECT_EQ(walk(), "keyed collection is damaged: a chunk has lost its mark");
  EXPECT_EQ(reached_, 2 * kChunk);
}

TEST_F(CorruptionTest, LostMarkIsFoundWhenPositioning) {
  Access::loseMark(numbers_, 2);
  EXPECT_EQ(position(2 * kChunk), "keyed collection is damaged: a chunk has lost its mark");
  EXPECT_EQ(position(2 * kChunk - 1), "");
  EXPECT_THROW(numbers_.find(2 * kChunk + 5), CorruptionException);
}

TEST_F(CorruptionTest, LostMarkOfTheFirstChunkIsFoundAtTheBeginning) {
  Access::loseMark(numbers_, 0);
  EXPECT_THROW(numbers_.begin(), CorruptionException);
}

TEST_F(CorruptionTest, EmptyChunkIsFound) {
  Access::emptyChunk(numbers_, 1);
  EXPECT_EQ(walk(), "keyed collection is damaged: an empty chunk is linked");
  EXPECT_EQ(reached_, kChunk);
  EXPECT_EQ(position(kChunk), "keyed collection is damaged: an empty chunk is linked");
}

TEST_F(CorruptionTest, KeysThatDoNotAscendAreFound) {
  Access::swapKeys(numbers_, 1, 10, 11);
  EXPECT_EQ(walk(), "keyed collection is damaged: keys do not ascend");
  EXPECT_EQ(reached_, kChunk + 11);
}

TEST_F(CorruptionTest, RepeatedKeyIsFound) {
  Access::setKey(numbers_, 0, 5, 4);
  EXPECT_EQ(walk(), "keyed collection is damaged: keys do not ascend");
}

TEST_F(CorruptionTest, KeyBelowItsChunkIsFound) {
  Access::setKey(numbers_, 2, 0, 3);
  EXPECT_EQ(walk(), "keyed collection is damaged: a key is below its chunk");
  EXPECT_EQ(position(2 * kChunk + 1), "keyed collection is damaged: a key is below its chunk");
}

TEST_F(CorruptionTest, KeyThatBelongsToTheNextChunkIsFound) {
  Access::setKey(numbers_, 1, static_cast<std::size_t>(kChunk - 1), 3 * kChunk);
  EXPECT_EQ(walk(), "keyed collection is damaged: chunks overlap");
  EXPECT_EQ(reached_, 2 * kChunk);
}

TEST_F(CorruptionTest, HandlerHearsWhatAWalkHandsItAndNobodyMust) {
  numbers_.corruptionDetected("nobody listens");
  std::vector<std::string> heard;
  numbers_.corruptionHandlerIs([&heard](std::string_view message) { heard.emplace_back(message); });
  Access::loseMark(numbers_, 2);
  numbers_.corruptionDetected(walk());
  EXPECT_THAT(heard, ElementsAre("keyed collection is damaged: a chunk has lost its mark"));
}

}  // namespace
}  // namespace Qel
