// Verbs for tests of the two command callbacks: an agent of mocks, commands with an answer socket,
// the trace lines that they leave, and a count of what they leave behind.
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "platform/base/Toggles.h"
#include "platform/base/Trace.h"
#include "platform/base/Tracked.h"
#include "tests/mocks/CommandSocket.h"
#include "tests/mocks/MockAgentWorld.h"
#include "tests/support/CapturingTraceSink.h"

namespace KorvoL2::Testing {

/** How many handlers of the command front end live. */
std::int64_t liveHandlers();

class CallbackFixture : public ::testing::Test {
 protected:
  using Kind = AgentCommand::CommandOutcome::Kind;

  explicit CallbackFixture(Unexpected serviceCall = Unexpected::fails);
  ~CallbackFixture() override;
  /** Releases the callbacks; nothing of them may be left. */
  void TearDown() override;

  /** A new answer socket; socket() is the number that the next command carries. */
  void openSocket() { socket_ = std::make_unique<CommandSocket>(); }
  std::uint32_t socket() const { return socket_->descriptor(); }
  /** What was written to the socket so far, and whether the command closed it. */
  std::string answer() { return socket_->text(); }
  bool closed() { return socket_->closed(); }

  // Each gives one command to a callback; its handlers must be gone afterwards.

  void runPlain(const std::string& command);
  void runFormatted(const std::string& command, std::uint32_t format = Rendering::kText);
  /** Asks for a state machine; without one, the request must be gone too. */
  Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> createMachine(
      const std::string& command, std::uint32_t format = Rendering::kText);

  /** A request of the name "request-7" on the socket. */
  Qel::Ptr<const AgentCommand::AgentCommandRequest> request(
      const std::string& command, std::uint32_t format = Rendering::kText);

  /** The messages traced at `level`, in order. */
  std::vector<std::string> traced(int level) const;
  /** The keyword of the handler that took the last command, or "none". */
  std::string executed() const;

  void expectUntouchedSocket();
  void expectInvalidCommand();
  static void expectNotReady(const AgentCommand::CommandOutcome& outcome,
                             const std::string& reason);
  static void expectHandled(const AgentCommand::CommandOutcome& outcome);

  MockAgentWorld world;
  std::shared_ptr<Qel::CapturingTraceSink> traces = std::make_shared<Qel::CapturingTraceSink>();
  Qel::Ptr<CliCallback> plain = cliCallbackFactory("cli");
  Qel::Ptr<CliCallbackWithFormat> formatted = cliCallbackWithFormatFactory("cliWithFormat");

 private:
  std::shared_ptr<Qel::TraceSink> previousSink_ = Qel::traceSinkIs(traces);
  std::unique_ptr<CommandSocket> socket_ = std::make_unique<CommandSocket>();
};

}  // namespace KorvoL2::Testing
