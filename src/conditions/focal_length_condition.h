// CFocalLengthCondition: compares the focal length of an image, in whole millimetres.
#pragma once

#include "conditions/packed_condition.h"

namespace lmk {

/// "Condition.FocalLength": the packed comparison on "Meta.FocalLength" coerced to VT_I4 (the
/// coercion rounds to the nearest whole millimetre, halves to even). Named parameters:
/// "compare" and "focal-length" (millimetres).
class CFocalLengthCondition : public CPackedCondition {
 public:
  CFocalLengthCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  std::wstring OperandText() const override;
};

}  // namespace lmk
