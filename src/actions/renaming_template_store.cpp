// The named renaming templates: the user's in the settings store, the rule set's in memory.
#include "actions/renaming_template_store.h"

#include <cwctype>
#include <mutex>
#include <shared_mutex>

#include "com/com_error.h"
#include "platform/settings_store.h"

namespace lmk {
namespace {

std::shared_mutex& RuleSetLock() {
  static std::shared_mutex lock;
  return lock;
}

std::shared_ptr<const NamedTemplates>& InstalledTemplates() {
  static std::shared_ptr<const NamedTemplates> templates;
  return templates;
}

std::shared_ptr<const NamedTemplates> CurrentRuleSetTemplates() {
  std::shared_lock lock(RuleSetLock());
  return InstalledTemplates();
}

std::shared_ptr<const NamedTemplates> ExchangeRuleSetTemplates(
    std::shared_ptr<const NamedTemplates> templates) {
  std::unique_lock lock(RuleSetLock());
  std::swap(InstalledTemplates(), templates);
  return templates;
}

constexpr HRESULT kNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

}  // namespace

bool NoCaseLess::operator()(std::wstring_view a, std::wstring_view b) const {
  const std::wstring left = FoldSettingsName(a);
  const std::wstring right = FoldSettingsName(b);
  return left < right;
}

CRenamingTemplateStore::CRenamingTemplateStore(std::shared_ptr<SettingsStore> store)
    : store_(std::move(store)) {}

HRESULT CRenamingTemplateStore::EnsureStore() {
  if (store_) return S_OK;
  return SettingsStore::Open(SettingsScope::CurrentUser, &store_);
}

bool CRenamingTemplateStore::IsValidTemplateName(std::wstring_view name, std::wstring* why) {
  const auto refuse = [why](std::wstring_view reason) {
    if (why != nullptr) *why = reason;
    return false;
  };
  if (name.empty()) return refuse(L"a template name must not be empty");
  if (name.size() > 255) return refuse(L"a template name has at most 255 characters");
  bool blank = true;
  for (wchar_t c : name) {
    if (c == L'\\') return refuse(L"a template name must not contain '\\'");
    if (c < 0x20 || c == 0x7F)
      return refuse(L"a template name must not contain control characters");
    if (!std::iswspace(static_cast<wint_t>(c))) blank = false;
  }
  if (blank) return refuse(L"a template name must not be only white space");
  return true;
}

HRESULT CRenamingTemplateStore::List(NamedTemplates* out) {
  if (out == nullptr) return E_INVALIDARG;
  out->clear();
  LMK_RETURN_IF_FAILED(EnsureStore());
  std::vector<std::pair<std::wstring, RegValue>> values;
  const HRESULT hr = store_->EnumValues(kRenamingTemplatesKey, &values);
  if (hr == kNotFound) return S_OK;
  LMK_RETURN_IF_FAILED(hr);
  for (auto& [name, value] : values) {
    // Only string values are templates; anything else under the key is not ours to show.
    if (value.IsText() && !name.empty()) out->emplace(std::move(name), std::move(value.text));
  }
  return S_OK;
}

HRESULT CRenamingTemplateStore::Set(std::wstring_view name, std::wstring_view text) {
  std::wstring why;
  if (!IsValidTemplateName(name, &why)) {
    SetErrorDescription(why);
    return E_INVALIDARG;
  }
  LMK_RETURN_IF_FAILED(EnsureStore());
  return store_->SetValue(kRenamingTemplatesKey, name, RegValue::String(text));
}

HRESULT CRenamingTemplateStore::Unset(std::wstring_view name) {
  if (!IsValidTemplateName(name)) return kNotFound;
  LMK_RETURN_IF_FAILED(EnsureStore());
  return store_->DeleteValue(kRenamingTemplatesKey, name);
}

HRESULT CRenamingTemplateStore::Find(std::wstring_view name, std::wstring* text) {
  if (text == nullptr) return E_INVALIDARG;
  if (const auto ruleSet = CurrentRuleSetTemplates()) {
    if (const auto it = ruleSet->find(name); it != ruleSet->end()) {
      *text = it->second;
      return S_OK;
    }
  }
  if (!IsValidTemplateName(name)) return S_FALSE;
  LMK_RETURN_IF_FAILED(EnsureStore());
  RegValue value;
  const HRESULT hr = store_->GetValue(kRenamingTemplatesKey, name, &value);
  if (hr == kNotFound) return S_FALSE;
  LMK_RETURN_IF_FAILED(hr);
  if (!value.IsText()) return S_FALSE;
  *text = std::move(value.text);
  return S_OK;
}

RuleSetTemplatesScope::RuleSetTemplatesScope(NamedTemplates templates)
    : previous_(
          ExchangeRuleSetTemplates(std::make_shared<const NamedTemplates>(std::move(templates)))) {}

RuleSetTemplatesScope::RuleSetTemplatesScope(const RuleSetTemplates& templates)
    : RuleSetTemplatesScope([&templates] {
        NamedTemplates named;
        for (const RuleSetTemplate& entry : templates)
          named.insert_or_assign(entry.name, entry.text);
        return named;
      }()) {}

RuleSetTemplatesScope::~RuleSetTemplatesScope() { ExchangeRuleSetTemplates(std::move(previous_)); }

}  // namespace lmk
