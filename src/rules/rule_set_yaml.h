// The rule-set file for people: YAML with each rule's name, checked state, modes and its
// elements written by key with named parameters.
//
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

namespace lmk {

/// Reads the rules of a YAML text (UTF-8). Raises CRuleSetError with the line and column (and
/// sourceName as the file) for a syntax error, an unknown or unavailable element, a duplicate
/// element, an unknown parameter or a value that cannot be read.
std::vector<std::shared_ptr<CRule>> ParseRuleSetYaml(std::string_view utf8,
                                                     std::wstring_view sourceName,
                                                     const CElementRegistry& registry);

/// The YAML text (UTF-8) of the rules; ParseRuleSetYaml reads it back to the same rules.
std::string RuleSetToYaml(std::span<const std::shared_ptr<CRule>> rules);

}  // namespace lmk
