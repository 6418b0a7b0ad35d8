// The "AudioAnnotation" condition.
#include "conditions/audio_annotation_condition.h"

#include "conditions/companion_file.h"

namespace lmk {

CAudioAnnotationCondition::CAudioAnnotationCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"AudioAnnotation"), L"exists") {}

std::wstring CAudioAnnotationCondition::Description() const {
  return Sentence(Pick(L"the image has an audio annotation (.wav)",
                       L"the image has no audio annotation (.wav)"));
}

HRESULT CAudioAnnotationCondition::Test(IDictionary& record) const {
  bool exists = false;
  LMK_RETURN_IF_FAILED(CompanionFileExists(record, L".wav", &exists));
  return Answer(exists);
}

}  // namespace lmk
