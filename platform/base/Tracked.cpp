#include "platform/base/Tracked.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <new>

#include "platform/base/Ptr.h"

#if defined(__SANITIZE_ADDRESS__)
#define QEL_KEEP_FREED_BLOCKS false
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_KEEP_FREED_BLOCKS false
#endif
#endif
#ifndef QEL_KEEP_FREED_BLOCKS
#define QEL_KEEP_FREED_BLOCKS true
#endif

namespace Qel {

namespace {

// Enough for the objects of a busy agent; what exceeds it goes back to the heap.
constexpr std::size_t kMaxFreeBlocks = 64;
// Under the address sanitizer every object has memory of its own, so that a use after free is seen.
constexpr bool kKeepFreedBlocks = QEL_KEEP_FREED_BLOCKS;

struct Registry {
  std::mutex mutex;
  std::vector<const FixedAllocator*> allocators;
};

Registry& registry() {
  static auto* const instance = new Registry;
  return *instance;
}

}  // namespace

FixedAllocator::FixedAllocator(std::string_view className, std::size_t objectSize)
    : className_(className), objectSize_(objectSize) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  all.allocators.push_back(this);
}

void* FixedAllocator::allocate(std::size_t size) {
  void* block;
  if (free_ != nullptr && size == objectSize_ && !threadSafePtr()) {
    block = free_;
    free_ = free_->next;
    --numFree_;
  } else {
    block = ::operator new(size);
  }
  live_.fetch_add(1, std::memory_order_relaxed);
  return block;
}

void FixedAllocator::release(void* block, std::size_t size) noexcept {
  if (block == nullptr) return;
  live_.fetch_sub(1, std::memory_order_relaxed);
  if (kKeepFreedBlocks && size == objectSize_ && size >= sizeof(FreeBlock) &&
      numFree_ < kMaxFreeBlocks && !threadSafePtr()) {
    free_ = new (block) FreeBlock{free_};
    ++numFree_;
  } else {
    ::operator delete(block, size);
  }
}

std::vector<LiveInstances> liveInstances() {
  // A class in a header may have an allocator in each library that uses it: add them up.
  std::map<std::string_view, std::int64_t> sums;
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  for (const FixedAllocator* each : all.allocators)
    sums[each->className()] += each->liveInstances();
  std::vector<LiveInstances> result;
  result.reserve(sums.size());
  for (const auto& [name, count] : sums) result.push_back({name, count});
  return result;
}

std::int64_t liveInstances(std::string_view className) {
  for (const LiveInstances& each : liveInstances()) {
    if (each.className == className) return each.count;
  }
  return 0;
}

}  // namespace Qel
