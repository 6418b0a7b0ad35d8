// The "Portrait" condition.
#include "conditions/portrait_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CPortraitCondition::CPortraitCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"Portrait"), L"portrait") {}

std::wstring CPortraitCondition::Description() const {
  return Sentence(
      Pick(L"the image is in portrait orientation", L"the image is not in portrait orientation"));
}

HRESULT CPortraitCondition::Test(IDictionary& record) const {
  std::int32_t width = 0;
  std::int32_t height = 0;
  LMK_RETURN_IF_FAILED(GetNativeSize(record, &width, &height));
  return Answer(height > width);
}

}  // namespace lmk
