// What the agent owes to clients while it is held up itself, and how their connections end.
//
// A pause is a clock that goes on while the loop does not turn: as when the process is stopped, or
// the machine has other things to do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <vector>

#include "agent/model/SeededRandom.h"
#include "tests/agent/server/ServerHarness.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::StartsWith;

class ServerPauseTest : public ServerHarness {
 protected:
  std::vector<FileDescriptor> connectMany(int number) {
    std::vector<FileDescriptor> clients;
    clients.reserve(static_cast<std::size_t>(number));
    for (int i = 0; i < number; ++i) clients.push_back(connect());
    settle();
    return clients;
  }
};

TEST_F(ServerPauseTest, LinesThatCameWhileTheAgentWasStoppedAreAllServed) {
  const std::vector<FileDescriptor> clients = connectMany(300);
  for (const FileDescriptor& client : clients) {
    ASSERT_TRUE(sendWith(client.get(), "plain text PRINT hello\n"));
  }
  pass(policy.connection.lineTimeout * 2);
  int refused = 0;
  for (const FileDescriptor& client : clients) refused += received(client.get()) != "hello";
  EXPECT_EQ(refused, 0);
}

TEST_F(ServerPauseTest, WhoeverSaidNothingOrHalfALineIsToldAllTheSame) {
  const std::vector<FileDescriptor> clients = connectMany(300);
  for (std::size_t i = 0; i < clients.size(); i += 2) {
    ASSERT_TRUE(sendWith(clients[i].get(), "plain text PRINT hel"));
  }
  pass(policy.connection.lineTimeout);
  for (const FileDescriptor& client : clients) {
    EXPECT_EQ(received(client.get()), "refused: no request line came within 10 s\n");
    EXPECT_TRUE(atEnd(client.get()));
  }
  EXPECT_EQ(server().numConnections(), 0U);
}

TEST_F(ServerPauseTest, AfterAPauseATurnTakesABoundedNumberOfLines) {
  const std::vector<FileDescriptor> clients = connectMany(300);
  for (const FileDescriptor& client : clients) {
    ASSERT_TRUE(sendWith(client.get(), "plain text PRINT hello\n"));
  }
  clock->advance(policy.connection.lineTimeout * 2);
  std::size_t before = server().scheduler().numBegun();
  do {
    const std::size_t begun = server().scheduler().numBegun();
    EXPECT_LE(begun - before, 64U + 16U) << "handlers and deadlines of one turn";
    before = begun;
  } while (loop->turn());
  EXPECT_EQ(before, clients.size());
}

TEST_F(ServerPauseTest, ALastEventThatWasMadeRoomForIsSaidThoughItsTimeIsUp) {
  policy.scheduler.slice.rowBudget = 1;
  policy.connection.closingTimeout = seconds(60);
  formatted->beforeRow = [&](std::uint64_t) { clock->advance(milliseconds(100)); };
  const Request made = request("async text ROWS 40000\n");
  while (!atEnd(made.answer.get())) {
    turn();
    received(made.answer.get());
  }
  // The control connection is full of progress, and the last event waits. Its client reads only
  // while the agent is stopped.
  std::string events = received(made.control.get());
  EXPECT_THAT(events, Not(HasSubstr("\"done\"")));
  clock->advance(policy.connection.closingTimeout);
  server().deadlinesPassed(clock->now());
  events += received(made.control.get());
  EXPECT_THAT(events, HasSubstr("{\"event\":\"done\",\"status\":\"ok\""));
  EXPECT_TRUE(atEnd(made.control.get()));
}

// What a client of a random life has done before the agent goes on.
TEST_F(ServerPauseTest, NoLineIsLostInRandomPauses) {
  constexpr std::uint64_t kLives = 60;
  for (std::uint64_t seed = 1; seed <= kLives; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    SeededRandom random(seed);
    const std::string line = "plain text PRINT hello\n";
    struct Client {
      FileDescriptor socket;
      std::size_t sent = 0;
      std::string received;
    };
    std::vector<Client> clients;
    for (std::uint64_t i = 1 + random.below(150); i != 0; --i) {
      clients.push_back({connect(), 0, ""});
    }
    settle();
    for (int round = 0; round < 6; ++round) {
      const Qel::Duration time = random.below(2) == 0
                                     ? policy.connection.lineTimeout * 2
                                     : Qel::Duration(milliseconds(random.below(3000)));
      for (Client& client : clients) {
        if (random.below(2) == 0) continue;
        const std::size_t more = random.below(line.size() - client.sent + 1);
        // A client that has been refused meanwhile cannot send any more.
        if (sendWith(client.socket.get(), line.substr(client.sent, more))) client.sent += more;
      }
      clock->advance(time);
      for (std::uint64_t turns = random.below(4); turns != 0; --turns) turn();
      for (Client& client : clients) client.received += received(client.socket.get());
    }
    pass(policy.connection.lineTimeout);
    for (Client& client : clients) {
      client.received += received(client.socket.get());
      EXPECT_TRUE(atEnd(client.socket.get()));
      EXPECT_EQ(client.received, client.sent == line.size()
                                     ? "hello"
                                     : "refused: no request line came within 10 s\n");
    }
  }
}

class ServerMoreBytesTest : public ServerPauseTest {
 protected:
  /**
   * Sends `line` and `more` bytes behind it, as fast as the agent takes them; gives back what comes
   * until the end of file. Fails where the connection breaks instead.
   */
  std::string askAndSendMore(const FileDescriptor& client, std::string_view line,
                             std::size_t more) {
    const int large = 1 << 20;  // as far as the system lets it
    ::setsockopt(client.get(), SOL_SOCKET, SO_SNDBUF, &large, sizeof(large));
    EXPECT_TRUE(sendWith(client.get(), line));
    std::string answer;
    const std::string piece(std::size_t{64} * 1024, 'x');
    for (std::size_t sent = 0; sent < more;) {
      const ssize_t n = ::send(client.get(), piece.data(), std::min(piece.size(), more - sent),
                               MSG_DONTWAIT | MSG_NOSIGNAL);
      if (n < 0 && errno == EAGAIN) {
        settle();
        answer += received(client.get());
        continue;
      }
      EXPECT_GT(n, 0) << std::strerror(errno) << " after " << sent << " bytes";
      if (n <= 0) break;
      sent += static_cast<std::size_t>(n);
    }
    settle();
    answer += received(client.get());
    EXPECT_TRUE(atEnd(client.get()));
    return answer;
  }
};

TEST_F(ServerMoreBytesTest, TheEndOfFileIsSeenHoweverMuchFollowsTheLine) {
  for (const std::size_t more :
       {std::size_t{1}, std::size_t{100'000}, std::size_t{350'000}, std::size_t{5'000'000}}) {
    SCOPED_TRACE(more);
    EXPECT_EQ(askAndSendMore(connect(), "plain text PRINT one\n", more), "one");
    EXPECT_EQ(askAndSendMore(connect(), "async text ROWS 3\n", more), rowsText(3));
    EXPECT_THAT(askAndSendMore(connect(), "nonsense\n", more),
                StartsWith("refused: unknown entry"));
    EXPECT_THAT(askAndSendMore(connect(), "agent text nothing\n", more),
                StartsWith("refused: unknown question"));
  }
}

TEST_F(ServerMoreBytesTest, SoItIsOnAConnectionWithEvents) {
  SocketPair answer = makeSocketPair();
  const FileDescriptor control = connect();
  ASSERT_TRUE(sendWith(control.get(), "async ", {answer.server.get()}));
  answer.server.reset();
  EXPECT_THAT(askAndSendMore(control, "text ROWS 3\n", 350'000), HasSubstr("\"status\":\"ok\""));
  EXPECT_EQ(received(answer.client.get()), rowsText(3));
}

TEST_F(ServerMoreBytesTest, WhoeverDoesNotStopSendingIsNotHeardOutForEver) {
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "plain text PRINT one\nmore"));
  settle();
  EXPECT_EQ(received(client.get()), "one");
  EXPECT_TRUE(atEnd(client.get()));
  ASSERT_TRUE(sendWith(client.get(), "and more"));
  pass(seconds(2));
  EXPECT_EQ(server().numConnections(), 0U);
  EXPECT_FALSE(sendWith(client.get(), "and more"));
  EXPECT_TRUE(atEnd(client.get()));
}

}  // namespace
}  // namespace KorvoAgent
