// Compiled regular expressions, kept per thread so that each pattern is compiled once.
#pragma once

#include <string_view>

#include "templates/bounded_regex.h"

namespace lmk {

/// The regular expressions of templates and conditions (BoundedRegex). Each thread keeps its
/// own compiled copies, so a pattern is compiled at most once per thread without a lock.
class RegexCache {
 public:
  /// The compiled pattern, or nullptr when it is no valid expression (that answer is kept too).
  /// The pointer stays valid for the life of the thread.
  static const BoundedRegex* Get(std::wstring_view pattern);

  /// How many patterns the calling thread has compiled so far (for tests and benchmarks).
  static size_t CompiledCount();
};

}  // namespace lmk
