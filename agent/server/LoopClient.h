// What the event loop runs besides what sockets and signals bring.
#pragma once

#include <optional>

#include "platform/base/Clock.h"

namespace KorvoAgent {

class LoopClient {
 public:
  virtual ~LoopClient() = default;
  /** Whether there is a piece of work to run now. */
  virtual bool runnable() const = 0;
  /** Runs one short piece of it. */
  virtual void runPiece() = 0;
  /** When deadlinesPassed() is wanted next, on the loop's clock. */
  virtual std::optional<Qel::Duration> nextDeadline() const = 0;
  virtual void deadlinesPassed(Qel::Duration now) = 0;
};

}  // namespace KorvoAgent
