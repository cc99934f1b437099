// The agent's command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "agent/server/Access.h"
#include "platform/base/Clock.h"

namespace KorvoAgent {

struct AgentOptions {
  std::string socket;                ///< never empty
  std::optional<Group> socketGroup;  ///< nothing: the one that a new file gets
  std::optional<Group> adminGroup;   ///< nothing: none
  std::string state;                 ///< empty: none
  std::string bridgeJson;            ///< empty: none; "-" is standard input
  bool demo = false;
  std::uint64_t macs = 0;
  std::optional<unsigned> chips;
  double churn = 0;  ///< events a second; 0: none
  std::uint64_t seed = 1;
  std::optional<std::size_t> hwTableSize;  ///< MAC entries a chip; nothing: by what there is
  double hwRate = 0;                       ///< MAC entries a second that a chip takes
  double hwFaults = 0;                     ///< share of the chips' writes that go wrong, 0 to 1
  std::string plugin;                      ///< empty: the one that is installed with the agent
  std::vector<std::string> trace;          ///< HANDLE=LEVEL each
  std::string traceFile;                   ///< empty: standard error
  Qel::Duration clientTimeout{0};
  Qel::Duration lineTimeout{0};
  std::size_t maxConnections = 0;
  std::size_t maxConnectionsPerUser = 0;
  std::size_t maxRequestsPerUser = 0;
  std::size_t maxUnreadAnswers = 0;
  std::size_t maxUnreadAnswersPerUser = 0;
  std::size_t maxChecks = 0;
  std::size_t checkMemory = 0;  ///< bytes
  std::optional<std::uint32_t> sliceRows;
  std::optional<std::size_t> sliceBytes;
};

/** Exit statuses of the agent. */
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;  ///< it cannot serve: socket taken, plug-in unusable
inline constexpr int kExitUsage = 2;   ///< wrong options, or a document that cannot be read

/**
 * Reads the command line into `options`. Returns the exit status when the program is to end: after
 * --help and --version, printed to `out`, or after a wrong option, explained on `err`.
 */
std::optional<int> readAgentOptions(int argc, const char* const* argv, AgentOptions& options,
                                    std::ostream& out, std::ostream& err);

}  // namespace KorvoAgent
