#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bench/whole_process/AgentProcess.h"
#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/Sections.h"

namespace KorvoBench {

namespace {

struct Command {
  const char* name;
  std::string_view line;
};

constexpr Command kCommands[]{
    {"hardware dump", "async text MACT_HW_ALL0,1,2,3,4,5,6,7\n"},
    {"hardware dump, JSON", "async json MACT_HW_ALL0,1,2,3,4,5,6,7\n"},
    {"hardware dump, detail", "async text MACT_HW_ALLdetail 0,1,2,3,4,5,6,7\n"},
    {"check for differences", "async text MACT_DIFF0,1,2,3,4,5,6,7\n"},
    {"check for missing entries", "async json MACT_MISSING0,1,2,3,4,5,6,7\n"},
};

struct Measured {
  std::vector<double> seconds;
  std::vector<double> worstSliceMs;
  std::vector<double> shortCommandMs;
  std::uint64_t rows = 0;
};

/** Runs the command once and asks short commands all the while: what they wait for is a turn. */
void measureOnce(const AgentProcess& agent, const Command& command, Measured& measured) {
  using Clock = std::chrono::steady_clock;
  using Ms = std::chrono::duration<double, std::milli>;
  auto running = std::async(std::launch::async, [&] {
    return discardAnswerWithEvents(agent.socketPath(), command.line);
  });
  do {
    const auto start = Clock::now();
    if (captureAnswer(agent.socketPath(), "plain text NOPE\n").empty()) {
      throw std::runtime_error("a short command got no answer");
    }
    measured.shortCommandMs.push_back(Ms(Clock::now() - start).count());
  } while (running.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready);
  const Done done = running.get();
  if (done.status != "ok" || done.rows == 0) {
    throw std::runtime_error(
        fmt::format("{}: {} after {} rows", command.name, done.status, done.rows));
  }
  measured.rows = done.rows;
  measured.seconds.push_back(done.answer.seconds);
  measured.worstSliceMs.push_back(done.worstSliceMs);
}

}  // namespace

void measureHardwareTables(const Settings& settings, Report& report) {
  constexpr unsigned kChips = 8;
  const std::uint64_t rows = std::max<std::uint64_t>(settings.rows / 2, 1);
  report.heading(
      fmt::format("hardware tables: {} chips, {} entries, 5% of writes fail", kChips, rows));
  std::vector<std::string> arguments = madeUpTable(rows, settings.seed);
  arguments.insert(arguments.end(), {"--chips", std::to_string(kChips), "--hw-faults", "0.05"});
  AgentProcess agent(settings.agent, settings.folder, arguments);
  for (const Command& command : kCommands) {
    Measured measured;
    for (unsigned i = 0; i < std::min(settings.repetitions, 3U); ++i) {
      measureOnce(agent, command, measured);
    }
    const std::string name = command.name;
    report.numbers("hardware." + name + ".seconds", measured.seconds);
    report.numbers("hardware." + name + ".worst-slice.ms", measured.worstSliceMs);
    report.numbers("hardware." + name + ".short-command.ms", measured.shortCommandMs);
    const Spread seconds = spreadOf(measured.seconds);
    report.figure({name, seconds.median, "s",
                   fmt::format("{} rows, {:.2f} million a second", measured.rows,
                               static_cast<double>(measured.rows) / seconds.median / 1e6),
                   std::nullopt});
    report.figure(
        {name + ": longest slice", spreadOf(measured.worstSliceMs).max, "ms", "", atMost(55, 51)});
    report.figure({name + ": longest short command meanwhile",
                   spreadOf(measured.shortCommandMs).max, "ms",
                   fmt::format("median {:.2f} of {}", percentile(measured.shortCommandMs, 50),
                               measured.shortCommandMs.size()),
                   atMost(60, 10)});
  }
  agent.stop();
}

}  // namespace KorvoBench
