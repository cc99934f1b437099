// What it costs to ask after every row whether the slice should end, and what the clock itself
// would cost in its place.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>

#include "platform/command/AgentAsyncCommandRequestSm.h"

namespace {

using AgentCommand::AgentCommandRequest;
using Rendering::PrintBuffer;
using Rendering::RendererV2;

// What a dump gathers before it sends.
constexpr std::size_t kGathered = 65536;

class TakesEverything final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char*, std::size_t size) override {
    return static_cast<std::ptrdiff_t>(size);
  }
};

Qel::Ptr<const AgentCommandRequest> makeRequest() {
  const auto renderer =
      Qel::makePtr<RendererV2>(Rendering::kText,
                               Qel::makePtr<PrintBuffer>(std::make_unique<TakesEverything>(), 0U,
                                                         kGathered, PrintBuffer::kStream),
                               true);
  return Qel::makePtr<const AgentCommandRequest>("bench", "bench", 0U, Rendering::kText, renderer);
}

/** A machine whose slice asks once per "row" and counts how often it was told to go on. */
class AskingSm final : public AgentCommand::AgentAsyncCommandRequestSm {
 public:
  static constexpr std::uint32_t kRows = 100'000;

  AskingSm()
      : AgentAsyncCommandRequestSm("asking", makeRequest(), std::chrono::hours(1),
                                   Qel::makePtr<const Qel::SteadyClock>()) {}

  void handleAsyncCommand(std::uint32_t, std::uint32_t) override {
    for (std::uint32_t row = 0; row < kRows; ++row) goneOn_ += shouldYield() ? 0 : 1;
  }
  std::uint64_t goneOn() const { return goneOn_; }

 private:
  std::uint64_t goneOn_ = 0;
};

void perRow(benchmark::State& state, std::int64_t rows) {
  state.counters["per row"] =
      benchmark::Counter(static_cast<double>(state.iterations() * rows),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void shouldYield(benchmark::State& state) {
  const auto machine = Qel::makePtr<AskingSm>();
  for ([[maybe_unused]] auto _ : state) machine->runCommand();
  if (machine->goneOn() != static_cast<std::uint64_t>(state.iterations()) * AskingSm::kRows) {
    state.SkipWithError("a slice was told to end");
  }
  perRow(state, AskingSm::kRows);
}

void readingTheClock(benchmark::State& state) {
  const auto clock = Qel::makePtr<const Qel::SteadyClock>();
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(clock->now());
  perRow(state, 1);
}

void readingTheCycleCounter(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(Qel::cycleCounter());
  perRow(state, 1);
}

BENCHMARK(shouldYield);
BENCHMARK(readingTheClock);
BENCHMARK(readingTheCycleCounter);

}  // namespace

BENCHMARK_MAIN();
