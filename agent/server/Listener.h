// Takes in connections: in each turn of the loop a bounded number, so that clients that come and go
// as fast as they can do not keep those waiting that are there.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <functional>
#include <optional>

#include "agent/server/EventLoop.h"
#include "agent/server/FileDescriptor.h"

namespace KorvoAgent {

class Listener {
 public:
  /** Gets a new connection, non-blocking. Gives back whether it keeps the connection. */
  using Accepted = std::function<bool(FileDescriptor connection)>;

  /** Connections that are kept in one turn; each of them costs some ten microseconds. */
  static constexpr int kDearPerTurn = 16;
  /**
   * Connections that are looked at in one turn. Most of a flood has hung up by then or is turned
   * away, which costs little; it is to be drained faster than it comes.
   */
  static constexpr int kAcceptsPerTurn = 256;

  /** Takes connections from `socket`, which listens and stays the caller's. */
  Listener(EventLoop& loop, int socket, Accepted accepted);

  /** When retry() is to be called: nothing tells the end of a shortage of memory. */
  std::optional<Qel::Duration> retryAt() const noexcept { return retryAt_; }
  void retry();

 private:
  enum class Next { dear, cheap, wait, pause };

  void acceptSome();
  Next acceptOne();
  Next turnAway();

  EventLoop& loop_;
  int socket_;
  Accepted accepted_;
  DescriptorWatch watch_;
  FileDescriptor reserve_;  // given up for a moment to turn a client away when there are no more
  std::optional<Qel::Duration> retryAt_;
};

}  // namespace KorvoAgent
