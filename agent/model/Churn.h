// A MAC table that lives: addresses are learned, move and age while commands run.
//
// Threading: the agent's event-loop thread, between two slices.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "agent/model/SeededRandom.h"
#include "agent/model/SwitchModel.h"
#include "platform/base/Clock.h"

namespace KorvoAgent {

/**
 * Changes the learnedDynamic entries of a switch at a steady rate; all others stay as they are. The
 * number of entries stays within band() of what it was at the start. The events and their order
 * depend on the switch and the seed only, not on how they are cut into calls.
 */
class Churn {
 public:
  static constexpr double kMaxRate = 10e6;

  /** Throws Qel::RangeException unless `eventsPerSecond` is 0 to kMaxRate. */
  Churn(SwitchModel& model, double eventsPerSecond, std::uint64_t seed);

  /**
   * Does what is due at `now`, at most `maxEvents`; returns how many. The first call starts the
   * time. Up to a second's worth of events is made up for later; what a longer stall leaves behind
   * is dropped, and a clock that ran backwards starts the time anew.
   */
  std::size_t advance(Qel::Duration now, std::size_t maxEvents);

  /** How far the number of entries goes from what it was at the start, up or down. */
  std::size_t band() const noexcept { return band_; }

  struct Counts {
    std::uint64_t learned = 0;
    std::uint64_t moved = 0;
    std::uint64_t aged = 0;
  };
  const Counts& counts() const noexcept { return counts_; }

 private:
  void event();
  void learn();
  bool move();
  void age();
  /** Index in live_ of a random entry that is still there and still dynamic; false if none. */
  bool pick(std::size_t& index);
  void forget(std::size_t index);

  Qel::Ptr<SwitchModel> model_;
  double rate_;
  SeededRandom random_;
  std::vector<Bridging::MacVlanPair> live_;  // the dynamic entries, in no order
  std::vector<Bridging::IntfId> interfaces_;
  std::size_t target_ = 0;
  std::size_t band_ = 0;
  // Some of those that aged last: they come back, as a host that was only silent does.
  std::array<Bridging::MacVlanPair, 64> aged_{};
  std::size_t numAged_ = 0;
  bool started_ = false;
  Qel::Duration start_{0};
  std::uint64_t done_ = 0;  // since start_, dropped ones included
  Counts counts_;
};

}  // namespace KorvoAgent
