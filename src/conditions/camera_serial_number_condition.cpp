// The "CameraSerialNumber" condition.
#include "conditions/camera_serial_number_condition.h"

#include <cwctype>

#include "conditions/record_value.h"

namespace lmk {

CCameraSerialNumberCondition::CCameraSerialNumberCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"CameraSerialNumber"), L"valid") {}

std::wstring CCameraSerialNumberCondition::Description() const {
  return Sentence(
      Pick(L"the camera serial number is valid", L"the camera serial number is not valid"));
}

bool CCameraSerialNumberCondition::IsValidSerialNumber(std::wstring_view serial) noexcept {
  bool alphanumeric = false;
  bool onlyZeros = true;
  for (wchar_t c : serial) {
    if (std::iswalnum(static_cast<std::wint_t>(c)) != 0) alphanumeric = true;
    if (c != L'0') onlyZeros = false;
  }
  return !serial.empty() && alphanumeric && !onlyZeros;
}

HRESULT CCameraSerialNumberCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.CameraSerialNumber");
  Variant holder;
  std::wstring_view serial;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kKey, holder, &serial));
  return Answer(IsValidSerialNumber(serial));
}

}  // namespace lmk
