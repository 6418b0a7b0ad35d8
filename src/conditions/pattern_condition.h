// CPatternCondition: a condition that matches one text of the record against a pattern, either
// a "|"-separated list of names and wildcard masks or one ECMAScript regular expression that
// must match the whole text. Named parameters: "pattern" (text) and "syntax" (wildcards | regex).
#pragma once

#include <string>
#include <string_view>

#include "conditions/record_condition.h"

namespace lmk {

class CPatternCondition : public CRecordCondition {
 public:
  using CRecordCondition::CRecordCondition;

  const std::wstring& Pattern() const { return pattern_; }
  bool IsRegex() const { return regex_; }
  /// Replaces the pattern and its mode; throws ComError(E_OUTOFMEMORY) when it cannot be copied.
  void SetPattern(std::wstring_view pattern, bool regex);

  /// Invalid for an empty pattern, a wildcard list without a token, or an expression that does
  /// not compile.
  bool IsValid(std::wstring* reason) const override;

 protected:
  /// S_OK with *matched set; E_INVALIDARG for an expression that does not compile;
  /// BoundedRegex::kTooComplex with a description that names this element.
  HRESULT Match(std::wstring_view text, bool* matched) const;
  /// Matches the record's text value under key: S_OK or S_FALSE (also for an empty value); the
  /// read's failure; E_INVALIDARG as Match.
  HRESULT MatchRecordText(IDictionary& record, const Bstr& key) const;
  /// "matches the wildcards "..."" or "matches the regular expression "..."".
  std::wstring MatchWords() const;

  /// One byte (the regular-expression mode), then the pattern.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  bool regex_ = false;
  std::wstring pattern_;
};

}  // namespace lmk
