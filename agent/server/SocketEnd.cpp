#include "agent/server/SocketEnd.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>

namespace KorvoAgent {

namespace {

// As much as the kernel lets an unprivileged client keep in a socket, and some more.
constexpr int kMostPieces = 32;
constexpr std::size_t kDrainPiece = std::size_t{16} * 1024;

}  // namespace

void sayToClient(int connection, std::string_view text) noexcept {
  (void)!::send(connection, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

Discarded discardInput(int connection) noexcept {
  std::array<char, kDrainPiece> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  Discarded result;
  for (int i = 0; i < kMostPieces; ++i) {
    const ssize_t n = ::recv(connection, piece.data(), piece.size(), MSG_DONTWAIT);
    if (n > 0) {
      result.any = true;
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    result.ended = n == 0 || errno != EAGAIN;
    break;
  }
  return result;
}

void endInput(int connection) noexcept {
  // First the shutdown: what comes between a last look and closing would be unread again.
  ::shutdown(connection, SHUT_RD);
  (void)discardInput(connection);
}

void discardOutOfBand(int connection) noexcept {
  char byte = 0;
  (void)!::recv(connection, &byte, 1, MSG_OOB | MSG_DONTWAIT);
}

}  // namespace KorvoAgent
