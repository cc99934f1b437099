// Tracked allocation of fixed-size objects.
//
// A class that writes QEL_TRACKED_ALLOCATION(Class) gets its memory from an allocator of its own,
// which keeps freed blocks for the next object of the class and counts live instances. The counts
// answer "did that request leave anything behind?" in tests and in the agent's status.
//
// Threading: the counts are exact from any thread; blocks are kept for reuse in the agent's one
// thread only (see Ptr.h).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Qel {

/** Allocator of one class. Objects of a derived class without an allocator of its own fit too. */
class FixedAllocator {
 public:
  FixedAllocator(std::string_view className, std::size_t objectSize);
  FixedAllocator(const FixedAllocator&) = delete;
  FixedAllocator& operator=(const FixedAllocator&) = delete;

  /** Memory for one object of `size` bytes; throws std::bad_alloc. */
  void* allocate(std::size_t size);
  void release(void* block, std::size_t size) noexcept;

  std::string_view className() const noexcept { return className_; }
  std::int64_t liveInstances() const noexcept { return live_.load(std::memory_order_relaxed); }

 private:
  struct FreeBlock {
    FreeBlock* next;
  };
  std::string_view className_;
  std::size_t objectSize_;
  std::atomic<std::int64_t> live_{0};
  FreeBlock* free_ = nullptr;
  std::size_t numFree_ = 0;
};

struct LiveInstances {
  std::string_view className;
  std::int64_t count;
};

/** The live instances of every tracked class that was ever used, ordered by class name. */
std::vector<LiveInstances> liveInstances();
/** Those of one class, by the name that its QEL_TRACKED_ALLOCATION gave; 0 if never used. */
std::int64_t liveInstances(std::string_view className);

}  // namespace Qel

/** Inside a class body: allocate its objects through an allocator of its own, see above. */
#define QEL_TRACKED_ALLOCATION(Class)                                                \
 public:                                                                             \
  static ::Qel::FixedAllocator& allocator() {                                        \
    static_assert(alignof(Class) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);               \
    /* Never destroyed: objects may be released during static destruction. */        \
    static auto* const instance = new ::Qel::FixedAllocator(#Class, sizeof(Class));  \
    return *instance;                                                                \
  }                                                                                  \
  static void* operator new(std::size_t size) { return allocator().allocate(size); } \
  static void operator delete(void* block, std::size_t size) noexcept {              \
    allocator().release(block, size);                                                \
  }                                                                                  \
                                                                                     \
 private:
