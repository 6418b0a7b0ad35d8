// CUsageCounterFactory: the class object the host registers for its usage-counter class, so that
// plug-ins create the counter by class id; every object it makes is the host's one counter.
#pragma once

#include "com/com.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "host/host_usage_counter.h"

namespace lmk {

class CUsageCounterFactory final : public ComObject<CUsageCounterFactory, IClassFactory> {
 public:
  explicit CUsageCounterFactory(ComPtr<CHostUsageCounter> counter) : counter_(std::move(counter)) {}

  /// The host's counter queried for riid. CLASS_E_NOAGGREGATION with an outer unknown;
  /// E_INVALIDARG for a null ppv; E_NOINTERFACE.
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  ComPtr<CHostUsageCounter> counter_;
};

}  // namespace lmk
