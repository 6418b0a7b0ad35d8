// CPackedCondition: a condition whose parameter is one packed comparison word (operator code in
// the top 4 bits, operand in the low 28). Named parameters: "compare" (=, <>, <, <=, >, >= and,
// where the class allows it, "not set") and one operand parameter of the class's own name.
#pragma once

#include <string>
#include <string_view>

#include "com/bstr.h"
#include "conditions/packed_comparison.h"
#include "conditions/record_condition.h"

namespace lmk {

class CPackedCondition : public CRecordCondition {
 public:
  /// operandName is the named parameter of the operand (static storage); allowNotSet admits the
  /// code 15 ("not set"); word is the initial packed word.
  CPackedCondition(const ElementKind& kind, std::wstring_view operandName, bool allowNotSet,
                   DWORD word)
      : CRecordCondition(kind), operandName_(operandName), allowNotSet_(allowNotSet), word_(word) {}

  DWORD Word() const { return word_; }
  void SetWord(DWORD word) { word_ = word; }
  void SetComparison(CompareOp op, DWORD operand) { word_ = PackComparison(op, operand); }

  /// Invalid when the operator code is none of those the class takes, or the operand is not one
  /// OperandIsValid accepts.
  bool IsValid(std::wstring* reason) const override;

 protected:
  unsigned Code() const { return PackedCode(word_); }
  std::int32_t Operand() const { return PackedOperand(word_); }

  /// Whether the operand can be used; *reason says why not. Every operand is, by default.
  virtual bool OperandIsValid(std::wstring* reason) const;
  /// Loads, saves or describes the operand as a named parameter; by default a whole number
  /// 0..268435455 under operandName.
  virtual void ExchangeOperand(CParamArchive& archive, DWORD& operand);
  /// The operand as the sentence shows it; by default the number.
  virtual std::wstring OperandText() const;

  /// "<subject> is <operator words> <operand text>", or "<subject> is not set".
  std::wstring ComparisonSentence(std::wstring_view subject) const;

  /// The record's whole number under key against the word. "Not set", where the class takes it,
  /// holds when every operand bit of the value is set (the -1 of a value the image lacks). S_OK,
  /// S_FALSE; E_UNEXPECTED for a code the class does not take; the failure of the read.
  HRESULT TestRecordValue(IDictionary& record, const Bstr& key) const;

  /// One 32-bit word.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  std::wstring_view operandName_;
  bool allowNotSet_;
  DWORD word_;
};

}  // namespace lmk
