// CClassFactory: creation of the server's objects by class.
#include "shell/class_factory.h"

#include "com/server_lock.h"

namespace lmk {

HRESULT CClassFactory::GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) noexcept {
  if (ppv == nullptr) return E_INVALIDARG;
  *ppv = nullptr;
  try {
    const ServerClass* server_class = FindServerClass(clsid);
    if (server_class == nullptr || server_class->create == nullptr) {
      return CLASS_E_CLASSNOTAVAILABLE;
    }
    return MakeComObject<CClassFactory>(*server_class).AsIID(riid, ppv);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CClassFactory::CreateInstance(IUnknown* outer, REFIID riid,
                                                        void** object) {
  try {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    return class_.create(outer, riid, object);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CClassFactory::LockServer(BOOL lock) { return LockServerFor(lock); }

}  // namespace lmk
