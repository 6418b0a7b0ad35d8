// Last-used script engines and folders.
#include "scripts/script_choices.h"

#include <memory>

#include "platform/settings_store.h"

namespace lmk {
namespace {

constexpr std::wstring_view kPluginKey =
    L"SOFTWARE\\QELN\\Lumarko\\Plugins\\{1F65641A-9167-4B60-9415-BE7A6ED79062}";

}  // namespace

std::wstring LastScriptEngine(std::wstring_view elementKey) {
  std::shared_ptr<SettingsStore> store;
  RegValue value;
  if (FAILED(SettingsStore::Open(SettingsScope::CurrentUser, &store)) ||
      FAILED(store->GetValue(kPluginKey, std::wstring(elementKey) + L".LastUsedScriptEngine",
                             &value)) ||
      !value.IsText()) {
    return {};
  }
  return value.text;
}

HRESULT RememberScriptChoice(std::wstring_view elementKey, std::wstring_view engine,
                             std::wstring_view folder) {
  std::shared_ptr<SettingsStore> store;
  LMK_RETURN_IF_FAILED(SettingsStore::Open(SettingsScope::CurrentUser, &store));
  const std::wstring prefix(elementKey);
  LMK_RETURN_IF_FAILED(
      store->SetValue(kPluginKey, prefix + L".LastUsedScriptEngine", RegValue::String(engine)));
  return store->SetValue(kPluginKey, prefix + L".LastUsedScriptFolder", RegValue::String(folder));
}

}  // namespace lmk
