// The socket that an answer goes to, as its writers see it.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "agent/server/FileDescriptor.h"
#include "platform/rendering/PrintBuffer.h"

namespace KorvoAgent {

/**
 * A stream socket that outlives its use: once close() was called, ports on it report that the peer
 * is gone, and never touch a descriptor that has got the same number since.
 */
class AnswerSocket {
 public:
  explicit AnswerSocket(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  int get() const noexcept { return descriptor_.get(); }
  bool isOpen() const noexcept { return descriptor_.isOpen(); }
  void close() noexcept { descriptor_.reset(); }

  /** About how many bytes lie in the kernel that the peer has not read. */
  std::size_t unread() const noexcept;
  /** Whether the peer has closed its end, or the connection broke; a half-close is neither. */
  bool peerGone() const noexcept;
  /** Asks for room for a large answer. */
  void enlargeSendBuffer() const noexcept;

 private:
  FileDescriptor descriptor_;
};

/** The port of a print buffer on an answer socket. */
class AnswerPort final : public Rendering::OutputPort {
 public:
  explicit AnswerPort(std::shared_ptr<const AnswerSocket> socket) : socket_(std::move(socket)) {}
  std::ptrdiff_t send(const char* data, std::size_t size) override;

 private:
  std::shared_ptr<const AnswerSocket> socket_;
};

/** How many bytes a request gathers before it hands them to the kernel. */
inline constexpr std::size_t kAnswerBufferSize = std::size_t{64} * 1024;

/** A print buffer of mode `mode` on `socket`. */
Qel::Ptr<Rendering::PrintBuffer> answerBuffer(const std::shared_ptr<const AnswerSocket>& socket,
                                              Rendering::PrintBuffer::Mode mode);

/**
 * Why a descriptor that came from a client cannot take an answer, or nothing: it has to be a
 * connected Unix or TCP stream socket.
 */
std::optional<std::string> unfitForAnswer(int descriptor);

}  // namespace KorvoAgent
