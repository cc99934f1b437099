// Clients that vanish, stop reading, or send descriptors that cannot take an answer.

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/agent/server/ServerHarness.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::StartsWith;

class ServerFaultTest : public ServerHarness {
 protected:
  std::string refusalOf(const std::vector<int>& descriptors) {
    const FileDescriptor client = connect();
    EXPECT_TRUE(sendWith(client.get(), "async text ROWS 3\n", descriptors));
    settle();
    std::string events = received(client.get());
    EXPECT_TRUE(atEnd(client.get()));
    EXPECT_THAT(events, StartsWith("{\"event\":\"done\",\"status\":\"refused\",\"message\":\""));
    return events;
  }
};

TEST_F(ServerFaultTest, DescriptorsThatAreNoStreamSocketAreRefused) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  const FileDescriptor reading(ends[0]);
  const FileDescriptor writing(ends[1]);
  EXPECT_THAT(refusalOf({writing.get()}), HasSubstr("the descriptor is no socket; "));
  const FileDescriptor file(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  EXPECT_THAT(refusalOf({file.get()}), HasSubstr("the descriptor is no socket; "));
  const SocketPair datagram = makeSocketPair(SOCK_DGRAM);
  EXPECT_THAT(refusalOf({datagram.server.get()}),
              HasSubstr("the descriptor is no stream socket; "));
  const SocketPair packets = makeSocketPair(SOCK_SEQPACKET);
  EXPECT_THAT(refusalOf({packets.server.get()}), HasSubstr("the descriptor is no stream socket; "));
}

TEST_F(ServerFaultTest, SocketsWithoutAPeerAreRefused) {
  const FileDescriptor unconnected(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_THAT(refusalOf({unconnected.get()}), HasSubstr("the descriptor is not connected; "));
  const FileDescriptor listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::listen(listening.get(), 1), 0);
  EXPECT_THAT(refusalOf({listening.get()}), HasSubstr("the descriptor is a listening socket; "));
}

TEST_F(ServerFaultTest, MoreThanOneDescriptorIsRefused) {
  const SocketPair a = makeSocketPair();
  const SocketPair b = makeSocketPair();
  refusalOf({a.server.get(), b.server.get()});  // once, for what the server makes on first use
  const std::size_t before = numOpenDescriptors();
  EXPECT_THAT(refusalOf({a.server.get(), b.server.get()}),
              HasSubstr("more than one descriptor came"));
  std::vector<int> many(100, a.server.get());
  EXPECT_THAT(refusalOf(many), HasSubstr("more than one descriptor came"));
  EXPECT_EQ(numOpenDescriptors(), before);
  EXPECT_EQ(received(a.client.get()), "");
}

TEST_F(ServerFaultTest, DescriptorsOfSeveralPiecesOfTheLineAreCountedTogether) {
  const SocketPair a = makeSocketPair();
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "async text ", {a.server.get()}));
  settle();
  ASSERT_TRUE(sendWith(client.get(), "ROWS 3\n", {a.server.get()}));
  settle();
  EXPECT_THAT(received(client.get()), HasSubstr("more than one descriptor came"));
}

TEST_F(ServerFaultTest, ATcpSocketTakesAnAnswer) {
  const FileDescriptor listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  ASSERT_EQ(::bind(listening.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(::listen(listening.get(), 1), 0);
  ASSERT_EQ(::getsockname(listening.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  const FileDescriptor reader(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::connect(reader.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
  FileDescriptor writer(::accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 3\n", {writer.get()}));
  writer.reset();
  settle();
  std::string text;
  std::array<char, 4096> piece{};
  ssize_t n = 0;
  while ((n = ::recv(reader.get(), piece.data(), piece.size(), 0)) > 0) {
    text.append(piece.data(), static_cast<std::size_t>(n));
  }
  EXPECT_EQ(text, rowsText(3));
}

TEST_F(ServerFaultTest, ADescriptorsStatusFlagsStayAsTheyWere) {
  const SocketPair answer = makeSocketPair();
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 1000000\n", {answer.server.get()}));
  for (int i = 0; i < 200; ++i) turn();  // until the socket is full and waited for
  EXPECT_EQ(::fcntl(answer.server.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(ServerFaultTest, AClientMayVanishAfterAnyByteOfItsLine) {
  const std::string line = "async text ROWS 100000\n";
  connect().reset();
  settle();
  const std::size_t before = numOpenDescriptors();
  for (std::size_t i = 0; i <= line.size(); ++i) {
    const SocketPair answer = makeSocketPair();
    FileDescriptor client = connect();
    if (i != 0) {
      ASSERT_TRUE(sendWith(client.get(), line.substr(0, i), {answer.server.get()}));
    }
    if (i % 2 == 0) settle();
    client.reset();
    settle();
    EXPECT_EQ(server().numConnections(), 0U) << i;
    EXPECT_TRUE(server().scheduler().jobs().empty()) << i;
  }
  EXPECT_EQ(numOpenDescriptors(), before);
}

TEST_F(ServerFaultTest, AClientMayVanishAfterAnyByteOfItsAnswer) {
  policy.scheduler.slice.rowBudget = 1;
  const std::size_t whole = rowsText(20).size();
  for (const bool withDescriptor : {false, true}) {
    for (std::size_t i = 0; i < whole; ++i) {
      Request made;
      if (withDescriptor) {
        made = request("async text ROWS 20\n");
      } else {
        made.answer = connect();
        ASSERT_TRUE(sendWith(made.answer.get(), "async text ROWS 20\n"));
      }
      for (std::size_t read = 0; read < i;) {
        turn();
        std::array<char, 256> piece{};
        const ssize_t n =
            ::recv(made.answer.get(), piece.data(), std::min(piece.size(), i - read), MSG_DONTWAIT);
        if (n > 0) read += static_cast<std::size_t>(n);
      }
      made.answer.reset();
      settle();
      EXPECT_TRUE(server().scheduler().jobs().empty()) << i;
      if (withDescriptor) {
        const std::string events = received(made.control.get());
        EXPECT_THAT(events, HasSubstr("\"event\":\"done\"")) << i;
        EXPECT_TRUE(atEnd(made.control.get())) << i;
      }
      EXPECT_EQ(server().numConnections(), 0U) << i;
    }
  }
}

TEST_F(ServerFaultTest, ALongDumpEndsAtOnceWhenItsReaderVanishes) {
  const Request made = request("async text ROWS 10000000\n");
  for (int i = 0; i < 100; ++i) turn();
  ASSERT_EQ(server().scheduler().jobs().begin()->second.state(), Job::State::blocked);
  const_cast<FileDescriptor&>(made.answer).reset();
  settle();
  EXPECT_THAT(received(made.control.get()),
              HasSubstr("\"status\":\"client-gone\",\"message\":\"the answer's reader has gone\""));
  EXPECT_EQ(Qel::liveInstances("RowsMachine"), 0);
}

class ServerWaitTest : public ServerFaultTest {
 protected:
  /** Whether the only request waits for the agent, prints nothing and is not asked either. */
  bool waits() {
    settle();
    const auto& jobs = server().scheduler().jobs();
    return jobs.size() == 1 && jobs.begin()->second.state() == Job::State::waiting;
  }
};

// Nothing is written and no time passes here: only that somebody hangs up can end the request.

TEST_F(ServerWaitTest, ARequestThatWaitsEndsAtOnceWhenItsReaderVanishes) {
  settle();
  const std::size_t before = numOpenDescriptors();
  {
    Request made = request("async text WAIT\n");
    ASSERT_TRUE(waits());
    made.answer.reset();
    settle();
    EXPECT_THAT(received(made.control.get()),
                HasSubstr("\"status\":\"client-gone\",\"message\":\"the answer's reader has "
                          "gone\""));
    EXPECT_TRUE(atEnd(made.control.get()));
  }
  EXPECT_TRUE(server().scheduler().jobs().empty());
  EXPECT_EQ(server().scheduler().nextDeadline(), std::nullopt);
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
  EXPECT_EQ(numOpenDescriptors(), before);
}

TEST_F(ServerWaitTest, SoDoesOneWhoseAnswerGoesToTheConnection) {
  FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "async text WAIT\n"));
  ASSERT_TRUE(waits());
  client.reset();
  settle();
  EXPECT_TRUE(server().scheduler().jobs().empty());
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
  EXPECT_EQ(server().numConnections(), 0U);
}

TEST_F(ServerWaitTest, OutOfBandDataWakesTheLoopOnceAndAHangupIsSeenAfterIt) {
  for (FileDescriptor Request::*const end : {&Request::control, &Request::answer}) {
    Request made = request("async text WAIT\n");
    ASSERT_TRUE(waits());
    ::send((made.*end).get(), "!", 1, MSG_OOB | MSG_DONTWAIT | MSG_NOSIGNAL);
    turn();
    turn();
    EXPECT_FALSE(loop->turn()) << "the loop does not rest";
    (made.*end).reset();
    settle();
    EXPECT_TRUE(server().scheduler().jobs().empty());
  }
}

TEST_F(ServerFaultTest, AReaderThatVanishesWhileACallbackPrintsIsNoticed) {
  Request made = request("plain text BIG 10\n");
  plain->betweenPrints = [&] { made.answer.reset(); };
  settle();
  EXPECT_THAT(received(made.control.get()), HasSubstr("\"status\":\"client-gone\""));
}

TEST_F(ServerFaultTest, AControlConnectionThatHangsUpCancelsTheRequest) {
  policy.scheduler.slice.rowBudget = 1;
  Request made = request("async text ROWS 10000000\n");
  for (int i = 0; i < 10; ++i) turn();
  made.control.reset();
  settle();
  EXPECT_TRUE(server().scheduler().jobs().empty());
  received(made.answer.get());
  EXPECT_TRUE(atEnd(made.answer.get()));
}

TEST_F(ServerFaultTest, OutOfBandDataIsNoHangup) {
  policy.scheduler.slice.rowBudget = 1;
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 100\n"));
  turn();
  ::send(client.get(), "!", 1, MSG_OOB | MSG_DONTWAIT | MSG_NOSIGNAL);
  settle();
  EXPECT_EQ(received(client.get()), rowsText(100));
}

TEST_F(ServerFaultTest, ADumpThatNobodyReadsEndsWithClientGone) {
  policy.scheduler.clientTimeout = seconds(30);
  const Request made = request("async text ROWS 10000000\n");
  settle();
  const std::string first = received(made.control.get());
  EXPECT_THAT(first, testing::Not(HasSubstr("done")));
  EXPECT_FALSE(loop->turn()) << "a blocked dump keeps the loop busy";
  pass(seconds(30) - milliseconds(1));
  EXPECT_THAT(received(made.control.get()), testing::Not(HasSubstr("done")));
  pass(milliseconds(1));
  EXPECT_THAT(
      received(made.control.get()),
      HasSubstr("\"status\":\"client-gone\",\"message\":\"nothing of the answer was read for 30 "
                "s\""));
  EXPECT_EQ(Qel::liveInstances("RowsMachine"), 0);
}

TEST_F(ServerFaultTest, AReaderTooSlowForTheSocketToTakeMoreIsNotGivenUp) {
  policy.scheduler.clientTimeout = seconds(30);
  Request made = request("async text ROWS 10000000\n");
  settle();
  std::array<char, std::size_t{128} * 1024> piece{};
  for (int i = 0; i < 5; ++i) {
    ASSERT_GT(::recv(made.answer.get(), piece.data(), piece.size(), MSG_DONTWAIT), 0);
    pass(seconds(30));
    EXPECT_EQ(server().scheduler().jobs().size(), 1U) << i;
  }
  pass(seconds(30));
  EXPECT_TRUE(server().scheduler().jobs().empty());
}

TEST_F(ServerFaultTest, ADumpThatNobodyReadsHoldsLittleMemory) {
  std::uint64_t rows = 0;
  formatted->beforeRow = [&](std::uint64_t row) { rows = row; };
  const Request made = request("async text ROWS 10000000\n");
  settle();
  const std::string taken = received(made.answer.get());
  const std::uint64_t printed = (rows + 1) * rowText(0).size();
  // What the kernel's buffers did not take is less than a slice's window and a buffer.
  EXPECT_LT(printed - taken.size(), 512U * 1024);
}

TEST_F(ServerFaultTest, AClientThatDoesNotReadItsEventsMissesProgressButNotTheEnd) {
  policy.scheduler.slice.rowBudget = 1;
  formatted->beforeRow = [&](std::uint64_t) { clock->advance(milliseconds(100)); };
  const Request made = request("async text ROWS 40000\n");
  std::string answer;
  while (!atEnd(made.answer.get())) {
    turn();
    answer += received(made.answer.get());
  }
  EXPECT_TRUE(answer == rowsText(40000)) << answer.size() << " bytes";
  std::string events;
  while (!atEnd(made.control.get())) {
    events += received(made.control.get());
    settle();
  }
  const std::string last = events.substr(events.rfind("{\"event\""));
  EXPECT_THAT(last, StartsWith("{\"event\":\"done\",\"status\":\"ok\","));
  EXPECT_LT(std::ranges::count(events, '\n'), 40000);
}

TEST_F(ServerFaultTest, AClientThatNeverReadsItsEventsIsGivenUpInTheEnd) {
  policy.scheduler.slice.rowBudget = 1;
  policy.connection.closingTimeout = seconds(60);
  formatted->beforeRow = [&](std::uint64_t) { clock->advance(milliseconds(100)); };
  const Request made = request("async text ROWS 40000\n");
  while (!atEnd(made.answer.get())) {
    turn();
    received(made.answer.get());
  }
  settle();
  EXPECT_EQ(server().numConnections(), 1U);
  pass(seconds(60));
  EXPECT_EQ(server().numConnections(), 0U);
}

TEST_F(ServerFaultTest, AnAnswerSentBackToTheAgentItselfStopsByTheTimeout) {
  policy.scheduler.clientTimeout = seconds(30);
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 10000000\n", {client.get()}));
  settle();
  pass(seconds(30));
  EXPECT_TRUE(server().scheduler().jobs().empty());
}

TEST_F(ServerFaultTest, AnAnswerThatFindsTheKernelShortOfBuffersGoesOnWhenItHasSome) {
  for (const bool withDescriptor : {false, true}) {
    Request made;
    if (withDescriptor) {
      made = request("async text ROWS 3\n");
    } else {
      made.answer = connect();
      ASSERT_TRUE(sendWith(made.answer.get(), "async text ROWS 3\n"));
    }
    {
      const FailingCall send(SystemCall::send, ENOBUFS);
      for (int i = 0; i < 5; ++i) turn();
    }
    EXPECT_EQ(server().scheduler().jobs().size(), 1U);
    settle();
    EXPECT_EQ(received(made.answer.get()), rowsText(3));
    EXPECT_TRUE(atEnd(made.answer.get()));
    if (withDescriptor) {
      EXPECT_THAT(received(made.control.get()), HasSubstr("\"status\":\"ok\""));
    }
  }
}

// UBSan asks the kernel about memory through descriptors of its own, the first time that it sees a
// class: what these tests go through is gone through once before descriptors run out.

TEST_F(ServerFaultTest, WithoutDescriptorsACommandFailsWithAReasonAndTheAgentGoesOn) {
  const Request before = request("plain text THROW\n");
  settle();
  const SocketPair answer = makeSocketPair();
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "plain text PRINT hello\n", {answer.server.get()}));
  {
    const FewDescriptors one(1);  // which the answer's socket takes
    settle();
  }
  EXPECT_EQ(received(answer.client.get()), "");
  EXPECT_THAT(received(client.get()),
              HasSubstr("\"status\":\"error\",\"message\":\"no descriptor for the answer: Too many "
                        "open files\""));
  EXPECT_TRUE(atEnd(client.get()));
  EXPECT_EQ(ask("plain text PRINT hello\n"), "hello");
}

TEST_F(ServerFaultTest, ADescriptorThatCannotBeTakenInIsNotMistakenForNone) {
  refusalOf({STDIN_FILENO, STDIN_FILENO});
  const FileDescriptor client = connect();
  const SocketPair answer = makeSocketPair();
  settle();
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 3\n", {answer.server.get()}));
  {
    const FewDescriptors none(0);
    settle();
  }
  EXPECT_THAT(received(client.get()), HasSubstr("\"status\":\"refused\""));
  EXPECT_TRUE(atEnd(client.get()));
}

}  // namespace
}  // namespace KorvoAgent
