// A command server in the test's own process, on real sockets and a clock that the test moves.
//
// Unix sockets hand over what is sent at once, so that turning the loop until it has nothing to do
// brings the server to rest without waiting for time to pass.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/server/CommandServer.h"
#include "tests/agent/server/RowsMachine.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent {

/** Both ends of a new socket pair. */
struct SocketPair {
  FileDescriptor client;
  FileDescriptor server;
};
SocketPair makeSocketPair(int type = SOCK_STREAM);

/** What has arrived at `socket`; without waiting. */
std::string received(int socket);
/** Whether the other end is closed and everything was read. */
bool atEnd(int socket);
/** Sends `text`, with descriptors along its first byte. Whether all of it was taken. */
bool sendWith(int socket, std::string_view text, const std::vector<int>& descriptors = {});

/** How many file descriptors the process has open. */
std::size_t numOpenDescriptors();

/** While it lives the process gets no more than `left` new file descriptors, 0 or 1. */
class FewDescriptors {
 public:
  explicit FewDescriptors(rlim_t left);
  ~FewDescriptors();
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

 private:
  rlimit before_{};
};

enum class SystemCall : std::uint8_t { accept, send };

/** While it lives that system call fails with `error`, whoever makes it. */
class FailingCall {
 public:
  FailingCall(SystemCall call, int error);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

 private:
  SystemCall call_;
};

/** A plain callback that does what its command says. */
class TestPlainCallback final : public AgentCommand::CliCallbackBase {
 public:
  TestPlainCallback() : CliCallbackBase("test", "plain") {}
  /**
   * "PRINT text", "CLOSE", "CLOSE_AND_REUSE", "THROW", "THROW_NUMBER", "THROW_ARGUMENT",
   * "NOT_READY", "BIG rows", "NO_TABLE" (unknown, with a reason), else unknown.
   */
  void handleCommand(std::uint32_t socket, std::string command) override;
  std::string commandSeen;
  std::function<void()> betweenPrints;
  /** The file that CLOSE_AND_REUSE opened; it has the number that the socket had. */
  int reused = -1;
};

/** A formatted callback: at once as the plain one, or as a RowsMachine. */
class TestFormattedCallback final : public AgentCommand::CliCallbackBaseWithFormat {
 public:
  explicit TestFormattedCallback(Qel::Ptr<const Qel::Clock> clock)
      : CliCallbackBaseWithFormat("test", "formatted"), clock_(std::move(clock)) {}
  /** "FORMAT" prints the format's number, "FAIL" half an answer; else unknown. */
  void handleCommand(std::uint32_t socket, std::string command,
                     std::uint32_t outputFormat) override;
  /**
   * "ROWS n", "MACT_MISSING n" (a check, which prints the same), "WAIT" (prints once mayGoOn),
   * "NOT_READY", "THROW", "THROW_NUMBER", "THROW_ARGUMENT", "SILENT" (no machine and no word about
   * it), else unknown.
   */
  Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> createAgentAsyncCommandRequestSm(
      Qel::Ptr<const AgentCommand::AgentCommandRequest> request) override;
  RowsMachine::Hook beforeRow;
  bool mayGoOn = false;
  std::string commandSeen;

 private:
  Qel::Ptr<const Qel::Clock> clock_;
};

class ServerHarness : public testing::Test {
 protected:
  static constexpr uid_t kUser = 1000;

  ~ServerHarness() override;

  CommandServer& server();
  /** Turns the loop until it has nothing left to do. */
  void settle();
  /** Turns the loop once. */
  void turn() { loop->turn(); }
  void pass(Qel::Duration time) {
    clock->advance(time);
    settle();
  }
  /** A client of user `user`, connected. */
  FileDescriptor connect(uid_t user = kUser) { return connectAs({user, user, {}}); }
  FileDescriptor connectAs(Peer peer);
  /** Sends a line on a new connection and returns all that comes back, to the end of file. */
  std::string ask(std::string_view line);

  /** A request whose answer goes to a socket of its own. */
  struct Request {
    FileDescriptor control;
    FileDescriptor answer;
  };
  Request request(std::string_view line, uid_t user = kUser);

  Qel::Ptr<Qel::ManualClock> clock = Qel::makePtr<Qel::ManualClock>();
  Qel::Ptr<TestPlainCallback> plain = Qel::makePtr<TestPlainCallback>();
  Qel::Ptr<TestFormattedCallback> formatted = Qel::makePtr<TestFormattedCallback>(clock);
  ServerPolicy policy;
  AgentFacts facts;
  std::function<std::string()> noHardware = [] { return std::string(); };
  std::optional<EventLoop> loop;

 private:
  std::optional<CommandServer> server_;
};

}  // namespace KorvoAgent
