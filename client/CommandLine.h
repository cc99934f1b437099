// From the words of a command line to a row of the command table with its arguments.
#pragma once

#include <chrono>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "client/CommandTable.h"
#include "client/ExitStatus.h"

namespace KorvoCtl {

inline constexpr std::string_view kDefaultSocket = "/run/korvo/l2-agent.sock";
inline constexpr const char* kSocketVariable = "KORVO_L2_SOCKET";
inline constexpr std::chrono::milliseconds kDefaultPatience{10000};
inline constexpr std::chrono::milliseconds kDefaultSilence{30000};

// What every command takes.
struct CommonOptions {
  std::string socketPath;
  std::chrono::milliseconds patience = kDefaultPatience;
  std::chrono::milliseconds silence = kDefaultSilence;
  bool progress = true;
};

// A command to run.
struct Invocation {
  const CommandRow* row = nullptr;
  Arguments arguments;
  CommonOptions options;
};

// Nothing to run: a text for standard output (help, version, completion).
struct Answer {
  std::string text;
};

using CommandLine = std::variant<Invocation, Answer, Problem>;

// words: without the program's name. defaultSocket: used where the words name none. Whatever can be
// told to be wrong without the agent is a problem.
[[nodiscard]] CommandLine parseCommandLine(std::span<const std::string> words,
                                           const std::string& defaultSocket);

}  // namespace KorvoCtl
