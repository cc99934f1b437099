// The agent's own trace handle.
//
//   level 1: faults of the agent    level 3: refused connections    level 5: requests begin and end
#pragma once

#include "platform/base/Trace.h"

namespace KorvoAgent {

inline Qel::TraceHandle& agentTrace() {
  static Qel::TraceHandle& handle = Qel::traceHandle("KorvoAgent");
  return handle;
}

}  // namespace KorvoAgent
