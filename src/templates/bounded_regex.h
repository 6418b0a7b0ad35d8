// Users' regular expressions on an engine that bounds its work, so no name can hang a run.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

/// One compiled user expression: ECMAScript grammar, case-insensitive, "." and "$" never
/// crossing a line end. Matching gives up with an error, instead of back-tracking for hours,
/// when an expression such as "(a+)+$" meets a text it would have to try every split of.
/// Matching a const object is safe from any thread.
class BoundedRegex {
 public:
  /// The failure a match that gave up throws (as ComError, with a description naming the
  /// expression and the text).
  static constexpr HRESULT kTooComplex = HRESULT_FROM_WIN32(ERROR_TIMEOUT);

  /// The compiled pattern; null when it is no valid expression.
  static std::unique_ptr<BoundedRegex> Compile(std::wstring_view pattern);

  ~BoundedRegex();
  BoundedRegex(const BoundedRegex&) = delete;
  BoundedRegex& operator=(const BoundedRegex&) = delete;

  /// Whether the expression matches the whole of text. On a match, `groups` (if given) gets
  /// every sub-match, the whole match first; an unmatched group gives an empty string.
  /// Throws ComError(kTooComplex) when the engine gives up; std::bad_alloc.
  bool Match(std::wstring_view text, std::vector<std::wstring>* groups = nullptr) const;

  /// text with every match replaced by `format`, where "$&" is the match, "$1".."$99" a group,
  /// "$`" and "$'" the text before and after it, "$$" one "$"; everything else is literal.
  /// Throws ComError(kTooComplex) when the engine gives up; std::bad_alloc.
  std::wstring ReplaceAll(std::wstring_view text, std::wstring_view format) const;

  const std::wstring& pattern() const { return pattern_; }

 private:
  struct Engine;
  BoundedRegex(std::wstring pattern, std::unique_ptr<Engine> engine);

  std::wstring pattern_;
  std::unique_ptr<Engine> engine_;
};

}  // namespace lmk
