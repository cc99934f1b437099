// Limits, the agent's own questions, and the end of the agent.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "tests/agent/server/ServerHarness.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class ServerLimitTest : public ServerHarness {
 protected:
  FileDescriptor connectAt(const std::string& path) {
    FileDescriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    EXPECT_EQ(::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
              0)
        << std::strerror(errno);
    return client;
  }

  std::string askAs(uid_t user, std::string_view line) {
    const FileDescriptor client = connect(user);
    EXPECT_TRUE(sendWith(client.get(), line));
    settle();
    return received(client.get());
  }

  /** Clients that stay connected to the end of the test. */
  std::vector<FileDescriptor> waiting;

  /** A dump of user `user` that waits for its reader. */
  FileDescriptor waitingDump(uid_t user = kUser) {
    FileDescriptor client = connect(user);
    EXPECT_TRUE(sendWith(client.get(), "async text ROWS 10000000\n"));
    settle();
    return client;
  }
};

TEST_F(ServerLimitTest, ConnectionsOverTheLimitAreToldSo) {
  policy.connections.together = 3;
  std::vector<FileDescriptor> clients;
  clients.reserve(3);
  for (int i = 0; i < 3; ++i) clients.push_back(connect());
  const FileDescriptor fourth = connect();
  ASSERT_TRUE(sendWith(fourth.get(), "plain text PRINT hello\n"));
  settle();
  EXPECT_EQ(received(fourth.get()),
            "refused: the agent has 3 connections, which is the limit; try again when others have "
            "left\n");
  EXPECT_TRUE(atEnd(fourth.get()));
  // It takes nobody's place, though it is heard out.
  clients.pop_back();
  settle();
  EXPECT_EQ(ask("plain text PRINT hello\n"), "hello");
}

TEST_F(ServerLimitTest, ManyMoreConnectionsThanTheLimitCostNothing) {
  policy.connections.together = 1;
  std::vector<FileDescriptor> clients;
  clients.push_back(connect());
  const std::size_t before = numOpenDescriptors();
  for (int i = 0; i < 200; ++i) clients.push_back(connect());
  for (std::size_t i = 1; i < clients.size(); ++i) {
    EXPECT_THAT(received(clients[i].get()), StartsWith("refused: the agent has 1 connections"));
  }
  EXPECT_LE(numOpenDescriptors(), before + 200 + 40);
}

TEST_F(ServerLimitTest, WhoeverIsTurnedAwayReadsWhyAndTheEndOfFile) {
  policy.connections.together = 1;
  const FileDescriptor only = connect();
  for (int i = 0; i < 100; ++i) {
    // Its line lies in the socket already, as when the agent comes late to it.
    SocketPair pair = makeSocketPair();
    ASSERT_TRUE(sendWith(pair.client.get(), "plain text PRINT hello\n"));
    server().connectionIs(std::move(pair.server), {kUser, kUser, {}});
    EXPECT_THAT(received(pair.client.get()), StartsWith("refused: the agent has 1 connections"));
    EXPECT_TRUE(atEnd(pair.client.get()));
    waiting.push_back(std::move(pair.client));
  }
}

TEST_F(ServerLimitTest, OneUsersConnectionsAreBoundedAndOthersDoNotNotice) {
  policy.connections.perUser = 3;
  std::vector<FileDescriptor> clients;
  clients.reserve(3);
  for (int i = 0; i < 3; ++i) clients.push_back(connect(1000));
  EXPECT_EQ(askAs(1000, "plain text PRINT hello\n"),
            "refused: user 1000 has 3 connections, which is the limit; close one of them and try "
            "again\n");
  EXPECT_EQ(askAs(1001, "plain text PRINT hello\n"), "hello");
  clients.pop_back();
  settle();
  EXPECT_EQ(askAs(1000, "plain text PRINT hello\n"), "hello");
  EXPECT_EQ(askAs(1000, "plain text PRINT hello\n"), "hello") << "a place is given back";
}

TEST_F(ServerLimitTest, WhomTheKernelDoesNotKnowIsCountedAsOneUser) {
  policy.connections.perUser = 3;
  policy.access = {.agentUser = kNoUser, .adminGroup = std::nullopt};
  for (int i = 0; i < 3; ++i) waiting.push_back(connectAs(Peer{}));
  EXPECT_THAT(askAs(kNoUser, "plain text PRINT hello\n"), HasSubstr("which is the limit"));
}

TEST_F(ServerLimitTest, WhoeverLooksAfterTheAgentGetsInWhateverOthersDo) {
  policy.connections = {.together = 40, .perUser = 25, .reserved = 8};
  policy.access = {.agentUser = 900, .adminGroup = Group{"admins", 77}};
  std::map<uid_t, int> served;
  const auto connectMany = [&](const Peer& peer, int number) {
    for (int i = 0; i < number; ++i) {
      FileDescriptor client = connectAs(peer);
      if (received(client.get()).empty()) ++served[peer.user];
      waiting.push_back(std::move(client));
    }
  };
  connectMany({1000, 1000, {}}, 100);
  connectMany({1001, 77, {77}}, 100);
  connectMany({1002, 1002, {}}, 100);
  EXPECT_EQ(served, (std::map<uid_t, int>{{1000, 25}, {1001, 15}}));
  EXPECT_EQ(askAs(0, "plain text PRINT hello\n"), "hello");
  EXPECT_EQ(askAs(900, "plain text PRINT hello\n"), "hello");
  connectMany({900, 900, {}}, 4);
  connectMany({0, 0, {}}, 100);
  EXPECT_EQ(served[900], 4);
  EXPECT_EQ(served[0], 4);
  EXPECT_EQ(received(connect(0).get()),
            "refused: the agent has 48 connections, which is the limit; try again when others have "
            "left\n");
}

TEST_F(ServerLimitTest, RootHasNoLimitOfItsOwn) {
  policy.connections = {.together = 40, .perUser = 5, .reserved = 8};
  for (int i = 0; i < 47; ++i) waiting.push_back(connect(0));
  EXPECT_EQ(askAs(0, "plain text PRINT hello\n"), "hello");
}

TEST_F(ServerLimitTest, RequestsOverAUsersLimitAreRefusedAndOthersAreNot) {
  policy.connection.requestsPerUser = 2;
  const FileDescriptor first = waitingDump();
  const FileDescriptor second = waitingDump();
  EXPECT_EQ(askAs(kUser, "plain text PRINT hello\n"),
            "refused: user 1000 has 2 requests under way, which is the limit; wait for one to end, "
            "or end one (\"agent text requests\" lists them, \"agent text cancel N\" ends one)\n");
  EXPECT_EQ(askAs(kUser + 1, "plain text PRINT hello\n"), "hello");
  const Request third = request("async text ROWS 1\n");
  settle();
  EXPECT_THAT(received(third.control.get()),
              HasSubstr("\"status\":\"refused\",\"message\":\"user 1000 has 2 requests under way"));
}

TEST_F(ServerLimitTest, WhoeverIsAtTheLimitOfRequestsCanAskTheAgentAndCancel) {
  policy.connection.requestsPerUser = 2;
  const FileDescriptor first = waitingDump();
  const FileDescriptor second = waitingDump();
  EXPECT_THAT(askAs(kUser, "agent json status\n"), HasSubstr("\"activeRequests\":3,"));
  EXPECT_EQ(askAs(kUser, "agent json chips\n"), "{\"chips\":[]}\n");
  EXPECT_THAT(askAs(kUser, "agent json requests\n"), HasSubstr("{\"id\":1,"));
  EXPECT_EQ(askAs(kUser, "agent text cancel 1\n"), "request 1 is cancelled\n");
  EXPECT_EQ(askAs(kUser, "plain text PRINT hello\n"), "hello");
}

TEST_F(ServerLimitTest, QuestionsThatAreNotReadDoNotKeepRequestsOut) {
  policy.connection.requestsPerUser = 1;
  const std::string schema(std::size_t{4} << 20, 'x');
  facts.stateDocumentSchema = [&] { return std::string_view(schema); };
  const FileDescriptor question = connect();
  ASSERT_TRUE(sendWith(question.get(), "agent text schema\n"));
  settle();
  ASSERT_EQ(server().scheduler().jobs().size(), 1U);
  EXPECT_EQ(ask("plain text PRINT hello\n"), "hello");
}

TEST_F(ServerLimitTest, UnreadAnswersOfAUserKeepFurtherRequestsOutAndOthersDoNotNotice) {
  policy.unreadAnswers.perUser = 2;
  const FileDescriptor first = waitingDump();
  EXPECT_EQ(askAs(kUser, "plain text PRINT hello\n"), "hello");
  const FileDescriptor second = waitingDump();
  EXPECT_EQ(askAs(kUser, "plain text PRINT hello\n"),
            "refused: user 1000 has 2 unread answers, which is the limit; read one to its end, or "
            "end one (\"agent text requests\" lists them, \"agent text cancel N\" ends one)\n");
  EXPECT_EQ(askAs(kUser + 1, "plain text PRINT hello\n"), "hello");
  EXPECT_EQ(askAs(kUser, "agent text cancel 1\n"), "request 1 is cancelled\n");
  EXPECT_EQ(askAs(kUser, "plain text PRINT hello\n"), "hello");
}

TEST_F(ServerLimitTest, AnAnswerThatIsReadToItsEndGivesItsPlaceBack) {
  policy.unreadAnswers.perUser = 1;
  const FileDescriptor client = connect();
  // Bytes behind the line: the client is heard out after its answer, which counts no more by then.
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 300000\nmore"));
  settle();
  EXPECT_THAT(askAs(kUser, "plain text PRINT hello\n"), HasSubstr("has 1 unread answers"));
  std::string answer;
  while (!atEnd(client.get())) {
    answer += received(client.get());
    settle();
  }
  EXPECT_TRUE(answer == rowsText(300000)) << answer.size() << " bytes";
  EXPECT_EQ(askAs(kUser, "plain text PRINT hello\n"), "hello");
}

TEST_F(ServerLimitTest, UnreadAnswersOfAllHaveALimitAndWhoeverLooksAfterTheAgentHasMore) {
  policy.unreadAnswers = {.together = 2, .perUser = 2, .reserved = 1};
  waiting.push_back(waitingDump(1000));
  waiting.push_back(waitingDump(1001));
  EXPECT_EQ(askAs(1002, "plain text PRINT hello\n"),
            "refused: the agent has 2 unread answers, which is the limit; try again when others "
            "have been read\n");
  EXPECT_EQ(askAs(0, "plain text PRINT hello\n"), "hello");
  waiting.push_back(waitingDump(0));
  EXPECT_THAT(askAs(0, "plain text PRINT hello\n"), HasSubstr("the agent has 3 unread answers"));
}

TEST_F(ServerLimitTest, OfManyRequestsThatCameAtOnceOnlySoManyAnswersGetMuchRoom) {
  policy.unreadAnswers.perUser = 2;
  std::vector<FileDescriptor> clients;
  for (int i = 0; i < 5; ++i) {
    clients.push_back(connect());
    ASSERT_TRUE(sendWith(clients.back().get(), "async text ROWS 10000000\n"));
  }
  settle();
  ASSERT_EQ(server().scheduler().jobs().size(), 5U) << "none was unread when they were taken in";
  // What a socket holds that was given no room of its own.
  const SocketPair plainPair = makeSocketPair();
  const std::string row(1024, 'x');
  std::size_t plainRoom = 0;
  while (sendWith(plainPair.client.get(), row)) plainRoom += row.size();
  int numLarge = 0;
  for (const FileDescriptor& client : clients) {
    if (received(client.get()).size() > 4 * plainRoom) ++numLarge;
  }
  EXPECT_EQ(numLarge, 2);
}

TEST_F(ServerLimitTest, TheAgentKnowsItsQuestions) {
  facts.chips = [] { return std::vector<AgentFacts::Chip>{{0, "Linecard3/0"}, {5, "a\"b"}}; };
  facts.findInterface = [](std::string_view name) {
    return name == "Et1" ? std::optional(AgentFacts::Interface{"Ethernet1", "Et1"}) : std::nullopt;
  };
  facts.tables = [] { return std::vector<AgentFacts::Table>{{"swMacTable", 7}}; };
  facts.stateDocumentSchema = [] { return std::string_view("{\"type\":\"object\"}\n"); };
  EXPECT_EQ(ask("agent json chips\n"),
            "{\"chips\":[{\"id\":0,\"name\":\"Linecard3/0\"},{\"id\":5,\"name\":\"a\\\"b\"}]}\n");
  EXPECT_EQ(ask("agent text chips\n"), "0 Linecard3/0\n5 a\"b\n");
  EXPECT_EQ(ask("agent json interface Et1\n"),
            "{\"interfaces\":[{\"name\":\"Ethernet1\",\"shortName\":\"Et1\"}]}\n");
  EXPECT_EQ(ask("agent text interface Et1\n"), "Ethernet1 Et1\n");
  EXPECT_EQ(ask("agent json interface Et2\n"), "{\"interfaces\":[]}\n");
  EXPECT_EQ(ask("agent text interface Et2\n"), "");
  EXPECT_EQ(ask("agent json schema\n"), "{\"type\":\"object\"}\n");
  EXPECT_EQ(ask("agent text schema\n"), "{\"type\":\"object\"}\n");
  clock->advance(seconds(5));
  EXPECT_THAT(ask("agent json status\n"),
              AllOf(StartsWith("{\"uptimeMs\":5000,\"connections\":1,\"activeRequests\":1,"
                               "\"totalRequests\":9,\"residentBytes\":"),
                    HasSubstr("\"tables\":{\"swMacTable\":7}"), HasSubstr("\"liveInstances\":{"),
                    EndsWith("}\n")));
  EXPECT_THAT(ask("agent text status\n"),
              AllOf(StartsWith("uptime               5000 ms\n"), HasSubstr("swMacTable")));
}

TEST_F(ServerLimitTest, MemoryIsToldInBytes) {
  const std::string status = ask("agent json status\n");
  const auto figure = [&status](const std::string& name) {
    const std::size_t at = status.find("\"" + name + "\":");
    return std::stoull(status.substr(at + name.size() + 3));
  };
  std::uint64_t pages = 0;
  std::ifstream statm("/proc/self/statm");
  statm >> pages >> pages;
  const std::uint64_t resident = pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  ASSERT_NE(resident, 0U);
  EXPECT_GT(figure("residentBytes"), resident / 2);
  EXPECT_LT(figure("residentBytes"), resident * 2);
  EXPECT_GE(figure("peakBytes"), figure("residentBytes"));
}

TEST_F(ServerLimitTest, AnUnknownQuestionGetsTheList) {
  EXPECT_EQ(ask("agent text uptime\n"),
            "refused: unknown question \"uptime\"; the agent knows status, chips, "
            "interface NAME, requests, cancel N, schema\n");
  EXPECT_EQ(ask("agent text cancel\n").substr(0, 25), "refused: unknown question");
  EXPECT_THAT(ask("agent text cancel x\n"), StartsWith("refused: \"x\" is no request number"));
  EXPECT_THAT(ask("agent text cancel 1x\n"), StartsWith("refused: \"1x\" is no request number"));
  EXPECT_THAT(ask("agent text cancel 99999999999999999999\n"), HasSubstr("is no request number"));
  EXPECT_EQ(ask("agent text cancel 77\n"), "refused: there is no request 77\n");
}

TEST_F(ServerLimitTest, RequestsAreListedAndCanBeCancelled) {
  const Request dump = request("async json ROWS 10000000\n");
  settle();
  const std::string list = ask("agent json requests\n");
  EXPECT_THAT(list, HasSubstr("{\"id\":1,\"entry\":\"async\",\"format\":\"json\",\"user\":1000,"
                              "\"state\":\"waiting for its reader\",\"rows\":"));
  EXPECT_THAT(list, HasSubstr("\"command\":\"ROWS 10000000\"}"));
  EXPECT_THAT(ask("agent text requests\n"), HasSubstr("ROWS 10000000"));
  EXPECT_EQ(ask("agent text cancel 1\n"), "request 1 is cancelled\n");
  EXPECT_THAT(received(dump.control.get()),
              HasSubstr("\"status\":\"cancelled\",\"message\":\"cancelled by user 1000\""));
  received(dump.answer.get());
  EXPECT_TRUE(atEnd(dump.answer.get()));
  EXPECT_EQ(ask("agent json cancel 1\n"), "refused: there is no request 1\n");
}

TEST_F(ServerLimitTest, ARequestCannotCancelItself) {
  EXPECT_EQ(ask("agent text cancel 1\n"), "refused: request 1 is the one that asks\n");
}

TEST_F(ServerLimitTest, AChecksTurnIsAwaitedListedAndCancelledAndGoesWithItsClient) {
  policy.scheduler.checks = 1;
  const Request first = request("async text MACT_MISSING 10000000\n");
  const Request second = request("async text MACT_MISSING 1\n");
  FileDescriptor third = connect();
  ASSERT_TRUE(sendWith(third.get(), "async text MACT_MISSING 2\n"));
  const Request fourth = request("async text MACT_MISSING 3\n");
  settle();
  EXPECT_EQ(Qel::liveInstances("RowsMachine"), 1);
  EXPECT_THAT(ask("agent json requests\n"),
              HasSubstr("{\"id\":2,\"entry\":\"async\",\"format\":\"text\",\"user\":1000,"
                        "\"state\":\"waiting for its turn\",\"rows\":0,"));
  EXPECT_EQ(ask("async text ROWS 3\n"), rowsText(3)) << "only checks await their turn";
  EXPECT_EQ(ask("agent text cancel 2\n"), "request 2 is cancelled\n");
  EXPECT_THAT(received(second.control.get()), HasSubstr("\"status\":\"cancelled\""));
  third.reset();
  settle();
  EXPECT_EQ(server().scheduler().jobs().size(), 2U);
  EXPECT_EQ(ask("agent text cancel 1\n"), "request 1 is cancelled\n");
  EXPECT_EQ(received(fourth.answer.get()), rowsText(3));
  EXPECT_THAT(received(fourth.control.get()), HasSubstr("\"status\":\"ok\""));
  EXPECT_EQ(received(second.answer.get()), "");
}

TEST_F(ServerLimitTest, OnlyItsUserAndThePrivilegedCancelARequest) {
  const FileDescriptor dump = waitingDump(1000);
  EXPECT_THAT(askAs(1001, "agent text cancel 1\n"),
              StartsWith("refused: request 1 belongs to another user; only root"));
  EXPECT_EQ(askAs(0, "agent json cancel 1\n"), "{\"cancelled\":1}\n");
}

TEST_F(ServerLimitTest, ShuttingDownCancelsWhatRuns) {
  const Request dump = request("async text ROWS 10000000\n");
  const FileDescriptor silent = connect();
  settle();
  server().shutDown("the agent ends");
  EXPECT_THAT(received(dump.control.get()),
              HasSubstr("\"status\":\"cancelled\",\"message\":\"the agent ends\""));
  EXPECT_TRUE(atEnd(dump.control.get()));
  EXPECT_TRUE(atEnd(silent.get()));
  EXPECT_EQ(server().numConnections(), 0U);
}

class ServerListenTest : public ServerLimitTest {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "korvo-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder_ = name;
    path = folder_ + "/agent.sock";
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  std::string path;

 private:
  std::string folder_;
};

TEST_F(ServerListenTest, ClientsConnectAtThePathAndAreKnownByTheirUser) {
  server().listen(path);
  const FileDescriptor client = connectAt(path);
  settle();
  ASSERT_TRUE(sendWith(client.get(), "agent json requests\n"));
  settle();
  EXPECT_THAT(received(client.get()), HasSubstr("\"user\":" + std::to_string(::geteuid()) + ","));
  server().shutDown("");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ServerListenTest, ManyClientsAtOnceAreAllTakenIn) {
  server().listen(path);
  std::vector<FileDescriptor> clients;
  for (int i = 0; i < 100; ++i) {
    clients.push_back(connectAt(path));
    ASSERT_TRUE(sendWith(clients.back().get(), "plain text PRINT hello\n"));
  }
  settle();
  for (const FileDescriptor& client : clients) EXPECT_EQ(received(client.get()), "hello");
}

TEST_F(ServerListenTest, ATurnTakesInABoundedNumberOfClients) {
  server().listen(path);
  constexpr std::size_t kClients = 100;
  for (std::size_t i = 0; i < kClients; ++i) waiting.push_back(connectAt(path));
  std::size_t before = 0;
  while (loop->turn()) {
    const std::size_t now = server().numConnections();
    EXPECT_LE(now - before, static_cast<std::size_t>(Listener::kDearPerTurn));
    before = now;
  }
  EXPECT_EQ(before, kClients);
}

TEST_F(ServerListenTest, ManyClientsThatHaveLeftAreDrainedInFewTurnsEachOfThemBounded) {
  server().listen(path);
  constexpr int kTurns = 4;
  for (int i = 0; i < kTurns * Listener::kAcceptsPerTurn; ++i) connectAt(path).reset();
  const FileDescriptor last = connectAt(path);
  ASSERT_TRUE(sendWith(last.get(), "plain text PRINT hello\n"));
  for (int i = 0; i < kTurns; ++i) {
    loop->turn();
    EXPECT_EQ(server().numConnections(), 0U) << "in turn " << i;
  }
  for (int i = 0; i < 3; ++i) loop->turn();
  EXPECT_EQ(received(last.get()), "hello");
}

TEST_F(ServerListenTest, ClientsWithoutAPlaceAreToldInFewTurnsAndOthersGetIn) {
  policy.connections = {.together = 100, .perUser = 10, .reserved = 0};
  uid_t user = 1000;
  policy.peerOf = [&user](int) { return Peer{user, user, {}}; };
  server().listen(path);
  constexpr int kClients = 1000;
  for (int i = 0; i < kClients; ++i) {
    waiting.push_back(connectAt(path));
    ASSERT_TRUE(sendWith(waiting.back().get(), "plain text PRI"));
  }
  // Ten are kept, 32 are heard out, and the others cost little.
  constexpr int kTurns = (10 + 32) / Listener::kDearPerTurn + kClients / Listener::kAcceptsPerTurn;
  for (int i = 0; i < kTurns + 3; ++i) loop->turn();
  int told = 0;
  for (const FileDescriptor& client : waiting) {
    const std::string answer = received(client.get());
    if (!answer.starts_with("refused: user 1000 has 10 connections, which is the limit")) continue;
    ++told;
    EXPECT_TRUE(atEnd(client.get()));
  }
  EXPECT_EQ(told, kClients - 10);
  user = 1001;
  const FileDescriptor other = connectAt(path);
  ASSERT_TRUE(sendWith(other.get(), "plain text PRINT hello\n"));
  settle();
  EXPECT_EQ(received(other.get()), "hello");
}

class ServerAcceptPauseTest : public ServerListenTest {
 protected:
  /** Expects that `client` is taken in after the pause, and not before. */
  void expectTakenInAfterThePause(const FileDescriptor& client) {
    EXPECT_FALSE(loop->turn()) << "the loop does not rest";
    pass(milliseconds(99));
    EXPECT_EQ(server().numConnections(), 0U);
    pass(milliseconds(1));
    EXPECT_EQ(server().numConnections(), 1U);
    ASSERT_TRUE(sendWith(client.get(), "plain text PRINT hello\n"));
    settle();
    EXPECT_EQ(received(client.get()), "hello");
  }
};

TEST_F(ServerAcceptPauseTest, WhenMemoryIsShortClientsAreTakenInLater) {
  server().listen(path);
  for (const int error : {ENOBUFS, ENOMEM}) {
    const FileDescriptor client = connectAt(path);
    {
      const FailingCall accept(SystemCall::accept, error);
      settle();
      pass(milliseconds(100));
    }
    expectTakenInAfterThePause(client);
  }
}

TEST_F(ServerAcceptPauseTest, SoTheyAreWhenNoDescriptorIsLeftToTurnThemAwayWith) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "a sanitizer needs descriptors of its own";
#endif
  FileDescriptor lower(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  server().listen(path);
  const FileDescriptor client = connectAt(path);
  lower.reset();
  {
    // The limit is below the number that the listener keeps in reserve: given up, it is lost.
    const FewDescriptors none(0);
    settle();
    pass(milliseconds(100));
  }
  expectTakenInAfterThePause(client);
}

TEST_F(ServerListenTest, WithoutDescriptorsClientsAreTurnedAwayAndTheLoopRests) {
#if defined(__SANITIZE_ADDRESS__)
  // The sanitizers tell good memory from bad through a pipe, and call it bad when they get none.
  GTEST_SKIP() << "a sanitizer needs descriptors of its own";
#endif
  server().listen(path);
  settle();
  std::vector<FileDescriptor> clients;
  clients.reserve(40);
  for (int i = 0; i < 40; ++i) clients.push_back(connectAt(path));
  {
    const FewDescriptors none(0);
    settle();
  }
  for (const FileDescriptor& client : clients) {
    EXPECT_EQ(received(client.get()),
              "refused: the agent has no file descriptor left; try again when others have left\n");
    EXPECT_TRUE(atEnd(client.get()));
  }
  const FileDescriptor later = connectAt(path);
  ASSERT_TRUE(sendWith(later.get(), "plain text PRINT hello\n"));
  settle();
  EXPECT_EQ(received(later.get()), "hello");
}

}  // namespace
}  // namespace KorvoAgent
