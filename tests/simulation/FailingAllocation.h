// Memory that runs out at a chosen moment.
//
// The program's operator new, which the shared libraries use too, fails once, at the n-th
// allocation after it was armed. One failure and no more: what handles it may allocate.
#pragma once

#include <cstdint>

namespace KorvoSimulation {

/** While it lives, the `nth` allocation (1 is the next) throws std::bad_alloc; 0 is none. */
class FailingAllocation {
 public:
  explicit FailingAllocation(std::uint64_t nth) noexcept;
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /** Whether it has failed. */
  bool fired() const noexcept;

 private:
  bool armed_;
};

/** While it lives, allocations neither fail nor count: the simulation's own within the agent's. */
class AllocationPause {
 public:
  AllocationPause() noexcept;
  ~AllocationPause();
  AllocationPause(const AllocationPause&) = delete;
  AllocationPause& operator=(const AllocationPause&) = delete;

 private:
  std::uint64_t left_;
};

}  // namespace KorvoSimulation
