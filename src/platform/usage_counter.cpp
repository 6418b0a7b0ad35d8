// The process-wide usage counter: created by the plug-in's first initialisation, shared by
// every object and worker thread until the plug-in is terminated.
#include "platform/usage_counter.h"

#include <mutex>
#include <string>

#include "com/com_ptr.h"

namespace lmk {
namespace {

// Set and cleared only by the plug-in's Initialize and Terminate, but read by worker threads:
// readers take their own reference under the lock and call the counter outside it.
struct CounterSlot {
  std::mutex lock;
  ComPtr<ILumarkoUsageCounter> counter;
};

CounterSlot& Slot() {
  static CounterSlot slot;
  return slot;
}

ComPtr<ILumarkoUsageCounter> CurrentCounter() {
  CounterSlot& slot = Slot();
  std::lock_guard guard(slot.lock);
  return slot.counter;
}

}  // namespace

bool AcquireUsageCounter() noexcept {
  CounterSlot& slot = Slot();
  std::lock_guard guard(slot.lock);
  if (slot.counter) return false;
  ComPtr<ILumarkoUsageCounter> created;
  HRESULT hr =
      CoCreateInstance(CLSID_LumarkoUsageCounter, nullptr, CLSCTX_ALL, IID_ILumarkoUsageCounter,
                       reinterpret_cast<void**>(created.GetAddressOf()));
  if (FAILED(hr) || !created) return false;
  slot.counter = std::move(created);
  return true;
}

void ReleaseUsageCounter() noexcept {
  ComPtr<ILumarkoUsageCounter> released;
  {
    CounterSlot& slot = Slot();
    std::lock_guard guard(slot.lock);
    released = std::move(slot.counter);
  }
  // The last reference goes outside the lock: the counter's destructor may call back into us.
}

bool HasUsageCounter() noexcept {
  CounterSlot& slot = Slot();
  std::lock_guard guard(slot.lock);
  return static_cast<bool>(slot.counter);
}

void CountUsage(std::wstring_view event, LONG count) {
  ComPtr<ILumarkoUsageCounter> counter = CurrentCounter();
  if (!counter) return;
  const std::wstring category(kUsageCategory);
  const std::wstring name(event);
  counter->AddToCounter(category.c_str(), name.c_str(), count);
}

}  // namespace lmk
