// CImageMegapixelsCondition: compares the size of an image in tenths of a megapixel.
#pragma once

#include <cstdint>

#include "conditions/packed_condition.h"

namespace lmk {

/// "Condition.ImageMegapixels": the packed comparison on TenthsOfMegapixels of
/// "Image.NativeWidth" and "Image.NativeHeight" (each coerced to VT_I4); the operand is in the
/// same tenths. Named parameters: "compare" and "megapixels" (a number with at most one decimal,
/// 11.4 for the operand 114).
class CImageMegapixelsCondition : public CPackedCondition {
 public:
  CImageMegapixelsCondition();

  std::wstring Description() const override;

  /// The image size in tenths of a megapixel of 1,048,576 pixels, truncated, computed as the
  /// dialogs always did: the width × height product wraps as a signed 32-bit number, is divided
  /// by 1024 as an integer, then multiplied by 0.009765625 in single precision. 4000 × 3000
  /// gives 114.
  static std::int32_t TenthsOfMegapixels(std::int32_t width, std::int32_t height) noexcept;

 protected:
  HRESULT Test(IDictionary& record) const override;
  void ExchangeOperand(CParamArchive& archive, DWORD& operand) override;
  std::wstring OperandText() const override;
};

}  // namespace lmk
