// Loading a rule-set file for a subcommand.
#include "cli/rule_set_loading.h"

#include <cstdio>
#include <filesystem>

#include "batch/product_elements.h"
#include "cli/command.h"
#include "platform/text_encoding.h"
#include "rules/rule_set_error.h"

namespace lmk::cli {

void RegisterElements() { static_cast<void>(ProductElements()); }

bool LoadRuleSet(const std::string& path, CRuleEngine* rules) {
  RegisterElements();
  try {
    rules->Open(std::filesystem::path(path));
    return true;
  } catch (const CRuleSetError& error) {
    std::fprintf(stderr, "lumarko: error: %s\n", ToUtf8(error.Text()).c_str());
  } catch (const std::exception& error) {
    PrintError(path, error.what());
  }
  return false;
}

bool CheckRuleSet(const std::string& path, const CRuleEngine& rules) {
  const RuleSetValidity validity = rules.CheckValidity();
  if (!validity.valid) PrintMessage(path, validity.title, validity.detail, validity.problems);
  return validity.valid;
}

}  // namespace lmk::cli
