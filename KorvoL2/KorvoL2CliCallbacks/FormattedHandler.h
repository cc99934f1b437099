// The bases of the handlers of commands with an output format, and the handlers that take what is
// left over.
//
// Handlers run inside their callback, after the agent was found ready: the callback's agent and its
// unicast agent are there, every other object of the agent may be missing.
#pragma once

#include <string>
#include <utility>

#include "KorvoL2/KorvoL2CliCallbacks/CliCallbackWithFormat.h"
#include "KorvoL2/KorvoL2CliCallbacks/HandlerClass.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

/** A handler that prints its answer at once. */
class CliCallbackWithFormat::Handler : public Qel::Entity {
  KORVO_L2_HANDLER(CliCallbackWithFormat::Handler)
 public:
  explicit Handler(std::string cmdName) : cmdName_(std::move(cmdName)) {}

  /** The keyword. */
  QEL_ATTRIBUTE(std::string, cmdName)

  /** Whether the handler takes the command: by default, whether it begins with the keyword. */
  virtual bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const;
  /** Prints the answer. Throws NoImplementationException unless a derived class supplies it. */
  virtual void action(const Qel::Ptr<CliCallbackWithFormat>& callback);
};

/** A handler that creates the request state machine which serves the command. */
class CliCallbackWithFormat::AsyncHandler : public Qel::Entity {
  KORVO_L2_HANDLER(CliCallbackWithFormat::AsyncHandler)
 public:
  using Machine = Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm>;

  explicit AsyncHandler(std::string cmdName) : cmdName_(std::move(cmdName)) {}

  /** The keyword. */
  QEL_ATTRIBUTE(std::string, cmdName)

  /** Whether the handler takes the command: by default, whether it begins with the keyword. */
  virtual bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const;
  /**
   * The machine, or null for none. Throws NoImplementationException unless a derived class supplies
   * it.
   */
  virtual Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback);

  /** Whether there is a MAC helper with a MAC table shadow; traces what is missing. */
  static bool macHelperCondition(const Qel::Ptr<CliCallbackWithFormat>& callback);

 protected:
  /**
   * Creates a machine for the callback's request and takes it into service. `factory` is given
   * name, request, time budget and clock, then `args`.
   */
  template <class Factory, class... Args>
  static Machine createMachine(const Qel::Ptr<CliCallbackWithFormat>& callback, Factory factory,
                               Args&&... args) {
    const Qel::Ptr<const AgentCommand::AgentCommandRequest> request = callback->asyncRequest();
    QEL_ASSERT(request != nullptr);
    auto machine = factory(request->requestString(), request, defaultMaxRuntime,
                           callback->agent().activityClock(), std::forward<Args>(args)...);
    machine->handleInitialized();
    return machine;
  }
};

/** Takes every command that is answered at once and that nobody else took; prints nothing. */
class CliCallbackWithFormat::DefaultH final : public Handler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::DefaultH)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const override;
  void action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

/** Takes every request that nobody else took; there is no machine for it. */
class CliCallbackWithFormat::DefaultAsyncH final : public AsyncHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::DefaultAsyncH)
 public:
  using AsyncHandler::AsyncHandler;
  bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const override;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

}  // namespace KorvoL2
