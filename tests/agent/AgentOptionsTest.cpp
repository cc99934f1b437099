#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "agent/AgentOptions.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class AgentOptionsTest : public testing::Test {
 protected:
  void SetUp() override { ::unsetenv("KORVO_L2_SOCKET"); }
  void TearDown() override { ::unsetenv("KORVO_L2_SOCKET"); }

  std::optional<int> read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "korvo-l2-agent");
    options = {};
    out.str("");
    err.str("");
    return readAgentOptions(static_cast<int>(arguments.size()), arguments.data(), options, out,
                            err);
  }

  AgentOptions options;
  std::ostringstream out;
  std::ostringstream err;
};

TEST_F(AgentOptionsTest, WithoutOptionsTheDefaultsHold) {
  EXPECT_EQ(read({}), std::nullopt);
  EXPECT_EQ(options.socket, "/run/korvo/l2-agent.sock");
  EXPECT_EQ(options.socketGroup, std::nullopt);
  EXPECT_EQ(options.adminGroup, std::nullopt);
  EXPECT_EQ(options.macs, 0U);
  EXPECT_EQ(options.chips, std::nullopt);
  EXPECT_EQ(options.seed, 1U);
  EXPECT_FALSE(options.demo);
  EXPECT_EQ(options.clientTimeout, seconds(60));
  EXPECT_EQ(options.lineTimeout, seconds(10));
  EXPECT_EQ(options.maxConnections, 1024U);
  EXPECT_EQ(options.maxConnectionsPerUser, 576U);
  EXPECT_EQ(options.maxRequestsPerUser, 512U);
  EXPECT_EQ(options.maxUnreadAnswers, 192U);
  EXPECT_EQ(options.maxUnreadAnswersPerUser, 64U);
  EXPECT_EQ(options.maxChecks, 4U);
  EXPECT_EQ(options.checkMemory, std::size_t{256} * 1024 * 1024);
  EXPECT_EQ(options.sliceRows, std::nullopt);
  EXPECT_EQ(options.hwTableSize, std::nullopt);
  EXPECT_EQ(options.hwRate, 50'000);
  EXPECT_EQ(options.hwFaults, 0);
}

TEST_F(AgentOptionsTest, WhatChipsAreLikeIsReadAndChecked) {
  EXPECT_EQ(read({"--hw-table-size", "4096", "--hw-rate", "250.5", "--hw-faults", "0.01"}),
            std::nullopt);
  EXPECT_EQ(options.hwTableSize, 4096U);
  EXPECT_EQ(options.hwRate, 250.5);
  EXPECT_EQ(options.hwFaults, 0.01);
  EXPECT_EQ(read({"--hw-table-size", "7"}), kExitUsage);
  EXPECT_EQ(read({"--hw-rate", "0"}), kExitUsage);
  EXPECT_EQ(read({"--hw-faults", "1.1"}), kExitUsage);
  EXPECT_THAT(err.str(), HasSubstr("--hw-faults"));
}

TEST_F(AgentOptionsTest, EveryOptionIsRead) {
  EXPECT_EQ(read({"--socket",
                  "/s",
                  "--state",
                  "a",
                  "--bridge-json",
                  "-",
                  "--demo",
                  "--macs",
                  "10000000",
                  "--chips",
                  "128",
                  "--churn",
                  "2.5",
                  "--seed",
                  "18446744073709551615",
                  "--plugin",
                  "p.so",
                  "--trace",
                  "A=1",
                  "--trace",
                  "B=2",
                  "--trace-file",
                  "t",
                  "--client-timeout",
                  "0.25",
                  "--line-timeout",
                  "3",
                  "--max-connections",
                  "7",
                  "--max-connections-per-user",
                  "6",
                  "--max-requests-per-user",
                  "8",
                  "--max-unread-answers",
                  "5",
                  "--max-unread-answers-per-user",
                  "4",
                  "--max-checks",
                  "2",
                  "--check-memory",
                  "3",
                  "--slice-rows",
                  "1",
                  "--slice-bytes",
                  "4096"}),
            std::nullopt)
      << err.str();
  EXPECT_EQ(options.socket, "/s");
  EXPECT_EQ(options.state, "a");
  EXPECT_EQ(options.bridgeJson, "-");
  EXPECT_TRUE(options.demo);
  EXPECT_EQ(options.macs, 10'000'000U);
  EXPECT_EQ(options.chips, 128U);
  EXPECT_EQ(options.churn, 2.5);
  EXPECT_EQ(options.seed, ~std::uint64_t{0});
  EXPECT_EQ(options.plugin, "p.so");
  EXPECT_THAT(options.trace, ElementsAre("A=1", "B=2"));
  EXPECT_EQ(options.traceFile, "t");
  EXPECT_EQ(options.clientTimeout, milliseconds(250));
  EXPECT_EQ(options.lineTimeout, seconds(3));
  EXPECT_EQ(options.maxConnections, 7U);
  EXPECT_EQ(options.maxConnectionsPerUser, 6U);
  EXPECT_EQ(options.maxRequestsPerUser, 8U);
  EXPECT_EQ(options.maxUnreadAnswers, 5U);
  EXPECT_EQ(options.maxUnreadAnswersPerUser, 4U);
  EXPECT_EQ(options.maxChecks, 2U);
  EXPECT_EQ(options.checkMemory, std::size_t{3} * 1024 * 1024);
  EXPECT_EQ(options.sliceRows, 1U);
  EXPECT_EQ(options.sliceBytes, 4096U);
}

TEST_F(AgentOptionsTest, GroupsAreReadByNameOrNumberAndHaveToExist) {
  EXPECT_EQ(read({"--socket-group", "root", "--admin-group", "4000000001"}), std::nullopt)
      << err.str();
  ASSERT_TRUE(options.socketGroup.has_value());
  EXPECT_EQ(options.socketGroup->id, 0U);
  EXPECT_EQ(options.socketGroup->name, "root");
  ASSERT_TRUE(options.adminGroup.has_value());
  EXPECT_EQ(options.adminGroup->id, 4'000'000'001U);
  for (const char* const none : {"no such group", "", "-1", "1x", "4294967295", "4294967296"}) {
    EXPECT_EQ(read({"--admin-group", none}), kExitUsage) << none;
    EXPECT_THAT(err.str(), HasSubstr("--admin-group: there is no group \"" + std::string(none)));
  }
}

TEST_F(AgentOptionsTest, TheSocketMayComeFromTheEnvironment) {
  ::setenv("KORVO_L2_SOCKET", "/from/environment", 1);
  EXPECT_EQ(read({}), std::nullopt);
  EXPECT_EQ(options.socket, "/from/environment");
  EXPECT_EQ(read({"--socket", "/from/option"}), std::nullopt);
  EXPECT_EQ(options.socket, "/from/option");
}

TEST_F(AgentOptionsTest, WrongOptionsAreExplained) {
  const std::vector<std::pair<std::vector<const char*>, const char*>> cases = {
      {{"--chips", "0"}, "--chips"},
      {{"--chips", "129"}, "--chips: Value 129 not in range 1 to 128"},
      {{"--macs", "10000001"}, "--macs"},
      {{"--macs", "-1"}, "--macs"},
      {{"--macs", "many"}, "--macs"},
      {{"--macs", "1.5"}, "--macs"},
      {{"--seed", "1e3"}, "--seed"},
      {{"--churn", "-1"}, "--churn"},
      {{"--churn", "1e9"}, "--churn"},
      {{"--seed", "x"}, "--seed"},
      {{"--client-timeout", "0"}, "--client-timeout"},
      {{"--client-timeout", "nan"}, "--client-timeout"},
      {{"--slice-rows", "0"}, "--slice-rows: Value 0 not in range 1 to 4294967295"},
      {{"--max-connections", "0"}, "--max-connections"},
      {{"--max-connections-per-user", "0"}, "--max-connections-per-user"},
      {{"--max-unread-answers", "0"}, "--max-unread-answers"},
      {{"--max-unread-answers-per-user", "0"}, "--max-unread-answers-per-user"},
      {{"--max-checks", "0"}, "--max-checks"},
      {{"--check-memory", "0"}, "--check-memory"},
      {{"--socket", ""}, "--socket: the path is empty"},
      {{"--socket"}, "--socket"},
      {{"--bogus"}, "--bogus"},
      {{"stray"}, "stray"},
  };
  for (const auto& [arguments, message] : cases) {
    EXPECT_EQ(read(arguments), kExitUsage) << message;
    EXPECT_THAT(err.str(), StartsWith("korvo-l2-agent: ")) << message;
    EXPECT_THAT(err.str(), HasSubstr(message));
    EXPECT_EQ(out.str(), "");
  }
}

TEST_F(AgentOptionsTest, WhatChipsAreLikeCannotBeSaidWhereNoneHoldsTheTable) {
  for (const auto& [option, value] :
       {std::pair{"--hw-table-size", "64"}, {"--hw-rate", "8"}, {"--hw-faults", "0.5"}}) {
    EXPECT_EQ(read({option, value}), std::nullopt) << option;
    EXPECT_EQ(read({"--bridge-json", "f", option, value}), kExitUsage) << option;
    EXPECT_THAT(err.str(), AllOf(HasSubstr(option), HasSubstr("--bridge-json")));
  }
  EXPECT_EQ(read({"--bridge-json", "f", "--chips", "3", "--state", "s", "--demo", "--macs", "7"}),
            std::nullopt)
      << err.str();
}

TEST_F(AgentOptionsTest, HelpNamesEveryOption) {
  EXPECT_EQ(read({"--help"}), kExitOk);
  for (const char* const option : {"--socket",
                                   "--socket-group",
                                   "--admin-group",
                                   "--state",
                                   "--bridge-json",
                                   "--demo",
                                   "--macs",
                                   "--chips",
                                   "--churn",
                                   "--seed",
                                   "--plugin",
                                   "--trace",
                                   "--trace-file",
                                   "--client-timeout",
                                   "--line-timeout",
                                   "--max-connections",
                                   "--max-connections-per-user",
                                   "--max-requests-per-user",
                                   "--max-unread-answers",
                                   "--max-unread-answers-per-user",
                                   "--max-checks",
                                   "--check-memory",
                                   "--slice-rows",
                                   "--slice-bytes"}) {
    EXPECT_THAT(out.str(), HasSubstr(std::string(option) + " "));
  }
  EXPECT_EQ(err.str(), "");
}

TEST_F(AgentOptionsTest, HelpFitsATerminalAndNamesDefaults) {
  EXPECT_EQ(read({"--help"}), kExitOk);
  std::istringstream lines(out.str());
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
  EXPECT_THAT(out.str(), HasSubstr("  --max-checks N              Consistency checks of the MAC "
                                   "table that run at a\n                              time; "));
  EXPECT_THAT(out.str(), HasSubstr("(default 4)\n"));
  EXPECT_THAT(out.str(), Not(HasSubstr("UINT")));
}

TEST_F(AgentOptionsTest, VersionIsTold) {
  EXPECT_EQ(read({"--version"}), kExitOk);
  EXPECT_THAT(out.str(), StartsWith("korvo-l2-agent "));
}

}  // namespace
}  // namespace KorvoAgent
