// The plug-in as a shared library: what it exports, and what works across the border. This program
// links nothing of the plug-in.

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/base/Toggles.h"
#include "platform/base/Trace.h"
#include "platform/base/Tracked.h"
#include "platform/command/CommandArgument.h"
#include "platform/command/PluginEntry.h"
#include "tests/mocks/CommandSocket.h"
#include "tests/mocks/MockAgentWorld.h"
#include "tests/support/CapturingTraceSink.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::UnorderedElementsAreArray;

/** What a shell command prints. */
std::string outputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  std::string text;
  std::array<char, 4096> piece{};
  while (pipe != nullptr) {
    const std::size_t n = std::fread(piece.data(), 1, piece.size(), pipe.get());
    if (n == 0) break;
    text.append(piece.data(), n);
  }
  return text;
}

/** The names of the library's exported symbols, functions without their parameters. */
std::set<std::string> exportedNames() {
  std::set<std::string> names;
  std::string lines = outputOf(std::string(KORVO_NM) + " -D -C --defined-only " KORVO_PLUGIN_FILE);
  std::size_t begin = 0;
  for (std::size_t end; (end = lines.find('\n', begin)) != std::string::npos; begin = end + 1) {
    // "0123456789abcdef T name(parameters)"
    const std::string line = lines.substr(begin, end - begin);
    const std::string name = line.substr(line.find(' ', line.find(' ') + 1) + 1);
    names.insert(name.substr(0, name.find_first_of("([")));  // "name[abi:cxx11](parameters)"
  }
  return names;
}

TEST(PluginTest, ExportsItsEntryItsFactoriesAndThePublicMembersOfWhatTheyReturn) {
  std::set<std::string> allowed{
      "korvoPluginEntry",
      "KorvoL2::cliCallbackFactory",
      "KorvoL2::CliCallback::CliCallbackIs",
      "KorvoL2::cliCallbackWithFormatFactory",
      "KorvoL2::CliCallbackWithFormat::CliCallbackWithFormatIs",
  };
  // The request state machines; each has a factory and a creation function.
  for (const std::string machine : {
           "EgrVlanXlateSwRequestSmBase",
           "IngVlanXlateSwRequestSmBase",
           "IngVlanRangeRequestSmBase",
           "IngVlanRangeRequestSm",
           "IngDynamicVlanRangeRequestSm",
           "L2SwTableRequestSmBase",
           "L2SwTableRequestSm",
           "L2HwTableRequestSmBase",
           "L2HwTableRequestSm",
           "L2MacDiffRequestSm",
           "L2MacMissingRequestSm",
           "L2RoutingInfoRequestSmBase",
           "L2RoutingInfoRequestSm",
           "L2VxlanVlanRequestSmBase",
       }) {
    std::string factory = machine + "Factory";
    factory.front() = static_cast<char>(std::tolower(factory.front()));
    allowed.insert("KorvoL2::" + machine + "Is");
    allowed.insert("KorvoL2::" + factory);
  }
  // Without the inline ones, and without those that a class only inherits.
  const std::map<std::string, std::vector<std::string>> members{
      {"CliCallback",
       {"handleCommand", "cmdTokens", "cmdTokensIs", "cmdTokensDel", "cmdTokensDelAll",
        "findSubArg"}},
      {"CliCallbackWithFormat",
       {"handleCommand", "createAgentAsyncCommandRequestSm", "handleCommandCommon"}},
      {"EgrVlanXlateSwRequestSmBase", {"handleAsyncCommand"}},
      {"IngVlanXlateSwRequestSmBase", {"handleAsyncCommand"}},
      {"VlanXlateSwRequestSmBase", {"getAsyncState"}},
      {"IngVlanRangeRequestSmBase",
       {"handleAsyncCommand", "getLogicalPort", "handleInitialized", "getAsyncState"}},
      {"IngVlanRangeRequestSm", {"getLogicalPort"}},
      {"IngDynamicVlanRangeRequestSm", {"getLogicalPort"}},
      {"L2SwTableRequestSmBase", {"showMacTableAll", "handleInitialized", "getInProgressState"}},
      {"L2SwTableRequestSm", {"handleAsyncCommand", "showMacTableAll"}},
      {"L2HwTableRequestSmBase", {"showMacTableHw", "handleInitialized", "getAsyncState"}},
      {"L2HwTableRequestSm", {"handleAsyncCommand", "showMacTableHw"}},
      {"L2MacCheckRequestSmBase", {"handleAsyncCommand", "handleInitialized"}},
      {"L2MacDiffRequestSm", {"diffEntryTableIs"}},
      {"L2MacMissingRequestSm",
       {"missingEntryTableIs", "moduleCountIs", "moduleCountDel", "moduleCountDelAll"}},
      {"L2RoutingInfoRequestSmBase",
       {"handleAsyncCommand", "showVxlanRoutingInfo", "handleInitialized", "getInProgressState",
        "vlan2Svp", "vlan2SvpIs", "vlan2SvpDel", "vlan2SvpDelAll"}},
      {"L2RoutingInfoRequestSm", {"showVxlanRoutingInfo"}},
      {"L2VxlanVlanRequestSmBase",
       {"handleAsyncCommand", "showVxlanVlans", "getInProgressState", "vlanMappingIs",
        "vlanMappingDel", "vlanMappingDelAll"}},
  };
  for (const auto& [owner, names] : members) {
    for (const std::string& name : names) {
      std::string full = "KorvoL2::";
      allowed.insert(full.append(owner).append("::").append(name));
    }
  }
  EXPECT_THAT(exportedNames(), UnorderedElementsAreArray(allowed));
}

class LoadedPluginTest : public ::testing::Test {
 protected:
  LoadedPluginTest() : library_(::dlopen(KORVO_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) {
      ADD_FAILURE() << ::dlerror();
      return;
    }
    Qel::forgetTogglesForTest();
    Qel::toggleDirectoryIs("/nonexistent");
    entry = static_cast<const AgentCommand::PluginEntry*>(
        ::dlsym(library_, AgentCommand::kPluginEntrySymbol));
  }
  // The library stays loaded: trace handles and allocators that it made point into it.

  Qel::Ptr<AgentCommand::CliCallbackBase> plainCallback() {
    auto callback = entry->cliCallback("cli");
    callback->l2AgentIs(world.agent.get());
    return callback;
  }
  Qel::Ptr<AgentCommand::CliCallbackBaseWithFormat> formattedCallback() {
    auto callback = entry->cliCallbackWithFormat("cliWithFormat");
    callback->l2AgentIs(world.agent.get());
    return callback;
  }

  MockAgentWorld world;
  CommandSocket socket;
  const AgentCommand::PluginEntry* entry = nullptr;

 private:
  void* library_;
};

TEST_F(LoadedPluginTest, TellsItsVersionsAndItsName) {
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->interfaceVersion, AgentCommand::kPluginInterfaceVersion);
  EXPECT_STREQ(entry->pluginName, "KorvoL2CliCallbacks");
  EXPECT_STREQ(entry->pluginVersion, KORVO_PLUGIN_VERSION);
}

TEST_F(LoadedPluginTest, GivesCallbacksWithTheirNames) {
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(plainCallback()->name(), "cli");
  EXPECT_EQ(plainCallback()->secondName(), "KorvoL2");
  EXPECT_EQ(formattedCallback()->name(), "cliWithFormat");
  EXPECT_EQ(formattedCallback()->secondName(), "KorvoL2WithFormat");
  EXPECT_EQ(Qel::liveInstances("CliCallback"), 0);
  EXPECT_EQ(Qel::liveInstances("CliCallbackWithFormat"), 0);
}

TEST_F(LoadedPluginTest, AnswersACommandAcrossTheBorder) {
  ASSERT_NE(entry, nullptr);
  const auto callback = plainCallback();
  EXPECT_CALL(*world.flexCounter, showVtepDecapFlexCountersSummary(socket.descriptor()));
  callback->handleCommand(socket.descriptor(), "FCVDS");
  EXPECT_EQ(callback->outcome().kind, AgentCommand::CommandOutcome::Kind::handled);
  callback->handleCommand(socket.descriptor(), "NO_SUCH_COMMAND");
  EXPECT_EQ(socket.text(), "Invalid Command\n");
  EXPECT_TRUE(socket.closed());
}

TEST_F(LoadedPluginTest, RecognisesTheHostsMulticastHelperAcrossTheBorder) {
  ASSERT_NE(entry, nullptr);
  EXPECT_CALL(*world.mcastHelper, showMcastGroupTable(socket.descriptor()));
  plainCallback()->handleCommand(socket.descriptor(), "MCAST_ALL");
}

TEST_F(LoadedPluginTest, ExceptionsAreCaughtByTheirTypeAcrossTheBorder) {
  ASSERT_NE(entry, nullptr);
  const auto callback = plainCallback();
  EXPECT_THROW(callback->handleCommand(socket.descriptor(), "PER_VLAN_ENTRY_VLAN-0"),
               Qel::RangeException);
  EXPECT_THROW(callback->handleCommand(socket.descriptor(), "PER_VLAN_ENTRY_MAC-x"),
               Qel::ParseException);
  try {
    callback->handleCommand(socket.descriptor(), "PER_VLAN_ENTRY_VLAN-0");
  } catch (const std::exception& e) {
    EXPECT_EQ(AgentCommand::messageOf(e),
              "VLAN \"0\": Bridging::VlanId::value < 1 or > 4094 not allowed");
  }
}

TEST_F(LoadedPluginTest, ItsTraceHandleIsKnownAsSoonAsItIsLoaded) {
  ASSERT_NE(entry, nullptr);
  EXPECT_NO_THROW(Qel::traceSettingIs("KorvoL2CliCallbacks=8"));
  EXPECT_NO_THROW(Qel::traceSettingIs("KorvoL2CliCallbacks=0"));
}

TEST_F(LoadedPluginTest, SharesTraceAndTogglesWithItsHost) {
  ASSERT_NE(entry, nullptr);
  const auto traces = std::make_shared<Qel::CapturingTraceSink>();
  const auto previous = Qel::traceSinkIs(traces);
  Qel::traceHandle("KorvoL2CliCallbacks").levelIs(8);
  Qel::toggleStateIs("ShowL2EcmpVxlanDestination", "KorvoL2.json", false);
  plainCallback()->handleCommand(socket.descriptor(), "EcmpOutputIntfTunnelId");
  Qel::traceHandle("KorvoL2CliCallbacks").levelIs(0);
  Qel::traceSinkIs(previous);
  EXPECT_TRUE(traces->contains("Executing handler "));
  EXPECT_EQ(socket.text(), "Invalid Command\n");
}

TEST_F(LoadedPluginTest, RunsADumpAcrossTheBorder) {
  ASSERT_NE(entry, nullptr);
  const auto buffer = Qel::makePtr<Rendering::PrintBuffer>(socket.descriptor(), 4096U,
                                                           Rendering::PrintBuffer::kStream);
  const auto renderer = Qel::makePtr<Rendering::RendererV2>(Rendering::kJson, buffer, false);
  const auto machine = formattedCallback()->createAgentAsyncCommandRequestSm(
      Qel::makePtr<AgentCommand::AgentCommandRequest>("request-1", "MACT_ALL", socket.descriptor(),
                                                      Rendering::kJson, renderer));
  ASSERT_NE(machine, nullptr);
  machine->runCommand();
  EXPECT_TRUE(machine->executionCompleteFlag());
  EXPECT_EQ(socket.text(), "{\"macTableEntries\":[],\"numEntries\":0}\n");
}

}  // namespace
}  // namespace KorvoL2::Testing
