// CCameraSerialNumberCondition: tests whether the image names a usable camera serial number.
#pragma once

#include <string_view>

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.CameraSerialNumber": with "valid: true" holds when "Meta.CameraSerialNumber" is a
/// valid serial number (IsValidSerialNumber), with "valid: false" when it is not.
class CCameraSerialNumberCondition : public CFlagCondition {
 public:
  CCameraSerialNumberCondition();

  std::wstring Description() const override;

  /// A serial number is valid when it is not empty, holds at least one letter or digit, and is
  /// not made of "0" characters only: "0000", "--- ---" and "" are not.
  static bool IsValidSerialNumber(std::wstring_view serial) noexcept;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
