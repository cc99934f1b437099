// korvoctl: asks a layer-2 agent for its tables. See Program.h.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "client/CommandLine.h"
#include "client/Program.h"
#include "client/Signals.h"

namespace {

// A standard descriptor that is closed would be given to the first socket we open, and messages or
// data would go to the agent. What stands in for it cannot be written, so that output which is lost
// is an error.
void openStandardDescriptors() {
  int fd = 0;
  do {
    fd = ::open("/dev/null", O_RDONLY);
  } while (fd >= 0 && fd <= STDERR_FILENO);
  ::close(fd);
}

std::string socketFromEnvironment() {
  const char* path = std::getenv(KorvoCtl::kSocketVariable);
  return path != nullptr && *path != '\0' ? path : std::string(KorvoCtl::kDefaultSocket);
}

}  // namespace

int main(int argc, char** argv) {
  openStandardDescriptors();
  KorvoCtl::installSignalHandlers();
  const KorvoCtl::Surroundings surroundings{
      .terminal = KorvoCtl::ProgressLine::terminalFor(STDERR_FILENO, STDOUT_FILENO),
      .outputIsTerminal = ::isatty(STDOUT_FILENO) == 1,
      .defaultSocket = socketFromEnvironment()};
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  const KorvoCtl::RunResult result = KorvoCtl::run(words, surroundings);
  if (result.outputClosed) {
    KorvoCtl::endAsBrokenPipe();
  }
  return static_cast<int>(result.status);
}
