// User-defined variables in the settings store.
#include "templates/user_variables.h"

#include <memory>

#include "com/com_error.h"
#include "platform/environment.h"
#include "templates/value_formatter.h"

namespace lmk {
namespace {

HRESULT OpenUserStore(std::shared_ptr<SettingsStore>* store) {
  return SettingsStore::Open(SettingsScope::CurrentUser, store);
}

bool IsVariableType(RegType type) {
  return type == RegType::String || type == RegType::ExpandString || type == RegType::Dword ||
         type == RegType::Qword;
}

}  // namespace

bool UserVariables::Read(std::wstring_view name, SettingsStore* transaction, std::wstring* text) {
  std::shared_ptr<SettingsStore> opened;
  SettingsStore* store = transaction;
  if (store == nullptr) {
    if (FAILED(OpenUserStore(&opened)) || !opened) return false;
    store = opened.get();
  }
  RegValue value;
  if (FAILED(store->GetValue(kKey, name, &value))) return false;
  text->clear();
  switch (value.type) {
    case RegType::String:
      if (value.text.size() > kMaxTextLength) return false;
      *text = value.text;
      return true;
    case RegType::ExpandString:
      if (value.text.size() > kMaxTextLength) return false;
      *text = ExpandEnvironmentText(value.text);
      return true;
    case RegType::Dword:
      ValueFormatter::AppendDecimal(text, static_cast<uint32_t>(value.number));
      return true;
    case RegType::Qword: {
      // Decimal digits of the full unsigned 64-bit value.
      uint64_t number = value.number;
      wchar_t digits[24];
      int n = 0;
      do {
        digits[n++] = static_cast<wchar_t>(L'0' + number % 10);
        number /= 10;
      } while (number != 0);
      while (n > 0) text->push_back(digits[--n]);
      return true;
    }
    default:
      return false;
  }
}

HRESULT UserVariables::List(std::vector<std::pair<std::wstring, RegValue>>* variables) {
  if (variables == nullptr) return E_INVALIDARG;
  variables->clear();
  std::shared_ptr<SettingsStore> store;
  LMK_RETURN_IF_FAILED(OpenUserStore(&store));
  std::vector<std::pair<std::wstring, RegValue>> all;
  HRESULT hr = store->EnumValues(kKey, &all);
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return S_OK;
  LMK_RETURN_IF_FAILED(hr);
  for (auto& entry : all) {
    if (!entry.first.empty() && IsVariableType(entry.second.type)) {
      variables->push_back(std::move(entry));
    }
  }
  return S_OK;
}

HRESULT UserVariables::Get(std::wstring_view name, RegValue* value) {
  if (value == nullptr || name.empty()) return E_INVALIDARG;
  std::shared_ptr<SettingsStore> store;
  LMK_RETURN_IF_FAILED(OpenUserStore(&store));
  return store->GetValue(kKey, name, value);
}

HRESULT UserVariables::Set(std::wstring_view name, const RegValue& value) {
  if (name.empty() || name.find_first_of(L"{}") != std::wstring_view::npos) {
    SetErrorDescription(L"A variable name must not be empty nor contain '{' or '}'.");
    return E_INVALIDARG;
  }
  if (!IsVariableType(value.type)) {
    SetErrorDescription(L"A variable is a string, an expandable string, a DWORD or a QWORD.");
    return E_INVALIDARG;
  }
  if (value.IsText() && value.text.size() > kMaxTextLength) {
    SetErrorDescription(L"A variable's text must not be longer than 2,047 characters.");
    return E_INVALIDARG;
  }
  std::shared_ptr<SettingsStore> store;
  LMK_RETURN_IF_FAILED(OpenUserStore(&store));
  return store->SetValue(kKey, name, value);
}

HRESULT UserVariables::Unset(std::wstring_view name) {
  if (name.empty()) return E_INVALIDARG;
  std::shared_ptr<SettingsStore> store;
  LMK_RETURN_IF_FAILED(OpenUserStore(&store));
  return store->DeleteValue(kKey, name);
}

}  // namespace lmk
