// The "Sidecar" condition.
#include "conditions/sidecar_condition.h"

#include "conditions/companion_file.h"

namespace lmk {

CSidecarCondition::CSidecarCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"Sidecar"), L"exists") {}

std::wstring CSidecarCondition::Description() const {
  return Sentence(
      Pick(L"the image has an XMP sidecar (.xmp)", L"the image has no XMP sidecar (.xmp)"));
}

HRESULT CSidecarCondition::Test(IDictionary& record) const {
  bool exists = false;
  LMK_RETURN_IF_FAILED(CompanionFileExists(record, L".xmp", &exists));
  return Answer(exists);
}

}  // namespace lmk
