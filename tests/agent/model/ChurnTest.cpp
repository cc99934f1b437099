// Learning, moving and ageing at a rate.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <limits>
#include <map>

#include "agent/model/Churn.h"
#include "agent/model/MacGenerator.h"
#include "platform/base/Exceptions.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using namespace std::chrono_literals;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;
using Testing::makeModel;
using Contents = std::map<Bridging::MacVlanPair, MacEntry>;

Contents contents(const SwitchModel& model) {
  Contents result;
  for (const auto& [key, value] : model.swMacTable().entries()) result.emplace(key, value);
  return result;
}

Qel::Ptr<SwitchModel> modelWith(std::uint64_t entries) {
  auto model = makeModel();
  generateMacs(*model, entries, 1);
  return model;
}

TEST(ChurnTest, EventsKeepToTheRate) {
  const auto model = modelWith(1000);
  Churn churn(*model, 1000, 1);
  EXPECT_EQ(churn.advance(5s, 1000), 0U);  // the time starts here
  EXPECT_EQ(churn.advance(5s + 10ms, 1000), 10U);
  EXPECT_EQ(churn.advance(5s + 10ms, 1000), 0U);
  EXPECT_EQ(churn.advance(5s + 10ms + 500us, 1000), 0U);
  EXPECT_EQ(churn.advance(5s + 11ms, 1000), 1U);
}

TEST(ChurnTest, ARateBelowOnePerSecondWorksToo) {
  const auto model = modelWith(1000);
  Churn churn(*model, 0.5, 1);
  EXPECT_EQ(churn.advance(0s, 10), 0U);
  EXPECT_EQ(churn.advance(1s, 10), 0U);
  EXPECT_EQ(churn.advance(2s, 10), 1U);
}

TEST(ChurnTest, EntriesAreLearnedMovedAndAged) {
  const auto model = modelWith(1000);
  const Contents before = contents(*model);
  Churn churn(*model, 1000, 1);
  churn.advance(0s, 1);
  EXPECT_EQ(churn.advance(1s, 1000), 1000U);
  EXPECT_GT(churn.counts().learned, 200U);
  EXPECT_GT(churn.counts().moved, 200U);
  EXPECT_GT(churn.counts().aged, 200U);
  std::size_t gone = 0;
  std::size_t movedFlags = 0;
  const Contents after = contents(*model);
  for (const auto& [key, entry] : before) gone += after.contains(key) ? 0 : 1;
  for (const auto& [key, entry] : after) {
    movedFlags += (entry.flags & KorvoL2::MacEntryFlag::kMoved) != 0 ? 1 : 0;
  }
  EXPECT_GT(gone, 100U);
  EXPECT_GT(movedFlags, 100U);
}

TEST(ChurnTest, OnlyDynamicEntriesChange) {
  const auto model = modelWith(2000);
  const Contents before = contents(*model);
  Churn churn(*model, 1e6, 1);
  churn.advance(0s, 1);
  churn.advance(100ms, 100'000);
  const Contents after = contents(*model);
  std::size_t others = 0;
  for (const auto& [key, entry] : before) {
    if (entry.type == MacEntryType::learnedDynamic) continue;
    ++others;
    ASSERT_TRUE(after.contains(key));
    EXPECT_EQ(after.at(key), entry);
  }
  EXPECT_GT(others, 100U);
}

TEST(ChurnTest, AStallIsMadeUpForOnlyInPart) {
  const auto model = modelWith(100);
  Churn churn(*model, 100, 1);
  churn.advance(0s, 1);
  EXPECT_EQ(churn.advance(1h, 30), 30U);    // never more than allowed per call
  EXPECT_EQ(churn.advance(1h, 1000), 70U);  // a second's worth in all
  EXPECT_EQ(churn.advance(1h, 1000), 0U);
  EXPECT_EQ(churn.advance(1h + 20ms, 1000), 2U);
}

TEST(ChurnTest, AClockThatRunsBackwardsStartsTheTimeAnew) {
  const auto model = modelWith(100);
  Churn churn(*model, 100, 1);
  churn.advance(10s, 100);
  EXPECT_EQ(churn.advance(9s, 100), 0U);
  EXPECT_EQ(churn.advance(9s + 100ms, 100), 10U);
}

TEST(ChurnTest, AnEmptyTableFillsALittle) {
  const auto model = makeModel();
  Churn churn(*model, 1000, 1);
  churn.advance(0s, 1);
  churn.advance(1s, 1000);
  EXPECT_GT(model->swMacTable().size(), 0U);
  EXPECT_LE(model->swMacTable().size(), churn.band());
}

TEST(ChurnTest, EntriesThatOthersRemoveAreNoTrouble) {
  const auto model = modelWith(500);
  Churn churn(*model, 1000, 1);
  churn.advance(0s, 1);
  model->swMacTable().clear();
  EXPECT_EQ(churn.advance(1s, 1000), 1000U);
  EXPECT_GT(model->swMacTable().size(), 100U);  // on the way back to where it was
}

TEST(ChurnTest, ARateThatIsNoneIsRefused) {
  const auto model = makeModel();
  for (const double rate : {-1.0, 1e9, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_THROW(Churn(*model, rate, 1), Qel::RangeException) << rate;
  }
  Churn still(*model, 0, 1);
  still.advance(0s, 10);
  EXPECT_EQ(still.advance(10s, 10), 0U);
}

TEST(ChurnTest, TheTableStaysNearItsSizeAndTheCallsDoNotMatter) {
  EXPECT_TRUE(rc::check("churn is bounded, and the same however it is cut into calls", [] {
    const auto entries = *rc::gen::inRange<std::uint64_t>(0, 400);
    const auto seed = *rc::gen::arbitrary<std::uint64_t>();
    const auto cuts = *rc::gen::container<std::vector<int>>(20, rc::gen::inRange(0, 40));
    const auto whole = modelWith(entries);
    const auto pieces = modelWith(entries);
    Churn one(*whole, 1000, seed);
    Churn many(*pieces, 1000, seed);
    one.advance(0s, 0);
    many.advance(0s, 0);

    const std::size_t start = whole->swMacTable().size();
    std::chrono::milliseconds now{0};
    for (const int cut : cuts) {
      now += std::chrono::milliseconds(cut);
      many.advance(now, 25);
      const std::size_t size = pieces->swMacTable().size();
      RC_ASSERT(size <= start + many.band());
      RC_ASSERT(size + many.band() >= start);
    }
    while (many.advance(now, 25) != 0) {
    }
    while (one.advance(now, 1000) != 0) {
    }
    RC_ASSERT(contents(*whole) == contents(*pieces));
  }));
}

}  // namespace
}  // namespace KorvoAgent
