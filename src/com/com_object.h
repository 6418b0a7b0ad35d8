// lmk::ComObject: IUnknown for our COM classes, and the module's lock count.
#pragma once

#include <atomic>
#include <new>
#include <utility>

#include "com/com_error.h"
#include "com/com_ptr.h"
#include "com/com_sdk.h"

namespace lmk {

/// Live objects plus server locks of this module; DllCanUnloadNow answers S_OK only at zero.
long ModuleLockCount() noexcept;
/// IClassFactory::LockServer(TRUE) / (FALSE).
void ModuleLock() noexcept;
void ModuleUnlock() noexcept;

namespace detail {

/// Walks I and the bases declared with LMK_DECLARE_IID_BASE looking for riid.
template <class I>
bool FindInterface(I* p, REFIID riid, void** object) noexcept {
  if (IsEqualGUID(riid, IidOf<I>())) {
    *object = p;
    return true;
  }
  if constexpr (HasDeclaredIidBase<I>) {
    using Base = typename decltype(LmkIidBase(IidTag<I>{}))::type;
    return FindInterface<Base>(static_cast<Base*>(p), riid, object);
  } else {
    return false;
  }
}

template <class T>
concept OptsOutOfModuleLock = requires {
  requires !T::kCountsInModuleLock;
};

}  // namespace detail

/// Implements IUnknown for Derived: an atomic reference count (delete at zero) and
/// QueryInterface for IUnknown, each of Interfaces and their declared bases. A Derived class that
/// belongs to the COM runtime rather than the server sets
/// `static constexpr bool kCountsInModuleLock = false;`.
/// Create objects with lmk::MakeComObject, never with new.
template <class Derived, class First, class... Rest>
class ComObject : public First, public Rest... {
 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  /// E_POINTER for a null out-pointer, E_NOINTERFACE for anything not implemented.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (IsEqualGUID(riid, IidOf<IUnknown>())) {
      *object = static_cast<IUnknown*>(static_cast<First*>(this));
    } else if (!(detail::FindInterface<First>(static_cast<First*>(this), riid, object) ||
                 (detail::FindInterface<Rest>(static_cast<Rest*>(this), riid, object) || ...))) {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    return refs_.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete static_cast<Derived*>(this);
    return left;
  }

 protected:
  ComObject() noexcept {
    if constexpr (!detail::OptsOutOfModuleLock<Derived>) ModuleLock();
  }
  virtual ~ComObject() {
    if constexpr (!detail::OptsOutOfModuleLock<Derived>) ModuleUnlock();
  }

 private:
  std::atomic<ULONG> refs_{0};
};

/// Creates a T (a ComObject) holding one reference. Throws ComError(E_OUTOFMEMORY) when out of
/// memory; other exceptions of T's constructor pass through.
template <class T, class... A>
ComPtr<T> MakeComObject(A&&... args) {
  T* object = nullptr;
  try {
    object = new T(std::forward<A>(args)...);
  } catch (const std::bad_alloc&) {
    throw ComError(E_OUTOFMEMORY);
  }
  ComPtr<T> result;
  object->AddRef();
  result.Attach(object);
  return result;
}

}  // namespace lmk
