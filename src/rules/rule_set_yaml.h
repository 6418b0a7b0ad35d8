// The rule-set file for people: YAML with each rule's name, checked state, modes and its
// elements written by key with named parameters.
//
//   templates:               # optional: renaming templates of the rule set's own, by name
//     Dated: "{DateTaken:Year}-{DateTaken:Month0}-{DateTaken:Day0} {FileName}"
//   rules:
//     - name: Best of 2024
//       checked: true        # default true
//       match: all           # all | any: how the conditions combine (default all)
//       except: any          # any | all: how the exceptions veto (default any)
//       conditions:
//         - Condition.FileType: { type: jpeg }
//       exceptions:
//         - Exception.MarkedForDeletion: { marked: true }
//       actions:
//         - Action.Copy: { destination: "Best/{DateTaken:Year}", on-failure: skip-actions }
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "rules/element_registry.h"
#include "rules/rule.h"
#include "rules/rule_set_template.h"

namespace lmk {

/// Reads the rules of a YAML text (UTF-8), and its templates into *templates when templates is
/// not null (they are checked either way). Raises CRuleSetError with the line and column (and
/// sourceName as the file) for a syntax error, an unknown or unavailable element, a duplicate
/// element, an unknown parameter, a value that cannot be read, or a template name that is empty,
/// holds '\' or '/', or is given twice (without regard to case).
std::vector<std::shared_ptr<CRule>> ParseRuleSetYaml(std::string_view utf8,
                                                     std::wstring_view sourceName,
                                                     const CElementRegistry& registry,
                                                     RuleSetTemplates* templates = nullptr);

/// The YAML text (UTF-8) of the rules and templates; ParseRuleSetYaml reads it back to the same
/// rules and templates. The 'templates' map is written only when there are templates.
std::string RuleSetToYaml(std::span<const std::shared_ptr<CRule>> rules,
                          std::span<const RuleSetTemplate> templates = {});

}  // namespace lmk
