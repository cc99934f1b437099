// The three entries through which commands reach the plug-in.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <functional>
#include <string>

#include "agent/server/AnswerSocket.h"
#include "agent/server/Job.h"
#include "agent/server/RequestEnd.h"
#include "platform/command/CliCallbackBase.h"

namespace KorvoAgent {

/** The plug-in's callbacks, with their layer-2 agent set. */
struct CommandCallbacks {
  Qel::Ptr<AgentCommand::CliCallbackBase> plain;
  Qel::Ptr<AgentCommand::CliCallbackBaseWithFormat> formatted;
  /**
   * Why the chips hold no MAC tables to read (HardwareCommands.h); empty, or no function, where
   * they do. What reads them is then answered without asking the plug-in.
   */
  std::function<std::string()> noHardware{};
};

class CommandEntries {
 public:
  explicit CommandEntries(CommandCallbacks callbacks) : callbacks_(std::move(callbacks)) {}

  /** What a callback that answers at once left behind. */
  struct Answered {
    RequestEnd end;
    std::uint64_t sent = 0;  ///< bytes that went to the socket already
    std::string left;        ///< what comes after them
  };
  /** Runs entry plain or sync. Exceptions of the callback become the status `error`. */
  Answered answer(const RequestLine& request, int socket);

  /** What came of an asynchronous request: a machine, or how the request ended. */
  struct Started {
    Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> machine;
    Qel::Ptr<Rendering::PrintBuffer> output;
    RequestEnd end;
  };
  Started start(JobId id, const RequestLine& request,
                const std::shared_ptr<const AnswerSocket>& socket);

 private:
  CommandCallbacks callbacks_;
};

}  // namespace KorvoAgent
