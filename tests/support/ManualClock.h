// A clock for tests.
#pragma once

#include "platform/base/Clock.h"

namespace Qel {

/** A clock that stands still until it is moved, forwards or backwards. */
class ManualClock final : public Clock {
 public:
  Duration now() const override {
    now_ += perReading_;
    return now_;
  }
  void nowIs(Duration now) noexcept { now_ = now; }
  void advance(Duration by) noexcept { now_ += by; }
  /** Every reading moves the clock by `step` first; lets time pass inside code under test. */
  void perReadingIs(Duration step) noexcept { perReading_ = step; }

 private:
  mutable Duration now_{0};
  Duration perReading_{0};
};

}  // namespace Qel
