// The rule set's own renaming templates.
#include "rules/rule_set_template.h"

#include <algorithm>

#include "rules/element_key.h"
#include "rules/rule_strings.h"

namespace lmk {

std::wstring RuleSetTemplateNameFault(std::wstring_view name) {
  if (name.empty()) return std::wstring(RuleString(RuleStringId::TemplateNameEmpty));
  if (name.find_first_of(L"\\/") != std::wstring_view::npos) {
    return FormatRuleString(RuleStringId::TemplateNameSeparator, {name});
  }
  return {};
}

const RuleSetTemplate* FindRuleSetTemplate(const RuleSetTemplates& templates,
                                           std::wstring_view name) {
  for (const RuleSetTemplate& entry : templates) {
    if (EqualsNoCase(entry.name, name)) return &entry;
  }
  return nullptr;
}

void MergeRuleSetTemplates(RuleSetTemplates& templates, const RuleSetTemplates& more) {
  for (const RuleSetTemplate& entry : more) {
    const auto same = std::find_if(templates.begin(), templates.end(), [&](const auto& held) {
      return EqualsNoCase(held.name, entry.name);
    });
    if (same != templates.end()) {
      *same = entry;
    } else {
      templates.push_back(entry);
    }
  }
}

}  // namespace lmk
