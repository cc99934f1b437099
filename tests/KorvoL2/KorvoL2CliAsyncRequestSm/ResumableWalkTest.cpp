// The walk itself, over a plain set of numbers: what comes of entries that are added while it is
// under way, with the bound that ends a fed walk and without it.
#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "tests/KorvoL2/RequestHarness.h"

namespace KorvoL2::Testing {
namespace {

using Numbers = Qel::KeyedSet<std::uint32_t>;

/** Visits the numbers of a set; a row each, or silently. */
template <class Walk>
class NumbersSm final : public AgentCommand::AgentAsyncCommandRequestSm {
 public:
  NumbersSm(Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
            Qel::Ptr<const Qel::Clock> clock, const Numbers& numbers, RowOutcome outcome)
      : AgentAsyncCommandRequestSm("numbers", std::move(request), std::chrono::milliseconds(50),
                                   std::move(clock)),
        numbers_(numbers),
        outcome_(outcome) {
    slicePolicyIs({.rowBudget = 1, .silentBudget = 1});
  }
  void handleAsyncCommand(std::uint32_t, std::uint32_t) override {
    const WalkEnd end = walk_.runSlice(numbers_, *this, Qel::TraceSite("Walker"),
                                       [this](const Numbers::Entry& entry) {
                                         visited.push_back(entry.key);
                                         return outcome_;
                                       });
    if (end != WalkEnd::yielded) executionCompleteFlagIs(true);
  }

  std::vector<std::uint32_t> visited;

 private:
  const Numbers& numbers_;
  RowOutcome outcome_;
  Walk walk_;
};

class FedWalk : public RequestHarness {
 protected:
  static constexpr std::uint32_t kLast = 1'000'000;
  static constexpr std::uint32_t kStart = 10;

  FedWalk() {
    for (std::uint32_t i = 1; i < kStart; ++i) numbers.add(i);
    numbers.add(kLast);
  }
  /** Walks, and adds `perSlice` entries ahead after each slice until there are `most` of them. */
  template <class Walk>
  std::vector<std::uint32_t> visit(RowOutcome outcome, std::uint32_t perSlice, std::uint32_t most) {
    const auto sm =
        Qel::makePtr<NumbersSm<Walk>>(request(Rendering::kText), clock, numbers, outcome);
    runToCompletion(*sm, [&] {
      for (std::uint32_t i = 0; i < perSlice && added < most; ++i) numbers.add(1000 + added++);
    });
    return sm->visited;
  }

  Numbers numbers;
  std::uint32_t added = 0;
};

TEST_F(FedWalk, LeavesOutNothingBeforeTwiceWhatItBeganWithAnd4096More) {
  constexpr std::uint32_t kBound = 2 * kStart + 4096;
  for (const RowOutcome outcome : {RowOutcome::printed, RowOutcome::silent}) {
    added = 0;
    for (std::uint32_t i = 0; i < 20'000; ++i) numbers.erase(1000 + i);
    const auto visited = visit<ResumableWalk<Numbers>>(outcome, 2, 20'000);
    EXPECT_LT(added, 20'000U) << "it was fed to its end";
    // Up to the bound whatever lies ahead; then what was there before the walk.
    ASSERT_EQ(visited.size(), kBound + 1);
    for (std::uint32_t i = 0; i < kStart - 1; ++i) EXPECT_EQ(visited[i], i + 1);
    for (std::uint32_t i = kStart - 1; i < kBound; ++i) {
      ASSERT_EQ(visited[i], 1000 + i - (kStart - 1));
    }
    EXPECT_EQ(visited.back(), kLast);
  }
}

TEST_F(FedWalk, VisitsAllThatIsAddedAsLongAsItEndsByItself) {
  const auto visited = visit<ResumableWalk<Numbers>>(RowOutcome::printed, 2, 4096);
  EXPECT_EQ(visited.size(), kStart + 4096);
}

TEST_F(FedWalk, OverWhatNothingJoinsHasNoBound) {
  const auto visited = visit<RestingWalk<Numbers>>(RowOutcome::printed, 2, 10'000);
  EXPECT_EQ(visited.size(), kStart + 10'000);
}

TEST_F(FedWalk, VisitsAnEntryThatWentAndCameBackAheadOfIt) {
  const auto sm = Qel::makePtr<NumbersSm<ResumableWalk<Numbers>>>(request(Rendering::kText), clock,
                                                                  numbers, RowOutcome::printed);
  runToCompletion(*sm, [&] {
    // Others join before it, so that more is visited than was there at the start.
    if (added == 2 * kStart) return;
    numbers.add(1000 + added++);
    numbers.erase(kLast);
    numbers.add(kLast);
  });
  EXPECT_EQ(sm->visited.size(), numbers.size());
  EXPECT_EQ(sm->visited.back(), kLast);
}

}  // namespace
}  // namespace KorvoL2::Testing
