// The "ImageMegapixels" condition.
#include "conditions/image_megapixels_condition.h"

#include <cmath>
#include <cwchar>

#include "conditions/record_value.h"

namespace lmk {

CImageMegapixelsCondition::CImageMegapixelsCondition()
    : CPackedCondition(ProductKind(ElementFamily::Condition, L"ImageMegapixels"), L"megapixels",
                       false, PackComparison(CompareOp::GreaterOrEqual, 120)) {}

std::int32_t CImageMegapixelsCondition::TenthsOfMegapixels(std::int32_t width,
                                                           std::int32_t height) noexcept {
  // Unsigned multiplication wraps without undefined behaviour; the conversion back to signed is
  // the two's-complement wrap of a 32-bit product.
  const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(width) *
                                                 static_cast<std::uint32_t>(height));
  const std::int32_t kibiPixels = product / 1024;
  const float tenths = static_cast<float>(kibiPixels) * 0.009765625f;
  return static_cast<std::int32_t>(tenths);
}

std::wstring CImageMegapixelsCondition::Description() const {
  return Sentence(ComparisonSentence(L"the image size"));
}

std::wstring CImageMegapixelsCondition::OperandText() const {
  wchar_t text[32];
  std::swprintf(text, std::size(text), L"%.1f MP", Operand() / 10.0);
  return text;
}

void CImageMegapixelsCondition::ExchangeOperand(CParamArchive& archive, DWORD& operand) {
  double megapixels = static_cast<double>(operand) / 10.0;
  archive.Number(L"megapixels", megapixels, 0.0, kPackedOperandMask / 10.0);
  operand = static_cast<DWORD>(std::llround(megapixels * 10.0));
}

HRESULT CImageMegapixelsCondition::Test(IDictionary& record) const {
  std::int32_t width = 0;
  std::int32_t height = 0;
  LMK_RETURN_IF_FAILED(GetNativeSize(record, &width, &height));
  return ComparePacked(Word(), TenthsOfMegapixels(width, height));
}

}  // namespace lmk
