// One call of a callback that answers at once, on a socket that it may close.
//
// The callback gets a descriptor of its own. What it prints goes to the socket directly as far as
// the socket takes it; the rest is collected, in order, to be sent by the event loop afterwards.
//
// Threading: the agent's event-loop thread only; one call at a time.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "agent/server/FileDescriptor.h"
#include "platform/rendering/PrintBuffer.h"

namespace KorvoAgent {

class SyncCall {
 public:
  /** `answer` stays the caller's. */
  explicit SyncCall(int answer);
  SyncCall(const SyncCall&) = delete;
  SyncCall& operator=(const SyncCall&) = delete;
  ~SyncCall();

  /** Whether there is a descriptor for the callback; without, error() says why not. */
  bool isOpen() const noexcept { return socket_.isOpen(); }
  int error() const noexcept { return error_; }
  /** The descriptor for the callback. */
  std::uint32_t socket() const noexcept { return static_cast<std::uint32_t>(socket_.get()); }
  /** Bytes that the callback handed over to the socket. */
  std::uint64_t sent() const noexcept;
  /** What the socket did not take, to be asked for once. */
  std::string takeLeft() noexcept { return std::move(left_); }
  /** Whether there was no memory for a part of what the socket did not take. */
  bool lost() const noexcept { return lost_; }

 private:
  int answer_;
  FileDescriptor socket_;
  int error_;
  std::uint64_t sentBefore_;
  std::string left_;
  bool lost_ = false;
  Rendering::PrintBuffer::UndeliveredHandler handlerBefore_;
};

}  // namespace KorvoAgent
