// Test doubles of what a host gives the plug-in: the host interface and the usage counter class.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "com/com.h"
#include "shell/lumarko_host.h"

namespace lmk::test {

/// A host that answers nothing but its identity.
class FakeHost final : public ComObject<FakeHost, ILumarkoHost> {
 public:
  HRESULT STDMETHODCALLTYPE IsScanning(BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImageCount(ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCurrentIndex(ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetLastIndex(ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSessionInfo(FILETIME*, BSTR*, ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetSessionKeepCopyIndex(ULONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImagesFolder(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetKeepCopyFolder(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCurrentImage(ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetFirstImage(ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImageAt(ULONG, ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetNextImage(ILumarkoImage*, ILumarkoImage**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetNextImageOfRange(ILumarkoImage**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetImageByCookie(ULONGLONG, ILumarkoImage**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE IsRatingInPlace(BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetXmpRating(ULONGLONG, SHORT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetXmpLabel(ULONGLONG, SHORT, SHORT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetPhotoshopUrgency(ULONGLONG, SHORT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetLabelNames(DWORD, SHORT, IEnumVARIANT**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE OnFileRenamed(ULONGLONG, LPCWSTR, LPCWSTR) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE OnFileDeleted(ULONGLONG, LPCWSTR) override { return E_NOTIMPL; }
};

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
