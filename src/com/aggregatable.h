// lmk::Aggregatable: a ComObject that an outer object may aggregate.
#pragma once

#include "com/com_object.h"

namespace lmk {

/// IUnknown for a class that can be aggregated. The exposed interfaces delegate IUnknown to the
/// controlling unknown: the object itself, or the outer object that aggregates it, which holds
/// the inner (non-delegating) unknown and through it the object's life.
template <class Derived, class... Interfaces>
class Aggregatable : public ComObject<Derived, Interfaces...> {
 public:
  /// Creates one Derived queried for riid into *ppv. With an outer unknown only IID_IUnknown may
  /// be asked for (CLASS_E_NOAGGREGATION otherwise) and *ppv receives the inner unknown.
  /// E_INVALIDARG for a null ppv; E_NOINTERFACE; E_OUTOFMEMORY.
  static HRESULT Create(IUnknown* outer, REFIID riid, void** ppv) noexcept {
    if (ppv == nullptr) return E_INVALIDARG;
    *ppv = nullptr;
    // An aggregating object must get the inner unknown, or it could never release us.
    if (outer != nullptr && !IsEqualGUID(riid, IID_IUnknown)) return CLASS_E_NOAGGREGATION;
    try {
      // The one reference MakeComObject takes is moved to the inner unknown, which owns the
      // object whether or not it is aggregated.
      Aggregatable* object = MakeComObject<Derived>().Detach();
      InnerUnknown* inner = &object->inner_;
      if (outer != nullptr) {
        object->controlling_ = outer;
        *ppv = inner;
        return S_OK;
      }
      const HRESULT hr = inner->QueryInterface(riid, ppv);
      inner->Release();
      return hr;
    } catch (...) {
      return HresultFromCurrentException();
    }
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    return controlling_->QueryInterface(riid, ppv);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return controlling_->AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return controlling_->Release(); }

 protected:
  Aggregatable() = default;

 private:
  using Base = ComObject<Derived, Interfaces...>;

  struct InnerUnknown final : public IUnknown {
    explicit InnerUnknown(Aggregatable* owner) noexcept : owner_(owner) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
      if (ppv == nullptr) return E_POINTER;
      if (IsEqualGUID(riid, IID_IUnknown)) {
        *ppv = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
      }
      // The exposed interfaces go out counted on the controlling unknown, as COM requires.
      return owner_->Base::QueryInterface(riid, ppv);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_->Base::AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_->Base::Release(); }
    Aggregatable* owner_;
  };

  InnerUnknown inner_{this};
  IUnknown* controlling_ = &inner_;  // the outer unknown once aggregated
};

}  // namespace lmk
