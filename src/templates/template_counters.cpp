// Counters advanced under a process-wide lock and the settings store's atomic update.
#include "templates/template_counters.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "com/com_error.h"
#include "platform/settings_store.h"
#include "templates/value_formatter.h"

namespace lmk {
namespace {

// A counter that cannot be read or advanced fails the expansion: handing out 0 (or any guess)
// would repeat a value, and a rename with overwrite would then replace a picture.
[[noreturn]] void ThrowCounterFailure(HRESULT hr, const wchar_t* name) {
  std::wstring why = TakeErrorDescription();
  if (why.empty()) why = L"the settings store failed with " + FormatHresult(hr);
  throw ComError(hr, std::wstring(L"The counter \"") + name + L"\" cannot be read or advanced, " +
                         L"so no value was handed out: " + why);
}

// The stored value (0 when absent), advanced to `advance(value)` unless `preview`, in one
// atomic update of the store. Throws ComError when the store cannot be opened, read or written.
template <class Advance>
uint32_t ReadAndAdvance(const wchar_t* name, bool preview, SettingsStore* transaction,
                        Advance advance) {
  std::shared_ptr<SettingsStore> opened;
  SettingsStore* store = transaction;
  if (store == nullptr) {
    const HRESULT hr = SettingsStore::Open(SettingsScope::CurrentUser, &opened);
    if (FAILED(hr) || !opened) ThrowCounterFailure(FAILED(hr) ? hr : E_UNEXPECTED, name);
    store = opened.get();
  }
  auto number_of = [](const RegValue& value) {
    return value.IsNumber() ? static_cast<uint32_t>(value.number) : 0u;
  };
  if (preview) {
    RegValue value;
    const HRESULT hr = store->GetValue(TemplateCounters::kKey, name, &value);
    if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return 0;
    if (FAILED(hr)) ThrowCounterFailure(hr, name);
    return number_of(value);
  }
  uint32_t current = 0;
  const HRESULT hr =
      store->Update(TemplateCounters::kKey, name,
                    [&](const std::optional<RegValue>& stored) -> std::optional<RegValue> {
                      current = stored ? number_of(*stored) : 0;
                      return RegValue::Dword(advance(current));
                    });
  if (FAILED(hr)) ThrowCounterFailure(hr, name);
  return current;
}

}  // namespace

std::wstring TemplateCounters::NextIncrement(int modifier, bool preview,
                                             SettingsStore* transaction) {
  static std::mutex lock;
  uint32_t value;
  {
    std::lock_guard<std::mutex> guard(lock);
    value = ReadAndAdvance(kIncrementName, preview, transaction,
                           [](uint32_t v) { return static_cast<uint32_t>(v + 1); });
  }
  std::wstring out;
  ValueFormatter::AppendWithNumberModifier(&out, value, modifier);
  return out;
}

std::wstring TemplateCounters::NextCycle(int width, bool preview, SettingsStore* transaction) {
  static std::mutex lock;
  width = std::clamp(width, 0, 9);
  uint32_t modulus = 1;
  for (int i = 0; i < width; ++i) modulus *= 10;
  wchar_t name[] = L"AutoCycleValue0";
  name[std::size(name) - 2] = static_cast<wchar_t>(L'0' + width);
  uint32_t value;
  {
    std::lock_guard<std::mutex> guard(lock);
    value = ReadAndAdvance(name, preview, transaction, [modulus](uint32_t v) {
      return modulus > 1 ? static_cast<uint32_t>((static_cast<uint64_t>(v) + 1) % modulus)
                         : static_cast<uint32_t>(v + 1);
    });
  }
  std::wstring out;
  if (width == 0) {
    ValueFormatter::AppendDecimal(&out, value);
  } else {
    ValueFormatter::AppendDecimal(&out, value % modulus, width >= 2 ? width : 0);
  }
  return out;
}

}  // namespace lmk
