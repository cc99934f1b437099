#include "tests/simulation/FailingAllocation.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace KorvoSimulation {
namespace {

std::uint64_t allocationsLeft = 0;  // until one fails; 0 while none is to

bool failsNow() noexcept { return allocationsLeft != 0 && --allocationsLeft == 0; }

}  // namespace

FailingAllocation::FailingAllocation(std::uint64_t nth) noexcept : armed_(nth != 0) {
  allocationsLeft = nth;
}

FailingAllocation::~FailingAllocation() { allocationsLeft = 0; }

bool FailingAllocation::fired() const noexcept { return armed_ && allocationsLeft == 0; }

AllocationPause::AllocationPause() noexcept : left_(std::exchange(allocationsLeft, 0)) {}

AllocationPause::~AllocationPause() { allocationsLeft = left_; }

}  // namespace KorvoSimulation

// All of a kind, so that what one gives another may take back.
void* operator new(std::size_t size) {
  if (KorvoSimulation::failsNow()) throw std::bad_alloc();
  if (void* const block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return KorvoSimulation::failsNow() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return ::operator new(size, tag);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept { std::free(block); }
