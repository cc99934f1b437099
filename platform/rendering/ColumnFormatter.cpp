#include "platform/rendering/ColumnFormatter.h"

#include <string>

#include "platform/base/Exceptions.h"

namespace Rendering {

namespace {

std::uint32_t inRange(int value, int low, int high, const char* measure) {
  if (value < low || value > high) {
    throw Qel::RangeException("Rendering::ColumnFormatter::" + std::string(measure) + " < " +
                              std::to_string(low) + " or > " + std::to_string(high) +
                              " not allowed");
  }
  return static_cast<std::uint32_t>(value);
}

}  // namespace

ColumnFormatter::ColumnFormatter(int width, int alignment, int blanksBefore, int blanksAfter,
                                 bool wrap, int continuationIndent)
    : width_(inRange(width, 1, kMaxWidth, "width")),
      alignment_(static_cast<Alignment>(inRange(alignment, kLeft, kCentre, "alignment"))),
      blanksBefore_(inRange(blanksBefore, 0, kMaxWidth, "blanksBefore")),
      blanksAfter_(inRange(blanksAfter, 0, kMaxWidth, "blanksAfter")),
      wrap_(wrap),
      continuationIndent_(inRange(continuationIndent, 0, width - 1, "continuationIndent")) {}

}  // namespace Rendering
