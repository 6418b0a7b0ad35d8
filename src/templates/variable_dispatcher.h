// Recognises one token and produces its value: the table of variables in dispatch order.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lmk {

class ExpansionCall;
class RecordKeySet;

class VariableDispatcher {
 public:
  /// The longest value one token yields (the program's buffer of 1,040 with its terminator).
  static constexpr size_t kMaxValueLength = 1039;

  /// Appends the value of `token` (a whole "{...}" with balanced braces) to `*out` and returns
  /// true when the token is recognised. Returns false, with `*out` as it was, for a token that
  /// matches no variable, whose parameters do not fit the variable's form, or whose value is
  /// empty for a kind that may not be empty.
  static bool Expand(std::wstring_view token, ExpansionCall& call, std::wstring* out);

  /// Adds to keys the record values that expanding `token` may read: every key for a token
  /// whose reads cannot be told ahead (a user-defined variable), nothing for one that matches
  /// no variable (it stays as typed).
  static void AddKeys(std::wstring_view token, RecordKeySet& keys);
};

}  // namespace lmk
