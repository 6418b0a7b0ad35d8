// The "ISOSpeed" condition.
#include "conditions/iso_speed_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CISOSpeedCondition::CISOSpeedCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"ISOSpeed"), L"iso", false,
                       PackComparison(CompareOp::GreaterOrEqual, 800)) {}

std::wstring CISOSpeedCondition::Description() const {
  return Sentence(ComparisonSentence(L"the ISO speed"));
}

HRESULT CISOSpeedCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.ISOSpeed");
  std::int32_t iso = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, kKey, &iso));
  return ComparePacked(Word(), iso);
}

}  // namespace lmk
