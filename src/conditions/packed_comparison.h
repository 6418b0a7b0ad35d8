// The packed comparison word of conditions: an operator code in the top 4 bits and an operand
// (a count, a unit index or a table index) in the low 28 bits; and the comparisons it drives.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "com/com.h"
#include "rules/param_codec.h"

namespace lmk {

inline constexpr DWORD kPackedOperandMask = 0x0FFFFFFF;

/// The word for an operator code and an operand (the operand is cut to 28 bits).
constexpr DWORD PackComparison(CompareOp op, DWORD operand) {
  return (static_cast<DWORD>(op) << 28) | (operand & kPackedOperandMask);
}
/// The operator code, 0..15 (0 means no operator: such a word is invalid).
constexpr unsigned PackedCode(DWORD word) { return static_cast<unsigned>(word >> 28); }
/// The low 28 bits read as a signed 32-bit number (never negative).
constexpr std::int32_t PackedOperand(DWORD word) {
  return static_cast<std::int32_t>(word & kPackedOperandMask);
}
/// Whether code is one of the six comparisons 1..6.
constexpr bool IsComparisonCode(unsigned code) { return code >= 1 && code <= 6; }

/// S_OK when value and operand satisfy the comparison of code 1..6 (=, <>, <, <=, >, >=),
/// S_FALSE when not, E_UNEXPECTED for any other code. Integers of any sign and width compare by
/// value.
template <class V, class P>
HRESULT CompareByCode(unsigned code, V value, P operand) {
  bool holds = false;
  switch (code) {
    case 1:
      holds = std::cmp_equal(value, operand);
      break;
    case 2:
      holds = std::cmp_not_equal(value, operand);
      break;
    case 3:
      holds = std::cmp_less(value, operand);
      break;
    case 4:
      holds = std::cmp_less_equal(value, operand);
      break;
    case 5:
      holds = std::cmp_greater(value, operand);
      break;
    case 6:
      holds = std::cmp_greater_equal(value, operand);
      break;
    default:
      return E_UNEXPECTED;
  }
  return holds ? S_OK : S_FALSE;
}

/// The comparison of a packed word on a value: CompareByCode with the word's code and operand.
inline HRESULT ComparePacked(DWORD word, std::int64_t value) {
  return CompareByCode(PackedCode(word), value, PackedOperand(word));
}

/// Two floating values are equal when they differ by at most this much.
inline constexpr double kFloatingTolerance = 0.00001;

/// The floating comparison of code 1..6 between a file's value and a table value, with equality
/// within kFloatingTolerance; "less" means value < operand and not equal, "less or equal"
/// value < operand or equal, and so on. With reversed, the order of codes 3..6 is turned
/// round (an f-number compares the opening, which shrinks as the number grows). E_UNEXPECTED
/// for another code.
HRESULT CompareFloating(unsigned code, double value, double operand, bool reversed);

/// The words of an operator code ("greater than or equal to", "not set"); "(no comparison)" for
/// a code that is none.
std::wstring ComparisonWords(unsigned code);

/// Whether a packed word's code is usable: 1..6, or 15 when allowNotSet. When not, *why (if
/// given) says so.
bool IsUsableComparison(DWORD word, bool allowNotSet, std::wstring* why);

}  // namespace lmk
