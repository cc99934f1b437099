#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "bench/whole_process/AgentProcess.h"
#include "bench/whole_process/CapturedDump.h"
#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/LoadReaders.h"
#include "bench/whole_process/Sections.h"

namespace KorvoBench {

namespace {

constexpr unsigned kOtherDumps = 7;

struct SliceLengths {
  std::vector<double> worst;  // one per dump, in milliseconds
  std::vector<double> mean;
};

void dumpOnce(const AgentProcess& agent, std::string_view line, std::uint64_t rows,
              SliceLengths& lengths) {
  const Done done = discardAnswerWithEvents(agent.socketPath(), line);
  if (done.rows != rows || done.slices == 0) {
    throw std::runtime_error(fmt::format("a dump of {} rows says {}", rows, done.rows));
  }
  lengths.worst.push_back(done.worstSliceMs);
  lengths.mean.push_back(done.answer.seconds * 1e3 / static_cast<double>(done.slices));
}

void addLengths(Report& report, const std::string& when, const std::string& key,
                const SliceLengths& lengths) {
  constexpr double kBudgetMs = 50;
  report.numbers("slices." + key + ".worst.ms", lengths.worst);
  report.numbers("slices." + key + ".mean.ms", lengths.mean);
  const Spread worst = spreadOf(lengths.worst);
  report.figure({"longest slice of a dump, " + when, worst.max, "ms",
                 fmt::format("longest of a dump: {:.2f} (median of {}), budget {} ms", worst.median,
                             lengths.worst.size(), kBudgetMs),
                 atMost(kBudgetMs + 5, kBudgetMs + 1)});
}

}  // namespace

void measureSlices(const Settings& settings, Report& report) {
  report.heading("first byte and slices");
  AgentProcess agent(settings.agent, settings.folder, madeUpTable(settings.rows, settings.seed));
  std::vector<double> firstByte;
  SliceLengths alone;
  std::uint64_t textSize = 0;
  std::uint64_t jsonSize = 0;
  for (unsigned i = 0; i < std::max(settings.repetitions, 2U); ++i) {
    const std::string_view line = i % 2 == 0 ? kDumpText : kDumpJson;
    const Answer answer = discardAnswer(agent.socketPath(), line);
    (i % 2 == 0 ? textSize : jsonSize) = answer.bytes;
    firstByte.push_back(answer.firstByteSeconds * 1e3);
    dumpOnce(agent, line, settings.rows, alone);
  }
  report.numbers("first-byte.ms", firstByte);
  const Spread first = spreadOf(firstByte);
  report.figure({fmt::format("first byte of a dump, {} rows", settings.rows), first.median, "ms",
                 spreadText(first), atMost(5, 1)});
  addLengths(report, "alone", "alone", alone);

  SliceLengths beside;
  LoadReaders load(agent.socketPath(), kOtherDumps, textSize, jsonSize);
  for (unsigned i = 0; i < settings.repetitions; ++i) {
    dumpOnce(agent, i % 2 == 0 ? kDumpText : kDumpJson, settings.rows, beside);
  }
  load.stop();
  addLengths(report, fmt::format("beside {} others", kOtherDumps), "beside", beside);
  agent.stop();
}

}  // namespace KorvoBench
