// The common evaluation steps of conditions.
#include "conditions/record_condition.h"

#include "com/com_error.h"
#include "platform/usage_counter.h"

namespace lmk {

HRESULT CRecordCondition::Evaluate(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  try {
    CountUsage(UsageEventName());
    return Test(*record);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

std::wstring CRecordCondition::Sentence(std::wstring_view body) const {
  return (IsException() ? std::wstring(L"Except when ") : std::wstring(L"When ")) +
         std::wstring(body);
}

}  // namespace lmk
