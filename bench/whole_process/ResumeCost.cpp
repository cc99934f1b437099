// An agent that ends its slice after every row prints the same dump in as many slices as rows: what
// it takes longer than an agent that does not is what slices cost.
#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "bench/whole_process/AgentProcess.h"
#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/Sections.h"

namespace KorvoBench {

namespace {

AgentProcess agentOfSliceRows(const Settings& settings, std::uint64_t rows, unsigned sliceRows) {
  std::vector<std::string> arguments = madeUpTable(rows, settings.seed);
  if (sliceRows != 0) {
    arguments.insert(arguments.end(), {"--slice-rows", std::to_string(sliceRows)});
  }
  return AgentProcess(settings.agent, settings.folder, std::move(arguments));
}

// Microseconds per slice that `small` ran more than `whole`.
double costOf(const Done& small, const Done& whole) {
  if (small.answer.bytes != whole.answer.bytes) {
    throw std::runtime_error("dumps of unlike slices have unlike sizes");
  }
  const double slices = static_cast<double>(small.slices) - static_cast<double>(whole.slices);
  return (small.answer.seconds - whole.answer.seconds) * 1e6 / slices;
}

}  // namespace

void measureResuming(const Settings& settings, Report& report) {
  report.heading("what a slice costs besides its rows");
  const std::uint64_t rows = std::min<std::uint64_t>(settings.rows, 200'000);
  AgentProcess whole = agentOfSliceRows(settings, rows, 0);
  AgentProcess single = agentOfSliceRows(settings, rows, 1);
  AgentProcess few = agentOfSliceRows(settings, rows, 20);
  std::vector<double> singleCosts;
  std::vector<double> fewCosts;
  for (unsigned i = 0; i < settings.repetitions; ++i) {
    const Done wholeDone = discardAnswerWithEvents(whole.socketPath(), kDumpText);
    const Done singleDone = discardAnswerWithEvents(single.socketPath(), kDumpText);
    const Done fewDone = discardAnswerWithEvents(few.socketPath(), kDumpText);
    if (singleDone.slices < rows || fewDone.slices < rows / 20) {
      throw std::runtime_error("the agent does not slice as it was told");
    }
    singleCosts.push_back(costOf(singleDone, wholeDone));
    fewCosts.push_back(costOf(fewDone, wholeDone));
  }
  whole.stop();
  single.stop();
  few.stop();
  report.numbers("resuming.slices-of-1-row.us", singleCosts);
  report.numbers("resuming.slices-of-20-rows.us", fewCosts);
  const Spread singleSpread = spreadOf(singleCosts);
  const Spread fewSpread = spreadOf(fewCosts);
  report.figure({"cost of a slice, of 1 row each, its send included", singleSpread.median, "us",
                 spreadText(singleSpread), atMost(5, 1)});
  report.figure(
      {"the same, of 20 rows each", fewSpread.median, "us", spreadText(fewSpread), std::nullopt});
}

}  // namespace KorvoBench
