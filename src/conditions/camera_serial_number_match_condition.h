// CCameraSerialNumberMatchCondition: matches the camera serial number of an image.
#pragma once

#include "conditions/pattern_condition.h"

namespace lmk {

/// "Condition.CameraSerialNumberMatch": "Meta.CameraSerialNumber" (as text) matches the pattern; an
/// empty value never matches. Named parameters: "pattern" and "syntax" (wildcards | regex).
class CCameraSerialNumberMatchCondition : public CPatternCondition {
 public:
  CCameraSerialNumberMatchCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
