#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <set>
#include <stdexcept>
#include <thread>

#include "bench/whole_process/AgentProcess.h"
#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/Sections.h"
#include "bench/whole_process/Sockets.h"

namespace KorvoBench {

namespace {

// Every figure comes from an agent of its own that has never dumped: memory that an earlier dump
// freed would hide what a dump takes.
AgentProcess freshAgent(const Settings& settings, std::uint64_t rows) {
  AgentProcess agent(settings.agent, settings.folder, madeUpTable(rows, settings.seed));
  // What answering anything at all takes belongs to no dump.
  captureAnswer(agent.socketPath(), "agent json requests\n");
  captureAnswer(agent.socketPath(), "plain text NOPE\n");
  return agent;
}

ProcessMemory added(const ProcessMemory& now, const ProcessMemory& before) {
  return {now.resident - std::min(now.resident, before.resident),
          now.anonymous - std::min(now.anonymous, before.anonymous)};
}

ProcessMemory larger(const ProcessMemory& a, const ProcessMemory& b) {
  return {std::max(a.resident, b.resident), std::max(a.anonymous, b.anonymous)};
}

// Looks at the agent's memory again and again while a reader takes the dump in.
ProcessMemory addedWhileReading(const Settings& settings, std::uint64_t rows) {
  AgentProcess agent = freshAgent(settings, rows);
  const ProcessMemory before = agent.memory();
  const FileDescriptor socket = connectTo(agent.socketPath());
  sendAll(socket.get(), kDumpText);
  const auto data = std::make_unique<char[]>(kReadSize);
  ProcessMemory most;
  std::uint64_t bytes = 0;
  std::uint64_t lookAt = 0;
  while (const std::size_t n = receiveSome(socket.get(), data.get(), kReadSize)) {
    bytes += n;
    if (bytes < lookAt) continue;
    most = larger(most, agent.memory());
    lookAt = bytes + rows;  // some hundred times in all
  }
  most = larger(most, agent.memory());
  if (bytes < rows * 100) throw std::runtime_error("the dump was too short to measure its memory");
  agent.stop();
  return added(most, before);
}

ProcessMemory addedWithoutReading(const Settings& settings, std::uint64_t rows) {
  AgentProcess agent = freshAgent(settings, rows);
  const ProcessMemory before = agent.memory();
  const FileDescriptor socket = connectTo(agent.socketPath());
  sendAll(socket.get(), kDumpText);
  // Until the agent waits, or has handed over all of a dump that the socket buffers hold.
  for (;;) {
    const std::string requests = captureAnswer(agent.socketPath(), "agent json requests\n");
    const bool listed = requests.find("\"MACT_ALL\"") != std::string::npos;
    if (!listed || requests.find("waiting for its reader") != std::string::npos) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const ProcessMemory memory = added(agent.memory(), before);
  // A dump there must have been.
  char c = 0;
  if (receiveSome(socket.get(), &c, 1) != 1) throw std::runtime_error("the dump was empty");
  agent.stop();
  return memory;
}

void addFigure(Report& report, const std::string& what, const std::string& key,
               const std::vector<double>& resident, const std::vector<double>& anonymous) {
  constexpr double kMiB = 1024 * 1024;
  report.numbers("memory." + key + ".resident.bytes", resident);
  report.numbers("memory." + key + ".anonymous.bytes", anonymous);
  const Spread all = spreadOf(resident);
  const Spread own = spreadOf(anonymous);
  report.figure({"memory that one dump adds, " + what, all.median / kMiB, "MiB",
                 fmt::format("{} MiB; without pages of program files {:.2f} MiB",
                             spreadText(all, 1 / kMiB), own.median / kMiB),
                 atMost(2, 0.5)});
}

}  // namespace

void measureMemory(const Settings& settings, Report& report) {
  report.heading("memory that a dump adds");
  const unsigned repetitions = std::min(settings.repetitions, 3U);
  std::set<std::uint64_t> sizes{std::max<std::uint64_t>(settings.rows / 100, 1), settings.rows};
  if (settings.large) sizes.insert(10'000'000);
  for (const std::uint64_t rows : sizes) {
    for (const bool reading : {true, false}) {
      std::vector<double> resident;
      std::vector<double> anonymous;
      for (unsigned i = 0; i < repetitions; ++i) {
        const ProcessMemory memory =
            reading ? addedWhileReading(settings, rows) : addedWithoutReading(settings, rows);
        resident.push_back(static_cast<double>(memory.resident));
        anonymous.push_back(static_cast<double>(memory.anonymous));
      }
      addFigure(report, fmt::format("{} rows, {}", rows, reading ? "read" : "never read"),
                fmt::format("{}.{}", rows, reading ? "read" : "never-read"), resident, anonymous);
    }
  }
}

}  // namespace KorvoBench
