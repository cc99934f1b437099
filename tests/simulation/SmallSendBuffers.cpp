#include "tests/simulation/SmallSendBuffers.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace KorvoSimulation {
namespace {

int sendBufferSize = 0;

}  // namespace

void sendBufferSizeIs(int bytes) noexcept { sendBufferSize = bytes; }

// In front of the C library's, for this program and the libraries that it loads.
extern "C" int setsockopt(int socket, int level, int option, const void* value,
                          socklen_t size) noexcept {
  const int forced = sendBufferSize;
  if (forced != 0 && level == SOL_SOCKET && (option == SO_SNDBUF || option == SO_SNDBUFFORCE)) {
    option = SO_SNDBUF;
    value = &forced;
    size = sizeof(forced);
  }
  return static_cast<int>(::syscall(SYS_setsockopt, socket, level, option, value, size));
}

}  // namespace KorvoSimulation
