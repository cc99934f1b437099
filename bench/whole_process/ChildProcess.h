// Ownership of a child process.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace KorvoBench {

/** A child that is ended with this object; it also ends when this program dies. */
class ChildProcess {
 public:
  ChildProcess() = default;
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&& other) noexcept;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  /** A copy of this process that runs `work` and ends; what `work` throws goes to standard error.
   */
  static ChildProcess fork(const std::function<void()>& work);
  /**
   * Another program, looked for on PATH unless the name has a slash; `output` becomes its standard
   * output unless it is -1. Status 127 when it cannot be started.
   */
  static ChildProcess start(const std::vector<std::string>& arguments, int output = -1);

  pid_t pid() const noexcept { return pid_; }
  /** Processor time that the child has taken so far; 0 where the kernel does not tell. */
  double processorSeconds() const;
  /** Sends the signal and waits for the end; the exit status, or 128 + the signal that killed it.
   */
  int end(int signal);
  /** Waits for the end. */
  int wait();

 private:
  explicit ChildProcess(pid_t pid) noexcept : pid_(pid) {}

  pid_t pid_ = -1;
};

}  // namespace KorvoBench
