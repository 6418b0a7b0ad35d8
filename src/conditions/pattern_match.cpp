// Wildcard and regular-expression matching for conditions.
#include "conditions/pattern_match.h"

#include <locale>
#include <stdexcept>

#include "com/com_error.h"
#include "rules/element_key.h"
#include "templates/regex_cache.h"

namespace lmk {
namespace {

// The case tables of every script, whatever locale the program runs in (the "C" locale folds
// ASCII only); the program's own locale where C.UTF-8 is not installed.
const std::ctype<wchar_t>& CaseTables() {
  static const std::locale locale = [] {
    try {
      return std::locale("C.UTF-8");
    } catch (const std::runtime_error&) {
      return std::locale();
    }
  }();
  return std::use_facet<std::ctype<wchar_t>>(locale);
}

// Lower-case folding with an ASCII fast path: names are mostly ASCII and this runs per character
// of every file name tested.
wchar_t Fold(wchar_t c) noexcept {
  if (c < 0x80) return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
  static const std::ctype<wchar_t>& tables = CaseTables();
  return tables.tolower(c);
}

}  // namespace

bool WildcardMatch(std::wstring_view mask, std::wstring_view text) noexcept {
  if (mask == L"*.*") return true;
  // Greedy matching that remembers the last "*": on a mismatch the star takes one more
  // character. Gives the same answers as trying every split, in linear space and without
  // recursion.
  constexpr std::size_t kNone = std::wstring_view::npos;
  std::size_t m = 0;
  std::size_t t = 0;
  std::size_t starMask = kNone;
  std::size_t starText = 0;
  while (t < text.size()) {
    if (m < mask.size() && mask[m] == L'*') {
      starMask = m++;
      starText = t;
    } else if (m < mask.size() && (mask[m] == L'?' || Fold(mask[m]) == Fold(text[t]))) {
      ++m;
      ++t;
    } else if (starMask != kNone) {
      m = starMask + 1;
      t = ++starText;
    } else {
      return false;
    }
  }
  while (m < mask.size() && mask[m] == L'*') ++m;
  return m == mask.size();
}

bool MatchesWildcardList(std::wstring_view patterns, std::wstring_view text) noexcept {
  return AnyToken(patterns, [text](std::wstring_view token) {
    return EqualsNoCase(token, text) || WildcardMatch(token, text);
  });
}

HRESULT MatchesRegex(std::wstring_view pattern, std::wstring_view text, bool* matched) {
  *matched = false;
  const BoundedRegex* regex = RegexCache::Get(pattern);
  if (regex == nullptr) return E_INVALIDARG;
  try {
    *matched = regex->Match(text);
  } catch (...) {
    return HresultFromCurrentException();
  }
  return S_OK;
}

HRESULT MatchesPattern(std::wstring_view pattern, bool regex, std::wstring_view text,
                       bool* matched) {
  if (regex) return MatchesRegex(pattern, text, matched);
  *matched = MatchesWildcardList(pattern, text);
  return S_OK;
}

bool IsUsablePattern(std::wstring_view pattern, bool regex, std::wstring* why) {
  if (pattern.empty()) {
    if (why != nullptr) *why = L"the pattern is empty";
    return false;
  }
  if (regex) {
    if (RegexCache::Get(pattern) != nullptr) return true;
    if (why != nullptr) {
      *why = L"\"" + std::wstring(pattern) + L"\" is not a valid ECMAScript regular expression";
    }
    return false;
  }
  if (AnyToken(pattern, [](std::wstring_view) { return true; })) return true;
  if (why != nullptr) *why = L"the pattern is empty: give at least one name or wildcard mask";
  return false;
}

}  // namespace lmk
