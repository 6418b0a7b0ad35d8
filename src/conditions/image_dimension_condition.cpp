// The "ImageDimension" condition.
#include "conditions/image_dimension_condition.h"

#include <algorithm>

#include "conditions/record_value.h"

namespace lmk {

CImageDimensionCondition::CImageDimensionCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"ImageDimension"), L"pixels", false,
                       PackComparison(CompareOp::GreaterOrEqual, 1920)) {}

std::wstring CImageDimensionCondition::Description() const {
  return Sentence(ComparisonSentence(L"the longer side of the image"));
}

std::wstring CImageDimensionCondition::OperandText() const {
  return std::to_wstring(Operand()) + L" pixels";
}

HRESULT CImageDimensionCondition::Test(IDictionary& record) const {
  std::int32_t width = 0;
  std::int32_t height = 0;
  LMK_RETURN_IF_FAILED(GetNativeSize(record, &width, &height));
  return ComparePacked(Word(), std::max(width, height));
}

}  // namespace lmk
