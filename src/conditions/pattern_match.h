// Matching of a tested text against the patterns of conditions: "|"-separated wildcard lists and
// whole-text regular expressions.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// Whether text matches one wildcard mask the way the shell's path-mask matching does: "*"
/// stands for any run of characters (also none), "?" for exactly one character, every other
/// character for itself without regard to case. The mask "*.*" matches every text, also one
/// without a dot (the shell's old "all files" mask). Unlike the shell function, ";" is an
/// ordinary character and leading blanks are kept: conditions separate alternatives with "|".
bool WildcardMatch(std::wstring_view mask, std::wstring_view text) noexcept;

/// The wildcard mode: patterns is split at "|"; empty tokens are skipped and tokens are not
/// trimmed ("a| b" does not match "b"). True as soon as one token equals text without regard
/// to case or matches it as a mask.
bool MatchesWildcardList(std::wstring_view patterns, std::wstring_view text) noexcept;

/// The regular-expression mode: pattern is one ECMAScript expression, case-insensitive, that
/// must match the whole text. Each thread compiles a pattern once and keeps it. S_OK with
/// *matched set; E_INVALIDARG when pattern is no valid expression (*matched false);
/// BoundedRegex::kTooComplex, with an error description naming the expression and the text, when
/// matching would take too long; E_OUTOFMEMORY.
[[nodiscard]] HRESULT MatchesRegex(std::wstring_view pattern, std::wstring_view text,
                                   bool* matched);

/// MatchesRegex when regex, else MatchesWildcardList (which always answers S_OK).
[[nodiscard]] HRESULT MatchesPattern(std::wstring_view pattern, bool regex, std::wstring_view text,
                                     bool* matched);

/// Whether pattern is usable in its mode: a wildcard list needs one non-empty token, a regular
/// expression must compile. When not, *why (if given) says what is wrong.
bool IsUsablePattern(std::wstring_view pattern, bool regex, std::wstring* why);

/// Calls f(token) for each non-empty token of a "|"-separated list, until f returns true;
/// returns whether one did.
template <class F>
bool AnyToken(std::wstring_view list, F&& f) {
  std::size_t start = 0;
  while (start <= list.size()) {
    std::size_t end = list.find(L'|', start);
    if (end == std::wstring_view::npos) end = list.size();
    if (end > start && f(list.substr(start, end - start))) return true;
    start = end + 1;
  }
  return false;
}

}  // namespace lmk
