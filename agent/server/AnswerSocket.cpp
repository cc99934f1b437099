#include "agent/server/AnswerSocket.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>

namespace KorvoAgent {

namespace {

// What the plain-text callback asks for on its own socket.
constexpr int kSendBufferSize = 2097152;

std::optional<int> socketOption(int descriptor, int option) {
  int value = 0;
  socklen_t size = sizeof(value);
  if (::getsockopt(descriptor, SOL_SOCKET, option, &value, &size) != 0) return std::nullopt;
  return value;
}

}  // namespace

std::size_t AnswerSocket::unread() const noexcept {
  int bytes = 0;
  if (::ioctl(get(), SIOCOUTQ, &bytes) != 0 || bytes < 0) return 0;
  return static_cast<std::size_t>(bytes);
}

bool AnswerSocket::peerGone() const noexcept {
  pollfd state{.fd = get(), .events = 0, .revents = 0};
  return ::poll(&state, 1, 0) == 1 && (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

void AnswerSocket::enlargeSendBuffer() const noexcept {
  // Beyond the system's limit only with privilege; without, as far as the limit goes.
  if (::setsockopt(get(), SOL_SOCKET, SO_SNDBUFFORCE, &kSendBufferSize, sizeof(kSendBufferSize)) !=
      0) {
    ::setsockopt(get(), SOL_SOCKET, SO_SNDBUF, &kSendBufferSize, sizeof(kSendBufferSize));
  }
}

std::ptrdiff_t AnswerPort::send(const char* data, std::size_t size) {
  if (!socket_->isOpen()) return -1;
  return Rendering::SocketPort(static_cast<std::uint32_t>(socket_->get())).send(data, size);
}

Qel::Ptr<Rendering::PrintBuffer> answerBuffer(const std::shared_ptr<const AnswerSocket>& socket,
                                              Rendering::PrintBuffer::Mode mode) {
  return Qel::makePtr<Rendering::PrintBuffer>(std::make_unique<AnswerPort>(socket),
                                              static_cast<std::uint32_t>(socket->get()),
                                              kAnswerBufferSize, mode);
}

std::optional<std::string> unfitForAnswer(int descriptor) {
  const std::optional<int> type = socketOption(descriptor, SO_TYPE);
  if (!type) return "the descriptor is no socket";
  if (*type != SOCK_STREAM) return "the descriptor is no stream socket";
  const int domain = socketOption(descriptor, SO_DOMAIN).value_or(AF_UNSPEC);
  if (domain != AF_UNIX && domain != AF_INET && domain != AF_INET6) {
    return "the descriptor is neither a Unix nor a TCP socket";
  }
  if (socketOption(descriptor, SO_ACCEPTCONN).value_or(0) != 0) {
    return "the descriptor is a listening socket";
  }
  sockaddr_storage peer{};
  socklen_t size = sizeof(peer);
  if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
    return "the descriptor is not connected";
  }
  return std::nullopt;
}

}  // namespace KorvoAgent
