// Loading a rule-set file for a subcommand: the element kinds this program implements, and the
// file's errors reported with their place.
#pragma once

#include <string>

#include "rules/rule_engine.h"

namespace lmk::cli {

/// Fills the product registry's factories with the elements this program carries (once).
void RegisterElements();

/// Opens path (YAML or binary) into *rules. On failure prints
/// "lumarko: error: <file>:<line>:<column>: <what>" and returns false.
bool LoadRuleSet(const std::string& path, CRuleEngine* rules);

/// Whether every checked rule of rules (read from path) may run. When one may not, prints the
/// dialog's refusal with one line per reason (PrintMessage) and returns false. The rule set's
/// own templates must be installed (RuleSetTemplatesScope) for a `rename:` that names one.
bool CheckRuleSet(const std::string& path, const CRuleEngine& rules);

}  // namespace lmk::cli
