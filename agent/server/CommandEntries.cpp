#include "agent/server/CommandEntries.h"

#include <fmt/format.h>

#include <cstring>
#include <exception>
#include <utility>

#include "agent/server/HardwareCommands.h"
#include "agent/server/SyncCall.h"
#include "platform/command/CommandArgument.h"
#include "text/Printable.h"

namespace KorvoAgent {

namespace {

using AgentCommand::CommandOutcome;

RequestEnd endOf(const CommandOutcome& outcome, const RequestLine& request) {
  switch (outcome.kind) {
    case CommandOutcome::Kind::handled:
      return {RequestStatus::ok, {}};
    case CommandOutcome::Kind::noHandler:
      return {RequestStatus::noHandler,
              fmt::format("no {} handler takes {}{}{}", entryName(request.entry),
                          Text::inQuotes(request.command), outcome.reason.empty() ? "" : ": ",
                          outcome.reason)};
    case CommandOutcome::Kind::notReady:
      return {RequestStatus::notReady, outcome.reason};
    case CommandOutcome::Kind::failed:
      return {RequestStatus::error, outcome.reason};
  }
  return {RequestStatus::error, "unknown outcome"};
}

RequestEnd errorEnd(std::string message) { return {RequestStatus::error, std::move(message)}; }

}  // namespace

CommandEntries::Answered CommandEntries::answer(const RequestLine& request, int socket) {
  Answered answered;
  SyncCall call(socket);
  if (!call.isOpen()) {
    answered.end =
        errorEnd(fmt::format("no descriptor for the answer: {}", std::strerror(call.error())));
    return answered;
  }
  try {
    if (request.entry == Entry::plain) {
      callbacks_.plain->handleCommand(call.socket(), request.command);
      answered.end = endOf(callbacks_.plain->outcome(), request);
    } else {
      callbacks_.formatted->handleCommand(call.socket(), request.command, request.format);
      answered.end = endOf(callbacks_.formatted->outcome(), request);
    }
  } catch (const std::exception& e) {
    answered.end = errorEnd(AgentCommand::messageOf(e));
  } catch (...) {
    answered.end = errorEnd("unknown exception");
  }
  answered.sent = call.sent();
  answered.left = call.takeLeft();
  if (call.lost()) answered.end = errorEnd("no memory for the whole answer");
  return answered;
}

CommandEntries::Started CommandEntries::start(JobId id, const RequestLine& request,
                                              const std::shared_ptr<const AnswerSocket>& socket) {
  Started started;
  if (hardwareCommandOf(request) != nullptr && callbacks_.noHardware) {
    if (std::string reason = callbacks_.noHardware(); !reason.empty()) {
      started.end = {RequestStatus::notReady, std::move(reason)};
      return started;
    }
  }
  try {
    started.output = answerBuffer(socket, Rendering::PrintBuffer::kStream);
    const auto renderer =
        Qel::makePtr<Rendering::RendererV2>(request.format, started.output, false);
    const auto record = Qel::makePtr<const AgentCommand::AgentCommandRequest>(
        fmt::format("request {}", id), request.command, started.output->socket(), request.format,
        renderer);
    started.machine = callbacks_.formatted->createAgentAsyncCommandRequestSm(record);
    if (started.machine == nullptr) {
      CommandOutcome outcome = callbacks_.formatted->outcome();
      // Without a machine nobody took the command, whatever is said of it.
      if (outcome.kind == CommandOutcome::Kind::handled) {
        outcome.kind = CommandOutcome::Kind::noHandler;
      }
      started.end = endOf(outcome, request);
    }
  } catch (const std::exception& e) {
    started.end = errorEnd(AgentCommand::messageOf(e));
  } catch (...) {
    started.end = errorEnd("unknown exception");
  }
  return started;
}

}  // namespace KorvoAgent
