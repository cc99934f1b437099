#include "client/Signals.h"

#include <unistd.h>

#include <array>
#include <csignal>

#include "client/ProgressLine.h"

namespace KorvoCtl {

namespace {

constexpr int kShellSignalBase = 128;

// The signal's default action has been restored when this runs (SA_RESETHAND).
void endBySignal(int signal) {
  ProgressLine::eraseFromSignal();
  ::raise(signal);
}

}  // namespace

void installSignalHandlers() {
  for (const int signal : std::array{SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction current {};
    if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
      continue;
    }
    struct sigaction action {};
    action.sa_handler = &endBySignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
  }
  ::signal(SIGPIPE, SIG_IGN);
}

void endAsBrokenPipe() {
  ::signal(SIGPIPE, SIG_DFL);
  ::raise(SIGPIPE);
  // Only where the signal is blocked.
  ::_exit(kShellSignalBase + SIGPIPE);
}

}  // namespace KorvoCtl
