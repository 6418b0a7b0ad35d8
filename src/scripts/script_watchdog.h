// ScriptWatchdog: stops a script that runs longer than its timeout, from a thread of its own.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "com/com.h"

namespace lmk {

/// The relative due time, in 100-ns units, that a timeout of `seconds` arms the timer with. The
/// product is kept in 32 bits on purpose, as the stored rule sets have always been timed: it
/// wraps, so timeouts up to 214 s give the expected time and 600 s gives -1,705,032,704 (about
/// 170.5 s).
std::int64_t WatchdogDueTime(LONG seconds) noexcept;

/// How long the timer waits for a due time: a negative due time is relative; zero or a positive
/// one is an absolute time long past, so the timer fires at once.
std::chrono::nanoseconds WatchdogDelay(std::int64_t dueTime) noexcept;

/// Watches one call. Arm starts the thread and returns once it waits; Disarm (also the
/// destructor) releases it and joins it. When the delay passes first (or the wait's own bound of
/// 999 s), onTimeout runs on the watchdog's thread and TimedOut() becomes true.
class ScriptWatchdog {
 public:
  ScriptWatchdog() = default;
  ~ScriptWatchdog();
  ScriptWatchdog(const ScriptWatchdog&) = delete;
  ScriptWatchdog& operator=(const ScriptWatchdog&) = delete;

  /// Throws std::system_error when no thread can be started.
  void Arm(std::chrono::nanoseconds delay, std::function<void()> onTimeout);
  void Disarm() noexcept;
  bool TimedOut() const noexcept;

 private:
  void Watch(std::chrono::nanoseconds delay);

  mutable std::mutex lock_;
  std::condition_variable changed_;
  bool started_ = false;
  bool closed_ = false;
  bool timedOut_ = false;
  std::function<void()> onTimeout_;
  std::thread thread_;
};

}  // namespace lmk
