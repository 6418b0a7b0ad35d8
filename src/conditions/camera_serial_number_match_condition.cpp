// The "CameraSerialNumberMatch" condition.
#include "conditions/camera_serial_number_match_condition.h"

namespace lmk {

CCameraSerialNumberMatchCondition::CCameraSerialNumberMatchCondition()
    : CPatternCondition(ProductKind(ElementFamily::Condition, L"CameraSerialNumberMatch")) {}

std::wstring CCameraSerialNumberMatchCondition::Description() const {
  return Sentence(L"the camera serial number " + MatchWords());
}

HRESULT CCameraSerialNumberMatchCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.CameraSerialNumber");
  return MatchRecordText(record, kKey);
}

}  // namespace lmk
