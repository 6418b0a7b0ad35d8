// CISOSpeedCondition: compares the ISO speed of an image.
#pragma once

#include "conditions/packed_condition.h"

namespace lmk {

/// "Condition.ISOSpeed": the packed comparison on "Meta.ISOSpeed" coerced to VT_I4 (a speed
/// above 2147483647 fails the coercion with DISP_E_OVERFLOW). Named parameters: "compare" and
/// "iso".
class CISOSpeedCondition : public CPackedCondition {
 public:
  CISOSpeedCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
