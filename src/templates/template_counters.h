// The persistent counters {AutoIncrement} and {AutoCycle:n}.
#pragma once

#include <cstdint>
#include <string>

namespace lmk {

class SettingsStore;

/// Counters kept in the current user's settings under "SOFTWARE\QELN\Lumarko". Each counter is
/// serialised inside the process by its own lock and across processes by the store's atomic
/// update, so no two expansions ever hand out the same value. While a RunScope lives, values
/// come from blocks reserved for this process (CounterBlock) instead of one store write each.
class TemplateCounters {
 public:
  /// Turns block reservations on while it lives; the batch runner holds one per run. Scopes
  /// count: when the last one ends, every counter's unused rest is given back, so that after
  /// a run on its own the stored counters stand where single steps would have left them.
  class RunScope {
   public:
    RunScope();
    ~RunScope();
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;
  };

  static constexpr const wchar_t* kKey = L"SOFTWARE\\QELN\\Lumarko";
  static constexpr const wchar_t* kIncrementName = L"AutoIncrementValue";

  /// The `AutoIncrementValue` formatted with the number modifier; advanced by one unless
  /// `preview`. Inside a RunScope and without `transaction`, the value comes from this
  /// process's block, and a preview shows the block's next value. `transaction` (may be null) is
  /// the store to use instead of opening one. A store that cannot be opened, read or updated throws
  /// ComError with its HRESULT and a description naming the counter, the database and what is
  /// wrong; nothing is handed out.
  static std::wstring NextIncrement(int modifier, bool preview, SettingsStore* transaction);

  /// The `AutoCycleValue<n>` counter (n clamped to 0..9): the stored value for n = 0, else the
  /// value modulo 10^n, zero-padded to n digits for n >= 2; it then becomes
  /// (value + 1) modulo 10^n (value + 1 for n = 0) unless `preview`. Fails as NextIncrement.
  static std::wstring NextCycle(int width, bool preview, SettingsStore* transaction);
};

}  // namespace lmk
