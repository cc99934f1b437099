// Interleaved: ours, ready-made, snprintf, fmt, and again. A disturbance of the machine hits all of
// them, and the ratio of two neighbours stays. Processor time tells the same about the writers
// alone, whatever else the machine does.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <list>
#include <stdexcept>

#include "bench/whole_process/AgentProcess.h"
#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/Rivals.h"
#include "bench/whole_process/Sections.h"

namespace KorvoBench {

namespace {

struct Contestant {
  const char* name;
  std::string socketPath;
  const ChildProcess* process;
  std::vector<double> seconds{};
  double processorSeconds = 0;  // for all repetitions together
};

Contestant makeRival(const Settings& settings, const CapturedDump& dump, const char* name,
                     Rival::Sender sender, std::list<Rival>& rivals) {
  const Rival& rival =
      rivals.emplace_back(fmt::format("{}/{}-{}-{}", settings.folder, name,
                                      formatName(dump.format()), dump.rows().size()),
                          dump, sender);
  // Every byte, once; the timed answers are then held to their length.
  if (captureAnswer(rival.socketPath(), "dump\n") != dump.bytes()) {
    throw std::runtime_error(fmt::format("{} does not write the {} dump of {} rows byte for byte",
                                         name, formatName(dump.format()), dump.rows().size()));
  }
  return {name, rival.socketPath(), &rival.process()};
}

void addFigures(const Settings& settings, Report& report, Format format, std::uint64_t rows,
                const std::array<Contestant, 4>& contestants) {
  const auto& [ours, readyMade, bySnprintf, byFmt] = contestants;
  const bool text = format == Format::text;
  const bool judged = rows == settings.rows;
  const std::string name = fmt::format("{} dump, {} rows: ", formatName(format), rows);
  const auto compare = [&](const std::string& what, const Contestant& above,
                           const Contestant& below, std::optional<Goal> goal) {
    const Spread spread = spreadOf(ratios(above.seconds, below.seconds));
    report.figure({name + what, spread.median, "x",
                   fmt::format("{}; in processor time {:.2f}", spreadText(spread),
                               above.processorSeconds / below.processorSeconds),
                   judged ? goal : std::nullopt});
  };
  compare("rate over snprintf", bySnprintf, ours, text ? atLeast(3, 5) : atLeast(3, 6));
  compare("rate over fmt", byFmt, ours, std::nullopt);
  // The goal is set for text; a row of JSON is nearly twice as many bytes.
  compare("time over ready-made bytes", ours, readyMade,
          text ? std::optional<Goal>(atMost(8, 4)) : std::nullopt);
  const Spread seconds = spreadOf(ours.seconds);
  const auto million = [rows](double time) { return static_cast<double>(rows) / time / 1e6; };
  const double printed = static_cast<double>(rows) * static_cast<double>(ours.seconds.size());
  report.figure({name + "rate", million(seconds.median), "M rows/s",
                 fmt::format("{}; processor time of the agent {:.0f} ns a row",
                             spreadText({0, million(seconds.max), million(seconds.min)}),
                             ours.processorSeconds * 1e9 / printed),
                 std::nullopt});
}

// Short dumps are disturbed more, and cost less.
unsigned repetitionsFor(const Settings& settings, std::uint64_t rows) {
  if (rows > 1'000'000) return std::max(settings.repetitions / 3, 1U);
  return rows < 1'000'000 ? settings.repetitions * 3 : settings.repetitions;
}

void compareFormat(const Settings& settings, Report& report, const AgentProcess& agent,
                   Format format, std::uint64_t rows) {
  const std::string_view line = dumpLine(format);
  const CapturedDump dump(captureAnswer(agent.socketPath(), line), format, rows);
  std::list<Rival> rivals;
  std::array<Contestant, 4> contestants{
      Contestant{"ours", agent.socketPath(), &agent.process()},
      makeRival(settings, dump, "ready-made", sendReadyMade, rivals),
      makeRival(settings, dump, "snprintf", sendBySnprintf, rivals),
      makeRival(settings, dump, "fmt", sendByFmt, rivals),
  };
  for (Contestant& contestant : contestants) {
    contestant.processorSeconds = -contestant.process->processorSeconds();
  }
  for (unsigned i = 0; i < repetitionsFor(settings, rows); ++i) {
    for (Contestant& contestant : contestants) {
      const Answer answer = discardAnswer(contestant.socketPath, line);
      if (answer.bytes != dump.bytes().size()) {
        throw std::runtime_error(fmt::format("{} sent {} bytes instead of {}", contestant.name,
                                             answer.bytes, dump.bytes().size()));
      }
      contestant.seconds.push_back(answer.seconds);
    }
  }
  for (Contestant& contestant : contestants) {
    contestant.processorSeconds += contestant.process->processorSeconds();
    const std::string key =
        fmt::format("dump.{}.{}.{}.", formatName(format), rows, contestant.name);
    report.numbers(key + "seconds", contestant.seconds);
    report.numbers(key + "processor-seconds", {contestant.processorSeconds});
  }
  addFigures(settings, report, format, rows, contestants);
}

}  // namespace

void compareDumps(const Settings& settings, Report& report) {
  for (const std::uint64_t rows : settings.sizes) {
    report.heading(fmt::format("dumps of {} rows against other writers of the same bytes", rows));
    AgentProcess agent(settings.agent, settings.folder, madeUpTable(rows, settings.seed));
    compareFormat(settings, report, agent, Format::text, rows);
    compareFormat(settings, report, agent, Format::json, rows);
    agent.stop();
  }
}

void measureGrowth(const Settings& settings, Report& report) {
  report.heading("a table four times as large");
  AgentProcess small(settings.agent, settings.folder, madeUpTable(settings.rows, settings.seed));
  AgentProcess large(settings.agent, settings.folder,
                     madeUpTable(4 * settings.rows, settings.seed));
  std::vector<double> smallSeconds;
  std::vector<double> largeSeconds;
  for (unsigned i = 0; i < settings.repetitions; ++i) {
    const Answer one = discardAnswer(small.socketPath(), kDumpText);
    const Answer four = discardAnswer(large.socketPath(), kDumpText);
    // Head and tail aside, rows of text are of one length.
    const double growth = static_cast<double>(four.bytes) / static_cast<double>(one.bytes);
    if (growth < 3.7 || growth > 4.01) {
      throw std::runtime_error("a table four times as large printed " + std::to_string(growth) +
                               " times as much");
    }
    smallSeconds.push_back(one.seconds);
    largeSeconds.push_back(four.seconds);
  }
  small.stop();
  large.stop();
  report.numbers("growth.small.seconds", smallSeconds);
  report.numbers("growth.large.seconds", largeSeconds);
  const Spread spread = spreadOf(ratios(largeSeconds, smallSeconds));
  report.figure(
      {fmt::format("time for {} rows over {} rows, text", 4 * settings.rows, settings.rows),
       spread.median, "x", spreadText(spread), atMost(5, 4.2)});
}

}  // namespace KorvoBench
