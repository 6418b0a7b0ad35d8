// The one-byte sense of flag conditions.
#include "conditions/flag_condition.h"

#include "conditions/record_value.h"

namespace lmk {

HRESULT CFlagCondition::TestNonZero(IDictionary& record, const Bstr& key) const {
  std::int32_t value = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, key, &value));
  return Answer(value != 0);
}

void CFlagCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Bool(sense_);
}

void CFlagCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Bool(paramName_, sense_);
}

}  // namespace lmk
