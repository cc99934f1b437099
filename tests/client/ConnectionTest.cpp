#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <variant>

#include "client/Connection.h"
#include "tests/client/FakeAgent.h"

namespace KorvoCtl {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;

Problem failureAt(const std::string& path) {
  const auto result = connectToAgent(path, 1s);
  const Problem* problem = problemOf(result);
  return problem == nullptr ? Problem{ExitStatus::kOk, "connected"} : *problem;
}

TEST(ConnectionTest, MissingSocketIsAnAgentThatDoesNotAnswer) {
  TempDir dir;
  const Problem problem = failureAt(dir.file("none.sock"));
  EXPECT_EQ(problem.status, ExitStatus::kUnavailable);
  EXPECT_EQ(problem.message, "no agent answers at " + dir.file("none.sock") +
                                 ": No such file or directory; is korvo-l2-agent running? (give "
                                 "its socket with -s)");
}

TEST(ConnectionTest, SocketThatNobodyListensOnIsAnAgentThatDoesNotAnswer) {
  TempDir dir;
  const std::string path = dir.file("dead.sock");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.data(), path.size());
  const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  const Problem problem = failureAt(path);
  EXPECT_EQ(problem.status, ExitStatus::kUnavailable);
  EXPECT_THAT(problem.message, AllOf(HasSubstr(path), HasSubstr("Connection refused"),
                                     HasSubstr("is korvo-l2-agent running?")));
}

TEST(ConnectionTest, FileThatIsNoSocketIsAnAgentThatDoesNotAnswer) {
  TempDir dir;
  std::ofstream(dir.file("file")) << "text";
  EXPECT_EQ(failureAt(dir.file("file")).status, ExitStatus::kUnavailable);
}

TEST(ConnectionTest, PathThatNoSocketCanHaveIsWrongUsage) {
  EXPECT_EQ(failureAt("").status, ExitStatus::kUsage);
  const Problem tooLong = failureAt(std::string(108, 'x'));
  EXPECT_EQ(tooLong.status, ExitStatus::kUsage);
  EXPECT_THAT(tooLong.message, HasSubstr("107"));
  EXPECT_EQ(failureAt(std::string(107, 'x')).status, ExitStatus::kUnavailable);
}

TEST(ConnectionTest, LongestLineArrivesWholeWithOneDescriptor) {
  int descriptors = 0;
  FakeAgent agent([&](FakeAgent::Peer& peer, const std::string& /*request*/) {
    descriptors = peer.descriptorsReceived();
    peer.answer("via the descriptor");
  });
  const auto connection = connectToAgent(agent.path(), 0s);
  ASSERT_EQ(problemOf(connection), nullptr);
  auto channel = std::get<AnswerChannel>(makeAnswerChannel());
  const std::string command(65535, 'x');
  ASSERT_TRUE(
      sendRequest(std::get<Descriptor>(connection).get(), command + "\n", channel.theirs.get()));
  // Does not block, and the fake needs a moment.
  pollfd entry{.fd = channel.ours.get(), .events = POLLIN, .revents = 0};
  ASSERT_EQ(::poll(&entry, 1, -1), 1);
  std::array<char, 64> buffer{};
  const ssize_t n = ::read(channel.ours.get(), buffer.data(), buffer.size());
  EXPECT_EQ(std::string(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0))),
            "via the descriptor");
  EXPECT_THAT(agent.requests(), testing::ElementsAre(command));
  EXPECT_EQ(descriptors, 1);
}

// A signal cuts a send() short that waits for room. The line is too long to be taken at once, so
// that a send() of which something has arrived is under way until somebody reads.
TEST(ConnectionTest, LineThatIsSentInPiecesHasOneDescriptor) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  const Descriptor ours(ends[0]);
  FakeAgent::Peer peer{Descriptor(ends[1])};
  const int least = 1;
  ::setsockopt(ours.get(), SOL_SOCKET, SO_SNDBUF, &least, sizeof(least));
  const auto channel = std::get<AnswerChannel>(makeAnswerChannel());
  static std::atomic<int> interrupted{0};
  struct sigaction action {};
  action.sa_handler = [](int) { ++interrupted; };
  struct sigaction before {};
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);

  const std::string command(65535, 'x');
  std::thread sender(
      [&] { EXPECT_TRUE(sendRequest(ours.get(), command + "\n", channel.theirs.get())); });
  pollfd entry{.fd = ends[1], .events = POLLIN, .revents = 0};
  EXPECT_EQ(::poll(&entry, 1, -1), 1);
  ::pthread_kill(sender.native_handle(), SIGUSR1);
  while (interrupted == 0) {
    std::this_thread::yield();
  }
  EXPECT_EQ(peer.readRequest(), command);
  sender.join();
  ::sigaction(SIGUSR1, &before, nullptr);
  EXPECT_EQ(peer.descriptorsReceived(), 1);
}

TEST(ConnectionTest, AgentThatHasHungUpIsNoticedWhenSending) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  const Descriptor ours(ends[0]);
  Descriptor(ends[1]).close();
  const auto channel = std::get<AnswerChannel>(makeAnswerChannel());
  EXPECT_FALSE(sendRequest(ours.get(), "agent text status\n", channel.theirs.get()));
}

}  // namespace
}  // namespace KorvoCtl
