// The trace handle that every unit of the plug-in writes to. Not part of the public headers.
#pragma once

#include "platform/base/Trace.h"

namespace KorvoL2 {

/** Levels in use: 8 for entry and check lines, 5 for the handler that a command was given to. */
inline Qel::TraceHandle& trace() {
  static Qel::TraceHandle& handle = Qel::traceHandle("KorvoL2CliCallbacks");
  return handle;
}

}  // namespace KorvoL2
