// korvo-l2-agent: puts the parts of the agent together and serves.

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "agent/AgentOptions.h"
#include "agent/ProcessStart.h"
#include "agent/chips/SwitchHardware.h"
#include "agent/documents/BridgeJson.h"
#include "agent/documents/DocumentError.h"
#include "agent/documents/StateDocument.h"
#include "agent/model/Churn.h"
#include "agent/model/DemoSwitch.h"
#include "agent/model/MacGenerator.h"
#include "agent/model/SwitchModel.h"
#include "agent/plugin/PluginLoader.h"
#include "agent/server/AgentTrace.h"
#include "agent/server/ChurnDriver.h"
#include "agent/server/CommandServer.h"
#include "platform/base/Exceptions.h"
#include "platform/base/Trace.h"
#include "platform/types/IntfCalled.h"
#include "text/Printable.h"

// Options of the allocator. What a large check frees goes back to the system within seconds, a
// little at a time and by a thread of the allocator's own, so that no turn of the loop pays for it.
extern "C" {
extern const char* malloc_conf;
[[gnu::visibility("default")]] const char* malloc_conf =
    "background_thread:true,narenas:1,dirty_decay_ms:2000,muzzy_decay_ms:0";
}

namespace {

using namespace KorvoAgent;  // NOLINT(google-build-using-namespace): this file is the agent's main

constexpr mode_t kUmask = 0027;

// Each request takes up to three descriptors while it is answered.
void raiseDescriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

void fillModel(const AgentOptions& options, SwitchModel& model) {
  // One real table is enough: whatever else there is, chips would be made up from it.
  if (!options.bridgeJson.empty()) model.simulatesHardwareIs(false);
  if (options.chips) model.chipsIs(*options.chips);
  if (options.demo) fillDemo(model);
  if (!options.state.empty()) loadStateDocument(options.state, model);
  if (!options.bridgeJson.empty()) loadBridgeJson(options.bridgeJson, model);
  if (options.macs != 0) generateMacs(model, options.macs, options.seed);
}

/** An option that can be judged only once the plug-in has been loaded is wrong. */
class OptionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** Throws OptionError. The trace handles that there are include those of the loaded plug-in. */
void setTracing(const AgentOptions& options) {
  static_cast<void>(agentTrace());
  try {
    for (const std::string& setting : options.trace) Qel::traceSettingIs(setting);
  } catch (const Qel::ParseException& e) {
    throw OptionError(std::string("--trace: ") + e.what());
  }
}

HardwarePolicy hardwarePolicyOf(const AgentOptions& options) {
  HardwarePolicy policy;
  policy.tableSize = options.hwTableSize;
  policy.entriesPerSecond = options.hwRate;
  policy.faultRate = options.hwFaults;
  policy.checkMemory = options.checkMemory;
  policy.seed = options.seed;
  return policy;
}

// Throws DocumentError: what a document says of the chips can be judged only now that all tables
// are filled.
void startHardware(const AgentOptions& options, const Qel::Ptr<const Qel::Clock>& clock,
                   const Qel::Ptr<SwitchModel>& model, std::optional<SwitchHardware>& hardware) {
  try {
    hardware.emplace(clock, model, hardwarePolicyOf(options));
  } catch (const Qel::RangeException& e) {
    throw DocumentError(options.state + ": " + e.what() + "; correct it in the document");
  }
}

std::string whyNoHardware(const SwitchModel& model) {
  if (model.simulatesHardware()) return {};
  return "the MAC table came from a real machine (--bridge-json); no chip of this switch holds it, "
         "so there is nothing to read or to compare it with";
}

AgentFacts factsOf(SwitchModel& model, std::optional<SwitchHardware>& hardware) {
  AgentFacts facts;
  facts.chips = [&model] {
    std::vector<AgentFacts::Chip> chips;
    for (const Chip& chip : model.chips()) chips.push_back({chip.id.value(), chip.name});
    return chips;
  };
  facts.findInterface = [](std::string_view name) -> std::optional<AgentFacts::Interface> {
    const std::optional<Bridging::IntfId> found = Bridging::intfCalled(name);
    if (!found) return std::nullopt;
    return AgentFacts::Interface{found->stringValue(), found->shortName()};
  };
  facts.tables = [&model, &hardware] {
    std::vector<AgentFacts::Table> tables{{"interfaceNames", Bridging::IntfId::numNames()},
                                          {"swMacTable", model.swMacTable().size()}};
    if (!hardware) return tables;
    for (const Tessar::FapId id : hardware->chips().ids()) {
      const HwChip& chip = *hardware->chips().find(id);
      tables.push_back({"hwMacTable " + chip.name, chip.macTable.size()});
    }
    const HwProgrammer& programmer = hardware->programmer();
    tables.push_back({"hwWritesDue", programmer.numDue()});
    tables.push_back({"hwEntriesWithoutRoom", programmer.numWithoutRoom()});
    tables.push_back({"hwFaultsStanding", programmer.faults().standing().size()});
    tables.push_back({"hwReadRequests", hardware->reader().numRequests()});
    return tables;
  };
  facts.stateDocumentSchema = [] { return stateDocumentSchema(); };
  return facts;
}

ServerPolicy policyOf(const AgentOptions& options) {
  ServerPolicy policy;
  policy.scheduler.clientTimeout = options.clientTimeout;
  policy.scheduler.checks = options.maxChecks;
  if (options.sliceRows) policy.scheduler.slice.rowBudget = *options.sliceRows;
  if (options.sliceBytes) policy.scheduler.slice.outputWindow = *options.sliceBytes;
  policy.connection.closingTimeout = options.clientTimeout;
  policy.connection.lineTimeout = options.lineTimeout;
  policy.connection.requestsPerUser = options.maxRequestsPerUser;
  policy.connections.together = options.maxConnections;
  policy.connections.perUser = options.maxConnectionsPerUser;
  policy.unreadAnswers.together = options.maxUnreadAnswers;
  policy.unreadAnswers.perUser = options.maxUnreadAnswersPerUser;
  policy.socketGroup = options.socketGroup;
  policy.access = AccessPolicy::ofThisProcess(options.adminGroup);
  return policy;
}

/** From here on the loop is what ends on a signal, and there is a socket to clean up. */
void listen(const AgentOptions& options, EventLoop& loop, CommandServer& server) {
  const SignalsHeldBack signals;
  loop.onSignals({SIGTERM, SIGINT}, [&loop] { loop.stop(); });
  server.listen(options.socket);
  if (signals.anyCame()) return;
  std::printf("ready %s\n", options.socket.c_str());
  std::fflush(stdout);
}

void serve(const AgentOptions& options, const AgentCommand::PluginEntry& plugin) {
  const auto clock = Qel::makePtr<const Qel::SteadyClock>();
  const auto model = Qel::makePtr<SwitchModel>(clock);
  EventLoop loop(clock);
  std::optional<SwitchHardware> hardware;
  const CommandCallbacks callbacks{plugin.cliCallback("agent"),
                                   plugin.cliCallbackWithFormat("agent"),
                                   [model] { return whyNoHardware(*model); }};
  CommandServer server(loop, clock, policyOf(options), callbacks, factsOf(*model, hardware));
  fillModel(options, *model);
  // Only now: a state document may describe an agent whose layer-2 object is not there yet.
  callbacks.plain->l2AgentIs(model->l2Agent());
  callbacks.formatted->l2AgentIs(model->l2Agent());
  if (model->simulatesHardware()) {
    startHardware(options, clock, model, hardware);
    loop.add(hardware->programmer());
    loop.add(hardware->reader());
  }
  std::optional<Churn> churn;
  std::optional<ChurnDriver> churnDriver;
  if (options.churn > 0) {
    // Where hosts come and go there are frames to count.
    model->services().flexCounter->trafficIs(options.seed);
    churn.emplace(*model, options.churn, options.seed);
    churnDriver.emplace(clock, options.churn, [&churn](Qel::Duration now, std::size_t maxEvents) {
      return churn->advance(now, maxEvents);
    });
    loop.add(*churnDriver);
  }
  listen(options, loop, server);
  loop.run();
  server.shutDown("the agent ends");
}

/** Says why the agent ends. */
void complain(const std::exception& reason) {
  // Documents and plug-ins come from outside, and a reason may quote them.
  std::fprintf(stderr, "korvo-l2-agent: %s\n", Text::printable(reason.what()).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardDescriptors();
  endAtOnceOnSignals();
  AgentOptions options;
  if (const auto status = readAgentOptions(argc, argv, options, std::cout, std::cerr)) {
    return *status;
  }
  std::signal(SIGPIPE, SIG_IGN);
  // A trace file that has reached the limit of file sizes loses lines and no more.
  std::signal(SIGXFSZ, SIG_IGN);
  // Whoever starts the agent has no say in who may read what it makes.
  ::umask(kUmask);
  raiseDescriptorLimit();
  try {
    if (!options.traceFile.empty()) {
      Qel::traceSinkIs(std::make_shared<Qel::FileTraceSink>(options.traceFile));
    }
    const std::string pluginFile = options.plugin.empty() ? findDefaultPlugin() : options.plugin;
    const AgentCommand::PluginEntry plugin = loadPlugin(pluginFile);
    setTracing(options);
    serve(options, plugin);
    return kExitOk;
  } catch (const OptionError& e) {
    complain(e);
    return kExitUsage;
  } catch (const DocumentError& e) {
    complain(e);
    return kExitUsage;
  } catch (const std::exception& e) {
    complain(e);
    return kExitFailed;
  }
}
