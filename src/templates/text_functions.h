// The text functions of templates ({LTrim{...}} .. {Replace{...}}) and the case changes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lmk {

/// Pure text transformations; white space is the locale's white-space class.
class TextFunctions {
 public:
  static bool IsSpace(wchar_t c);
  /// Separators after which title case starts a capital.
  static bool IsTitleSeparator(wchar_t c);

  static std::wstring Upper(std::wstring_view text);
  static std::wstring Lower(std::wstring_view text);
  /// Lower case, with the first character and each character after a run of separators in
  /// upper case.
  static std::wstring TitleCase(std::wstring_view text);
  /// Case modifier of the name variables: 0 as stored, 1 upper, 2 lower, 3 title case.
  static std::wstring ApplyCase(std::wstring_view text, int modifier);

  /// Leading white space removed, then the first `drop` characters.
  static std::wstring LTrim(std::wstring_view text, size_t drop = 0);
  /// Trailing white space removed, then the last `drop` characters.
  static std::wstring RTrim(std::wstring_view text, size_t drop = 0);
  static std::wstring LRTrim(std::wstring_view text);
  /// White space between the first and the last non-blank character removed entirely.
  static std::wstring InnerTrim(std::wstring_view text);
  /// Both ends trimmed, then every remaining white-space character removed.
  static std::wstring AllTrim(std::wstring_view text);
  /// Runs of white space between the first and the last non-blank character cut to their
  /// first character.
  static std::wstring SingleSpace(std::wstring_view text);
  static std::wstring Left(std::wstring_view text, size_t count);
  static std::wstring Right(std::wstring_view text, size_t count);
  /// `count` characters from the zero-based `start`; nothing when start is past the end.
  static std::wstring Mid(std::wstring_view text, size_t start, size_t count);
  static std::wstring Reverse(std::wstring_view text);
  /// Every match of `pattern` (ECMAScript, case-insensitive) replaced; `$1`, `$&` in the
  /// replacement refer to the match. A pattern that does not compile leaves the text as it is.
  static std::wstring Replace(std::wstring_view text, std::wstring_view pattern,
                              std::wstring_view replacement);
};

}  // namespace lmk
