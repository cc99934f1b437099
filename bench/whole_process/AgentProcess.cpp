#include "bench/whole_process/AgentProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "bench/whole_process/Sockets.h"

namespace KorvoBench {

namespace {

std::string uniqueSocket(const std::string& folder) {
  static unsigned count = 0;
  return folder + "/agent" + std::to_string(++count);
}

// The line that the agent prints when it serves, or what it printed of it before it ended.
std::string readReadyLine(int pipe) {
  std::string line;
  char c = 0;
  while (c != '\n') {
    pollfd readable{pipe, POLLIN, 0};
    const int ready =
        ::poll(&readable, 1, static_cast<int>(std::chrono::milliseconds(kPatience).count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0 || ::read(pipe, &c, 1) != 1) break;
    line += c;
  }
  return line;
}

}  // namespace

AgentProcess::AgentProcess(const std::string& program, const std::string& folder,
                           std::vector<std::string> arguments)
    : socketPath_(uniqueSocket(folder)) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) systemFailed("pipe2");
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);
  arguments.insert(arguments.begin(), {program, "--socket", socketPath_});
  const auto start = std::chrono::steady_clock::now();
  process_ = ChildProcess::start(arguments, writeEnd.get());
  writeEnd.reset();
  const std::string line = readReadyLine(readEnd.get());
  startSeconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (line != "ready " + socketPath_ + "\n") {
    throw std::runtime_error(program + " did not start; it said \"" + line + "\"");
  }
}

AgentProcess::~AgentProcess() { process_.end(SIGTERM); }

void AgentProcess::stop() {
  if (const int status = process_.end(SIGTERM); status != 0) {
    throw std::runtime_error("the agent ended with status " + std::to_string(status));
  }
}

ProcessMemory AgentProcess::memory() const {
  // Exact, unlike the counters of /proc/PID/status, which lag behind by some pages per processor.
  std::ifstream file("/proc/" + std::to_string(process_.pid()) + "/smaps_rollup");
  ProcessMemory memory;
  const auto read = [](const std::string& line, std::string_view name, std::uint64_t& bytes) {
    if (line.starts_with(name)) bytes = std::stoull(line.substr(name.size())) * 1024;
  };
  for (std::string line; std::getline(file, line);) {
    read(line, "Rss:", memory.resident);
    read(line, "Anonymous:", memory.anonymous);
  }
  if (memory.resident == 0) throw std::runtime_error("the kernel does not tell the agent's memory");
  return memory;
}

std::vector<std::string> madeUpTable(std::uint64_t rows, std::uint64_t seed) {
  return {"--macs", std::to_string(rows), "--seed", std::to_string(seed)};
}

}  // namespace KorvoBench
