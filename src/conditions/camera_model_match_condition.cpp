// The "CameraModelMatch" condition.
#include "conditions/camera_model_match_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CCameraModelMatchCondition::CCameraModelMatchCondition()
    : CPatternCondition(ProductKind(ElementFamily::Condition, L"CameraModelMatch")) {}

std::wstring CCameraModelMatchCondition::Description() const {
  return Sentence(L"the camera model " + MatchWords());
}

HRESULT CCameraModelMatchCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.CameraModel");
  Variant holder;
  std::wstring_view text;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kKey, holder, &text));
  if (text.empty()) return S_FALSE;
  bool matched = false;
  LMK_RETURN_IF_FAILED(Match(text, &matched));
  return matched ? S_OK : S_FALSE;
}

}  // namespace lmk
