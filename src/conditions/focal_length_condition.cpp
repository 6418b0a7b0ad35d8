// The "FocalLength" condition.
#include "conditions/focal_length_condition.h"

namespace lmk {

CFocalLengthCondition::CFocalLengthCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"FocalLength"), L"focal-length",
                       false, PackComparison(CompareOp::GreaterOrEqual, 50)) {}

std::wstring CFocalLengthCondition::Description() const {
  return Sentence(ComparisonSentence(L"the focal length"));
}

std::wstring CFocalLengthCondition::OperandText() const {
  return std::to_wstring(Operand()) + L" mm";
}

HRESULT CFocalLengthCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.FocalLength");
  return TestRecordValue(record, kKey);
}

}  // namespace lmk
