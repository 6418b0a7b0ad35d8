// The persistent counters {AutoIncrement} and {AutoCycle:n}.
#pragma once

#include <cstdint>
#include <string>

namespace lmk {

class SettingsStore;

/// Counters kept in the current user's settings under "SOFTWARE\QELN\Lumarko". Each kind is
/// serialised inside the process by its own lock and across processes by the store's atomic
/// update, so no two expansions ever hand out the same value.
class TemplateCounters {
 public:
  static constexpr const wchar_t* kKey = L"SOFTWARE\\QELN\\Lumarko";
  static constexpr const wchar_t* kIncrementName = L"AutoIncrementValue";

  /// The `AutoIncrementValue` formatted with the number modifier; advanced by one unless
  /// `preview`. `transaction` (may be null) is the store to use instead of opening one.
  /// A store that cannot be opened, read or updated throws ComError with its HRESULT and a
  /// description naming the counter, the database and what is wrong; nothing is handed out.
  static std::wstring NextIncrement(int modifier, bool preview, SettingsStore* transaction);

  /// The `AutoCycleValue<n>` counter (n clamped to 0..9): the stored value for n = 0, else the
  /// value modulo 10^n, zero-padded to n digits for n >= 2; it then becomes
  /// (value + 1) modulo 10^n (value + 1 for n = 0) unless `preview`. Fails as NextIncrement.
  static std::wstring NextCycle(int width, bool preview, SettingsStore* transaction);
};

}  // namespace lmk
