// lumarko rules check: reads a rule set and says what each rule does and whether it may run.
#include <cstdio>
#include <memory>
#include <string>

#include "actions/renaming_template_store.h"
#include "cli/rule_set_loading.h"
#include "cli/subcommands.h"
#include "platform/text_encoding.h"
#include "rules/action.h"
#include "rules/condition.h"

namespace lmk::cli {
namespace {

struct RulesOptions {
  std::string file;
};

constexpr const char* kRulesCheckHelp =
    "Reads RULES (a YAML rule set or a .rules file) and prints each rule: whether it is checked,\n"
    "how its conditions and exceptions combine, and a sentence for every element. Errors in the\n"
    "file are reported as FILE:LINE:COLUMN. The exit status is 1 when the file cannot be read or\n"
    "a checked rule is invalid (a run would refuse it).\n"
    "\n"
    "Example:\n"
    "  lumarko rules check sort.yaml";

const char* ModeWord(BYTE mode) { return mode == kModeAny ? "any" : "all"; }

template <class Element>
void PrintElement(const Element& element) {
  std::wstring reason;
  const bool valid = element.IsValid(&reason);
  std::printf("    %s: %s\n", ToUtf8(element.Key()).c_str(), ToUtf8(element.Description()).c_str());
  if (!valid) std::printf("      invalid: %s\n", ToUtf8(reason).c_str());
}

int RunRulesCheck(const RulesOptions& options) {
  CRuleEngine rules;
  if (!LoadRuleSet(options.file, &rules)) return kExitFailure;
  const RuleSetTemplatesScope ownTemplates(rules.Templates());
  std::size_t number = 0;
  for (const std::shared_ptr<CRule>& rule : rules.Rules()) {
    ++number;
    std::printf("Rule %zu: \"%s\" (%s)\n", number, ToUtf8(rule->Name()).c_str(),
                rule->IsChecked() ? "checked" : "not checked");
    std::printf("  conditions (%s must hold):%s\n", ModeWord(rule->ConditionMode()),
                rule->Conditions().empty() ? " none, every file is selected" : "");
    for (const auto& condition : rule->Conditions()) PrintElement(*condition);
    std::printf("  exceptions (%s must hold to veto):%s\n", ModeWord(rule->ExceptionMode()),
                rule->Exceptions().empty() ? " none" : "");
    for (const auto& exception : rule->Exceptions()) PrintElement(*exception);
    std::printf("  actions:%s\n",
                rule->Actions().empty() ? " none, selections are only logged" : "");
    for (const auto& action : rule->Actions()) PrintElement(*action);
  }
  if (!CheckRuleSet(options.file, rules)) return kExitFailure;
  std::printf("%zu rule(s); the rule set is valid.\n", number);
  return kExitSuccess;
}

}  // namespace

Runner SetupRules(CLI::App& app) {
  auto options = std::make_shared<RulesOptions>();
  CLI::App* rules = app.add_subcommand("rules", "work with rule-set files");
  rules->require_subcommand(1);
  CLI::App* check =
      rules->add_subcommand("check", "read a rule set and describe its rules and their validity");
  check->footer(kRulesCheckHelp);
  check->add_option("RULES", options->file, "the rule set: a .yaml/.yml file or a .rules file")
      ->required();
  return [options, check]() -> int {
    if (check->parsed()) return RunRulesCheck(*options);
    return kExitUsage;
  };
}

}  // namespace lmk::cli
