// What the process does about signals: leaves the terminal as it found it, and lets each signal end
// the process the way the shell expects.
#pragma once

namespace KorvoCtl {

// SIGINT, SIGTERM, SIGHUP: the progress line is taken away and the signal then ends the process;
// the agent notices that its client is gone. One that was ignored when we started (nohup) stays
// ignored. SIGPIPE is ignored from here on, so that a reader who leaves is seen as an error of
// write(), whatever we inherited.
void installSignalHandlers();

// Ends the process as SIGPIPE would have: quietly, with the status that a shell knows from other
// tools whose reader has left.
[[noreturn]] void endAsBrokenPipe();

}  // namespace KorvoCtl
