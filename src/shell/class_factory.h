// CClassFactory: the class object handed out by DllGetClassObject for one server class.
#pragma once

#include "com/com.h"
#include "shell/server_classes.h"

namespace lmk {

class CClassFactory final : public ComObject<CClassFactory, IClassFactory> {
 public:
  // A class object held by a client does not keep the module loaded; LockServer does.
  static constexpr bool kCountsInModuleLock = false;

  /// Writes the class object of clsid, queried for riid, into *ppv (a new reference). S_OK;
  /// E_INVALIDARG for a null ppv; CLASS_E_CLASSNOTAVAILABLE for a class this server does not
  /// have or cannot create in this build; E_NOINTERFACE; E_OUTOFMEMORY.
  static HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) noexcept;

  explicit CClassFactory(const ServerClass& server_class) noexcept : class_(server_class) {}

  /// The class's own creation: CLASS_E_NOAGGREGATION where it cannot be aggregated,
  /// E_INVALIDARG for a null object, E_NOINTERFACE, E_OUTOFMEMORY.
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) override;

  /// Counts into (TRUE) or out of (FALSE) the module's lock count. S_OK.
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  const ServerClass& class_;
};

}  // namespace lmk
