// The script watchdog.
#include "scripts/script_watchdog.h"

#include <utility>

namespace lmk {
namespace {

// However long the timer is set for, the wait itself ends after this.
constexpr std::chrono::milliseconds kLongestWait{999'000};

}  // namespace

std::int64_t WatchdogDueTime(LONG seconds) noexcept {
  // Unsigned multiplication wraps without undefined behaviour; the cast back to 32 bits then
  // gives the signed product that the 32-bit arithmetic gives.
  const auto product =
      static_cast<std::uint32_t>(seconds) * static_cast<std::uint32_t>(-10'000'000);
  return static_cast<std::int32_t>(product);
}

std::chrono::nanoseconds WatchdogDelay(std::int64_t dueTime) noexcept {
  if (dueTime >= 0) return std::chrono::nanoseconds::zero();
  return std::chrono::nanoseconds(-dueTime * 100);
}

ScriptWatchdog::~ScriptWatchdog() { Disarm(); }

void ScriptWatchdog::Arm(std::chrono::nanoseconds delay, std::function<void()> onTimeout) {
  Disarm();
  {
    std::lock_guard<std::mutex> hold(lock_);
    started_ = closed_ = timedOut_ = false;
    onTimeout_ = std::move(onTimeout);
  }
  thread_ = std::thread([this, delay] { Watch(delay); });
  std::unique_lock<std::mutex> hold(lock_);
  changed_.wait(hold, [this] { return started_; });
}

void ScriptWatchdog::Disarm() noexcept {
  if (!thread_.joinable()) return;
  {
    std::lock_guard<std::mutex> hold(lock_);
    closed_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

bool ScriptWatchdog::TimedOut() const noexcept {
  std::lock_guard<std::mutex> hold(lock_);
  return timedOut_;
}

void ScriptWatchdog::Watch(std::chrono::nanoseconds delay) {
  std::unique_lock<std::mutex> hold(lock_);
  started_ = true;
  changed_.notify_all();
  const auto wait = delay < kLongestWait ? delay : std::chrono::nanoseconds(kLongestWait);
  if (changed_.wait_for(hold, wait, [this] { return closed_; })) return;
  timedOut_ = true;
  hold.unlock();
  // The runtime's interrupt only sets a flag that the script's thread reads; nothing of it
  // may escape this thread.
  try {
    onTimeout_();
  } catch (...) {
  }
}

}  // namespace lmk
