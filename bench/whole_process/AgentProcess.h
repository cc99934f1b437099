// A real agent, started for a measurement and ended after it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/whole_process/ChildProcess.h"

namespace KorvoBench {

/** Memory of a process in bytes, as the kernel counts it. */
struct ProcessMemory {
  std::uint64_t resident = 0;
  /** Of that, what no file backs: the process's own. */
  std::uint64_t anonymous = 0;
};

class AgentProcess {
 public:
  /**
   * Starts `program` with `arguments` on a socket in `folder` and waits until it serves. Throws
   * std::runtime_error when it does not within kPatience.
   */
  AgentProcess(const std::string& program, const std::string& folder,
               std::vector<std::string> arguments);
  AgentProcess(AgentProcess&&) = default;
  AgentProcess& operator=(AgentProcess&&) = delete;
  ~AgentProcess();

  const std::string& socketPath() const noexcept { return socketPath_; }
  /** From starting the program to its word that it serves. */
  double startSeconds() const noexcept { return startSeconds_; }
  ProcessMemory memory() const;
  const ChildProcess& process() const noexcept { return process_; }
  /** SIGTERM; throws std::runtime_error unless the agent ends with status 0. */
  void stop();

 private:
  std::string socketPath_;
  ChildProcess process_;
  double startSeconds_ = 0;
};

/** Arguments for a made-up table of `rows` entries. */
std::vector<std::string> madeUpTable(std::uint64_t rows, std::uint64_t seed);

}  // namespace KorvoBench
