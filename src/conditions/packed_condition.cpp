// The packed comparison word as a condition parameter.
#include "conditions/packed_condition.h"

#include "conditions/record_value.h"

namespace lmk {

bool CPackedCondition::IsValid(std::wstring* reason) const {
  return IsUsableComparison(word_, allowNotSet_, reason) && OperandIsValid(reason);
}

bool CPackedCondition::OperandIsValid(std::wstring* /*reason*/) const { return true; }

void CPackedCondition::ExchangeOperand(CParamArchive& archive, DWORD& operand) {
  archive.Integer(operandName_, operand, 0, kPackedOperandMask);
}

std::wstring CPackedCondition::OperandText() const { return std::to_wstring(Operand()); }

std::wstring CPackedCondition::ComparisonSentence(std::wstring_view subject) const {
  std::wstring text(subject);
  text += L" is ";
  text += ComparisonWords(Code());
  if (Code() != static_cast<unsigned>(CompareOp::NotSet)) text += L" " + OperandText();
  return text;
}

void CPackedCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.U32(word_);
}

void CPackedCondition::ExchangeParameters(CParamArchive& archive) {
  auto op = static_cast<CompareOp>(Code());
  DWORD operand = word_ & kPackedOperandMask;
  archive.Comparison(L"compare", op, allowNotSet_);
  ExchangeOperand(archive, operand);
  word_ = PackComparison(op, operand);
}

HRESULT CPackedCondition::TestRecordValue(IDictionary& record, const Bstr& key) const {
  std::int32_t value = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, key, &value));
  if (allowNotSet_ && static_cast<CompareOp>(Code()) == CompareOp::NotSet) {
    return (static_cast<DWORD>(value) & kPackedOperandMask) == kPackedOperandMask ? S_OK : S_FALSE;
  }
  return ComparePacked(word_, value);
}

}  // namespace lmk
