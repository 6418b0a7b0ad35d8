// CTableCondition: a packed-word condition whose operand is the index of a row of a value table
// (shutter speeds, apertures), compared with the floating tolerance of those tables.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "com/bstr.h"
#include "conditions/packed_condition.h"
#include "conditions/value_tables.h"

namespace lmk {

class CTableCondition : public CPackedCondition {
 public:
  /// table and its written words must have static storage; key is the record key (VT_R8);
  /// reversed turns the order of the operators round.
  CTableCondition(const ElementKind& kind, std::wstring_view operandName,
                  std::span<const ValueRow> table, std::span<const ParamWord> words, bool reversed,
                  DWORD word)
      : CPackedCondition(kind, operandName, false, word),
        operandName_(operandName),
        table_(table),
        words_(words),
        reversed_(reversed) {}

  /// The written forms of a table's rows: each label ("1/250s", "f/4"), then the label without
  /// its "f/" or "s" as an alias; the words last as long as the program.
  static std::span<const ParamWord> MakeWords(std::span<const ValueRow> table);

 protected:
  /// Reads key as VT_R8 and compares it with the row's value (0.0 for an index that no row
  /// has); E_UNEXPECTED for an operator code other than 1..6.
  HRESULT TestValue(IDictionary& record, const Bstr& key) const;

  bool OperandIsValid(std::wstring* reason) const override;
  void ExchangeOperand(CParamArchive& archive, DWORD& operand) override;
  std::wstring OperandText() const override;

 private:
  std::wstring_view operandName_;
  std::span<const ValueRow> table_;
  std::span<const ParamWord> words_;
  bool reversed_;
};

}  // namespace lmk
