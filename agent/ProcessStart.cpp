#include "agent/ProcessStart.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "agent/AgentOptions.h"

namespace KorvoAgent {

namespace {

constexpr int kEndSignals[]{SIGTERM, SIGINT};

sigset_t endSignals() noexcept {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : kEndSignals) ::sigaddset(&set, signal);
  return set;
}

extern "C" void endAtOnce(int /*signal*/) { ::_exit(kExitOk); }

}  // namespace

void occupyStandardDescriptors() noexcept {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest number that is free is given out: this one, for those below are taken.
    if (::open("/dev/null", O_RDWR | O_NOCTTY) != descriptor) ::_exit(kExitFailed);
  }
}

void endAtOnceOnSignals() noexcept {
  struct sigaction action {};
  action.sa_handler = &endAtOnce;
  action.sa_mask = endSignals();
  for (const int signal : kEndSignals) ::sigaction(signal, &action, nullptr);
}

SignalsHeldBack::SignalsHeldBack() noexcept {
  const sigset_t set = endSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, &before_);
}

SignalsHeldBack::~SignalsHeldBack() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

bool SignalsHeldBack::anyCame() const noexcept {
  sigset_t pending;
  ::sigemptyset(&pending);
  ::sigpending(&pending);
  for (const int signal : kEndSignals) {
    if (::sigismember(&pending, signal) == 1) return true;
  }
  return false;
}

}  // namespace KorvoAgent
