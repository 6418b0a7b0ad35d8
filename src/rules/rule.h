// CRule: a named, checkable rule with its conditions, exceptions and actions, and the decision
// whether it selects a file.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dictionary/idictionary.h"
#include "rules/action.h"
#include "rules/condition.h"

namespace lmk {

/// Condition mode: every condition must hold. Exception mode: every exception must hold to veto.
inline constexpr BYTE kModeAll = 1;
/// Condition mode: one holding condition suffices. Exception mode: one holding exception vetoes.
inline constexpr BYTE kModeAny = 2;

class CRule {
 public:
  CRule() = default;
  explicit CRule(std::wstring name) : name_(std::move(name)) {}

  const std::wstring& Name() const { return name_; }
  void SetName(std::wstring name) { name_ = std::move(name); }
  /// Whether the rule takes part in a run.
  bool IsChecked() const { return checked_; }
  void SetChecked(bool checked) { checked_ = checked; }
  BYTE ConditionMode() const { return conditionMode_; }
  void SetConditionMode(BYTE mode) { conditionMode_ = mode; }
  BYTE ExceptionMode() const { return exceptionMode_; }
  void SetExceptionMode(BYTE mode) { exceptionMode_ = mode; }

  const std::vector<std::shared_ptr<CCondition>>& Conditions() const { return conditions_; }
  const std::vector<std::shared_ptr<CCondition>>& Exceptions() const { return exceptions_; }
  const std::vector<std::shared_ptr<CAction>>& Actions() const { return actions_; }

  // Each Add appends an element; an element whose key the rule already holds raises
  // CRuleSetError "Duplicate rule element '%ls'". A condition added as an exception gets its
  // exception bit set, and one added as a condition has it cleared.
  void AddCondition(std::shared_ptr<CCondition> condition);
  void AddException(std::shared_ptr<CCondition> exception);
  void AddAction(std::shared_ptr<CAction> action);
  /// Appends element to the list of role (a condition element for the condition and exception
  /// roles, an action for the action role); throws std::invalid_argument when they disagree.
  void AddElement(ElementRole role, std::shared_ptr<CRuleElement> element);
  /// Whether an element of the rule has key (case-insensitive).
  bool HasElement(std::wstring_view key) const;

  /// Whether the modes and every element's parameters are valid; problems (if given) receives
  /// one line per fault.
  bool IsValid(std::vector<std::wstring>* problems) const;

  /// Adds the record values that the rule's elements read (see CRuleElement::AddNeededKeys).
  void AddNeededKeys(RecordKeySet& keys) const;

  /// Whether the rule selects the file: S_OK when it applies, S_FALSE when it does not, or the
  /// failure of the first element that failed (E_POINTER for one that threw). Conditions and
  /// exceptions are evaluated in order and evaluation stops at the deciding one. A rule without
  /// conditions applies; one without exceptions is never vetoed.
  [[nodiscard]] HRESULT EvaluateSelection(IDictionary* record) const noexcept;

 private:
  void RefuseDuplicate(const CRuleElement& element) const;

  std::wstring name_;
  bool checked_ = true;
  BYTE conditionMode_ = kModeAll;
  BYTE exceptionMode_ = kModeAny;
  std::vector<std::shared_ptr<CCondition>> conditions_;
  std::vector<std::shared_ptr<CCondition>> exceptions_;
  std::vector<std::shared_ptr<CAction>> actions_;
};

}  // namespace lmk
