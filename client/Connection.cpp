#include "client/Connection.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

namespace KorvoCtl {

namespace {

Problem noSocket(int error) {
  return Problem{ExitStatus::kFailed, fmt::format("no socket can be made: {}", strerror(error))};
}

Problem noAgent(const std::string& path, int error) {
  std::string_view hint = "is korvo-l2-agent running? (give its socket with -s)";
  std::string_view reason = strerror(error);
  if (error == EACCES || error == EPERM) {
    hint = "only the agent's user and group may use it";
  } else if (error == EAGAIN) {
    hint = "it is running but takes no connection";
    reason = "Connection timed out";
  }
  return Problem{ExitStatus::kUnavailable,
                 fmt::format("no agent answers at {}: {}; {}", path, reason, hint)};
}

}  // namespace

Result<Descriptor> connectToAgent(const std::string& path, std::chrono::milliseconds patience) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) {
    return Problem{ExitStatus::kUsage,
                   fmt::format("the socket's path must have 1 to {} bytes: '{}'",
                               sizeof(address.sun_path) - 1, path)};
  }
  std::memcpy(address.sun_path, path.data(), path.size());

  Descriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!connection.isOpen()) {
    return noSocket(errno);
  }
  // A Unix socket's connect waits as long as a send may, for room in the agent's queue.
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(patience);
  timeval limit{};
  limit.tv_sec = seconds.count();
  limit.tv_usec = std::chrono::microseconds(patience - seconds).count();
  ::setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
  if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
      0) {
    return noAgent(path, errno);
  }
  return connection;
}

Result<AnswerChannel> makeAnswerChannel() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return noSocket(errno);
  }
  AnswerChannel channel{.ours = Descriptor(ends[0]), .theirs = Descriptor(ends[1])};
  // Not SOCK_NONBLOCK above: how the other end behaves is the agent's to choose.
  if (::fcntl(channel.ours.get(), F_SETFL, O_NONBLOCK) != 0) {
    return noSocket(errno);
  }
  return channel;
}

bool sendRequest(int connection, std::string_view line, int answer) {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  while (!line.empty()) {
    iovec data{.iov_base = const_cast<char*>(line.data()), .iov_len = line.size()};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    if (answer >= 0) {
      message.msg_control = control.data();
      message.msg_controllen = control.size();
      cmsghdr* header = CMSG_FIRSTHDR(&message);
      header->cmsg_level = SOL_SOCKET;
      header->cmsg_type = SCM_RIGHTS;
      header->cmsg_len = CMSG_LEN(sizeof(int));
      std::memcpy(CMSG_DATA(header), &answer, sizeof(int));
    }
    const ssize_t sent = ::sendmsg(connection, &message, MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EINTR) {
        continue;
      }
      return false;
    }
    // The descriptor travels with the first byte; a second copy would be one too many.
    answer = -1;
    line.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

}  // namespace KorvoCtl
