// ManualResetEvent: a flag that stays set once set until reset, which threads may test or wait
// on; the batch run's cancel signal.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace lmk {

class ManualResetEvent {
 public:
  /// Sets the event and wakes every waiter.
  void Set();
  /// Clears the event.
  void Reset();
  /// Whether the event is set; cheap enough to ask once per image.
  bool IsSet() const noexcept { return set_.load(std::memory_order_acquire); }
  /// Waits until the event is set or `timeout` has passed; true when it is set.
  bool WaitFor(std::chrono::milliseconds timeout);

 private:
  std::atomic<bool> set_{false};
  std::mutex mutex_;
  std::condition_variable changed_;
};

}  // namespace lmk
