#include "agent/server/Listener.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "agent/server/AgentTrace.h"
#include "agent/server/SocketEnd.h"

namespace KorvoAgent {

namespace {

constexpr Qel::Duration kAcceptPause = std::chrono::milliseconds(100);

FileDescriptor reserveDescriptor() {
  return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

FileDescriptor acceptFrom(int socket) {
  return FileDescriptor(::accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

/** Whether the client has said nothing and will not. */
bool hasLeft(int connection) {
  char byte = 0;
  return ::recv(connection, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}

}  // namespace

Listener::Listener(EventLoop& loop, int socket, Accepted accepted)
    : loop_(loop),
      socket_(socket),
      accepted_(std::move(accepted)),
      watch_(loop, socket),
      reserve_(reserveDescriptor()) {
  watch_.onReadable([this] { acceptSome(); });
}

void Listener::retry() {
  retryAt_.reset();
  acceptSome();
}

void Listener::acceptSome() {
  int dear = 0;
  for (int i = 0; i < kAcceptsPerTurn && dear < kDearPerTurn; ++i) {
    const Next next = acceptOne();
    if (next == Next::pause) {
      retryAt_ = loop_.clock().now() + kAcceptPause;
      return;
    }
    if (next == Next::wait) break;
    if (next == Next::dear) ++dear;
  }
  // Even where nobody waits just now: whoever comes next has to leave room for others, too.
  watch_.onReadableNextTurn([this] { acceptSome(); });
}

Listener::Next Listener::acceptOne() {
  FileDescriptor connection = acceptFrom(socket_);
  if (connection.isOpen()) {
    if (hasLeft(connection.get())) return Next::cheap;
    try {
      if (accepted_(std::move(connection))) return Next::dear;
    } catch (const std::exception& e) {
      // The connection is closed with what could not be made for it.
      QEL_TRACE(agentTrace(), 1, "a connection could not be taken in: {}", e.what());
    }
    return Next::cheap;
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
      return Next::cheap;  // this one client's misfortune
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
      sayToClient(connection.get(),
                  "refused: the agent has no file descriptor left; try again when others have "
                  "left\n");
      endInput(connection.get());
    }
  }
  reserve_ = reserveDescriptor();
  return reserve_.isOpen() ? Next::dear : Next::pause;
}

}  // namespace KorvoAgent
