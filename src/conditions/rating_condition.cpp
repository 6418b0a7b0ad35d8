// The "Xmp.Rating" condition.
#include "conditions/rating_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CRatingCondition::CRatingCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"Xmp.Rating"), L"rating", true,
                       PackComparison(CompareOp::GreaterOrEqual, 1)) {}

std::wstring CRatingCondition::Description() const {
  return Sentence(ComparisonSentence(L"the XMP rating"));
}

HRESULT CRatingCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.XMP.Rating");
  std::int32_t rating = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, kKey, &rating));
  const std::int32_t operand = Operand();
  switch (static_cast<CompareOp>(Code())) {
    case CompareOp::NotSet:
      return rating == 0 || (static_cast<DWORD>(rating) & kPackedOperandMask) == kPackedOperandMask
                 ? S_OK
                 : S_FALSE;
    case CompareOp::Less:
      return operand >= 2 && rating < operand ? S_OK : S_FALSE;
    case CompareOp::LessOrEqual:
      return rating >= 1 && rating <= operand ? S_OK : S_FALSE;
    default:
      return ComparePacked(Word(), rating);
  }
}

void CRatingCondition::AddNeededKeys(RecordKeySet& keys) const { keys.Add(L"Meta.XMP.Rating"); }

}  // namespace lmk
