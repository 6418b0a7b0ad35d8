// The "CameraSerialNumberMatch" condition.
#include "conditions/camera_serial_number_match_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CCameraSerialNumberMatchCondition::CCameraSerialNumberMatchCondition()
    : CPatternCondition(ProductKind(ElementFamily::Condition, L"CameraSerialNumberMatch")) {}

std::wstring CCameraSerialNumberMatchCondition::Description() const {
  return Sentence(L"the camera serial number " + MatchWords());
}

HRESULT CCameraSerialNumberMatchCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.CameraSerialNumber");
  Variant holder;
  std::wstring_view text;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kKey, holder, &text));
  if (text.empty()) return S_FALSE;
  bool matched = false;
  LMK_RETURN_IF_FAILED(Match(text, &matched));
  return matched ? S_OK : S_FALSE;
}

}  // namespace lmk
