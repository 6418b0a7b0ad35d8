// ManualResetEvent: an atomic flag plus a condition variable for the waiters.
#include "batch/manual_reset_event.h"

namespace lmk {

void ManualResetEvent::Set() {
  {
    std::lock_guard lock(mutex_);
    set_.store(true, std::memory_order_release);
  }
  changed_.notify_all();
}

void ManualResetEvent::Reset() {
  std::lock_guard lock(mutex_);
  set_.store(false, std::memory_order_release);
}

bool ManualResetEvent::WaitFor(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [this] { return IsSet(); });
}

}  // namespace lmk
