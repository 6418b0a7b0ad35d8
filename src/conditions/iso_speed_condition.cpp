// The "ISOSpeed" condition.
#include "conditions/iso_speed_condition.h"

namespace lmk {

CISOSpeedCondition::CISOSpeedCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"ISOSpeed"), L"iso", false,
                       PackComparison(CompareOp::GreaterOrEqual, 800)) {}

std::wstring CISOSpeedCondition::Description() const {
  return Sentence(ComparisonSentence(L"the ISO speed"));
}

HRESULT CISOSpeedCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.ISOSpeed");
  return TestRecordValue(record, kKey);
}

}  // namespace lmk
