#include "agent/server/SyncCall.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <new>
#include <string_view>
#include <utility>

namespace KorvoAgent {

namespace {

bool sameFile(int a, int b) {
  struct stat statA {};
  struct stat statB {};
  return ::fstat(a, &statA) == 0 && ::fstat(b, &statB) == 0 && statA.st_dev == statB.st_dev &&
         statA.st_ino == statB.st_ino;
}

}  // namespace

SyncCall::SyncCall(int answer)
    : answer_(answer),
      socket_(::fcntl(answer, F_DUPFD_CLOEXEC, 0)),
      error_(errno),
      sentBefore_(Rendering::SocketPort::sentTotal()) {
  handlerBefore_ = Rendering::PrintBuffer::undeliveredHandlerIs(
      [this](std::uint32_t socket, std::string_view text) {
        if (socket != this->socket()) return;
        Rendering::SocketPort::heldIs(socket);
        try {
          left_ += text;
        } catch (const std::bad_alloc&) {
          lost_ = true;
        }
      });
}

SyncCall::~SyncCall() {
  Rendering::SocketPort::heldIs(Rendering::SocketPort::kNoSocket);
  Rendering::PrintBuffer::undeliveredHandlerIs(std::move(handlerBefore_));
  // The callback may have closed its descriptor, and the number may be another file's by now.
  if (!sameFile(socket_.get(), answer_)) socket_.release();
}

std::uint64_t SyncCall::sent() const noexcept {
  return Rendering::SocketPort::sentTotal() - sentBefore_;
}

}  // namespace KorvoAgent
