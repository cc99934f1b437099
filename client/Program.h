// The whole of korvoctl but for what only a process has: arguments and environment come in, exit
// status comes out, and the descriptors are given, so that tests run it like a function.
#pragma once

#include <chrono>
#include <span>
#include <string>

#include "client/ExitStatus.h"
#include "client/ProgressLine.h"

namespace KorvoCtl {

struct Surroundings {
  int output = 1;
  int errors = 2;
  // Where to draw progress, -1 for nowhere.
  int terminal = -1;
  bool outputIsTerminal = false;
  std::string defaultSocket = {};
  ProgressLine::Clock clock = &std::chrono::steady_clock::now;
};

struct RunResult {
  ExitStatus status = ExitStatus::kOk;
  // The reader of the output has left; the process should end as other tools do then.
  bool outputClosed = false;
};

// words: without the program's name. SIGPIPE must be ignored.
[[nodiscard]] RunResult run(std::span<const std::string> words, const Surroundings& surroundings);

}  // namespace KorvoCtl
