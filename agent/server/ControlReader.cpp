#include "agent/server/ControlReader.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace KorvoAgent {

namespace {

constexpr std::size_t kReadPiece = std::size_t{16} * 1024;
// Room for one more than is taken, so that a second one is seen; what does not fit the kernel
// drops.
constexpr std::size_t kDescriptorRoom = 2;

}  // namespace

ControlReader::State ControlReader::read(int socket) {
  for (;;) {
    // Filled by the kernel, as far as it says.
    // NOLINTBEGIN(cppcoreguidelines-pro-type-member-init)
    std::array<char, kReadPiece> piece;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(kDescriptorRoom * sizeof(int))> control;
    // NOLINTEND(cppcoreguidelines-pro-type-member-init)
    iovec data{.iov_base = piece.data(), .iov_len = piece.size()};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t n = ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno == EAGAIN || errno == EWOULDBLOCK ? State::incomplete : State::failed;
    }
    if ((message.msg_flags & MSG_CTRUNC) != 0) descriptorLost_ = true;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
      if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) continue;
      const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
      for (std::size_t i = 0; i < count; ++i) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header) + i * sizeof(int), sizeof(int));
        keep(FileDescriptor(descriptor));
      }
    }
    if (n == 0) return State::ended;
    switch (assembler_.add({piece.data(), static_cast<std::size_t>(n)})) {
      case LineAssembler::State::incomplete:
        break;
      case LineAssembler::State::complete:
        return State::complete;
      case LineAssembler::State::tooLong:
        return State::tooLong;
    }
  }
}

void ControlReader::keep(FileDescriptor descriptor) noexcept {
  if (numDescriptors_++ == 0) descriptor_ = std::move(descriptor);
}

}  // namespace KorvoAgent
