// The "Xmp.Label" condition.
#include "conditions/label_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CLabelCondition::CLabelCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"Xmp.Label"), L"label", true,
                       PackComparison(CompareOp::Equal, 1)) {}

std::wstring CLabelCondition::Description() const {
  return Sentence(ComparisonSentence(L"the XMP label"));
}

HRESULT CLabelCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.XMP.Label");
  std::int32_t value = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, kKey, &value));
  if (static_cast<CompareOp>(Code()) == CompareOp::NotSet) {
    return (static_cast<DWORD>(value) & kPackedOperandMask) == kPackedOperandMask ? S_OK : S_FALSE;
  }
  return ComparePacked(Word(), value);
}

}  // namespace lmk
