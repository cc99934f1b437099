#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "tests/platform/rendering/ScriptedPort.h"
#include "tests/support/ManualClock.h"

namespace AgentCommand {
namespace {

using namespace std::chrono_literals;
using Rendering::PortScript;
using Rendering::PrintBuffer;
using Rendering::RendererV2;
using Rendering::ScriptedPort;

constexpr Qel::Duration kBudget = 50ms;

Qel::Ptr<const AgentCommandRequest> makeRequest(const std::shared_ptr<PortScript>& script,
                                                std::uint32_t format = Rendering::kText) {
  const auto buffer = Qel::makePtr<PrintBuffer>(std::make_unique<ScriptedPort>(script), 7U, 16384U,
                                                PrintBuffer::kStream);
  return Qel::makePtr<AgentCommandRequest>("request 1", "MACT_ALL", 7U, format,
                                           Qel::makePtr<RendererV2>(format, buffer, true));
}

// Prints the rows 0 to `rows` - 1, a line each, as every machine walks: ask after a row, remember
// the next.
class RowsSm final : public AgentAsyncCommandRequestSm {
 public:
  RowsSm(Qel::Ptr<const AgentCommandRequest> request, Qel::Ptr<const Qel::Clock> clock,
         int rowCount)
      : AgentAsyncCommandRequestSm("rows", std::move(request), kBudget, std::move(clock)),
        rowCount_(rowCount) {}

  void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override {
    seenSocket = socket;
    seenFormat = format;
    while (next_ < rowCount_) {
      renderer().addFrills("row %d\n", next_++);
      if (whileRow) whileRow(next_);
      if (shouldYield()) return;
    }
    executionCompleteFlagIs(true);
  }

  std::function<void(int rows)> whileRow;
  std::uint32_t seenSocket = 0;
  std::uint32_t seenFormat = 0;

 private:
  int rowCount_;
  int next_ = 0;
};

class BareSm final : public AgentAsyncCommandRequestSm {
 public:
  BareSm(Qel::Ptr<const AgentCommandRequest> request, Qel::Ptr<const Qel::Clock> clock)
      : AgentAsyncCommandRequestSm("bare", std::move(request), kBudget, std::move(clock)) {}
};

class RequestSmTest : public testing::Test {
 protected:
  Qel::Ptr<RowsSm> make(int rows) {
    return Qel::makePtr<RowsSm>(makeRequest(script_), clock_, rows);
  }
  // Runs slices until the machine is done; returns how many rows each printed.
  static std::vector<std::uint64_t> run(RowsSm& sm) {
    std::vector<std::uint64_t> rows;
    while (!sm.executionCompleteFlag()) {
      const auto before = sm.rows();
      sm.runCommand();
      rows.push_back(sm.rows() - before);
      if (rows.size() > 10000) {
        ADD_FAILURE() << "does not end";
        break;
      }
    }
    return rows;
  }
  static std::string allRows(int rows) {
    std::string text;
    for (int row = 0; row < rows; ++row) text += "row " + std::to_string(row) + "\n";
    return text;
  }
  using Slices = std::vector<std::uint64_t>;

  std::shared_ptr<PortScript> script_ = std::make_shared<PortScript>();
  Qel::Ptr<Qel::ManualClock> clock_ = Qel::makePtr<Qel::ManualClock>();
};

TEST_F(RequestSmTest, StandingClockNeedsOneSlice) {
  const auto sm = make(1000);
  EXPECT_EQ(run(*sm), Slices{1000});
  EXPECT_EQ(script_->taken, allRows(1000));
  EXPECT_EQ(sm->slices(), 1U);
}

TEST_F(RequestSmTest, SliceGetsSocketAndFormatOfItsRequest) {
  const auto sm = make(1);
  sm->runCommand();
  EXPECT_EQ(sm->seenSocket, 7U);
  EXPECT_EQ(sm->seenFormat, Rendering::kText);
}

TEST_F(RequestSmTest, SliceEndsAfterTheRowThatExceedsItsTime) {
  const auto sm = make(10);
  sm->whileRow = [this](int) { clock_->advance(20ms); };
  // 20, 40, 60: the third row is the first beyond 50.
  EXPECT_EQ(run(*sm), (Slices{3, 3, 3, 1}));
  EXPECT_EQ(script_->taken, allRows(10));
}

TEST_F(RequestSmTest, TimeUpToTheBudgetIsTheSlicesOwn) {
  const auto sm = make(3);
  sm->whileRow = [this](int rows) { clock_->nowIs(rows == 1 ? kBudget : kBudget + 1ns); };
  EXPECT_EQ(run(*sm), (Slices{2, 1}));
}

TEST_F(RequestSmTest, EverySlicePrintsARowHoweverLongItTakes) {
  const auto sm = make(4);
  sm->whileRow = [this](int) { clock_->advance(1h); };
  // The last slice finds the end.
  EXPECT_EQ(run(*sm), (Slices{1, 1, 1, 1, 0}));
  EXPECT_EQ(sm->worstSlice(), 1h);
}

TEST_F(RequestSmTest, ClockThatRunsBackwardsEndsTheSliceOnly) {
  clock_->nowIs(24h);
  const auto sm = make(6);
  sm->whileRow = [this](int rows) {
    if (rows == 2) clock_->advance(-23h);
  };
  EXPECT_EQ(run(*sm), (Slices{2, 4}));
  EXPECT_EQ(script_->taken, allRows(6));
}

TEST_F(RequestSmTest, ClockThatAlwaysRunsBackwardsStillGetsARowPerSlice) {
  clock_->perReadingIs(-1s);
  const auto sm = make(3);
  EXPECT_EQ(run(*sm), (Slices{1, 1, 1, 0}));
}

TEST_F(RequestSmTest, RowBudgetEndsTheSlice) {
  for (const std::uint32_t budget : {1U, 2U, 3U, 7U, 100U}) {
    script_->taken.clear();
    const auto sm = make(7);
    sm->slicePolicyIs({.rowBudget = budget});
    const auto slices = run(*sm);
    EXPECT_EQ(slices.front(), std::min(budget, 7U));
    EXPECT_EQ(script_->taken, allRows(7)) << "at a budget of " << budget;
  }
}

TEST_F(RequestSmTest, FilledWindowEndsTheSlice) {
  const auto sm = make(10);
  sm->slicePolicyIs({.outputWindow = 12});  // a row is 6 bytes
  EXPECT_EQ(run(*sm), (Slices{2, 2, 2, 2, 2, 0}));
  EXPECT_EQ(script_->taken, allRows(10));
}

TEST_F(RequestSmTest, SocketThatTakesNoMoreEndsTheSliceWithinTheRow) {
  const auto sm = make(100000);
  sm->slicePolicyIs({.outputWindow = ~std::size_t{0}});
  script_->answers = {5000};
  sm->runCommand();
  EXPECT_TRUE(sm->renderer().buffer().blocked());
  EXPECT_FALSE(sm->executionCompleteFlag());
  // The buffer's size, and the row that filled it.
  EXPECT_LT(sm->renderer().buffer().appended(), 16384U + 16U);
  run(*sm);
  EXPECT_EQ(script_->taken, allRows(100000));
}

TEST_F(RequestSmTest, SocketThatIsGoneEndsTheSliceAfterARow) {
  const auto sm = make(100000);
  script_->answers = {PortScript::kGone};
  sm->runCommand();
  EXPECT_TRUE(sm->renderer().buffer().failed());
  const auto before = sm->rows();
  sm->runCommand();
  EXPECT_EQ(sm->rows(), before + 1);
}

TEST_F(RequestSmTest, WhatASlicePrintedIsSentAtItsEnd) {
  const auto sm = make(10);
  sm->slicePolicyIs({.rowBudget = 1});
  sm->runCommand();
  EXPECT_EQ(script_->taken, "row 0\n");
}

TEST_F(RequestSmTest, WorstSliceIsTheLongest) {
  const auto sm = make(3);
  sm->slicePolicyIs({.rowBudget = 1});
  sm->whileRow = [this](int rows) { clock_->advance(rows == 2 ? 30ms : 10ms); };
  EXPECT_EQ(sm->worstSlice(), 0ms);
  sm->runCommand();
  EXPECT_EQ(sm->worstSlice(), 10ms);
  run(*sm);
  EXPECT_EQ(sm->worstSlice(), 30ms);
  EXPECT_EQ(sm->rows(), 3U);
}

TEST_F(RequestSmTest, ExceptionOfASlicePasses) {
  const auto sm = make(3);
  sm->whileRow = [](int rows) {
    if (rows == 2) throw std::out_of_range("stoi");
  };
  try {
    sm->runCommand();
    FAIL() << "did not throw";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "stoi");
  }
  EXPECT_FALSE(sm->executionCompleteFlag());
}

TEST_F(RequestSmTest, CompleteMachineIsNotRunAgain) {
  const auto sm = make(1);
  run(*sm);
  EXPECT_THROW(sm->runCommand(), Qel::AssertionException);
}

TEST_F(RequestSmTest, CompletionIsPublishedOnce) {
  std::vector<std::string> heard;  // outlives the machine, whose end is heard too
  const auto sm = make(1);
  sm->publisher().subscribe(
      [&heard](const Qel::Entity&, std::string_view attribute) { heard.emplace_back(attribute); });
  sm->hasNotificationActiveIs(true);
  sm->executionCompleteFlagIs(true);
  sm->executionCompleteFlagIs(true);
  EXPECT_EQ(heard, std::vector<std::string>{"executionCompleteFlag"});
}

TEST_F(RequestSmTest, MachineWithoutABodySaysSo) {
  const auto sm = Qel::makePtr<BareSm>(makeRequest(script_), clock_);
  try {
    sm->runCommand();
    FAIL() << "did not throw";
  } catch (const Qel::NoImplementationException& e) {
    EXPECT_STREQ(e.what(), "not implemented in base-class");
  }
}

TEST_F(RequestSmTest, MachineNeedsARequestAndAClock) {
  EXPECT_THROW(Qel::makePtr<BareSm>(nullptr, clock_), Qel::AssertionException);
  EXPECT_THROW(Qel::makePtr<BareSm>(makeRequest(script_), nullptr), Qel::AssertionException);
}

TEST_F(RequestSmTest, MachineKnowsWhatItWasMadeOf) {
  const auto request = makeRequest(script_, Rendering::kJson);
  const auto sm = Qel::makePtr<BareSm>(request, clock_);
  EXPECT_EQ(sm->name(), "bare");
  EXPECT_EQ(sm->agentCommandRequest(), request);
  EXPECT_EQ(sm->maxRunTime(), kBudget);
  EXPECT_EQ(sm->clock(), clock_);
  EXPECT_EQ(&sm->renderer(), &request->renderer());
  EXPECT_TRUE(sm->renderer().isJson());
  EXPECT_FALSE(sm->executionCompleteFlag());
  EXPECT_EQ(sm->typeData().name, "AgentCommand::AgentAsyncCommandRequestSm");
}

TEST_F(RequestSmTest, MachineIsTakenIntoService) {
  const auto sm = make(1);
  EXPECT_FALSE(sm->initialized());
  sm->initializeSm();
  EXPECT_TRUE(sm->initialized());
}

TEST_F(RequestSmTest, ReleasedMachineAndRequestLeaveNothingBehind) {
  const auto before = Qel::liveInstances("AgentCommandRequest");
  auto sm = make(10);
  sm->slicePolicyIs({.rowBudget = 2});
  sm->runCommand();
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), before + 1);
  sm.reset();
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), before);
  EXPECT_EQ(script_->taken, "row 0\nrow 1\n");
}

TEST(AgentCommandRequestTest, HoldsWhatItWasMadeOf) {
  const auto request = makeRequest(std::make_shared<PortScript>(), Rendering::kJson);
  EXPECT_EQ(request->requestString(), "request 1");
  EXPECT_EQ(request->commandString(), "MACT_ALL");
  EXPECT_EQ(request->socket(), 7U);
  EXPECT_EQ(request->outputFormat(), Rendering::kJson);
  EXPECT_EQ(request->typeData().name, "AgentCommand::AgentCommandRequest");
}

TEST(AgentCommandRequestTest, NeedsARenderer) {
  EXPECT_THROW(
      Qel::makePtr<AgentCommandRequest>("request 1", "MACT_ALL", 7U, Rendering::kText, nullptr),
      Qel::AssertionException);
}

TEST_F(RequestSmTest, AskedWhereNothingWasPrintedOnlyTimeEndsASliceAndNoRowIsCounted) {
  const auto sm = make(3);
  sm->slicePolicyIs({.outputWindow = 1, .rowBudget = 1});
  std::vector<bool> answers;
  sm->whileRow = [&](int) {
    answers.push_back(sm->shouldYieldSilent());
    clock_->advance(kBudget + 1ns);
    answers.push_back(sm->shouldYieldSilent());
  };
  EXPECT_EQ(run(*sm), (Slices{1, 1, 1, 0}));
  EXPECT_EQ(answers, (std::vector<bool>{false, true, false, true, false, true}));
  EXPECT_EQ(sm->rows(), 3U);
}

TEST_F(RequestSmTest, AskedWhereNothingWasPrintedANumberOfEntriesEndsASliceToo) {
  const auto sm = make(2);
  sm->slicePolicyIs({.silentBudget = 2});
  std::vector<bool> answers;
  sm->whileRow = [&](int) {
    for (int i = 0; i < 3; ++i) answers.push_back(sm->shouldYieldSilent());
  };
  EXPECT_EQ(run(*sm), (Slices{1, 1, 0}));
  EXPECT_EQ(answers, (std::vector<bool>{false, true, true, false, true, true}));
  EXPECT_EQ(sm->rows(), 2U);
  EXPECT_EQ(sm->entriesDone(), 8U);
}

TEST_F(RequestSmTest, OnceTheRowsOfASliceAreSpentTheyStaySpent) {
  const auto sm = make(1);
  sm->slicePolicyIs({.rowBudget = 1});
  std::vector<bool> answers;
  sm->whileRow = [&](int) {
    for (int i = 0; i < 2; ++i) answers.push_back(sm->shouldYield());
  };
  run(*sm);
  EXPECT_EQ(answers, (std::vector<bool>{true, true}));
}

TEST_F(RequestSmTest, AYesStaysAYesThoughTheClockRunsBackToTheSlicesTime) {
  const auto sm = make(2);
  sm->whileRow = [&](int) {
    const Qel::Duration start = clock_->now();
    clock_->advance(kBudget + 1ns);
    EXPECT_TRUE(sm->shouldYield());
    clock_->nowIs(start);
  };
  EXPECT_EQ(run(*sm), (Slices{2, 2, 0})) << "each row asks twice";
}

TEST_F(RequestSmTest, AYesStaysAYesThoughTheSocketTakesMoreAgain) {
  const auto sm = make(2);
  script_->answers = {3};
  sm->whileRow = [&](int row) {
    if (row != 1) return;
    sm->renderer().buffer().flush();
    EXPECT_TRUE(sm->shouldYield());
    EXPECT_TRUE(sm->renderer().buffer().flush());
  };
  EXPECT_EQ(run(*sm), (Slices{2, 1}));
}

TEST_F(RequestSmTest, TheTimeIsNotSpentWhereTheSliceEndsForAnotherReason) {
  const auto sm = make(2);
  sm->slicePolicyIs({.outputWindow = 1, .rowBudget = 1});
  script_->answers = {0};
  std::vector<bool> answers;
  sm->whileRow = [&](int) {
    sm->renderer().buffer().flush();
    EXPECT_TRUE(sm->shouldYield());
    answers.push_back(sm->timeSpent());
    clock_->advance(kBudget + 1ns);
    answers.push_back(sm->timeSpent());
  };
  run(*sm);
  EXPECT_EQ(answers, (std::vector<bool>{false, true, false, true}));
}

TEST_F(RequestSmTest, AYesToASilentEntryIsOneToARowAsWell) {
  const auto sm = make(3);
  sm->slicePolicyIs({.silentBudget = 1});
  sm->whileRow = [&](int row) {
    if (row != 2) return;
    EXPECT_TRUE(sm->shouldYieldSilent());
  };
  EXPECT_EQ(run(*sm), (Slices{2, 1}));
}

}  // namespace
}  // namespace AgentCommand
