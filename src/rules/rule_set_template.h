// The named renaming templates a rule set brings along. The rules layer keeps them as plain
// (name, text) pairs; whoever runs the rule set hands them to the actions' template store.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lmk {

struct RuleSetTemplate {
  std::wstring name;
  std::wstring text;

  bool operator==(const RuleSetTemplate&) const = default;
};

using RuleSetTemplates = std::vector<RuleSetTemplate>;

/// Why name cannot name a rule set's template ("" when it can): it must not be empty, and it
/// must not hold '\' or '/', which the template store and the file system take for separators.
std::wstring RuleSetTemplateNameFault(std::wstring_view name);

/// The template of that name in templates (names compare without regard to case, as the template
/// store compares them); null when there is none.
const RuleSetTemplate* FindRuleSetTemplate(const RuleSetTemplates& templates,
                                           std::wstring_view name);

/// Adds more to templates: a name already there takes the text (and spelling) of more in its
/// place, a new name is appended.
void MergeRuleSetTemplates(RuleSetTemplates& templates, const RuleSetTemplates& more);

}  // namespace lmk
