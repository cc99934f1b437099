// How one column of a text table looks.
#pragma once

#include <cstdint>

namespace Rendering {

/**
 * Width, alignment and surroundings of a column; see TableRenderer for the table that it is part
 * of. A plain value.
 *
 * Widths count code points. Content wider than the column never pushes the columns after it: it is
 * wrapped into continuation lines or cut.
 */
class ColumnFormatter {
 public:
  enum Alignment : int {
    kLeft = 0,
    kRight = 1,
    kCentre = 2,
  };
  /** Upper limit of every measure. */
  static constexpr int kMaxWidth = 255;

  /**
   * `width`               code points that a cell holds, 1 to kMaxWidth;
   * `alignment`           an Alignment;
   * `blanksBefore`        fewest blanks in front of the cell, 0 to kMaxWidth;
   * `blanksAfter`         fewest blanks behind it, 0 to kMaxWidth. Between two columns stands the
   *                       larger of what the left one wants behind and the right one in front;
   * `wrap`                true: what does not fit goes on in lines below, broken at a blank where
   *                       there is one; false: it is cut, and '~' in the last place says so;
   * `continuationIndent`  blanks in front of wrapped content on its second line and later, within
   *                       the cell, 0 to width - 1.
   *
   * Throws Qel::RangeException, which names the measure that is out of range.
   */
  ColumnFormatter(int width, int alignment, int blanksBefore, int blanksAfter, bool wrap,
                  int continuationIndent);

  std::uint32_t width() const noexcept { return width_; }
  Alignment alignment() const noexcept { return alignment_; }
  std::uint32_t blanksBefore() const noexcept { return blanksBefore_; }
  std::uint32_t blanksAfter() const noexcept { return blanksAfter_; }
  bool wrap() const noexcept { return wrap_; }
  std::uint32_t continuationIndent() const noexcept { return continuationIndent_; }

 private:
  std::uint32_t width_;
  Alignment alignment_;
  std::uint32_t blanksBefore_;
  std::uint32_t blanksAfter_;
  bool wrap_;
  std::uint32_t continuationIndent_;
};

}  // namespace Rendering
