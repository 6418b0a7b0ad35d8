// Pattern parameters of the matching conditions.
#include "conditions/pattern_condition.h"

#include <new>

#include "com/com_error.h"
#include "conditions/pattern_match.h"
#include "conditions/record_value.h"
#include "templates/bounded_regex.h"

namespace lmk {
namespace {

constexpr ParamWord kSyntaxWords[] = {
    {L"wildcards", 0},          {L"regex", 1},      {L"wildcard", 0},
    {L"regular-expression", 1}, {L"ecmascript", 1},
};

}  // namespace

void CPatternCondition::SetPattern(std::wstring_view pattern, bool regex) {
  try {
    pattern_.assign(pattern);
  } catch (const std::bad_alloc&) {
    throw ComError(E_OUTOFMEMORY);
  }
  regex_ = regex;
}

bool CPatternCondition::IsValid(std::wstring* reason) const {
  return IsUsablePattern(pattern_, regex_, reason);
}

HRESULT CPatternCondition::Match(std::wstring_view text, bool* matched) const {
  const HRESULT hr = MatchesPattern(pattern_, regex_, text, matched);
  // The log line names the element, so a user with many rules knows which pattern to simplify.
  if (hr == BoundedRegex::kTooComplex) SetErrorDescription(Key() + L": " + TakeErrorDescription());
  return hr;
}

HRESULT CPatternCondition::MatchRecordText(IDictionary& record, const Bstr& key) const {
  Variant holder;
  std::wstring_view text;
  LMK_RETURN_IF_FAILED(GetRecordText(record, key, holder, &text));
  if (text.empty()) return S_FALSE;
  bool matched = false;
  LMK_RETURN_IF_FAILED(Match(text, &matched));
  return matched ? S_OK : S_FALSE;
}

std::wstring CPatternCondition::MatchWords() const {
  return (regex_ ? L"matches the regular expression \"" : L"matches the wildcards \"") + pattern_ +
         L"\"";
}

void CPatternCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Bool(regex_);
  archive.Text(pattern_);
}

void CPatternCondition::ExchangeParameters(CParamArchive& archive) {
  std::uint32_t syntax = regex_ ? 1 : 0;
  archive.Text(L"pattern", pattern_);
  archive.Choice(L"syntax", syntax, kSyntaxWords);
  regex_ = syntax != 0;
}

}  // namespace lmk
