// The one fake of the host's usage counter for every test: it records what the plug-in counts,
// and a scope registers its class so that the plug-in creates it as it would the host's.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "com/com.h"
#include "com/com_error.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "platform/usage_counter.h"

namespace lmk::test {

/// One counted event.
struct UsageEvent {
  std::wstring category;
  std::wstring event;
  LONG count;
  bool operator==(const UsageEvent&) const = default;
};

/// A usage counter that records what it is told.
class FakeUsageCounter final : public ComObject<FakeUsageCounter, ILumarkoUsageCounter> {
 public:
  HRESULT STDMETHODCALLTYPE AddToCounter(LPCWSTR category, LPCWSTR event, LONG count) override {
    if (category == nullptr || event == nullptr) return E_INVALIDARG;
    std::lock_guard guard(lock_);
    events_.push_back(UsageEvent{category, event, count});
    return S_OK;
  }
  std::vector<UsageEvent> events() const {
    std::lock_guard guard(lock_);
    return events_;
  }

 private:
  mutable std::mutex lock_;
  std::vector<UsageEvent> events_;
};

/// The class object of the fake counter: every creation hands out the same counter and is
/// counted, so tests see how many the plug-in made.
class FakeUsageCounterFactory final : public ComObject<FakeUsageCounterFactory, IClassFactory> {
 public:
  static constexpr bool kCountsInModuleLock = false;

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    ++creations;
    return counter->QueryInterface(riid, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

  std::atomic<int> creations{0};
  ComPtr<FakeUsageCounter> counter = MakeComObject<FakeUsageCounter>();
};

/// Registers a FakeUsageCounterFactory for the usage-counter class while it lives.
class ScopedUsageCounterClass {
 public:
  ScopedUsageCounterClass() {
    ThrowIfFailed(CoRegisterClassObject(CLSID_LumarkoUsageCounter, factory_.Get(),
                                        CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_));
  }
  ~ScopedUsageCounterClass() { CoRevokeClassObject(cookie_); }
  ScopedUsageCounterClass(const ScopedUsageCounterClass&) = delete;
  ScopedUsageCounterClass& operator=(const ScopedUsageCounterClass&) = delete;

  FakeUsageCounterFactory& factory() { return *factory_.Get(); }

 private:
  ComPtr<FakeUsageCounterFactory> factory_ = MakeComObject<FakeUsageCounterFactory>();
  DWORD cookie_ = 0;
};

}  // namespace lmk::test
