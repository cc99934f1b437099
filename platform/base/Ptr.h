// Reference-counted pointers.
//
// Every object of the agent and of its plug-ins that is shared is a RefCounted held through
// Qel::Ptr. The counter sits in the object, so a Ptr can be made again from a raw pointer or from
// `this`.
//
// Threading: the agent is one event-loop thread, so counts are plain by default. A process that
// shares such objects between threads calls threadSafePtrIs(true) once, before it starts its second
// thread and before it shares the first object; counts are atomic from then on. Debug builds check
// both rules.
#pragma once

#include <atomic>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <cstdint>
#include <utility>

namespace Qel {

namespace Detail {
extern bool threadSafePtr;
void checkCountingThread() noexcept;
}  // namespace Detail

/** Whether reference counts are changed with atomic operations. */
inline bool threadSafePtr() noexcept { return Detail::threadSafePtr; }

/**
 * Chooses between atomic (true) and plain (false, the default) counts for the whole process.
 * Throws AssertionException when the choice changes after a count was taken by another thread.
 */
void threadSafePtrIs(bool threadSafe);

/** Base of every object held by Ptr. Created with a count of zero; the first Ptr makes it one. */
class RefCounted {
 public:
  RefCounted(const RefCounted&) = delete;
  RefCounted& operator=(const RefCounted&) = delete;

  /** Number of Ptr that hold this object; a snapshot, for tests and assertions. */
  std::uint32_t users() const noexcept { return users_.load(std::memory_order_relaxed); }

  void addUser() const noexcept {
    if (threadSafePtr()) {
      users_.fetch_add(1, std::memory_order_relaxed);
    } else {
#ifndef NDEBUG
      Detail::checkCountingThread();
#endif
      // Load and store instead of an atomic read-modify-write: one plain increment.
      users_.store(users_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
  }

  void removeUser() const noexcept {
    std::uint32_t before;
    if (threadSafePtr()) {
      before = users_.fetch_sub(1, std::memory_order_acq_rel);
    } else {
#ifndef NDEBUG
      Detail::checkCountingThread();
#endif
      before = users_.load(std::memory_order_relaxed);
      users_.store(before - 1, std::memory_order_relaxed);
    }
    if (before == 1) const_cast<RefCounted*>(this)->lastUserGone();
  }

 protected:
  RefCounted() noexcept = default;
  virtual ~RefCounted() = default;

  /** Called when the last Ptr lets go. Deletes the object unless a class keeps its objects. */
  virtual void lastUserGone() noexcept { delete this; }

 private:
  mutable std::atomic<std::uint32_t> users_{0};
};

inline void intrusive_ptr_add_ref(const RefCounted* object) noexcept { object->addUser(); }
inline void intrusive_ptr_release(const RefCounted* object) noexcept { object->removeUser(); }

/** Shared ownership of a RefCounted; as small as a raw pointer. */
template <class T>
using Ptr = boost::intrusive_ptr<T>;

template <class T, class... Args>
Ptr<T> makePtr(Args&&... args) {
  return Ptr<T>(new T(std::forward<Args>(args)...));
}

/** Checked downcast; null when `from` is null or of another type. */
template <class T, class U>
Ptr<T> ptrCast(const Ptr<U>& from) noexcept {
  return Ptr<T>(dynamic_cast<T*>(from.get()));
}

}  // namespace Qel
