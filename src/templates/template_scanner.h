// The outer scan of a template: plain text, "{{" and "}}", and tokens handed to the dispatcher.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lmk {

class ExpansionCall;

class TemplateScanner {
 public:
  /// Results grow in steps of this many characters (or by what a long value needs).
  static constexpr size_t kGrowth = 16384;

  /// Expands `text` and appends the result to `*out`. An unclosed '{' ends the expansion:
  /// the rest of the text from it is dropped.
  static void Expand(std::wstring_view text, ExpansionCall& call, std::wstring* out);

  /// The length of the token that starts with the '{' at text[0], up to the '}' that closes
  /// it (nested braces counted); npos when the text ends first.
  static size_t TokenLength(std::wstring_view text);

  /// Keeps (*text)[from..] inside one path component: '/', '\' and ':' (a drive's) become
  /// '~'; a value made only of dots becomes "~".
  static void ConfineValue(std::wstring* text, size_t from);

  /// Appends, growing the buffer by kGrowth characters at a time.
  static void Append(std::wstring* out, std::wstring_view piece);
};

}  // namespace lmk
