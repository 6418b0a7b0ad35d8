// Table-indexed floating comparisons.
#include "conditions/table_condition.h"

#include <deque>
#include <mutex>

#include "conditions/record_value.h"

namespace lmk {

std::span<const ParamWord> CTableCondition::MakeWords(std::span<const ValueRow> table) {
  // Kept for the program's life: ParamWord holds views, so the alias texts need a home whose
  // elements never move (a deque does not move them as it grows).
  static std::deque<std::wstring> aliases;
  static std::deque<std::vector<ParamWord>> lists;
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  std::vector<ParamWord> words;
  for (std::size_t i = 0; i < table.size(); ++i) {
    words.push_back({table[i].label, static_cast<std::uint32_t>(i)});
  }
  for (std::size_t i = 0; i < table.size(); ++i) {
    std::wstring_view label = table[i].label;
    if (label.starts_with(L"f/")) label.remove_prefix(2);
    if (label.ends_with(L's')) label.remove_suffix(1);
    aliases.emplace_back(label);
    words.push_back({aliases.back(), static_cast<std::uint32_t>(i)});
  }
  lists.push_back(std::move(words));
  return lists.back();
}

HRESULT CTableCondition::TestValue(IDictionary& record, const Bstr& key) const {
  double value = 0;
  LMK_RETURN_IF_FAILED(GetRecordDouble(record, key, &value));
  return CompareFloating(Code(), value, TableValue(table_, Operand()), reversed_);
}

bool CTableCondition::OperandIsValid(std::wstring* reason) const {
  if (static_cast<std::size_t>(Operand()) < table_.size()) return true;
  if (reason != nullptr) {
    *reason = L"the " + std::wstring(operandName_) + L" row " + std::to_wstring(Operand()) +
              L" does not exist (0 to " + std::to_wstring(table_.size() - 1) + L")";
  }
  return false;
}

void CTableCondition::ExchangeOperand(CParamArchive& archive, DWORD& operand) {
  archive.Choice(operandName_, operand, words_);
}

std::wstring CTableCondition::OperandText() const {
  const std::wstring_view label = TableLabel(table_, Operand());
  return label.empty() ? L"(row " + std::to_wstring(Operand()) + L")" : std::wstring(label);
}

}  // namespace lmk
