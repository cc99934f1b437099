// What the agent's dumps are compared with: processes that write the same bytes another way.
//
// A rival is a child that listens on a socket of its own, takes one line like the agent, and sends
// the whole dump through a socket with the agent's send buffer in pieces of the agent's size. It
// holds what it needs in memory before the first request and does nothing else. So the time of
// connecting, waking up and copying through the kernel is in all figures alike.
#pragma once

#include <functional>
#include <string>

#include "bench/whole_process/CapturedDump.h"
#include "bench/whole_process/ChildProcess.h"

namespace KorvoBench {

class Rival {
 public:
  /** Sends the dump to a socket. */
  using Sender = void (*)(int socket, const CapturedDump& dump);

  /** `dump` is copied with the process. */
  Rival(std::string socketPath, const CapturedDump& dump, Sender sender);

  const std::string& socketPath() const noexcept { return socketPath_; }
  const ChildProcess& process() const noexcept { return process_; }

 private:
  std::string socketPath_;
  ChildProcess process_;
};

/** The bytes as they are. */
void sendReadyMade(int socket, const CapturedDump& dump);
/** Every row by one snprintf. */
void sendBySnprintf(int socket, const CapturedDump& dump);
/** Every row by one fmt::format_to with a format string that is compiled. */
void sendByFmt(int socket, const CapturedDump& dump);

}  // namespace KorvoBench
