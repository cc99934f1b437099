// A real socket pair: one end is handed to the code under test, the other reads what comes.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>

namespace KorvoL2::Testing {

/** The answer socket of one command. */
class CommandSocket {
 public:
  CommandSocket() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      ADD_FAILURE() << "socketpair: errno " << errno;
    }
    commandEnd_ = ends[0];
    readerEnd_ = ends[1];
  }
  CommandSocket(const CommandSocket&) = delete;
  CommandSocket& operator=(const CommandSocket&) = delete;
  ~CommandSocket() {
    drain();
    // A descriptor that the command has closed may be somebody else's by now.
    if (!closed_) ::close(commandEnd_);
    ::close(readerEnd_);
  }

  /** The end that a command is given. */
  std::uint32_t descriptor() const noexcept { return static_cast<std::uint32_t>(commandEnd_); }

  /** Everything written so far. */
  const std::string& text() {
    drain();
    return text_;
  }
  /** Whether the end that the command was given has been closed. */
  bool closed() {
    drain();
    return closed_;
  }

 private:
  void drain() {
    std::array<char, 4096> piece{};
    while (!closed_) {
      const ssize_t n = ::recv(readerEnd_, piece.data(), piece.size(), MSG_DONTWAIT);
      if (n > 0) {
        text_.append(piece.data(), static_cast<std::size_t>(n));
      } else if (n == 0) {
        closed_ = true;
      } else if (errno != EINTR) {
        return;
      }
    }
  }

  int commandEnd_ = -1;
  int readerEnd_ = -1;
  std::string text_;
  bool closed_ = false;
};

}  // namespace KorvoL2::Testing
