// Monotonic clocks, injected wherever time is measured.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/base/Ptr.h"

namespace Qel {

using Duration = std::chrono::nanoseconds;

/** A monotonic clock: time since an arbitrary start. */
class Clock : public RefCounted {
 public:
  virtual Duration now() const = 0;
  /**
   * Whether the clock advances with the processor's cycle counter, so that a reader may skip
   * reading it while that counter has hardly moved. False for a clock that a test moves.
   */
  virtual bool followsCycleCounter() const noexcept { return false; }
};

/** The operating system's monotonic clock. */
class SteadyClock final : public Clock {
 public:
  Duration now() const override { return std::chrono::steady_clock::now().time_since_epoch(); }
  bool followsCycleCounter() const noexcept override { return true; }
};

/**
 * The processor's cycle counter, an order of magnitude cheaper than a clock reading; 0 where there
 * is none that user code can read. Only differences on one thread mean anything.
 */
inline std::uint64_t cycleCounter() noexcept {
#if defined(__x86_64__)
  return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
  std::uint64_t ticks;
  asm volatile("mrs %0, cntvct_el0" : "=r"(ticks));
  return ticks;
#else
  return 0;
#endif
}

/**
 * Measures one time budget on a clock, for little more than nothing per question: the clock itself
 * is read only when some microseconds may have passed since it was read last, and the cycle counter
 * that tells so is passed over for a few questions while they follow each other quickly. Where they
 * suddenly do not, the budget is overrun by those few at most.
 */
class BudgetTimer {
 public:
  /** Starts the budget now. `clock` must outlive the timer. */
  void start(const Clock& clock, Duration budget) {
    clock_ = &clock;
    budget_ = budget;
    followsCycles_ = clock.followsCycleCounter();
    start_ = clock.now();
    lastCycles_ = lastAsked_ = cycleCounter();
    unasked_ = 0;
    spent_ = false;
  }

  /**
   * Whether more than the budget has passed since start(). A clock that ran backwards counts as
   * spent: the caller ends its slice and starts the next one on the new time. Once true, it stays
   * true until start().
   */
  bool spent() {
    if (spent_) return true;
    if (followsCycles_) {
      if (unasked_ != 0) {
        --unasked_;
        return false;
      }
      const std::uint64_t cycles = cycleCounter();
      unasked_ = cycles - lastAsked_ < kCyclesOfQuickQuestions ? kQuestionsPassedOver : 0;
      lastAsked_ = cycles;
      if (cycles - lastCycles_ < kCyclesBetweenReadings) return false;
      lastCycles_ = cycles;
    }
    return spentNow();
  }

  /** The same, exactly: reads the clock unless the answer is known. */
  bool spentNow() {
    if (spent_) return true;
    const Duration elapsed = clock_->now() - start_;
    spent_ = elapsed > budget_ || elapsed < Duration::zero();
    return spent_;
  }

  Duration elapsed() const { return clock_->now() - start_; }

 private:
#if defined(__x86_64__)
  static constexpr std::uint64_t kCyclesBetweenReadings = 32768;  // about 10 us at 3 GHz
#elif defined(__aarch64__)
  static constexpr std::uint64_t kCyclesBetweenReadings = 256;  // about 10 us at 25 MHz
#else
  static constexpr std::uint64_t kCyclesBetweenReadings = 0;  // no counter: read the clock
#endif

  static constexpr std::uint64_t kCyclesOfQuickQuestions = kCyclesBetweenReadings / 8;
  static constexpr unsigned kQuestionsPassedOver = 7;

  const Clock* clock_ = nullptr;
  Duration budget_{0};
  Duration start_{0};
  std::uint64_t lastCycles_ = 0;  // when the clock was read
  std::uint64_t lastAsked_ = 0;   // when the counter was read
  unsigned unasked_ = 0;          // questions still to be passed over
  bool followsCycles_ = false;
  bool spent_ = false;
};

}  // namespace Qel
