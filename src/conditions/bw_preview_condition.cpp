// The "BWPreview" condition.
#include "conditions/bw_preview_condition.h"

namespace lmk {

CBWPreviewCondition::CBWPreviewCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"BWPreview"), L"bw-preview") {}

std::wstring CBWPreviewCondition::Description() const {
  return Sentence(Pick(L"the image is shown with a black-and-white preview",
                       L"the image is not shown with a black-and-white preview"));
}

HRESULT CBWPreviewCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Misc.BWPreviewFlag");
  return TestNonZero(record, kKey);
}

}  // namespace lmk
