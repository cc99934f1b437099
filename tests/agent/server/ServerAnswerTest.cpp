// What clients get back, by entry, with and without a descriptor.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>

#include "platform/command/CommandArgument.h"
#include "tests/agent/server/ServerHarness.h"

namespace KorvoAgent {
namespace {

using std::chrono::milliseconds;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class ServerAnswerTest : public ServerHarness {
 protected:
  /** The control connection's lines for a request that runs to its end. */
  std::string eventsOf(std::string_view line, std::string* answer = nullptr) {
    const Request made = request(line);
    settle();
    const std::string text = received(made.answer.get());
    EXPECT_TRUE(atEnd(made.answer.get()));
    if (answer != nullptr) *answer = text;
    std::string events = received(made.control.get());
    EXPECT_TRUE(atEnd(made.control.get()));
    return events;
  }

  static std::string done(std::string_view status, std::string_view message, std::size_t rows,
                          std::size_t bytes, std::size_t slices) {
    return "{\"event\":\"done\",\"status\":\"" + std::string(status) + "\",\"message\":\"" +
           std::string(message) + "\",\"rows\":" + std::to_string(rows) +
           ",\"bytes\":" + std::to_string(bytes) + ",\"slices\":" + std::to_string(slices) +
           ",\"worstSliceMs\":0.000,\"elapsedMs\":0.000}\n";
  }
};

constexpr const char* kAccepted = "{\"event\":\"accepted\",\"id\":1}\n";

TEST_F(ServerAnswerTest, AnswersComeRawAndEndWithEndOfFile) {
  EXPECT_EQ(ask("plain text PRINT hello\n"), "hello");
  EXPECT_EQ(ask("sync text FORMAT\n"), "1\n");
  EXPECT_EQ(ask("sync json FORMAT\n"), "2\n");
  EXPECT_EQ(ask("async json ROWS 3\n"), rowsText(3));
}

TEST_F(ServerAnswerTest, WhatNoHandlerTakesGetsWhatItsEntrySays) {
  EXPECT_EQ(ask("plain text CLOSE\n"), "Invalid Command\n");
  EXPECT_EQ(ask("sync text NOPE\n"), "");
  EXPECT_EQ(ask("async text NOPE\n"), "");
}

TEST_F(ServerAnswerTest, WithADescriptorTheAnswerGoesThereAndEventsToTheConnection) {
  std::string answer;
  const std::string events = eventsOf("async text ROWS 5\n", &answer);
  EXPECT_EQ(answer, rowsText(5));
  EXPECT_EQ(events, kAccepted + done("ok", "", 5, rowsText(5).size(), 1));
}

TEST_F(ServerAnswerTest, EventsOfCallbacksThatAnswerAtOnce) {
  std::string answer;
  EXPECT_EQ(eventsOf("plain text PRINT hello\n", &answer), kAccepted + done("ok", "", 0, 5, 1));
  EXPECT_EQ(answer, "hello");
  EXPECT_THAT(eventsOf("sync json FORMAT\n", &answer), EndsWith(done("ok", "", 0, 2, 1)));
  EXPECT_EQ(answer, "2\n");
}

TEST_F(ServerAnswerTest, EveryOutcomeHasItsStatus) {
  EXPECT_THAT(eventsOf("plain text CLOSE\n"),
              EndsWith(done("no-handler", "no plain handler takes \\\"CLOSE\\\"", 0, 16, 1)));
  EXPECT_THAT(eventsOf("sync text NOPE\n"),
              EndsWith(done("no-handler", "no sync handler takes \\\"NOPE\\\"", 0, 0, 1)));
  EXPECT_THAT(eventsOf("async text NOPE\n"),
              EndsWith(done("no-handler", "no async handler takes \\\"NOPE\\\"", 0, 0, 0)));
  EXPECT_THAT(eventsOf("async text SILENT\n"),
              EndsWith(done("no-handler", "no async handler takes \\\"SILENT\\\"", 0, 0, 0)));
  EXPECT_THAT(eventsOf("plain text NOT_READY\n"),
              EndsWith(done("not-ready", "l2 agent not ready", 0, 0, 1)));
  EXPECT_THAT(eventsOf("async text NOT_READY\n"),
              EndsWith(done("not-ready", "no unicast agent", 0, 0, 0)));
  EXPECT_THAT(eventsOf("plain text THROW\n"),
              EndsWith(done("error", "the handler failed", 0, 6, 1)));
  EXPECT_THAT(eventsOf("async text THROW\n"),
              EndsWith(done("error", "no machine could be made", 0, 0, 0)));
  EXPECT_THAT(eventsOf("plain json PRINT hello\n"), StartsWith("{\"event\":\"done\",\"status\":"
                                                               "\"refused\""));
}

TEST_F(ServerAnswerTest, AnAnswerThatIsKnownToBeCutOffIsNotOk) {
  std::string answer;
  EXPECT_THAT(eventsOf("sync json FAIL\n", &answer),
              EndsWith(done("error", "the other half is lost", 0, 8, 1)));
  EXPECT_EQ(answer, "{\"half\":");
}

TEST_F(ServerAnswerTest, WhyNoHandlerTakesACommandIsSaidWhereItIsKnown) {
  EXPECT_THAT(
      eventsOf("plain text NO_TABLE\n"),
      EndsWith(done("no-handler", "no plain handler takes \\\"NO_TABLE\\\": it names no table", 0,
                    0, 1)));
}

TEST_F(ServerAnswerTest, WhichArgumentIsWrongIsSaidWhereverItIsRead) {
  const std::string message = "chip list \\\"0,x\\\": stoi";
  EXPECT_THAT(eventsOf("plain text THROW_ARGUMENT\n"), EndsWith(done("error", message, 0, 0, 1)));
  EXPECT_THAT(eventsOf("async text THROW_ARGUMENT\n"), EndsWith(done("error", message, 0, 0, 0)));
  formatted->beforeRow = [](std::uint64_t) {
    AgentCommand::readArgument("chip list", "0,x", [] { return std::stoi("x"); });
  };
  EXPECT_THAT(eventsOf("async text ROWS 9\n"), EndsWith(done("error", message, 0, 0, 1)));
}

TEST_F(ServerAnswerTest, WithoutHardwareItsCommandsAreNotReadyAndDoNotReachThePlugIn) {
  const std::string reason = "no chip holds the table";
  noHardware = [&reason] { return std::string(reason); };
  for (const std::string command : {"MACT_DIFF0", "MACT_MISSING", "MACT_HW_ALLdetail+0,1"}) {
    formatted->commandSeen.clear();
    std::string answer;
    EXPECT_THAT(eventsOf("async json " + command + "\n", &answer),
                EndsWith(done("not-ready", reason, 0, 0, 0)));
    EXPECT_EQ(answer, "");
    EXPECT_EQ(formatted->commandSeen, "");
  }
  ask("async json MACT_ALL\n");
  EXPECT_EQ(formatted->commandSeen, "MACT_ALL");
  EXPECT_EQ(ask("async json ROWS 3\n"), rowsText(3));
  noHardware = [] { return std::string(); };
  ask("async json MACT_DIFF0\n");
  EXPECT_EQ(formatted->commandSeen, "MACT_DIFF0");
}

TEST_F(ServerAnswerTest, ASliceThatFailsSaysSoAndTheAgentGoesOn) {
  formatted->beforeRow = [](std::uint64_t row) {
    if (row == 2) throw std::runtime_error("the table is broken");
  };
  std::string answer;
  EXPECT_THAT(eventsOf("async json ROWS 9\n", &answer),
              EndsWith(done("error", "the table is broken", 2, 32, 1)));
  EXPECT_EQ(answer, rowText(0) + rowText(1));
  EXPECT_EQ(ask("plain text PRINT still here\n"), "still here");
}

TEST_F(ServerAnswerTest, WhatACallbackThrowsNeedNotBeAnException) {
  for (const std::string entry : {"plain", "async"}) {
    EXPECT_THAT(eventsOf(entry + " text THROW_NUMBER\n"),
                HasSubstr("\"status\":\"error\",\"message\":\"unknown exception\""));
    EXPECT_TRUE(server().scheduler().jobs().empty());
  }
}

TEST_F(ServerAnswerTest, ARequestThatCannotBeStartedLeavesNothingBehind) {
  noHardware = []() -> std::string { throw std::runtime_error("nobody knows"); };
  const Request made = request("async text MACT_DIFF0\n");
  settle();
  received(made.control.get());
  EXPECT_TRUE(atEnd(made.control.get()));
  EXPECT_TRUE(atEnd(made.answer.get()));
  EXPECT_TRUE(server().scheduler().jobs().empty());
  EXPECT_EQ(server().numConnections(), 0U);
  EXPECT_EQ(ask("plain text PRINT still here\n"), "still here");
}

TEST_F(ServerAnswerTest, AMalformedLineGetsOneLineThatSaysWhatIsWrong) {
  EXPECT_THAT(ask("nonsense\n"),
              AllOf(StartsWith("refused: unknown entry \"nonsense\"; a request is one line"),
                    EndsWith("\n")));
  EXPECT_THAT(ask("async xml X\n"), StartsWith("refused: unknown format \"xml\"; "));
  EXPECT_THAT(ask("\n"), StartsWith("refused: the line is empty; "));
  EXPECT_THAT(ask("async text \xff\n"), StartsWith("refused: the line is not UTF-8; "));
  EXPECT_THAT(ask("plain json PRINT x\n"),
              StartsWith("refused: plain commands answer in text only; "));
}

TEST_F(ServerAnswerTest, AMalformedLineWithADescriptorGetsADoneEvent) {
  std::string answer;
  const std::string events = eventsOf("bogus text X\n", &answer);
  EXPECT_THAT(events, StartsWith("{\"event\":\"done\",\"status\":\"refused\",\"message\":\""
                                 "unknown entry \\\"bogus\\\"; "));
  EXPECT_EQ(answer, "");
}

TEST_F(ServerAnswerTest, ALineMayComeByteByByte) {
  const FileDescriptor client = connect();
  for (const char c : std::string("plain text PRINT hello\n")) {
    ASSERT_TRUE(sendWith(client.get(), {&c, 1}));
    settle();
  }
  EXPECT_EQ(received(client.get()), "hello");
}

TEST_F(ServerAnswerTest, ADescriptorMayComeWithAnyByteOfTheLine) {
  const std::string line = "plain text PRINT hello\n";
  for (std::size_t i = 0; i < line.size(); ++i) {
    const SocketPair answer = makeSocketPair();
    const FileDescriptor client = connect();
    if (i != 0) {
      ASSERT_TRUE(sendWith(client.get(), line.substr(0, i)));
      settle();
    }
    ASSERT_TRUE(sendWith(client.get(), line.substr(i), {answer.server.get()}));
    settle();
    EXPECT_EQ(received(answer.client.get()), "hello") << i;
  }
}

TEST_F(ServerAnswerTest, TheLongestLineIsTakenAndALongerOneIsNot) {
  const std::string start = "plain text PRINT ";
  const std::string longest = start + std::string(kMaxRequestLine - start.size() - 1, 'x') + "\n";
  ASSERT_EQ(longest.size(), 64U * 1024);
  EXPECT_EQ(ask(longest), longest.substr(start.size(), longest.size() - start.size() - 1));

  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "y" + longest));
  settle();
  EXPECT_THAT(received(client.get()), StartsWith("refused: the line is longer than 65536 bytes; "));
  EXPECT_TRUE(atEnd(client.get()));
}

TEST_F(ServerAnswerTest, AClientThatSendsFarTooMuchStillReadsWhy) {
  const FileDescriptor client = connect();
  const std::string piece(std::size_t{32} * 1024, 'x');
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(sendWith(client.get(), piece)) << i;
    settle();
  }
  EXPECT_THAT(received(client.get()), StartsWith("refused: the line is longer than"));
  ::shutdown(client.get(), SHUT_WR);
  settle();
  EXPECT_EQ(server().numConnections(), 0U);
}

TEST_F(ServerAnswerTest, WhatFollowsTheLineIsIgnored) {
  EXPECT_EQ(ask("plain text PRINT one\nplain text PRINT two\n"), "one");
  // So much that it is not read with the line: the client sees the end of file all the same, and
  // not a broken connection.
  EXPECT_EQ(ask("plain text PRINT one\n" + std::string(60'000, 'x')), "one");
}

TEST_F(ServerAnswerTest, AClientThatClosesItsSendingSideGetsItsWholeAnswer) {
  policy.scheduler.slice.rowBudget = 1;
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 50\n"));
  ASSERT_EQ(::shutdown(client.get(), SHUT_WR), 0);
  settle();
  EXPECT_EQ(received(client.get()), rowsText(50));
  EXPECT_TRUE(atEnd(client.get()));

  const Request made = request("async text ROWS 50\n");
  ASSERT_EQ(::shutdown(made.control.get(), SHUT_WR), 0);
  ASSERT_EQ(::shutdown(made.answer.get(), SHUT_WR), 0);
  settle();
  EXPECT_EQ(received(made.answer.get()), rowsText(50));
  EXPECT_THAT(received(made.control.get()), HasSubstr("\"status\":\"ok\""));
}

TEST_F(ServerAnswerTest, ALineWithoutItsEndIsNotRun) {
  const FileDescriptor client = connect();
  ASSERT_TRUE(sendWith(client.get(), "plain text PRINT hel"));
  ASSERT_EQ(::shutdown(client.get(), SHUT_WR), 0);
  settle();
  EXPECT_THAT(received(client.get()),
              StartsWith("refused: the line does not end with a newline; "));
  EXPECT_TRUE(atEnd(client.get()));
}

TEST_F(ServerAnswerTest, AClientThatSaysNothingIsToldWhenItsTimeIsUp) {
  policy.connection.lineTimeout = std::chrono::seconds(10);
  const FileDescriptor silent = connect();
  const FileDescriptor slow = connect();
  ASSERT_TRUE(sendWith(slow.get(), "plain text PRI"));
  pass(std::chrono::milliseconds(9999));
  EXPECT_EQ(received(silent.get()), "");
  ASSERT_TRUE(sendWith(slow.get(), "NT hello\n"));
  pass(std::chrono::milliseconds(1));
  EXPECT_EQ(received(slow.get()), "hello");
  EXPECT_EQ(received(silent.get()), "refused: no request line came within 10 s\n");
  EXPECT_TRUE(atEnd(silent.get()));
  EXPECT_EQ(server().numConnections(), 0U);
}

TEST_F(ServerAnswerTest, AClientThatSendsALittleAtATimeGetsNoMoreTime) {
  policy.connection.lineTimeout = std::chrono::seconds(10);
  const FileDescriptor client = connect();
  for (int second = 1; second < 10; ++second) {
    ASSERT_TRUE(sendWith(client.get(), "x"));
    pass(std::chrono::seconds(1));
    EXPECT_FALSE(atEnd(client.get()));
  }
  ASSERT_TRUE(sendWith(client.get(), "x"));
  pass(std::chrono::seconds(1));
  EXPECT_EQ(received(client.get()), "refused: no request line came within 10 s\n");
  EXPECT_TRUE(atEnd(client.get()));
}

TEST_F(ServerAnswerTest, ALongAnswerOfACallbackArrivesWholeAndInOrder) {
  // The client reads while the callback still prints: later text must not overtake what is kept.
  const FileDescriptor client = connect();
  std::string answer;
  int prints = 0;
  plain->betweenPrints = [&] {
    if (++prints % 5000 == 0) answer += received(client.get());
  };
  ASSERT_TRUE(sendWith(client.get(), "plain text BIG 60000\n"));
  for (int i = 0; i < 1000 && !atEnd(client.get()); ++i) {
    settle();
    answer += received(client.get());
  }
  EXPECT_TRUE(answer == rowsText(60000)) << answer.size() << " bytes";
}

TEST_F(ServerAnswerTest, TheBytesOfALongCallbackAnswerAreCounted) {
  const Request made = request("plain text BIG 400000\n");
  std::string answer;
  settle();
  EXPECT_EQ(received(made.control.get()), kAccepted);
  for (int i = 0; i < 10000 && !atEnd(made.answer.get()); ++i) {
    answer += received(made.answer.get());
    settle();
  }
  EXPECT_TRUE(answer == rowsText(400000)) << answer.size() << " bytes";
  EXPECT_EQ(received(made.control.get()), done("ok", "", 0, rowsText(400000).size(), 1));
}

TEST_F(ServerAnswerTest, ACallbackMayCloseItsSocketAndTheNumberMayBeReused) {
  EXPECT_EQ(ask("plain text CLOSE_AND_REUSE\n"), "");
  ASSERT_GE(plain->reused, 0);
  EXPECT_NE(::fcntl(plain->reused, F_GETFD), -1) << "a file of somebody else was closed";
  FileDescriptor(plain->reused).reset();
}

TEST_F(ServerAnswerTest, NothingIsLeftOpen) {
  ask("plain text PRINT hello\n");
  const std::size_t before = numOpenDescriptors();
  for (int i = 0; i < 20; ++i) {
    ask("plain text PRINT hello\n");
    ask("plain text CLOSE\n");
    ask("async text ROWS 10\n");
    ask("nonsense\n");
    eventsOf("async text ROWS 10\n");
    eventsOf("plain text CLOSE\n");
  }
  EXPECT_EQ(numOpenDescriptors(), before);
  EXPECT_EQ(server().numConnections(), 0U);
}

TEST_F(ServerAnswerTest, AReaderThatTakesAByteAtATimeGetsEverything) {
  policy.scheduler.slice.outputWindow = 4096;
  const FileDescriptor client = connect();
  const int small = 1;  // the kernel's least
  ::setsockopt(client.get(), SOL_SOCKET, SO_RCVBUF, &small, sizeof(small));
  ASSERT_TRUE(sendWith(client.get(), "async text ROWS 2000\n"));
  std::string answer;
  while (!atEnd(client.get())) {
    turn();
    char byte = 0;
    if (::recv(client.get(), &byte, 1, MSG_DONTWAIT) == 1) answer += byte;
  }
  EXPECT_TRUE(answer == rowsText(2000)) << answer.size() << " bytes";
}

TEST_F(ServerAnswerTest, ShortCommandsAreAnsweredBetweenAnyTwoSlices) {
  policy.scheduler.slice.rowBudget = 1;
  const FileDescriptor dump = connect();
  std::uint64_t rows = 0;
  formatted->beforeRow = [&](std::uint64_t row) { rows = row; };
  ASSERT_TRUE(sendWith(dump.get(), "async text ROWS 1000\n"));
  for (int i = 0; i < 5; ++i) turn();
  for (int i = 0; i < 20; ++i) {
    const std::uint64_t before = rows;
    const FileDescriptor client = connect();
    ASSERT_TRUE(sendWith(client.get(), "plain text PRINT hello\n"));
    turn();
    EXPECT_EQ(received(client.get()), "hello");
    EXPECT_LE(rows, before + 1);
  }
  EXPECT_LT(rows, 999U);
}

TEST_F(ServerAnswerTest, ProgressIsToldOnTheConnectionOnly) {
  policy.scheduler.slice.rowBudget = 1;
  formatted->beforeRow = [&](std::uint64_t) { clock->advance(milliseconds(60)); };
  std::string answer;
  const std::string events = eventsOf("async text ROWS 5\n", &answer);
  EXPECT_EQ(answer, rowsText(5));
  EXPECT_EQ(events,
            std::string(kAccepted) +
                "{\"event\":\"progress\",\"rows\":2,\"bytes\":32,\"slices\":2}\n"
                "{\"event\":\"progress\",\"rows\":4,\"bytes\":64,\"slices\":4}\n"
                "{\"event\":\"done\",\"status\":\"ok\",\"message\":\"\",\"rows\":5,\"bytes\":84,"
                "\"slices\":5,\"worstSliceMs\":60.000,\"elapsedMs\":300.000}\n");
  EXPECT_EQ(ask("async text ROWS 5\n"), rowsText(5));
}

}  // namespace
}  // namespace KorvoAgent
