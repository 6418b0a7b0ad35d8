// Compiled regular expressions, kept per thread so that each pattern is compiled once.
#pragma once

#include <regex>
#include <string_view>

namespace lmk {

/// The regular expressions of templates: ECMAScript grammar, case-insensitive. Each thread keeps
/// its own compiled copies (std::wregex objects must not be shared while in use by
/// another thread's match), so a pattern is compiled at most once per thread.
class RegexCache {
 public:
  /// The compiled pattern, or nullptr when it is no valid expression (that answer is kept too).
  /// The pointer stays valid for the life of the thread.
  static const std::wregex* Get(std::wstring_view pattern);

  /// How many patterns the calling thread has compiled so far (for tests and benchmarks).
  static size_t CompiledCount();
};

}  // namespace lmk
