// A trace sink for tests.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Trace.h"

namespace Qel {

/** Keeps lines in memory. */
class CapturingTraceSink final : public TraceSink {
 public:
  struct Line {
    std::string handle;
    int level;
    std::string unit;
    std::string className;
    std::string function;
    int line;
    std::string message;
  };
  void write(const TraceRecord& record) noexcept override {
    try {
      lines_.push_back({std::string(record.handle), record.level, std::string(record.site.unit()),
                        std::string(record.site.className()), std::string(record.site.function()),
                        record.site.line(), std::string(record.message)});
    } catch (...) {
    }
  }
  const std::vector<Line>& lines() const noexcept { return lines_; }
  std::vector<std::string> messages() const {
    std::vector<std::string> result;
    for (const Line& line : lines_) result.push_back(line.message);
    return result;
  }
  bool contains(std::string_view message) const { return count(message) != 0; }
  std::size_t count(std::string_view message) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(lines_, [&](const Line& line) { return line.message == message; }));
  }
  void clear() noexcept { lines_.clear(); }

 private:
  std::vector<Line> lines_;
};

}  // namespace Qel
