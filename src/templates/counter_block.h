// A stretch of one persistent counter's values, reserved in the settings store in one write.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "com/com.h"

namespace lmk {

class SettingsStore;

/// Hands out the values of one counter (a value name under TemplateCounters::kKey) from blocks
/// reserved in the settings store, so that a run over thousands of pictures writes the store a
/// few times instead of once per value. A reservation advances the stored counter past the
/// whole block in one transaction, so another process never gets a value of it; the values
/// inside a block come out in order. Blocks start small (a run of three pictures should not
/// waste much if it is killed) and double while the run keeps asking, up to kMaxSize.
/// Not thread-safe: the caller serialises every call on one object.
class CounterBlock {
 public:
  static constexpr uint32_t kFirstSize = 64;
  static constexpr uint32_t kMaxSize = 1024;
  /// Where each counter's last reservation leaves its mark (a QWORD under the counter's name),
  /// so that a give-back can tell whether anyone reserved after it.
  static constexpr const wchar_t* kMarkKey = L"SOFTWARE\\QELN\\Lumarko\\CounterBlocks";

  /// `modulus` 10^n for a counter that cycles through n digits; 0 or 1 for one that runs on
  /// until it wraps at 2^32.
  CounterBlock(std::wstring name, uint32_t modulus);

  /// The next value, from the block or from a new block reserved in `store`. On failure the
  /// store's HRESULT comes back (with the thread's error description set by the store) and
  /// nothing is handed out.
  [[nodiscard]] HRESULT Take(SettingsStore& store, uint32_t* value);

  /// The next value when the block still holds one, taken without touching the store.
  std::optional<uint32_t> TakeHeld();

  /// The value Take would hand out next, when the block still holds one.
  std::optional<uint32_t> Peek() const;

  /// Ends the block: the stored counter goes back to the first value not handed out when
  /// nobody has reserved or advanced the counter since; otherwise the rest stays unused. The
  /// block is empty afterwards even when the store fails (its HRESULT comes back), and the
  /// next block starts at kFirstSize again.
  HRESULT GiveBack(SettingsStore& store);

  /// `value` advanced by `steps`: modulo the modulus for a cycle, modulo 2^32 otherwise.
  static uint32_t Advance(uint32_t value, uint64_t steps, uint32_t modulus);

 private:
  std::wstring name_;
  uint32_t modulus_;
  uint32_t size_ = kFirstSize;
  uint32_t next_ = 0;
  uint32_t left_ = 0;
  uint32_t end_ = 0;  // the stored value this block left behind
  uint64_t mark_ = 0;
};

}  // namespace lmk
