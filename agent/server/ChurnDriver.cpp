#include "agent/server/ChurnDriver.h"

#include <algorithm>
#include <utility>

namespace KorvoAgent {

namespace {

// Fifty times a second is smooth enough, and few wake-ups; slow rates wake for each event only.
constexpr double kShortestInterval = 0.02;
constexpr double kLongestInterval = 3600;

constexpr std::size_t kEventsPerReading = 64;
constexpr Qel::Duration kTurnShare = std::chrono::milliseconds(1);

}  // namespace

ChurnDriver::ChurnDriver(Qel::Ptr<const Qel::Clock> clock, double eventsPerSecond, Advance advance)
    : clock_(std::move(clock)),
      interval_(std::chrono::duration_cast<Qel::Duration>(std::chrono::duration<double>(
          std::clamp(1 / eventsPerSecond, kShortestInterval, kLongestInterval)))),
      advance_(std::move(advance)),
      next_(clock_->now() + interval_) {}

std::optional<Qel::Duration> ChurnDriver::nextDeadline() const {
  return due_ ? std::nullopt : std::optional(next_);
}

void ChurnDriver::runPiece() {
  Qel::BudgetTimer timer;
  timer.start(*clock_, kTurnShare);
  do {
    const Qel::Duration now = clock_->now();
    if (advance_(now, kEventsPerReading) < kEventsPerReading) {
      due_ = false;
      next_ = now + interval_;
      return;
    }
  } while (!timer.spent());
  // More is due: the rest comes in later turns, between what others have to do.
}

}  // namespace KorvoAgent
