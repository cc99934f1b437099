#include "agent/server/Listener.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "agent/server/AgentTrace.h"

namespace KorvoAgent {

namespace {

// A burst of clients must not keep the next slice waiting; the rest is taken in the next turn.
constexpr int kAcceptsPerTurn = 16;

constexpr Qel::Duration kPause = std::chrono::milliseconds(100);

FileDescriptor reserveDescriptor() {
  return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

FileDescriptor acceptFrom(int socket) {
  return FileDescriptor(::accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

}  // namespace

void sayToClient(int connection, std::string_view text) noexcept {
  (void)!::send(connection, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

Listener::Listener(EventLoop& loop, int socket, Accepted accepted)
    : loop_(loop),
      socket_(socket),
      accepted_(std::move(accepted)),
      watch_(loop, socket),
      reserve_(reserveDescriptor()) {
  watch();
}

void Listener::retry() {
  retryAt_.reset();
  acceptSome();
}

void Listener::watch() {
  watch_.onReadable([this] { acceptSome(); });
}

void Listener::acceptSome() {
  for (int i = 0; i < kAcceptsPerTurn; ++i) {
    switch (acceptOne()) {
      case Next::again:
        break;
      case Next::wait:
        watch();
        return;
      case Next::pause:
        retryAt_ = loop_.clock().now() + kPause;
        return;
    }
  }
  watch();
}

Listener::Next Listener::acceptOne() {
  FileDescriptor connection = acceptFrom(socket_);
  if (connection.isOpen()) {
    try {
      Peer peer = peerOf(connection.get());
      accepted_(std::move(connection), std::move(peer));
    } catch (const std::exception& e) {
      // The connection is closed with what could not be made for it.
      QEL_TRACE(agentTrace(), 1, "a connection could not be taken in: {}", e.what());
    }
    return Next::again;
  }
  switch (errno) {
    case EAGAIN:
      return Next::wait;
    case EMFILE:
    case ENFILE:
      return turnAway();
    case ENOBUFS:
    case ENOMEM:
      return Next::pause;
    default:
      return Next::again;  // this one client's misfortune
  }
}

Listener::Next Listener::turnAway() {
  if (!reserve_.isOpen()) {
    reserve_ = reserveDescriptor();
    return Next::pause;
  }
  reserve_.reset();
  {
    const FileDescriptor connection = acceptFrom(socket_);
    if (connection.isOpen()) {
      QEL_TRACE(agentTrace(), 3, "a client is turned away: no file descriptor is left");
      sayToClient(connection.get(), "refused: the agent has no file descriptor left\n");
    }
  }
  reserve_ = reserveDescriptor();
  return reserve_.isOpen() ? Next::again : Next::pause;
}

}  // namespace KorvoAgent
