#include "bench/whole_process/Sockets.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace KorvoBench {

namespace {

FileDescriptor streamSocket() {
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.isOpen()) systemFailed("socket");
  return socket;
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    throw std::invalid_argument("the socket path is too long: " + path);
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

void bePatient(int socket) {
  const timeval patience{.tv_sec = kPatience.count(), .tv_usec = 0};
  if (::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0 ||
      ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) != 0) {
    systemFailed("setsockopt");
  }
}

}  // namespace

void systemFailed(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor listenOn(const std::string& path) {
  FileDescriptor socket = streamSocket();
  const sockaddr_un address = addressOf(path);
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    systemFailed("bind " + path);
  }
  if (::listen(socket.get(), SOMAXCONN) != 0) systemFailed("listen");
  return socket;
}

FileDescriptor acceptFrom(const FileDescriptor& listener) {
  for (;;) {
    FileDescriptor socket(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket.isOpen()) return socket;
    if (errno != EINTR) systemFailed("accept");
  }
}

FileDescriptor connectTo(const std::string& path) {
  FileDescriptor socket = streamSocket();
  const sockaddr_un address = addressOf(path);
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    systemFailed("connect to " + path);
  }
  bePatient(socket.get());
  return socket;
}

std::pair<FileDescriptor, FileDescriptor> socketPair() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    systemFailed("socketpair");
  }
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

void enlargeSendBuffer(int socket) {
  constexpr int kSize = 2097152;
  // Beyond the system's limit only with privilege; without, as far as the limit goes.
  if (::setsockopt(socket, SOL_SOCKET, SO_SNDBUFFORCE, &kSize, sizeof kSize) != 0) {
    ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kSize, sizeof kSize);
  }
}

void sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (n >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(n));
    } else if (errno != EINTR) {
      systemFailed("send");
    }
  }
}

void sendWithDescriptor(int socket, std::string_view line, int descriptor) {
  iovec part{const_cast<char*>(line.data()), line.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptor)> control{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof descriptor);
  std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  if (::sendmsg(socket, &message, MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
    systemFailed("sendmsg");
  }
}

std::size_t receiveSome(int socket, char* data, std::size_t size) {
  for (;;) {
    const ssize_t n = ::recv(socket, data, size, 0);
    if (n >= 0) return static_cast<std::size_t>(n);
    if (errno != EINTR) systemFailed("recv");
  }
}

std::string receiveLine(int socket) {
  std::string line;
  std::array<char, 4096> data{};
  while (!line.ends_with('\n')) {
    const std::size_t n = receiveSome(socket, data.data(), data.size());
    if (n == 0) throw std::runtime_error("the peer closed in the middle of a line");
    line.append(data.data(), n);
  }
  return line;
}

}  // namespace KorvoBench
