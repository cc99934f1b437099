#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

#include <string_view>
#include <utility>

#include "platform/rendering/PrintBuffer.h"

namespace KorvoL2::Testing {

std::int64_t liveHandlers() {
  std::int64_t live = 0;
  for (const Qel::LiveInstances& each : Qel::liveInstances()) {
    const bool handler = each.className.ends_with('H') || each.className.ends_with("Handler");
    if (handler && each.className.starts_with("CliCallback")) live += each.count;
  }
  return live;
}

CallbackFixture::CallbackFixture(Unexpected serviceCall) : world(serviceCall) {
  Qel::forgetTogglesForTest();
  Qel::toggleDirectoryIs("/nonexistent");
  Qel::traceHandle("KorvoL2CliCallbacks").levelIs(8);
  plain->l2AgentIs(world.agent.get());
  formatted->l2AgentIs(world.agent.get());
}

CallbackFixture::~CallbackFixture() {
  Qel::traceHandle("KorvoL2CliCallbacks").levelIs(0);
  Qel::traceSinkIs(previousSink_);
  Qel::forgetTogglesForTest();
}

void CallbackFixture::TearDown() {
  plain = nullptr;
  formatted = nullptr;
  EXPECT_EQ(Qel::liveInstances("CliCallback"), 0);
  EXPECT_EQ(Qel::liveInstances("CliCallback::QelCmdTokens::Entry"), 0);
  EXPECT_EQ(Qel::liveInstances("CliCallbackWithFormat"), 0);
  EXPECT_EQ(liveHandlers(), 0);
}

void CallbackFixture::runPlain(const std::string& command) {
  plain->handleCommand(socket(), command);
  EXPECT_EQ(liveHandlers(), 0) << command;
}

void CallbackFixture::runFormatted(const std::string& command, std::uint32_t format) {
  formatted->handleCommand(socket(), command, format);
  EXPECT_EQ(liveHandlers(), 0) << command;
}

Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> CallbackFixture::createMachine(
    const std::string& command, std::uint32_t format) {
  auto machine = formatted->createAgentAsyncCommandRequestSm(request(command, format));
  EXPECT_EQ(liveHandlers(), 0) << command;
  if (machine == nullptr) {
    EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0) << command;
  }
  return machine;
}

Qel::Ptr<const AgentCommand::AgentCommandRequest> CallbackFixture::request(
    const std::string& command, std::uint32_t format) {
  auto buffer =
      Qel::makePtr<Rendering::PrintBuffer>(socket(), 4096U, Rendering::PrintBuffer::kStream);
  auto renderer = Qel::makePtr<Rendering::RendererV2>(format, std::move(buffer), false);
  return Qel::makePtr<AgentCommand::AgentCommandRequest>("request-7", command, socket(), format,
                                                         std::move(renderer));
}

std::vector<std::string> CallbackFixture::traced(int level) const {
  std::vector<std::string> messages;
  for (const auto& line : traces->lines()) {
    if (line.level == level) messages.push_back(line.message);
  }
  return messages;
}

std::string CallbackFixture::executed() const {
  constexpr std::string_view kIntroduction = "Executing handler ";
  const auto lines = traced(5);
  if (lines.empty() || !lines.back().starts_with(kIntroduction)) return "none";
  return lines.back().substr(kIntroduction.size());
}

void CallbackFixture::expectUntouchedSocket() {
  EXPECT_EQ(answer(), "");
  EXPECT_FALSE(closed());
}

void CallbackFixture::expectInvalidCommand() {
  EXPECT_EQ(answer(), "Invalid Command\n");
  EXPECT_TRUE(closed());
  EXPECT_EQ(plain->outcome().kind, Kind::noHandler);
}

void CallbackFixture::expectNotReady(const AgentCommand::CommandOutcome& outcome,
                                     const std::string& reason) {
  EXPECT_EQ(outcome.kind, Kind::notReady);
  EXPECT_EQ(outcome.reason, reason);
}

void CallbackFixture::expectHandled(const AgentCommand::CommandOutcome& outcome) {
  EXPECT_EQ(outcome.kind, Kind::handled);
  EXPECT_EQ(outcome.reason, "");
}

}  // namespace KorvoL2::Testing
