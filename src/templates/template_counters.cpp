// Counters advanced under a process-wide lock and the settings store's atomic update.
#include "templates/template_counters.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "com/com_error.h"
#include "platform/settings_store.h"
#include "templates/counter_block.h"
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

// One counter: its lock, held from the read to the write-back, and this process's block.
struct Counter {
  Counter(const std::wstring& value_name, uint32_t cycle_modulus)
      : name(value_name), modulus(cycle_modulus), block(value_name, cycle_modulus) {}
  const std::wstring name;
  const uint32_t modulus;  // 10^n for AutoCycleValue<n>, 0 where the value runs on
  std::mutex lock;
  CounterBlock block;
};

// Index 0 is AutoIncrementValue, 1 + n is AutoCycleValue<n>; built once, never moved.
constexpr size_t kCounterCount = 11;

Counter& CounterAt(size_t index) {
  static const std::vector<std::unique_ptr<Counter>> counters = [] {
    std::vector<std::unique_ptr<Counter>> all;
    all.push_back(std::make_unique<Counter>(TemplateCounters::kIncrementName, 0));
    uint32_t modulus = 1;
    for (int n = 0; n <= 9; ++n, modulus *= 10) {
      // AutoCycleValue0 runs on as AutoIncrementValue does.
      all.push_back(
          std::make_unique<Counter>(L"AutoCycleValue" + std::to_wstring(n), n == 0 ? 0 : modulus));
    }
    return all;
  }();
  return *counters.at(index);
}

std::atomic<int> scopeCount{0};

bool BlocksOn() { return scopeCount.load() > 0; }

// The value to hand out, and unless `preview` the counter advanced past it. Throws ComError
// when the store cannot be opened, read or written.
uint32_t ReadAndAdvance(size_t index, bool preview, SettingsStore* transaction) {
  Counter& counter = CounterAt(index);
  const wchar_t* name = counter.name.c_str();
  std::lock_guard guard(counter.lock);
  const bool blocks = transaction == nullptr && BlocksOn();
  // A value already reserved costs no lookup of the store at all.
  if (blocks) {
    const std::optional<uint32_t> held = preview ? counter.block.Peek() : counter.block.TakeHeld();
    if (held) return *held;
  }
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
  if (blocks) {
    const HRESULT hr = counter.block.Take(*store, &current);
    if (FAILED(hr)) ThrowCounterFailure(hr, name);
    return current;
  }
  const HRESULT hr =
      store->Update(TemplateCounters::kKey, name,
                    [&](const std::optional<RegValue>& stored) -> std::optional<RegValue> {
                      current = stored ? number_of(*stored) : 0;
                      return RegValue::Dword(CounterBlock::Advance(current, 1, counter.modulus));
                    });
  if (FAILED(hr)) ThrowCounterFailure(hr, name);
  return current;
}

}  // namespace

TemplateCounters::RunScope::RunScope() { scopeCount.fetch_add(1); }

TemplateCounters::RunScope::~RunScope() {
  if (scopeCount.fetch_sub(1) > 1) return;
  // Only a run that took values opens the store here: a preview must not create a database.
  bool held = false;
  for (size_t index = 0; index < kCounterCount; ++index) {
    Counter& counter = CounterAt(index);
    std::lock_guard guard(counter.lock);
    held = held || counter.block.Peek().has_value();
  }
  if (!held) return;
  // A store that cannot be opened now keeps the blocks for this process's next run; one that
  // fails the give-back leaves the rest unused. Either way no value is ever handed out twice.
  std::shared_ptr<SettingsStore> store;
  if (SUCCEEDED(SettingsStore::Open(SettingsScope::CurrentUser, &store)) && store) {
    for (size_t index = 0; index < kCounterCount; ++index) {
      Counter& counter = CounterAt(index);
      std::lock_guard guard(counter.lock);
      (void)counter.block.GiveBack(*store);
    }
  }
  TakeErrorDescription();
}

std::wstring TemplateCounters::NextIncrement(int modifier, bool preview,
                                             SettingsStore* transaction) {
  const uint32_t value = ReadAndAdvance(0, preview, transaction);
  std::wstring out;
  ValueFormatter::AppendWithNumberModifier(&out, value, modifier);
  return out;
}

std::wstring TemplateCounters::NextCycle(int width, bool preview, SettingsStore* transaction) {
  width = std::clamp(width, 0, 9);
  uint32_t modulus = 1;
  for (int i = 0; i < width; ++i) modulus *= 10;
  const uint32_t value = ReadAndAdvance(1 + static_cast<size_t>(width), preview, transaction);
  std::wstring out;
  if (width == 0) {
    ValueFormatter::AppendDecimal(&out, value);
  } else {
    ValueFormatter::AppendDecimal(&out, value % modulus, width >= 2 ? width : 0);
  }
  return out;
}

}  // namespace lmk
