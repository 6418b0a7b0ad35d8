// The "Xmp.Label" condition.
#include "conditions/label_condition.h"

namespace lmk {

CLabelCondition::CLabelCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"Xmp.Label"), L"label", true,
                       PackComparison(CompareOp::Equal, 1)) {}

std::wstring CLabelCondition::Description() const {
  return Sentence(ComparisonSentence(L"the XMP label"));
}

HRESULT CLabelCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.XMP.Label");
  return TestRecordValue(record, kKey);
}

void CLabelCondition::AddNeededKeys(RecordKeySet& keys) const { keys.Add(L"Meta.XMP.Label"); }

}  // namespace lmk
