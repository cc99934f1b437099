#include "platform/base/Ptr.h"

#include <thread>

#include "platform/base/Exceptions.h"

namespace Qel {

namespace Detail {

bool threadSafePtr = false;

namespace {
// The one thread that takes plain counts; set by the first count of a debug build.
std::atomic<std::thread::id> countingThread{};
}  // namespace

// Always there, called or not: who includes Ptr.h need not be built as this library is.
void checkCountingThread() noexcept {
  const auto self = std::this_thread::get_id();
  std::thread::id none{};
  if (countingThread.compare_exchange_strong(none, self) || none == self) return;
  // A plain count from a second thread is a lost update waiting to happen; noexcept turns the
  // exception into an abort with this message.
  assertionFailed("plain reference counts are taken by one thread only", __FILE__, __LINE__);
}

}  // namespace Detail

void threadSafePtrIs(bool threadSafe) {
  if (threadSafe == Detail::threadSafePtr) return;
  const auto counting = Detail::countingThread.load();
  QEL_ASSERT(counting == std::thread::id{} || counting == std::this_thread::get_id());
  Detail::threadSafePtr = threadSafe;
}

}  // namespace Qel
