// The events of a control connection: one JSON object per line.
#pragma once

#include <cstdint>
#include <string>

#include "agent/server/RequestEnd.h"
#include "platform/base/Clock.h"

namespace KorvoAgent {

/** What a request has done so far. */
struct RequestFigures {
  std::uint64_t rows = 0;
  std::uint64_t bytes = 0;  ///< taken by the answer socket
  std::uint64_t slices = 0;
  Qel::Duration worstSlice{0};
  Qel::Duration elapsed{0};
};

/** {"event":"accepted","id":7} */
std::string acceptedEvent(std::uint64_t id);
/** {"event":"progress","rows":1000,"bytes":80000,"slices":3} */
std::string progressEvent(const RequestFigures& figures);
/**
 * {"event":"done","status":"ok","message":"","rows":..,"bytes":..,"slices":..,"worstSliceMs":1.250,
 * "elapsedMs":31.007}; always the last line of a connection. Any bytes may stand in the message; it
 * is cut when it is very long.
 */
std::string doneEvent(const RequestEnd& end, const RequestFigures& figures);
/** "refused: MESSAGE" on a line, for a client that asked for no events. */
std::string refusalLine(std::string_view message);

}  // namespace KorvoAgent
