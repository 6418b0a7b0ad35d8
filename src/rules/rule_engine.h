// CRuleEngine: the ordered rule set of the main dialog: its rules, which of them are checked,
// whether they may run, its own renaming templates, and its files (open, save, merge) and
// init-data stream.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "com/com.h"
#include "rules/element_registry.h"
#include "rules/rule.h"
#include "rules/rule_set_file.h"
#include "rules/rule_set_template.h"

namespace lmk {

/// The outcome of the check made before a run.
struct RuleSetValidity {
  bool valid = true;
  std::wstring title;                  ///< "One or more rule(s) is invalid." when not valid
  std::wstring detail;                 ///< "Cannot apply a rule set containing invalid rules. ..."
  std::vector<std::wstring> problems;  ///< one line per fault, naming the rule and the element
};

class CRuleEngine {
 public:
  /// Elements are created through registry, which must outlive the engine.
  explicit CRuleEngine(const CElementRegistry& registry = CElementRegistry::Product())
      : registry_(&registry) {}

  std::size_t Count() const { return rules_.size(); }
  const std::shared_ptr<CRule>& At(std::size_t index) const { return rules_.at(index); }
  const std::vector<std::shared_ptr<CRule>>& Rules() const { return rules_; }

  void Add(std::shared_ptr<CRule> rule);
  void Insert(std::size_t index, std::shared_ptr<CRule> rule);
  void Remove(std::size_t index);
  /// Moves the rule at from so that it stands at to.
  void Move(std::size_t from, std::size_t to);
  /// Removes the rules and the templates.
  void Clear() {
    rules_.clear();
    templates_.clear();
  }

  /// The rule set's own renaming templates, in file order; an action's template name is looked
  /// up among them before the user's templates while the rule set runs.
  const RuleSetTemplates& Templates() const { return templates_; }
  /// Replaces the templates; the caller has checked the names (see RuleSetTemplateNameFault).
  void SetTemplates(RuleSetTemplates templates) { templates_ = std::move(templates); }

  /// The checked rules, in list order: what a run applies.
  std::vector<std::shared_ptr<const CRule>> CheckedRules() const;

  /// Whether every checked rule is valid; unchecked rules do not stop a run.
  RuleSetValidity CheckValidity() const;

  /// Replaces the rules and templates by those of a file (either form); on any error they stay
  /// as they were and CRuleSetError names the file and the place.
  void Open(const std::filesystem::path& path);
  /// Appends the rules of a file (either form) after the current ones, and its templates to the
  /// current ones; a template name both define keeps its place but takes the merged file's
  /// text, since the file merged last is the one the user chose most recently. All or nothing.
  void Merge(const std::filesystem::path& path);
  /// Writes the rules and templates to a file in the form its extension names (".yaml"/".yml",
  /// else binary).
  void Save(const std::filesystem::path& path) const;
  void Save(const std::filesystem::path& path, RuleSetFormat format) const;

  /// Replaces the rules and templates by a binary rule set read from stream (the init data of the
  /// plug-in).
  /// S_OK; E_INVALIDARG for a null stream; HRESULT_FROM_WIN32(ERROR_INVALID_DATA) for damaged
  /// data or an unavailable element, with the thread's error description naming the fault.
  [[nodiscard]] HRESULT Load(IStream* stream);
  /// Writes the rules and templates as a binary rule set at stream's position.
  [[nodiscard]] HRESULT Save(IStream* stream) const;

 private:
  const CElementRegistry* registry_;
  std::vector<std::shared_ptr<CRule>> rules_;
  RuleSetTemplates templates_;
};

}  // namespace lmk
