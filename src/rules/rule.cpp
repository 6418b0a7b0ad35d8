// Rules: building, validity and selection.
#include "rules/rule.h"

#include <stdexcept>

#include "rules/rule_set_error.h"
#include "rules/rule_strings.h"

namespace lmk {
namespace {

/// S_OK or S_FALSE from one element; E_POINTER when it throws.
HRESULT Ask(const CCondition& condition, IDictionary* record) noexcept {
  try {
    return condition.Evaluate(record);
  } catch (...) {
    return E_POINTER;
  }
}

/// Applies mode to the answers of list: S_OK when the list as a whole holds, else S_FALSE, or
/// the first failure.
HRESULT Combine(const std::vector<std::shared_ptr<CCondition>>& list, BYTE mode,
                IDictionary* record) noexcept {
  if (mode != kModeAll && mode != kModeAny) return E_UNEXPECTED;
  for (const auto& element : list) {
    const HRESULT hr = Ask(*element, record);
    if (FAILED(hr)) return hr;
    const bool holds = hr == S_OK;
    if (mode == kModeAll && !holds) return S_FALSE;
    if (mode == kModeAny && holds) return S_OK;
  }
  return mode == kModeAll ? S_OK : S_FALSE;
}

std::wstring ModeProblem(std::wstring_view which, BYTE mode) {
  return FormatRuleString(RuleStringId::RuleInvalidMode, {which, std::to_wstring(mode)});
}

}  // namespace

void CRule::RefuseDuplicate(const CRuleElement& element) const {
  const std::wstring key = element.Key();
  if (HasElement(key)) {
    throw CRuleSetError(FormatRuleString(RuleStringId::DuplicateElement, {key}));
  }
}

void CRule::AddCondition(std::shared_ptr<CCondition> condition) {
  if (!condition) throw std::invalid_argument("null condition");
  condition->SetException(false);
  RefuseDuplicate(*condition);
  conditions_.push_back(std::move(condition));
}

void CRule::AddException(std::shared_ptr<CCondition> exception) {
  if (!exception) throw std::invalid_argument("null exception");
  exception->SetException(true);
  RefuseDuplicate(*exception);
  exceptions_.push_back(std::move(exception));
}

void CRule::AddAction(std::shared_ptr<CAction> action) {
  if (!action) throw std::invalid_argument("null action");
  RefuseDuplicate(*action);
  actions_.push_back(std::move(action));
}

void CRule::AddElement(ElementRole role, std::shared_ptr<CRuleElement> element) {
  if (role == ElementRole::Action) {
    auto action = std::dynamic_pointer_cast<CAction>(std::move(element));
    if (!action) throw std::invalid_argument("not an action");
    AddAction(std::move(action));
    return;
  }
  auto condition = std::dynamic_pointer_cast<CCondition>(std::move(element));
  if (!condition) throw std::invalid_argument("not a condition");
  if (role == ElementRole::Exception) {
    AddException(std::move(condition));
  } else {
    AddCondition(std::move(condition));
  }
}

bool CRule::HasElement(std::wstring_view key) const {
  for (const auto& c : conditions_) {
    if (c->IsKey(key)) return true;
  }
  for (const auto& e : exceptions_) {
    if (e->IsKey(key)) return true;
  }
  for (const auto& a : actions_) {
    if (a->IsKey(key)) return true;
  }
  return false;
}

bool CRule::IsValid(std::vector<std::wstring>* problems) const {
  bool valid = true;
  auto report = [&](std::wstring problem) {
    valid = false;
    if (problems) problems->push_back(std::move(problem));
  };
  if (conditionMode_ != kModeAll && conditionMode_ != kModeAny) {
    report(ModeProblem(L"condition", conditionMode_));
  }
  if (exceptionMode_ != kModeAll && exceptionMode_ != kModeAny) {
    report(ModeProblem(L"exception", exceptionMode_));
  }
  auto check = [&](const CRuleElement& element) {
    std::wstring reason;
    if (!element.IsValid(&reason)) {
      if (reason.empty()) reason = L"its parameters are incomplete or invalid";
      report(FormatRuleString(RuleStringId::RuleInvalidElement, {element.Key(), reason}));
    }
  };
  for (const auto& c : conditions_) check(*c);
  for (const auto& e : exceptions_) check(*e);
  for (const auto& a : actions_) check(*a);
  return valid;
}

void CRule::AddNeededKeys(RecordKeySet& keys) const {
  for (const auto& condition : conditions_) condition->AddNeededKeys(keys);
  for (const auto& exception : exceptions_) exception->AddNeededKeys(keys);
  for (const auto& action : actions_) action->AddNeededKeys(keys);
}

HRESULT CRule::EvaluateSelection(IDictionary* record) const noexcept {
  if (!conditions_.empty()) {
    const HRESULT hr = Combine(conditions_, conditionMode_, record);
    if (hr != S_OK) return hr;
  }
  if (exceptions_.empty()) return S_OK;
  const HRESULT veto = Combine(exceptions_, exceptionMode_, record);
  if (FAILED(veto)) return veto;
  return veto == S_OK ? S_FALSE : S_OK;
}

}  // namespace lmk
