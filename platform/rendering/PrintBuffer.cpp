#include "platform/rendering/PrintBuffer.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Rendering {

namespace {

// Small answers should cost little; large ones double up to the buffer's size in a few steps.
constexpr std::size_t kFirstCapacity = 4096;

int heldSocket = -1;
std::uint64_t bytesSent = 0;

void waitAndSend(std::uint32_t socket, std::string_view text) {
  constexpr int kPatienceMs = 5000;
  SocketPort port(socket);
  std::size_t done = 0;
  while (done < text.size()) {
    const std::ptrdiff_t n = port.send(text.data() + done, text.size() - done);
    if (n < 0) return;
    done += static_cast<std::size_t>(n);
    if (n == 0) {
      pollfd writable{static_cast<int>(socket), POLLOUT, 0};
      if (::poll(&writable, 1, kPatienceMs) == 0) return;
    }
  }
}

PrintBuffer::UndeliveredHandler& undeliveredHandler() {
  static auto* const handler = new PrintBuffer::UndeliveredHandler(waitAndSend);
  return *handler;
}

}  // namespace

void SocketPort::heldIs(std::uint32_t socket) noexcept { heldSocket = static_cast<int>(socket); }

std::uint64_t SocketPort::sentTotal() noexcept { return bytesSent; }

std::ptrdiff_t SocketPort::send(const char* data, std::size_t size) {
  if (socket_ == heldSocket && socket_ >= 0) return 0;
  for (;;) {
    const ssize_t n = ::send(socket_, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (n >= 0) {
      bytesSent += static_cast<std::uint64_t>(n);
      return n;
    }
    if (errno == EINTR) continue;
    // No buffers is the kernel's memory pressure, not the peer's end.
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOBUFS) return 0;
    return -1;
  }
}

PrintBuffer::PrintBuffer(std::uint32_t socket, std::size_t size, std::uint32_t mode)
    : PrintBuffer(std::make_unique<SocketPort>(socket), socket, size, mode) {}

PrintBuffer::PrintBuffer(std::unique_ptr<OutputPort> port, std::uint32_t socket, std::size_t size,
                         std::uint32_t mode)
    : port_(std::move(port)), socket_(socket), mode_(mode), size_(size) {}

PrintBuffer::~PrintBuffer() {
  if (pending() == 0 || flush() || failed_) return;
  try {
    undeliveredHandler()(socket_, std::string_view(begin_, pending()));
  } catch (...) {  // NOLINT(bugprone-empty-catch): nobody is left to be told
  }
}

bool PrintBuffer::flush() {
  blocked_ = false;
  while (begin_ != end_ && !failed_ && !blocked_) {
    const std::size_t size = pending();
    const std::ptrdiff_t n = port_->send(begin_, size);
    if (n < 0) {
      failed_ = true;
    } else {
      begin_ += n;
      sent_ += static_cast<std::uint64_t>(n);
      blocked_ = static_cast<std::size_t>(n) < size;
    }
  }
  if (failed_) end_ = begin_;
  // Back to the front when empty: the next rows are written into memory that is still in cache.
  if (begin_ == end_) begin_ = end_ = memory_.get();
  return begin_ == end_ && !failed_;
}

void PrintBuffer::gathered() {
  // While blocked, the next slice asks the port again, once it drains; asking after every row
  // would cost a system call each.
  if (mode_ == kStream && !blocked_) flush();
}

void PrintBuffer::makeRoom(std::size_t size) {
  if (pending() >= size_) gathered();
  if (failed_) begin_ = end_ = memory_.get();
  const std::size_t kept = pending();
  const std::size_t needed = kept + size;
  if (needed <= capacity()) {
    std::memmove(memory_.get(), begin_, kept);
  } else {
    std::size_t grown = std::max(capacity(), kFirstCapacity);
    while (grown < needed) grown *= 2;
    std::unique_ptr<char[]> memory(new char[grown]);
    if (kept != 0) std::memcpy(memory.get(), begin_, kept);
    memory_ = std::move(memory);
    limit_ = memory_.get() + grown;
  }
  begin_ = memory_.get();
  end_ = begin_ + kept;
}

PrintBuffer::UndeliveredHandler PrintBuffer::undeliveredHandlerIs(UndeliveredHandler handler) {
  if (handler == nullptr) handler = waitAndSend;
  return std::exchange(undeliveredHandler(), std::move(handler));
}

void printToSocket(std::uint32_t socket, std::string_view text) {
  PrintBuffer buffer(socket, text.size() + 1, PrintBuffer::kHold);
  buffer.append(text);
}

}  // namespace Rendering
