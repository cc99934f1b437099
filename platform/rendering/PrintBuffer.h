// The print buffer on a command's answer socket.
//
// Text goes in, and leaves in large pieces as the socket takes it. Nothing here ever blocks: what
// the socket does not take stays in the buffer, and the buffer says so (blocked()), upon which a
// time-sliced request gives the processor back until the socket drains. A peer that is gone is
// noticed (failed()), and further text is dropped.
//
// When a buffer is released with text unsent, the text goes to the process's undelivered handler,
// so that a small answer printed by a handler that runs once is drained by the agent afterwards.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/base/Ptr.h"

namespace Rendering {

/** Where a print buffer's text goes. */
class OutputPort {
 public:
  virtual ~OutputPort() = default;
  /**
   * Takes up to `size` bytes without blocking. Returns how many were taken; 0 when the peer takes
   * no more for now; -1 when it never will again.
   */
  virtual std::ptrdiff_t send(const char* data, std::size_t size) = 0;
};

/** A stream socket, not owned; whether it is in non-blocking mode does not matter. */
class SocketPort final : public OutputPort {
 public:
  /** No socket has this number. */
  static constexpr std::uint32_t kNoSocket = ~std::uint32_t{0};

  explicit SocketPort(std::uint32_t socket) : socket_(static_cast<int>(socket)) {}
  std::ptrdiff_t send(const char* data, std::size_t size) override;

  /**
   * Makes the ports of `socket` take nothing until another socket, or kNoSocket, is held. A host
   * that keeps undelivered text of a socket holds it for the rest of the command: what is printed
   * later queues up behind that text even if the peer reads meanwhile.
   */
  static void heldIs(std::uint32_t socket) noexcept;
  /** Bytes sent by all socket ports of the process so far; a host counts an answer with it. */
  static std::uint64_t sentTotal() noexcept;

 private:
  int socket_;
};

class PrintBuffer final : public Qel::RefCounted {
 public:
  enum Mode : std::uint32_t {
    kHold = 0,    ///< sends nothing before flush()
    kStream = 1,  ///< sends whenever `size` bytes have gathered
  };

  /** On a socket. `size` in bytes is how much is gathered before a send. */
  PrintBuffer(std::uint32_t socket, std::size_t size, std::uint32_t mode);
  /** On a port of one's own, for simulated sockets; `socket` is the number that socket() tells. */
  PrintBuffer(std::unique_ptr<OutputPort> port, std::uint32_t socket, std::size_t size,
              std::uint32_t mode);
  /** Sends what it can; the rest goes to the undelivered handler. */
  ~PrintBuffer() override;

  std::uint32_t socket() const noexcept { return socket_; }

  /**
   * Room for `size` bytes, to be written by the caller and then counted with commit(). The room is
   * valid until the next call on this buffer.
   */
  char* reserve(std::size_t size) {
    if (static_cast<std::size_t>(limit_ - end_) < size) [[unlikely]]
      makeRoom(size);
    return end_;
  }
  /** `end` is one past the last byte written into the room that reserve() gave. */
  void commit(const char* end) noexcept {
    appended_ += static_cast<std::uint64_t>(end - end_);
    end_ = const_cast<char*>(end);
  }
  void append(std::string_view text) {
    if (text.empty()) return;  // there may be no room, nor a text, to point at
    char* const out = reserve(text.size());
    std::memcpy(out, text.data(), text.size());
    commit(out + text.size());
  }
  void append(char c) {
    char* const out = reserve(1);
    *out = c;
    commit(out + 1);
  }

  /** The end of one unit of output (a row): sends if `size` bytes have gathered. */
  void unitEnd() {
    if (static_cast<std::size_t>(end_ - begin_) >= size_) [[unlikely]]
      gathered();
  }
  /** Sends as much as the port takes. True when nothing is left. */
  bool flush();

  /** Starts a slice that may append about `window` bytes. */
  void sliceBegin(std::size_t window) noexcept {
    sliceLimit_ = window < kNoLimit - appended_ ? appended_ + window : kNoLimit;
    blocked_ = false;
  }
  /** Whether the slice should end: its window is full, or the port takes no more. */
  bool sliceFull() const noexcept { return appended_ >= sliceLimit_ || blocked_ || failed_; }

  /** The port took less than it was given when it was asked last. */
  bool blocked() const noexcept { return blocked_; }
  /** The peer is gone for good; text is dropped. */
  bool failed() const noexcept { return failed_; }
  std::size_t pending() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
  /** Bytes ever appended, and of those the bytes that the port took. */
  std::uint64_t appended() const noexcept { return appended_; }
  std::uint64_t sent() const noexcept { return sent_; }
  /** Memory held for text, in bytes. */
  std::size_t capacity() const noexcept { return static_cast<std::size_t>(limit_ - memory_.get()); }

  /**
   * Takes over text that a released buffer could not send; called while `socket` is still open, so
   * a handler that drains it later duplicates the descriptor. One that throws has lost the text: a
   * buffer is released in the midst of other failures and passes none on. Unless set, the process
   * waits for the socket for up to five seconds without progress, then drops the text: good enough
   * for a tool, not for an agent with an event loop. Returns the handler before.
   */
  using UndeliveredHandler = std::function<void(std::uint32_t socket, std::string_view text)>;
  static UndeliveredHandler undeliveredHandlerIs(UndeliveredHandler handler);

 private:
  static constexpr std::uint64_t kNoLimit = ~std::uint64_t{0};

  void makeRoom(std::size_t size);
  void gathered();

  std::unique_ptr<OutputPort> port_;
  std::uint32_t socket_;
  std::uint32_t mode_;
  std::size_t size_;
  std::unique_ptr<char[]> memory_;
  char* begin_ = nullptr;  // unsent text is [begin_, end_)
  char* end_ = nullptr;
  char* limit_ = nullptr;
  std::uint64_t appended_ = 0;
  std::uint64_t sent_ = 0;
  std::uint64_t sliceLimit_ = kNoLimit;
  bool blocked_ = false;
  bool failed_ = false;
};

/** Writes a short text to a socket; the undelivered handler gets what the socket does not take. */
void printToSocket(std::uint32_t socket, std::string_view text);

}  // namespace Rendering
