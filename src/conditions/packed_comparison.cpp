// Comparisons driven by the packed comparison word.
#include "conditions/packed_comparison.h"

#include <cmath>

namespace lmk {

HRESULT CompareFloating(unsigned code, double value, double operand, bool reversed) {
  const bool equal = std::fabs(value - operand) <= kFloatingTolerance;
  const bool below = reversed ? value > operand : value < operand;
  const bool above = reversed ? value < operand : value > operand;
  bool holds = false;
  switch (code) {
    case 1:
      holds = equal;
      break;
    case 2:
      holds = !equal;
      break;
    case 3:
      holds = below && !equal;
      break;
    case 4:
      holds = below || equal;
      break;
    case 5:
      holds = above && !equal;
      break;
    case 6:
      holds = above || equal;
      break;
    default:
      return E_UNEXPECTED;
  }
  return holds ? S_OK : S_FALSE;
}

std::wstring ComparisonWords(unsigned code) {
  if (IsComparisonCode(code) || code == static_cast<unsigned>(CompareOp::NotSet)) {
    return std::wstring(CompareOpWords(static_cast<CompareOp>(code)));
  }
  return L"(no comparison)";
}

bool IsUsableComparison(DWORD word, bool allowNotSet, std::wstring* why) {
  const unsigned code = PackedCode(word);
  if (IsComparisonCode(code)) return true;
  if (allowNotSet && code == static_cast<unsigned>(CompareOp::NotSet)) return true;
  if (why != nullptr) {
    *why = L"the comparison operator (code " + std::to_wstring(code) + L") is not one of " +
           (allowNotSet ? L"=, <>, <, <=, >, >= or not set" : L"=, <>, <, <=, > or >=");
  }
  return false;
}

}  // namespace lmk
