// The "Photoshop.Urgency" condition.
#include "conditions/urgency_condition.h"

namespace lmk {

CUrgencyCondition::CUrgencyCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"Photoshop.Urgency"), L"urgency",
                       true, PackComparison(CompareOp::Equal, 1)) {}

std::wstring CUrgencyCondition::Description() const {
  return Sentence(ComparisonSentence(L"the Photoshop urgency"));
}

HRESULT CUrgencyCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.Photoshop.Urgency");
  return TestRecordValue(record, kKey);
}

void CUrgencyCondition::AddNeededKeys(RecordKeySet& keys) const {
  keys.Add(L"Meta.Photoshop.Urgency");
}

}  // namespace lmk
