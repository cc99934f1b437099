// Request state machines that print nothing for a while, for tests of what drives one.
#pragma once

#include "platform/command/AgentAsyncCommandRequestSm.h"

namespace KorvoAgent {

/** A machine that has nothing to print until the test says so. */
class WaitingMachine final : public AgentCommand::AgentAsyncCommandRequestSm {
 public:
  WaitingMachine(const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
                 Qel::Ptr<const Qel::Clock> clock, const bool& mayGoOn)
      : AgentAsyncCommandRequestSm(request->requestString(), request, std::chrono::milliseconds(50),
                                   std::move(clock)),
        mayGoOn_(mayGoOn) {}
  void handleAsyncCommand(std::uint32_t, std::uint32_t) override {
    if (!mayGoOn_) return;
    renderer().buffer().append("done\n");
    executionCompleteFlagIs(true);
  }

 private:
  const bool& mayGoOn_;
};

/** A machine that works for some slices before it prints. */
class PreparingMachine final : public AgentCommand::AgentAsyncCommandRequestSm {
 public:
  PreparingMachine(const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
                   Qel::Ptr<const Qel::Clock> clock, const int& slices)
      : AgentAsyncCommandRequestSm(request->requestString(), request, std::chrono::milliseconds(50),
                                   std::move(clock)),
        left_(slices) {}
  void handleAsyncCommand(std::uint32_t, std::uint32_t) override {
    if (left_-- > 0) {
      while (!shouldYieldSilent()) continue;
      return;
    }
    renderer().buffer().append("done\n");
    executionCompleteFlagIs(true);
  }

 private:
  int left_;
};

}  // namespace KorvoAgent
