// CRenamingTemplateStore: the named renaming templates that copy, move and link actions refer
// to by name. The user's templates live in the settings store (current user); a rule set may
// bring templates of its own, which take precedence for as long as the rule set is in use.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "com/com.h"
#include "rules/rule_set_template.h"

namespace lmk {

class SettingsStore;

/// The key under the current user's settings that holds one string value per template.
inline constexpr std::wstring_view kRenamingTemplatesKey =
    L"SOFTWARE\\QELN\\Lumarko\\Plugins\\{1F65641A-9167-4B60-9415-BE7A6ED79062}\\RenamingTemplates";

/// Templates by name; names compare without regard to case.
struct NoCaseLess {
  bool operator()(std::wstring_view a, std::wstring_view b) const;
  using is_transparent = void;
};
using NamedTemplates = std::map<std::wstring, std::wstring, NoCaseLess>;

class CRenamingTemplateStore {
 public:
  /// Works on store; null opens the current user's store at first use.
  explicit CRenamingTemplateStore(std::shared_ptr<SettingsStore> store = nullptr);

  /// The user's templates, sorted by name. S_OK (an empty list when none was ever set); the
  /// failure of the store otherwise.
  [[nodiscard]] HRESULT List(NamedTemplates* out);
  /// Adds or replaces a template. E_INVALIDARG for an invalid name (see IsValidTemplateName),
  /// with the thread's error description saying why; the failure of the store.
  [[nodiscard]] HRESULT Set(std::wstring_view name, std::wstring_view text);
  /// Removes a template. HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when there is none of that
  /// name.
  [[nodiscard]] HRESULT Unset(std::wstring_view name);

  /// The text of the template called name: the current rule set's own first, then the user's.
  /// S_OK with *text set; S_FALSE when neither has it; the failure of the store.
  [[nodiscard]] HRESULT Find(std::wstring_view name, std::wstring* text);

  /// Whether name can name a template: 1 to 255 characters, no backslash (the store would take
  /// it for a key), no control character, not only white space. When not, *why says why.
  static bool IsValidTemplateName(std::wstring_view name, std::wstring* why = nullptr);

 private:
  HRESULT EnsureStore();

  std::shared_ptr<SettingsStore> store_;
};

/// The templates of the rule set in use, consulted before the user's by every
/// CRenamingTemplateStore of the process. Installing replaces the previous set; the scope puts
/// the previous set back when it ends. One rule set runs at a time, so the set is process-wide.
class RuleSetTemplatesScope {
 public:
  explicit RuleSetTemplatesScope(NamedTemplates templates);
  /// A rule set's own templates as the rule set file gives them; a later name wins over an
  /// earlier one that differs only in case.
  explicit RuleSetTemplatesScope(const RuleSetTemplates& templates);
  ~RuleSetTemplatesScope();
  RuleSetTemplatesScope(const RuleSetTemplatesScope&) = delete;
  RuleSetTemplatesScope& operator=(const RuleSetTemplatesScope&) = delete;

 private:
  std::shared_ptr<const NamedTemplates> previous_;
};

}  // namespace lmk
