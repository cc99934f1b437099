// What the agent says on the control connection: one JSON object per line.
//
// Members and events that are not known are passed over, so that an agent can say more than this
// client understands. A line that is no JSON object is the agent's answer to a request line that it
// could not read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KorvoCtl {

struct Event {
  enum class Kind { kAccepted, kProgress, kDone, kUnknown };

  Kind kind = Kind::kUnknown;
  std::uint64_t id = 0;                // accepted: the agent's number for the request
  std::uint64_t rows = 0;              // progress, done
  std::optional<std::uint64_t> bytes;  // progress, done: written to the answer so far
  std::uint64_t slices = 0;            // progress, done
  std::string status;                  // done
  std::string message;                 // done: for the operator, may be empty
  double worstSliceMs = 0;             // done
  double elapsedMs = 0;                // done
};

// Absent when the line is no JSON object. Members of another type than expected count as missing.
[[nodiscard]] std::optional<Event> parseEvent(std::string_view line);

// Cuts what arrives into lines.
class LineBuffer {
 public:
  // A line longer than this is none of the agent's.
  static constexpr std::size_t kMaxLine = 1024UL * 1024;

  // Takes what arrived and returns the lines that it completes, without their newlines.
  [[nodiscard]] std::vector<std::string> add(std::string_view data);

  // What came after the last newline, and forgets it.
  [[nodiscard]] std::string takeRest();

  // Whether more than kMaxLine came without a newline.
  [[nodiscard]] bool overflows() const { return rest_.size() > kMaxLine; }

 private:
  std::string rest_;
};

}  // namespace KorvoCtl
