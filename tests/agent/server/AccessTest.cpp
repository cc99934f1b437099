// Who counts as privileged, and which commands need it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandlerChain.h"
#include "KorvoL2/KorvoL2CliCallbacks/PlainHandlerChain.h"
#include "agent/server/Access.h"
#include "agent/server/ChangingCommands.h"
#include "agent/server/HardwareCommands.h"
#include "agent/server/ListeningSocket.h"
#include "tests/agent/server/ServerHarness.h"

namespace KorvoAgent {
namespace {

using testing::HasSubstr;

constexpr uid_t kAgent = 900;
constexpr gid_t kAdmins = 77;

AccessPolicy policyWithAdmins() {
  return {.agentUser = kAgent, .adminGroup = Group{"admins", kAdmins}};
}

TEST(AccessPolicyTest, RootAndTheAgentsOwnUserArePrivileged) {
  const AccessPolicy policy{.agentUser = kAgent, .adminGroup = std::nullopt};
  EXPECT_TRUE(policy.isPrivileged({0, 0, {}}));
  EXPECT_TRUE(policy.isPrivileged({kAgent, 5, {}}));
  EXPECT_FALSE(policy.isPrivileged({1000, kAgent, {0, kAgent}}));
}

TEST(AccessPolicyTest, MembersOfTheAdminGroupAreByEitherKindOfGroup) {
  const AccessPolicy policy = policyWithAdmins();
  EXPECT_TRUE(policy.isPrivileged({1000, kAdmins, {}}));
  EXPECT_TRUE(policy.isPrivileged({1000, 1000, {4, kAdmins, 90}}));
  EXPECT_FALSE(policy.isPrivileged({1000, 1000, {4, 90}}));
  EXPECT_FALSE(policy.isPrivileged({kAdmins, 1000, {}}));
}

TEST(AccessPolicyTest, APeerThatTheKernelDoesNotKnowHasNoRight) {
  AccessPolicy policy = policyWithAdmins();
  EXPECT_FALSE(policy.isPrivileged(Peer{}));
  policy.agentUser = kNoUser;
  policy.adminGroup = Group{"none", kNoGroup};
  EXPECT_FALSE(policy.isPrivileged(Peer{}));
  EXPECT_FALSE(policy.isPrivileged({1000, kNoGroup, {kNoGroup}}));
  EXPECT_FALSE(policy.isPrivileged(peerOf(-1)));
}

TEST(AccessPolicyTest, MessagesNameWhoMay) {
  EXPECT_EQ(AccessPolicy{}.onlyWho(), "only root");
  EXPECT_EQ((AccessPolicy{.agentUser = 0, .adminGroup = std::nullopt}.onlyWho()), "only root");
  EXPECT_EQ((AccessPolicy{.agentUser = kAgent, .adminGroup = std::nullopt}.onlyWho()),
            "only root and user 900");
  EXPECT_EQ(policyWithAdmins().onlyWho(), "only root, user 900 and members of group admins");
}

TEST(PeerTest, IsWhoMadeTheConnectionWithAllItsGroups) {
  const SocketPair pair = makeSocketPair();
  const Peer peer = peerOf(pair.server.get());
  EXPECT_EQ(peer.user, ::geteuid());
  EXPECT_EQ(peer.group, ::getegid());
  std::vector<gid_t> own(static_cast<std::size_t>(::getgroups(0, nullptr)));
  ASSERT_EQ(::getgroups(static_cast<int>(own.size()), own.data()), static_cast<int>(own.size()));
  EXPECT_THAT(peer.groups, testing::UnorderedElementsAreArray(own));
}

// Offers a command to the plug-in's own chain and gives back the keyword of the row that takes it.
std::string takenBy(const std::string& command) {
  const auto callback = KorvoL2::cliCallbackFactory("test");
  callback->commandIs(command);
  const KorvoL2::HandlerList<KorvoL2::CliCallback::Handler> handlers(KorvoL2::plainHandlerChain());
  const auto* const handler = handlers.firstWilling(callback, [](const auto&) {});
  return handler == nullptr ? std::string("nobody") : handler->cmdName();
}

bool needsPrivilege(Entry entry, const std::string& command) {
  return changingCommandOf({entry, Rendering::kText, command}) != nullptr;
}

TEST(ChangingCommandsTest, WhatThePlugInTakesForAChangingCommandNeedsPrivilege) {
  for (const ChangingCommand& changing : changingCommands()) {
    ASSERT_EQ(changing.entry, Entry::plain);
    const std::string keyword(changing.keyword);
    std::string lower = keyword;
    std::ranges::transform(lower, lower.begin(), [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    for (const std::string& command :
         {keyword, keyword + "x", keyword + "+", keyword + "+HW_MCAST_ALL", keyword + " ",
          keyword + "\t", keyword + std::string(1, '\0'), keyword + std::string(60000, 'x'),
          keyword + keyword, keyword + "\xC3\xA9", lower, " " + keyword, "+" + keyword,
          std::string(1, '\0') + keyword, "HW_MCAST_ALL+" + keyword,
          keyword.substr(0, keyword.size() - 1)}) {
      EXPECT_EQ(needsPrivilege(Entry::plain, command), takenBy(command) == keyword) << command;
    }
    EXPECT_EQ(takenBy(keyword), keyword);
    EXPECT_EQ(takenBy(keyword + "x"), keyword);
  }
}

// Expects that each keyword of a chain either changes something or is among those that only look.
template <class Chain>
void expectJudged(Entry entry, const Chain& chain, const std::set<std::string_view>& reading) {
  for (const auto& row : chain) {
    EXPECT_NE(reading.contains(row.keyword), needsPrivilege(entry, std::string(row.keyword)))
        << entryName(entry) << " " << row.keyword;
  }
}

TEST(ChangingCommandsTest, EveryKeywordOfThePlugInHasBeenJudged) {
  // A keyword that is new belongs here, if it only looks, or into the table of changing ones. The
  // empty one takes what nobody else takes, and refuses it.
  expectJudged(Entry::plain, KorvoL2::plainHandlerChain(),
               {"EcmpOutputIntfTunnelId",
                "EGR_MASK_STATUS",
                "EGR_VLAN_XLATE_STATUS_2",
                "FCVDS",
                "FCVDV",
                "HW_FIFOREG",
                "HW_MCAST_ALL",
                "HW_MCAST_DIFF",
                "HW_MCAST_MCIDX+",
                "MCAST_ALL",
                "PER_VLAN_ENTRY",
                "ShadowShow",
                "VLAN_XLATE_STATUS_2",
                "VXLAN_DEBUG_STATE",
                "VXLAN_SVP_USAGE",
                "VniEgressFlexCountersSummary",
                "VniEgressFlexCountersValues",
                "VniIngressFlexCountersSummary",
                "VniIngressFlexCountersValues",
                "VlanVfiMap",
                ""});
  expectJudged(Entry::sync, KorvoL2::formattedHandlerChain(), {"VXLAN_VLAN_SUMMARY", ""});
  expectJudged(
      Entry::async, KorvoL2::asyncHandlerChain(),
      {"EGR_VLAN_XLATE_STATUS", "ING_VLAN_RANGE", "MACT_DIFF", "MACT_HW_ALL", "MACT_MISSING",
       "MACT_ALL", "VLAN_XLATE_STATUS", "VXLAN_ROUTING_INFO", "VXLAN_VLAN", ""});
}

// The same for a request that is served in slices.
std::string takenInSlices(const std::string& command) {
  for (const auto& row : KorvoL2::asyncHandlerChain()) {
    if (command.starts_with(row.keyword)) return std::string(row.keyword);
  }
  return "nobody";
}

TEST(HardwareCommandsTest, WhatThePlugInTakesForACommandAboutChipsIsOne) {
  std::set<std::string_view> about;
  for (const HardwareCommand& command : hardwareCommands()) about.insert(command.keyword);
  // Those that do not read the chips' MAC tables; a keyword that is new belongs here or among them.
  const std::set<std::string_view> other{
      "EGR_VLAN_XLATE_STATUS", "ING_VLAN_RANGE", "MACT_ALL", "VLAN_XLATE_STATUS",
      "VXLAN_ROUTING_INFO",    "VXLAN_VLAN",     ""};
  for (const auto& row : KorvoL2::asyncHandlerChain()) {
    EXPECT_NE(about.contains(row.keyword), other.contains(row.keyword)) << row.keyword;
    const std::string keyword(row.keyword);
    for (const std::string& command :
         {keyword, keyword + "0,1", keyword + "+detail", "+" + keyword, " " + keyword,
          keyword.substr(0, keyword.size() / 2), "MACT_DIFF" + keyword}) {
      const HardwareCommand* const taken =
          hardwareCommandOf({Entry::async, Rendering::kJson, command});
      EXPECT_EQ(taken != nullptr, about.contains(takenInSlices(command))) << command;
      EXPECT_EQ(hardwareCommandOf({Entry::plain, Rendering::kText, command}), nullptr);
      EXPECT_EQ(hardwareCommandOf({Entry::sync, Rendering::kText, command}), nullptr);
    }
  }
}

TEST(HardwareCommandsTest, TheTwoChecksAndNothingElseKeepTheirFindings) {
  std::set<std::string_view> checks;
  for (const HardwareCommand& command : hardwareCommands()) {
    if (command.isCheck) checks.insert(command.keyword);
  }
  EXPECT_EQ(checks, (std::set<std::string_view>{"MACT_DIFF", "MACT_MISSING"}));
}

class ServerAccessTest : public ServerHarness {
 protected:
  void SetUp() override { policy.access = policyWithAdmins(); }

  std::string askAs(Peer peer, std::string_view line) {
    const FileDescriptor client = connectAs(std::move(peer));
    EXPECT_TRUE(sendWith(client.get(), line));
    settle();
    return received(client.get());
  }

  static constexpr std::string_view kRefused =
      "HW_MCAST_CLEAR clears the shadow of the multicast groups; only root, user 900 and members "
      "of group admins may do that";
};

TEST_F(ServerAccessTest, AChangingCommandOfAnybodyIsRefusedAndDoesNotReachThePlugIn) {
  for (const char* const command : {"HW_MCAST_CLEAR", "HW_MCAST_CLEARx", "HW_MCAST_CLEAR+detail"}) {
    plain->commandSeen.clear();
    EXPECT_EQ(askAs({1000, 1000, {4}}, "plain text " + std::string(command) + "\n"),
              "refused: " + std::string(kRefused) + "\n");
    EXPECT_EQ(plain->commandSeen, "");
  }
}

TEST_F(ServerAccessTest, WithADescriptorTheRefusalIsADoneEvent) {
  const Request made = request("plain text HW_MCAST_CLEAR\n");
  settle();
  EXPECT_THAT(received(made.control.get()),
              HasSubstr("{\"event\":\"done\",\"status\":\"refused\",\"message\":\"" +
                        std::string(kRefused) + "\""));
  EXPECT_EQ(received(made.answer.get()), "");
  EXPECT_TRUE(atEnd(made.answer.get()));
}

TEST_F(ServerAccessTest, AChangingCommandOfAPrivilegedPeerReachesThePlugIn) {
  for (const Peer& peer : {Peer{0, 0, {}}, Peer{kAgent, 1, {}}, Peer{1000, kAdmins, {}},
                           Peer{1000, 1, {2, kAdmins}}}) {
    plain->commandSeen.clear();
    askAs(peer, "plain text HW_MCAST_CLEAR\n");
    EXPECT_EQ(plain->commandSeen, "HW_MCAST_CLEAR") << peer.user;
  }
}

TEST_F(ServerAccessTest, LookingIsEverybodysRight) {
  EXPECT_EQ(askAs({1000, 1000, {}}, "plain text PRINT hello\n"), "hello");
  EXPECT_EQ(askAs({1000, 1000, {}}, "sync text FORMAT\n"), "1\n");
  EXPECT_NE(askAs({1000, 1000, {}}, "async text ROWS 3\n"), "");
  EXPECT_EQ(askAs({1000, 1000, {}}, "agent json chips\n"), "{\"chips\":[]}\n");
}

TEST_F(ServerAccessTest, RequestsOfOthersAreCancelledByThePrivilegedOnly) {
  const FileDescriptor dump = connect(1000);
  ASSERT_TRUE(sendWith(dump.get(), "async text ROWS 10000000\n"));
  settle();
  EXPECT_EQ(askAs({1001, 1001, {4}}, "agent text cancel 1\n"),
            "refused: request 1 belongs to another user; only root, user 900 and members of group "
            "admins may cancel those of others\n");
  EXPECT_EQ(askAs({1001, 1001, {kAdmins}}, "agent text cancel 1\n"), "request 1 is cancelled\n");
}

TEST(SocketGroupTest, TheFileIsOfTheGroupWhenItTakesConnectionsAndKeepsItsMode) {
  std::string folder = (std::filesystem::temp_directory_path() / "korvo-XXXXXX").string();
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  const std::string path = folder + "/agent.sock";
  // A group that this process may give files to; as root that is any.
  const gid_t group = ::geteuid() == 0 ? kAdmins : ::getegid();
  {
    const ListeningSocket socket(path, Group{"operators", group});
    struct stat file {};
    ASSERT_EQ(::lstat(path.c_str(), &file), 0);
    EXPECT_EQ(file.st_gid, group);
    EXPECT_EQ(file.st_uid, ::geteuid());
    EXPECT_EQ(file.st_mode & 07777U, 0660U);
  }
  EXPECT_FALSE(std::filesystem::exists(path));
  std::filesystem::remove_all(folder);
}

TEST(SocketGroupTest, AGroupThatTheFileCannotBeGivenToIsSaidAndNothingIsLeft) {
  if (::geteuid() == 0) GTEST_SKIP() << "root may give a file to every group";
  std::string folder = (std::filesystem::temp_directory_path() / "korvo-XXXXXX").string();
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  const std::string path = folder + "/agent.sock";
  try {
    const ListeningSocket socket(path, Group{"strangers", 0});
    ADD_FAILURE() << "it serves";
  } catch (const ListenError& e) {
    EXPECT_THAT(e.what(), HasSubstr("cannot give it to group strangers"));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace KorvoAgent
