// The rule set: order, checked rules, validity and persistence.
#include "rules/rule_engine.h"

#include <stdexcept>

#include "com/com_error.h"
#include "rules/rule_set_error.h"
#include "rules/rule_set_stream.h"
#include "rules/rule_strings.h"

namespace lmk {

void CRuleEngine::Add(std::shared_ptr<CRule> rule) {
  if (!rule) throw std::invalid_argument("null rule");
  rules_.push_back(std::move(rule));
}

void CRuleEngine::Insert(std::size_t index, std::shared_ptr<CRule> rule) {
  if (!rule) throw std::invalid_argument("null rule");
  if (index > rules_.size()) throw std::out_of_range("rule index");
  rules_.insert(rules_.begin() + static_cast<std::ptrdiff_t>(index), std::move(rule));
}

void CRuleEngine::Remove(std::size_t index) {
  if (index >= rules_.size()) throw std::out_of_range("rule index");
  rules_.erase(rules_.begin() + static_cast<std::ptrdiff_t>(index));
}

void CRuleEngine::Move(std::size_t from, std::size_t to) {
  if (from >= rules_.size() || to >= rules_.size()) throw std::out_of_range("rule index");
  std::shared_ptr<CRule> rule = rules_[from];
  rules_.erase(rules_.begin() + static_cast<std::ptrdiff_t>(from));
  rules_.insert(rules_.begin() + static_cast<std::ptrdiff_t>(to), std::move(rule));
}

std::vector<std::shared_ptr<const CRule>> CRuleEngine::CheckedRules() const {
  std::vector<std::shared_ptr<const CRule>> checked;
  for (const auto& rule : rules_) {
    if (rule->IsChecked()) checked.push_back(rule);
  }
  return checked;
}

RuleSetValidity CRuleEngine::CheckValidity() const {
  RuleSetValidity validity;
  for (const auto& rule : rules_) {
    if (!rule->IsChecked()) continue;
    std::vector<std::wstring> problems;
    if (!rule->IsValid(&problems)) {
      validity.valid = false;
      for (const std::wstring& problem : problems) {
        validity.problems.push_back(L"Rule '" + rule->Name() + L"': " + problem);
      }
    }
  }
  if (!validity.valid) {
    validity.title = RuleString(RuleStringId::InvalidRulesTitle);
    validity.detail = RuleString(RuleStringId::InvalidRulesDetail);
  }
  return validity;
}

void CRuleEngine::Open(const std::filesystem::path& path) {
  RuleSetTemplates templates;
  std::vector<std::shared_ptr<CRule>> rules = ReadRuleSetFile(path, *registry_, &templates);
  rules_ = std::move(rules);
  templates_ = std::move(templates);
}

void CRuleEngine::Merge(const std::filesystem::path& path) {
  RuleSetTemplates templates;
  std::vector<std::shared_ptr<CRule>> more = ReadRuleSetFile(path, *registry_, &templates);
  // Both copies are made before either member changes, so that a failure changes nothing.
  RuleSetTemplates merged = templates_;
  MergeRuleSetTemplates(merged, templates);
  std::vector<std::shared_ptr<CRule>> rules = rules_;
  rules.insert(rules.end(), std::make_move_iterator(more.begin()),
               std::make_move_iterator(more.end()));
  rules_ = std::move(rules);
  templates_ = std::move(merged);
}

void CRuleEngine::Save(const std::filesystem::path& path) const {
  Save(path, RuleSetFormatForPath(path));
}

void CRuleEngine::Save(const std::filesystem::path& path, RuleSetFormat format) const {
  WriteRuleSetFile(path, rules_, format, templates_);
}

HRESULT CRuleEngine::Load(IStream* stream) {
  if (stream == nullptr) return E_INVALIDARG;
  try {
    RuleSetTemplates templates;
    std::vector<std::shared_ptr<CRule>> rules = LoadRuleSet(stream, *registry_, &templates);
    rules_ = std::move(rules);
    templates_ = std::move(templates);
    return S_OK;
  } catch (const CRuleSetError& error) {
    SetErrorDescription(error.Text());
    return HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CRuleEngine::Save(IStream* stream) const { return SaveRuleSet(stream, rules_, templates_); }

}  // namespace lmk
