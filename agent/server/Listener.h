// Takes in connections.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "agent/server/Access.h"
#include "agent/server/EventLoop.h"
#include "agent/server/FileDescriptor.h"

namespace KorvoAgent {

class Listener {
 public:
  /** Gets a new connection, non-blocking, and who is at its other end. */
  using Accepted = std::function<void(FileDescriptor connection, Peer peer)>;

  /** Takes connections from `socket`, which listens and stays the caller's. */
  Listener(EventLoop& loop, int socket, Accepted accepted);

  /** When retry() is to be called: nothing tells the end of a shortage of memory. */
  std::optional<Qel::Duration> retryAt() const noexcept { return retryAt_; }
  void retry();

 private:
  enum class Next { again, wait, pause };

  void watch();
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

/** Says `text` to a client that is not taken in, as far as its socket takes it at once. */
void sayToClient(int connection, std::string_view text) noexcept;

}  // namespace KorvoAgent
