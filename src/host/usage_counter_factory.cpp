// CUsageCounterFactory: hands out the host's one counter.
#include "host/usage_counter_factory.h"

#include "com/server_lock.h"

namespace lmk {

HRESULT STDMETHODCALLTYPE CUsageCounterFactory::CreateInstance(IUnknown* outer, REFIID riid,
                                                               void** ppv) {
  if (ppv == nullptr) return E_INVALIDARG;
  *ppv = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  return counter_->QueryInterface(riid, ppv);
}

HRESULT STDMETHODCALLTYPE CUsageCounterFactory::LockServer(BOOL lock) {
  return LockServerFor(lock);
}

}  // namespace lmk
