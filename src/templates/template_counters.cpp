// Counters advanced under a process-wide lock and the settings store's atomic update.
#include "templates/template_counters.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include "platform/settings_store.h"
#include "templates/value_formatter.h"

namespace lmk {
namespace {

// The stored value, or 0 when the store cannot be read (which then also is not written).
// `advance` gives the value to store after `value`.
template <class Advance>
uint32_t ReadAndAdvance(const wchar_t* name, bool preview, SettingsStore* transaction,
                        Advance advance) {
  std::shared_ptr<SettingsStore> opened;
  SettingsStore* store = transaction;
  if (store == nullptr) {
    if (FAILED(SettingsStore::Open(SettingsScope::CurrentUser, &opened)) || !opened) return 0;
    store = opened.get();
  }
  auto number_of = [](const RegValue& value) {
    return value.IsNumber() ? static_cast<uint32_t>(value.number) : 0u;
  };
  if (preview) {
    RegValue value;
    return SUCCEEDED(store->GetValue(TemplateCounters::kKey, name, &value)) ? number_of(value) : 0;
  }
  uint32_t current = 0;
  HRESULT hr = store->Update(TemplateCounters::kKey, name,
                             [&](const std::optional<RegValue>& stored) -> std::optional<RegValue> {
                               current = stored ? number_of(*stored) : 0;
                               return RegValue::Dword(advance(current));
                             });
  return SUCCEEDED(hr) ? current : 0;
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
