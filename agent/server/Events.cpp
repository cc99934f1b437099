#include "agent/server/Events.h"

#include <fmt/format.h>

#include "text/JsonString.h"
#include "text/Printable.h"

namespace KorvoAgent {

namespace {

// An exception's message may quote a whole document; a status line stays a line.
constexpr std::size_t kMaxMessage = 4096;

double milliseconds(Qel::Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

}  // namespace

std::string acceptedEvent(std::uint64_t id) {
  return fmt::format("{{\"event\":\"accepted\",\"id\":{}}}\n", id);
}

std::string progressEvent(const RequestFigures& figures) {
  return fmt::format("{{\"event\":\"progress\",\"rows\":{},\"bytes\":{},\"slices\":{}}}\n",
                     figures.rows, figures.bytes, figures.slices);
}

std::string doneEvent(const RequestEnd& end, const RequestFigures& figures) {
  std::string message;
  Text::appendJsonString(message, Text::shortened(end.message, kMaxMessage));
  return fmt::format(
      "{{\"event\":\"done\",\"status\":\"{}\",\"message\":{},\"rows\":{},\"bytes\":{},"
      "\"slices\":{},\"worstSliceMs\":{:.3f},\"elapsedMs\":{:.3f}}}\n",
      statusName(end.status), message, figures.rows, figures.bytes, figures.slices,
      milliseconds(figures.worstSlice), milliseconds(figures.elapsed));
}

std::string refusalLine(std::string_view message) {
  return fmt::format("refused: {}\n", Text::printable(message));
}

}  // namespace KorvoAgent
