// CHostUsageCounter: the sums behind the host's usage counter.
#include "host/host_usage_counter.h"

#include "com/com_error.h"

namespace lmk {

HRESULT STDMETHODCALLTYPE CHostUsageCounter::AddToCounter(LPCWSTR category, LPCWSTR event,
                                                          LONG count) {
  if (category == nullptr || event == nullptr) return E_INVALIDARG;
  try {
    std::lock_guard guard(lock_);
    counts_[{category, event}] += count;
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

std::vector<CHostUsageCounter::Count> CHostUsageCounter::Counts() const {
  std::lock_guard guard(lock_);
  std::vector<Count> counts;
  for (const auto& [key, count] : counts_) counts.push_back(Count{key.first, key.second, count});
  return counts;
}

}  // namespace lmk
