// CImageDimensionCondition: compares the longer side of an image, in pixels.
#pragma once

#include "conditions/packed_condition.h"

namespace lmk {

/// "Condition.ImageDimension": the packed comparison on the larger of "Image.NativeWidth" and
/// "Image.NativeHeight" (each coerced to VT_I4). Named parameters: "compare" and "pixels".
class CImageDimensionCondition : public CPackedCondition {
 public:
  CImageDimensionCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  std::wstring OperandText() const override;
};

}  // namespace lmk
