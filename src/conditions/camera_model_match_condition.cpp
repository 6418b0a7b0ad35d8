// The "CameraModelMatch" condition.
#include "conditions/camera_model_match_condition.h"

namespace lmk {

CCameraModelMatchCondition::CCameraModelMatchCondition()
    : CPatternCondition(ProductKind(ElementFamily::Condition, L"CameraModelMatch")) {}

std::wstring CCameraModelMatchCondition::Description() const {
  return Sentence(L"the camera model " + MatchWords());
}

HRESULT CCameraModelMatchCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.CameraModel");
  return MatchRecordText(record, kKey);
}

void CCameraModelMatchCondition::AddNeededKeys(RecordKeySet& keys) const {
  keys.Add(L"Meta.CameraModel");
}

}  // namespace lmk
