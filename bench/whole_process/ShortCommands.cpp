#include <fmt/format.h>

#include <chrono>
#include <random>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "bench/whole_process/AgentProcess.h"
#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/LoadReaders.h"
#include "bench/whole_process/Sections.h"

namespace KorvoBench {

namespace {

constexpr unsigned kDumps = 8;

struct ShortCommand {
  const char* name;
  std::string_view line;
  std::string_view expected;  // stands in every answer
  std::vector<double> underLoadMs;
  std::vector<double> atRestMs;
};

double askOnce(const AgentProcess& agent, const ShortCommand& command) {
  const auto start = std::chrono::steady_clock::now();
  const std::string answer = captureAnswer(agent.socketPath(), command.line);
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
  if (answer.find(command.expected) == std::string::npos) {
    throw std::runtime_error(fmt::format("{} was answered \"{}\"", command.name, answer));
  }
  return took.count();
}

std::size_t activeDumps(const AgentProcess& agent) {
  const std::string answer = captureAnswer(agent.socketPath(), "agent json requests\n");
  std::size_t count = 0;
  for (std::size_t at = answer.find("\"MACT_ALL\""); at != std::string::npos;
       at = answer.find("\"MACT_ALL\"", at + 1)) {
    ++count;
  }
  return count;
}

void addFigures(Report& report, const ShortCommand& command) {
  report.numbers(fmt::format("short-command.{}.under-load.ms", command.name), command.underLoadMs);
  report.numbers(fmt::format("short-command.{}.at-rest.ms", command.name), command.atRestMs);
  const Spread spread = spreadOf(command.underLoadMs);
  const std::string what = fmt::format("\"{}\" beside {} dumps", command.name, kDumps);
  const std::string detail =
      fmt::format("median {:.2f}, of {}; at rest median {:.3f}, 99% {:.3f}", spread.median,
                  command.underLoadMs.size(), percentile(command.atRestMs, 50),
                  percentile(command.atRestMs, 99));
  report.figure(
      {what + ": 99% within", percentile(command.underLoadMs, 99), "ms", detail, atMost(10, 2)});
  report.figure({what + ": longest", spread.max, "ms", "", atMost(60, 10)});
}

}  // namespace

void measureShortCommands(const Settings& settings, Report& report) {
  report.heading(fmt::format("short commands beside {} dumps", kDumps));
  AgentProcess agent(settings.agent, settings.folder, madeUpTable(settings.rows, settings.seed));
  std::vector<ShortCommand> commands{
      {"plain text NOPE", "plain text NOPE\n", "Invalid Command", {}, {}},
      {"agent text status", "agent text status\n", "resident memory", {}, {}},
  };
  for (unsigned i = 0; i < settings.samples; ++i) {
    for (ShortCommand& command : commands) command.atRestMs.push_back(askOnce(agent, command));
  }
  const std::uint64_t textSize = discardAnswer(agent.socketPath(), kDumpText).bytes;
  const std::uint64_t jsonSize = discardAnswer(agent.socketPath(), kDumpJson).bytes;

  LoadReaders load(agent.socketPath(), kDumps, textSize, jsonSize);
  // Pauses of unlike length, so that the questions do not fall into step with the slices.
  std::mt19937_64 random(settings.seed);
  std::uniform_int_distribution<int> pause(0, 2000);
  std::vector<double> active;
  for (unsigned i = 0; i < settings.samples; ++i) {
    for (ShortCommand& command : commands) {
      std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
      command.underLoadMs.push_back(askOnce(agent, command));
    }
    if (i % 10 == 0) active.push_back(static_cast<double>(activeDumps(agent)));
  }
  const LoadFigures figures = load.stop();
  agent.stop();
  for (const ShortCommand& command : commands) addFigures(report, command);
  report.numbers("short-command.active-dumps", active);
  const Spread dumps = spreadOf(active);
  report.figure({"dumps that were active meanwhile", dumps.median, "",
                 fmt::format("{}; {} read to their end, {:.1f} GB in all", spreadText(dumps),
                             figures.dumps, static_cast<double>(figures.bytes) / 1e9),
                 std::nullopt});
}

}  // namespace KorvoBench
