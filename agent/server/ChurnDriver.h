// Lets the simulated switch live on while the agent serves: learns, moves and ages entries at a
// rate, in pieces that no command notices.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "agent/server/LoopClient.h"

namespace KorvoAgent {

class ChurnDriver final : public LoopClient {
 public:
  /** Lets happen what is due at `now`, at most `maxEvents`; returns how many events that were. */
  using Advance = std::function<std::size_t(Qel::Duration now, std::size_t maxEvents)>;

  /** `eventsPerSecond` is more than zero. */
  ChurnDriver(Qel::Ptr<const Qel::Clock> clock, double eventsPerSecond, Advance advance);

  bool runnable() const override { return due_; }
  void runPiece() override;
  std::optional<Qel::Duration> nextDeadline() const override;
  void deadlinesPassed(Qel::Duration) override { due_ = true; }

 private:
  Qel::Ptr<const Qel::Clock> clock_;
  Qel::Duration interval_;
  Advance advance_;
  Qel::Duration next_;
  bool due_ = false;
};

}  // namespace KorvoAgent
