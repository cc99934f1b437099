// What the agent sees to before it does anything that takes long.
//
// Threading: the one thread of a process that has just started.
#pragma once

#include <csignal>

namespace KorvoAgent {

/**
 * Opens /dev/null on each of the descriptors 0 to 2 that is closed. Otherwise the next file that is
 * opened, a trace file or a socket, would get that number and what is printed. Ends the process
 * with kExitFailed when that is not possible.
 */
void occupyStandardDescriptors() noexcept;

/**
 * Makes SIGTERM and SIGINT end the process at once with kExitOk, until they are handled otherwise.
 * For the time in which there is nothing to clean up yet, but an open(), a read() or a computation
 * may take for ever.
 */
void endAtOnceOnSignals() noexcept;

/**
 * Holds SIGTERM and SIGINT back while it lives: between the two ways of handling them nothing may
 * happen that a signal would come too late for.
 */
class SignalsHeldBack {
 public:
  SignalsHeldBack() noexcept;
  ~SignalsHeldBack();
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

  /** Whether one has come meanwhile; it is handled when this object goes. */
  bool anyCame() const noexcept;

 private:
  sigset_t before_{};
};

}  // namespace KorvoAgent
