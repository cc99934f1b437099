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

/** In a member function of an entity: a line under the class of the object. */
#define KORVO_L2_TRACE(level, ...) \
  KORVO_L2_TRACE_AT(level, ::Qel::TraceSite(typeData().name), __VA_ARGS__)

/** A line for `site`, a Qel::TraceSite. */
#define KORVO_L2_TRACE_AT(level, site, ...) \
  QEL_TRACE_AT(::KorvoL2::trace(), level, site, __VA_ARGS__)
