// CGpsQuantityCondition: the common part of the altitude and speed conditions.
#include "conditions/gps_quantity_condition.h"

#include <cmath>

#include "com/com_error.h"
#include "conditions/packed_comparison.h"
#include "conditions/record_value.h"
#include "rules/element_kind.h"
#include "rules/rule_set_error.h"

namespace lmk {

CGpsQuantityCondition::CGpsQuantityCondition(const Traits& traits)
    : CRecordCondition(ProductKind(ElementFamily::Condition, traits.kindName)), traits_(traits) {}

HRESULT CGpsQuantityCondition::Test(IDictionary& record) const {
  USHORT flags = 0;
  LMK_RETURN_IF_FAILED(ReadGpsFlags(record, &flags));
  if ((flags & traits_.presenceBit) == 0) return S_FALSE;
  double value = 0;
  LMK_RETURN_IF_FAILED(GetRecordDouble(record, Bstr(traits_.recordKey), &value));
  const ScaledOperand operand =
      ScaleOperand(traits_.units, unit_, static_cast<double>(PackedOperand(comparison_)));
  return CompareWithTolerance(PackedCode(comparison_), value, operand.value, operand.tolerance);
}

bool CGpsQuantityCondition::IsValid(std::wstring* reason) const {
  std::wstring why;
  if (!IsUsableComparison(comparison_, false, &why)) {
    if (reason != nullptr) *reason = L"operator: " + why;
    return false;
  }
  if (unit_ >= traits_.units.size()) {
    if (reason != nullptr) {
      *reason = std::wstring(traits_.parameter) + L": unknown unit code " + std::to_wstring(unit_);
    }
    return false;
  }
  return true;
}

std::wstring CGpsQuantityCondition::Description() const {
  std::wstring body = std::wstring(traits_.subject) + L" is " +
                      ComparisonWords(PackedCode(comparison_)) + L" " +
                      std::to_wstring(PackedOperand(comparison_));
  if (unit_ < traits_.units.size()) body += L" " + std::wstring(traits_.units[unit_].word);
  return Sentence(body);
}

void CGpsQuantityCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.U32(comparison_);
  archive.U32(unit_);
}

void CGpsQuantityCondition::ExchangeParameters(CParamArchive& archive) {
  auto op = static_cast<CompareOp>(PackedCode(comparison_));
  archive.Comparison(L"operator", op, false);
  double amount = PackedOperand(comparison_);
  std::uint32_t unit = unit_;
  archive.Quantity(traits_.parameter, amount, unit, traits_.paramUnits, 0, kPackedOperandMask);
  if (archive.IsLoading()) {
    // The comparison keeps a whole number: half a unit either way is its tolerance.
    if (amount != std::floor(amount)) {
      throw CRuleSetError(std::wstring(L"Parameter '") + std::wstring(traits_.parameter) +
                          L"' of " + Key() + L": write a whole number of " +
                          std::wstring(traits_.paramUnits[unit].word) + L", such as " +
                          FormatNumber(std::round(amount)) + L" " +
                          std::wstring(traits_.paramUnits[unit].word));
    }
    unit_ = unit;
  }
  comparison_ = (static_cast<DWORD>(op) << 28) | static_cast<DWORD>(amount);
}

}  // namespace lmk
