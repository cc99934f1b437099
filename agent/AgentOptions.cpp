#include "agent/AgentOptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <limits>
#include <memory>
#include <ostream>
#include <string>

#include "agent/chips/SwitchHardware.h"
#include "agent/server/SliceScheduler.h"
#include "agent/server/UserPlaces.h"
#include "text/Printable.h"

namespace KorvoAgent {

namespace {

constexpr const char* kDescription =
    "A layer-2 agent of a simulated switch, which answers diagnostic commands on a\n"
    "Unix socket. Prints \"ready SOCKET\" when it serves; ends on SIGTERM or SIGINT.";

constexpr const char* kFooter =
    "\nThe tables are filled in this order, each adding to what is there: --chips,\n"
    "--demo, --state, --bridge-json, --macs. An entry that comes again replaces the\n"
    "one before; made-up ones do not.\n"
    "Exit status: 0 after SIGTERM or SIGINT, 1 when the agent cannot serve, 2 for a\n"
    "wrong option or a document that cannot be read.";

/** The help text in 80 columns, and the same with every version of the library. */
class Help final : public CLI::Formatter {
 public:
  Help() { column_width(kTextColumn); }

  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_size() == 0 ? std::string() : " " + option->get_type_name();
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    std::string text = option->get_description();
    if (!option->get_default_str().empty()) text += " (default " + option->get_default_str() + ")";
    return folded(text, 80 - kTextColumn);
  }

 private:
  static constexpr std::size_t kTextColumn = 30;

  static std::string folded(std::string text, std::size_t width) {
    for (std::size_t begin = 0; text.size() - begin > width;) {
      const std::size_t blank = text.rfind(' ', begin + width);
      if (blank == std::string::npos || blank <= begin) break;
      text[blank] = '\n';
      begin = blank + 1;
    }
    return text;
  }
};

/** A number in a range. CLI11's own check lets "nan" pass. */
CLI::Validator numberIn(double least, double most) {
  const auto check = [least, most](const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    const bool whole = !text.empty() && *end == '\0';
    return whole && value >= least && value <= most
               ? std::string()
               : fmt::format("Value {} not in range {} to {}", text, least, most);
  };
  return CLI::Validator(check, "", "");
}

/** An option whose value is a group of this machine. */
CLI::Option* addGroupOption(CLI::App& app, const char* name, std::optional<Group>& group,
                            const char* description) {
  const auto read = [name, &group](const std::string& text) {
    group = groupNamed(text);
    if (!group) throw CLI::ValidationError(name, fmt::format("there is no group \"{}\"", text));
  };
  return app.add_option_function<std::string>(name, read, description)->type_name("NAME");
}

Qel::Duration fromSeconds(double seconds) {
  return std::chrono::duration_cast<Qel::Duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

std::optional<int> readAgentOptions(int argc, const char* const* argv, AgentOptions& options,
                                    std::ostream& out, std::ostream& err) {
  CLI::App app(kDescription, "korvo-l2-agent");
  app.footer(kFooter);
  app.formatter(std::make_shared<Help>());
  app.set_version_flag("--version", std::string("korvo-l2-agent " KORVO_VERSION));

  options.socket = "/run/korvo/l2-agent.sock";
  app.add_option("--socket", options.socket,
                 "Where to serve; KORVO_L2_SOCKET in the environment names it, too")
      ->envname("KORVO_L2_SOCKET")
      ->type_name("PATH")
      ->capture_default_str();

  const char* const kAccess = "Access";
  addGroupOption(app, "--socket-group", options.socketGroup,
                 "Group whose members may connect; unless given, that of a file made there")
      ->group(kAccess);
  addGroupOption(app, "--admin-group", options.adminGroup,
                 "Group whose members may send commands that change something, besides root and "
                 "the agent's own user")
      ->group(kAccess);

  const char* const kSwitch = "Switch";
  app.add_option("--state", options.state, "Switch state document to read (JSON)")
      ->type_name("FILE")
      ->group(kSwitch);
  CLI::Option* const bridgeJson =
      app.add_option("--bridge-json", options.bridgeJson,
                     "Output of \"bridge -j fdb show\" to read; - is standard input. No chip is "
                     "made to hold this table")
          ->type_name("FILE")
          ->group(kSwitch);
  app.add_flag("--demo", options.demo, "Fill every table with a little of everything")
      ->group(kSwitch);
  app.add_option("--macs", options.macs, "Add this many made-up MAC entries")
      ->type_name("N")
      ->check(numberIn(0, 10'000'000))
      ->group(kSwitch);
  app.add_option("--chips", options.chips, "Number of chips")
      ->type_name("N")
      ->check(numberIn(1, 128))
      ->group(kSwitch);
  app.add_option("--churn", options.churn, "Learn, move and age this many entries a second")
      ->type_name("RATE")
      ->check(numberIn(0, 1e6))
      ->group(kSwitch);
  app.add_option("--seed", options.seed, "Seed of what is made up")
      ->type_name("N")
      ->capture_default_str()
      ->group(kSwitch);

  const char* const kHardware = "Hardware";
  options.hwRate = 50'000;
  app.add_option("--hw-table-size", options.hwTableSize,
                 "Room for MAC entries in each chip; unless given, three times what the software "
                 "table holds at the start")
      ->type_name("N")
      ->check(numberIn(8, 1 << 30))
      ->excludes(bridgeJson)
      ->group(kHardware);
  app.add_option("--hw-rate", options.hwRate, "MAC entries a second that each chip takes")
      ->type_name("N")
      ->check(numberIn(1, 1e9))
      ->excludes(bridgeJson)
      ->capture_default_str()
      ->group(kHardware);
  app.add_option("--hw-faults", options.hwFaults,
                 "Share of writes to the chips that go wrong, 0 to 1: lost, not carried out, or "
                 "with a wrong port")
      ->type_name("RATE")
      ->check(numberIn(0, 1))
      ->excludes(bridgeJson)
      ->group(kHardware);

  const char* const kAgent = "Agent";
  app.add_option("--plugin", options.plugin, "Command plug-in to load instead of the installed one")
      ->type_name("FILE")
      ->group(kAgent);
  app.add_option("--trace", options.trace,
                 "Trace level 0 to 9 of a handle, for example KorvoL2CliCallbacks=8; repeatable")
      ->type_name("HANDLE=LEVEL")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->group(kAgent);
  app.add_option("--trace-file", options.traceFile, "Append trace lines to a file")
      ->type_name("FILE")
      ->group(kAgent);

  const char* const kLimits = "Limits";
  constexpr double kLongestTimeout = 24.0 * 60 * 60;
  double clientTimeout = 60;
  double lineTimeout = 10;
  options.maxConnections = kConnectionPlaces.together;
  options.maxConnectionsPerUser = kConnectionPlaces.perUser;
  options.maxUnreadAnswers = kUnreadPlaces.together;
  options.maxUnreadAnswersPerUser = kUnreadPlaces.perUser;
  options.maxRequestsPerUser = 512;
  options.maxChecks = SchedulerPolicy().checks;
  constexpr std::size_t kMiB = std::size_t{1} << 20;
  std::size_t checkMemory = HardwarePolicy().checkMemory / kMiB;
  app.add_option("--client-timeout", clientTimeout,
                 "End a request whose client reads nothing for so long")
      ->type_name("SECONDS")
      ->check(numberIn(0.001, kLongestTimeout))
      ->capture_default_str()
      ->group(kLimits);
  app.add_option("--line-timeout", lineTimeout, "How long a client may take to send its request")
      ->type_name("SECONDS")
      ->check(numberIn(0.001, kLongestTimeout))
      ->capture_default_str()
      ->group(kLimits);
  const auto addLimit = [&](const char* name, std::size_t& limit, const std::string& help) {
    return app.add_option(name, limit, help)
        ->type_name("N")
        ->check(numberIn(1, 1'000'000))
        ->capture_default_str()
        ->group(kLimits);
  };
  addLimit("--max-connections", options.maxConnections,
           fmt::format("Connections at a time; root and the agent's own user have {} more",
                       kConnectionPlaces.reserved));
  addLimit("--max-connections-per-user", options.maxConnectionsPerUser,
           "Connections of one user at a time; for root and the agent's own user there is no such "
           "limit");
  addLimit("--max-requests-per-user", options.maxRequestsPerUser,
           "Requests of one user at a time; questions to the agent do not count");
  addLimit("--max-unread-answers", options.maxUnreadAnswers,
           fmt::format("Answers at a time that wait for their readers; past it further requests "
                       "are refused. Root and the agent's own user have {} more",
                       kUnreadPlaces.reserved));
  addLimit("--max-unread-answers-per-user", options.maxUnreadAnswersPerUser,
           "The same of one user; for root and the agent's own user there is no such limit");
  addLimit("--max-checks", options.maxChecks,
           "Consistency checks of the MAC table that run at a time; others wait for their turn");
  addLimit("--check-memory", checkMemory,
           "Memory that the findings of one consistency check may take; past it the check ends "
           "with an error")
      ->type_name("MIB");

  const char* const kDiagnostics = "Diagnostics";
  app.add_option("--slice-rows", options.sliceRows,
                 "Most rows that a slice prints before others get their turn (for tests)")
      ->type_name("N")
      ->check(numberIn(1, std::numeric_limits<std::uint32_t>::max()))
      ->group(kDiagnostics);
  app.add_option("--slice-bytes", options.sliceBytes,
                 "Most bytes, about, that a slice prints before others get their turn (for tests)")
      ->type_name("N")
      ->check(numberIn(1, 1 << 30))
      ->group(kDiagnostics);

  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "korvo-l2-agent: " + Text::printable(error.what()) + "\nSee korvo-l2-agent --help.\n";
  });
  try {
    app.parse(argc, argv);
    if (options.socket.empty()) {
      throw CLI::ValidationError("--socket", "the path is empty");
    }
  } catch (const CLI::ParseError& e) {
    return app.exit(e, out, err) == 0 ? kExitOk : kExitUsage;
  }
  options.checkMemory = checkMemory * kMiB;
  options.clientTimeout = fromSeconds(clientTimeout);
  options.lineTimeout = fromSeconds(lineTimeout);
  return std::nullopt;
}

}  // namespace KorvoAgent
