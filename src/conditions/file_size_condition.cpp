// The "FileSize" condition.
#include "conditions/file_size_condition.h"

#include <cmath>
#include <cwchar>

#include "conditions/packed_comparison.h"
#include "conditions/record_value.h"
#include "rules/rule_set_error.h"

namespace lmk {
namespace {

constexpr std::uint32_t kUnitCount = 5;

}  // namespace

CFileSizeCondition::CFileSizeCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"FileSize")),
      word_(PackComparison(CompareOp::GreaterOrEqual, 2)) {}

bool CFileSizeCondition::IsValid(std::wstring* reason) const {
  if (!IsUsableComparison(word_, false, reason)) return false;
  if (static_cast<std::uint32_t>(PackedOperand(word_)) >= kUnitCount) {
    if (reason != nullptr) {
      *reason = L"the size unit (" + std::to_wstring(PackedOperand(word_)) + L") is unknown";
    }
    return false;
  }
  return true;
}

std::wstring CFileSizeCondition::Description() const {
  const auto unit = static_cast<std::uint32_t>(PackedOperand(word_));
  std::wstring size;
  if (unit < kUnitCount) {
    // As the dialog shows it: the size in its unit, with two decimals only when it has a
    // fraction.
    const double amount = std::ldexp(static_cast<double>(bytes_), -10 * static_cast<int>(unit));
    wchar_t text[64];
    if (amount != std::floor(amount)) {
      std::swprintf(text, std::size(text), L"%.2f", amount);
    } else {
      std::swprintf(text, std::size(text), L"%llu",
                    static_cast<unsigned long long>(bytes_ >> (10 * unit)));
    }
    size = std::wstring(text) + L" " + std::wstring(SizeUnits()[unit].word);
  } else {
    size = std::to_wstring(bytes_) + L" bytes";
  }
  return Sentence(L"the file size is " + ComparisonWords(PackedCode(word_)) + L" " + size);
}

HRESULT CFileSizeCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"File.Size");
  std::int32_t size = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, kKey, &size));
  return CompareByCode(PackedCode(word_), size, bytes_);
}

void CFileSizeCondition::ExchangeFields(CFieldArchive& archive, BYTE version) {
  if (version < 2) {
    CRuleStreamReader* reader = archive.reader();
    throw CRuleSetError(L"the element '" + Key() + L"' has the parameter version " +
                            std::to_wstring(version) +
                            L", which holds the size in a form this version does not read; "
                            L"enter the size again and save the rule set",
                        reader != nullptr ? reader->offset() : 0);
  }
  archive.U32(word_);
  archive.U64(bytes_);
}

void CFileSizeCondition::ExchangeParameters(CParamArchive& archive) {
  auto op = static_cast<CompareOp>(PackedCode(word_));
  auto unit = static_cast<std::uint32_t>(PackedOperand(word_));
  archive.Comparison(L"compare", op, false);
  archive.Size(L"size", bytes_, unit);
  word_ = PackComparison(op, unit);
}

void CFileSizeCondition::AddNeededKeys(RecordKeySet& keys) const { keys.Add(L"File.Size"); }

}  // namespace lmk
