// The "Photoshop.Urgency" condition.
#include "conditions/urgency_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CUrgencyCondition::CUrgencyCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"Photoshop.Urgency"), L"urgency",
                       true, PackComparison(CompareOp::Equal, 1)) {}

std::wstring CUrgencyCondition::Description() const {
  return Sentence(ComparisonSentence(L"the Photoshop urgency"));
}

HRESULT CUrgencyCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.Photoshop.Urgency");
  std::int32_t value = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, kKey, &value));
  if (static_cast<CompareOp>(Code()) == CompareOp::NotSet) {
    return (static_cast<DWORD>(value) & kPackedOperandMask) == kPackedOperandMask ? S_OK : S_FALSE;
  }
  return ComparePacked(Word(), value);
}

}  // namespace lmk
