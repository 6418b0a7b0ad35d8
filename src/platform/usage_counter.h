// The host's feature-usage counter: its interface, and the one process-wide instance that every
// part of the plug-in counts its uses into.
#pragma once

#include <string_view>

#include "com/com.h"
#include "com/com_ptr.h"

/// The host's feature-usage counter, a creatable class of the host.
struct ILumarkoUsageCounter : public IUnknown {
  /// Adds count to the counter named by (category, event); both texts are read during the call
  /// only. S_OK; E_INVALIDARG for null texts.
  virtual HRESULT STDMETHODCALLTYPE AddToCounter(LPCWSTR category, LPCWSTR event, LONG count) = 0;

 protected:
  ~ILumarkoUsageCounter() = default;
};

LMK_DECLARE_IID(ILumarkoUsageCounter, "9413DC13-54D0-435C-A93C-8F48B49B4E78");

/// {9413DC13-54D0-435C-A93C-8F48B49B4E78}
inline constexpr IID IID_ILumarkoUsageCounter = {
    0x9413DC13, 0x54D0, 0x435C, {0xA9, 0x3C, 0x8F, 0x48, 0xB4, 0x9B, 0x4E, 0x78}};

/// {BA0C952B-7897-4EEB-BB1F-FF5875A8AF21}: the host's usage-counter class.
inline constexpr CLSID CLSID_LumarkoUsageCounter = {
    0xBA0C952B, 0x7897, 0x4EEB, {0xBB, 0x1F, 0xFF, 0x58, 0x75, 0xA8, 0xAF, 0x21}};

namespace lmk {

/// The category every count of this plug-in goes under.
inline constexpr std::wstring_view kUsageCategory = L"Plugin:FileUtilities";

/// Creates the process-wide counter object (any server context) unless it exists. A counter
/// that cannot be created is simply absent: counting is then skipped. Returns true when this
/// call created it.
bool AcquireUsageCounter() noexcept;

/// Releases and clears the process-wide counter, if present.
void ReleaseUsageCounter() noexcept;

/// True while the process-wide counter exists.
bool HasUsageCounter() noexcept;

/// Adds count to (kUsageCategory, event), e.g. CountUsage(L"Action:Move"); does nothing when the
/// counter is absent. The counter's own failures are ignored; an exception thrown by it passes
/// through, for the caller's method boundary to turn into its HRESULT. Safe from any thread.
void CountUsage(std::wstring_view event, LONG count = 1);

}  // namespace lmk
