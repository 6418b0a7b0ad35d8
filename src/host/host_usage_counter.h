// CHostUsageCounter: the host's feature-usage counter: sums what plug-ins count, per category and
// event, for the host to show.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "com/com.h"
#include "com/com_object.h"
#include "platform/usage_counter.h"

namespace lmk {

class CHostUsageCounter final : public ComObject<CHostUsageCounter, ILumarkoUsageCounter> {
 public:
  struct Count {
    std::wstring category;
    std::wstring event;
    LONG count = 0;
  };

  HRESULT STDMETHODCALLTYPE AddToCounter(LPCWSTR category, LPCWSTR event, LONG count) override;

  /// Every counter so far, sorted by category and event.
  std::vector<Count> Counts() const;

 private:
  mutable std::mutex lock_;
  std::map<std::pair<std::wstring, std::wstring>, LONG> counts_;
};

}  // namespace lmk
