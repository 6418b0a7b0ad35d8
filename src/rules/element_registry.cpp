// The element registry: kinds by key, and their factories.
#include "rules/element_registry.h"

#include <mutex>
#include <stdexcept>

#include "rules/action.h"
#include "rules/condition.h"
#include "rules/rule_set_error.h"
#include "rules/rule_strings.h"

namespace lmk {

CElementRegistry::CElementRegistry(const CElementRegistry& other) {
  std::shared_lock lock(other.mutex_);
  entries_ = other.entries_;
}

CElementRegistry& CElementRegistry::Product() {
  static CElementRegistry registry;
  static const bool seeded = [] {
    for (const ElementKind& kind : ProductConditionKinds()) registry.AddKind(kind);
    for (const ElementKind& kind : ProductActionKinds()) registry.AddKind(kind);
    return true;
  }();
  static_cast<void>(seeded);
  return registry;
}

const CElementRegistry::Entry* CElementRegistry::FindEntry(ElementFamily family,
                                                           std::wstring_view name) const {
  for (const Entry& entry : entries_) {
    if (entry.kind->family == family && EqualsNoCase(entry.kind->name, name)) return &entry;
  }
  return nullptr;
}

void CElementRegistry::AddKind(const ElementKind& kind, ElementFactory factory) {
  std::unique_lock lock(mutex_);
  if (FindEntry(kind.family, kind.name)) throw std::invalid_argument("element kind added twice");
  entries_.push_back(Entry{&kind, std::move(factory)});
}

void CElementRegistry::Register(ElementFamily family, std::wstring_view kindName,
                                ElementFactory factory) {
  std::unique_lock lock(mutex_);
  for (Entry& entry : entries_) {
    if (entry.kind->family == family && EqualsNoCase(entry.kind->name, kindName)) {
      entry.factory = std::move(factory);
      return;
    }
  }
  throw std::invalid_argument("no such element kind to register");
}

CElementRegistry::Lookup CElementRegistry::Find(std::wstring_view key) const {
  Lookup lookup;
  const auto parsed = ParseElementKey(key);
  if (!parsed) return lookup;
  std::shared_lock lock(mutex_);
  if (const Entry* entry = FindEntry(FamilyOf(parsed->role), parsed->kindName)) {
    lookup.kind = entry->kind;
    lookup.role = parsed->role;
    lookup.available = static_cast<bool>(entry->factory);
  }
  return lookup;
}

std::shared_ptr<CRuleElement> CElementRegistry::Create(std::wstring_view key) const {
  const auto parsed = ParseElementKey(key);
  if (!parsed) return nullptr;
  ElementFactory factory;
  const ElementKind* kind = nullptr;
  {
    std::shared_lock lock(mutex_);
    const Entry* entry = FindEntry(FamilyOf(parsed->role), parsed->kindName);
    if (!entry || !entry->factory) return nullptr;
    factory = entry->factory;
    kind = entry->kind;
  }
  std::shared_ptr<CRuleElement> element = factory();
  const bool rightFamily = parsed->role == ElementRole::Action
                               ? dynamic_cast<CAction*>(element.get()) != nullptr
                               : dynamic_cast<CCondition*>(element.get()) != nullptr;
  if (!element || !rightFamily || !EqualsNoCase(element->Kind().name, kind->name)) {
    throw std::logic_error("an element factory made an element of another kind");
  }
  if (auto* condition = dynamic_cast<CCondition*>(element.get())) {
    condition->SetException(parsed->role == ElementRole::Exception);
  }
  return element;
}

std::shared_ptr<CRuleElement> CElementRegistry::CreateForList(std::wstring_view key,
                                                              ElementRole list) const {
  const Lookup lookup = Find(key);
  if (!lookup.kind) {
    throw CRuleSetError(FormatRuleString(RuleStringId::UnknownElement, {key}));
  }
  if (lookup.role != list) {
    const wchar_t* listName = list == ElementRole::Condition   ? L"conditions"
                              : list == ElementRole::Exception ? L"exceptions"
                                                               : L"actions";
    std::wstring advice;
    if (FamilyOf(lookup.role) == FamilyOf(list)) {
      advice = L"'" + MakeElementKey(list, lookup.kind->name) + L"'";
    } else if (lookup.role == ElementRole::Action) {
      advice = L"it among the actions";
    } else {
      advice = L"it among the conditions or the exceptions";
    }
    throw CRuleSetError(
        FormatRuleString(RuleStringId::ElementInWrongList, {key, listName, advice}));
  }
  if (!lookup.available) {
    throw CRuleSetError(FormatRuleString(RuleStringId::ElementNotAvailable,
                                         {MakeElementKey(lookup.role, lookup.kind->name)}));
  }
  return Create(key);
}

std::vector<ElementKind> CElementRegistry::Kinds() const {
  std::shared_lock lock(mutex_);
  std::vector<ElementKind> kinds;
  kinds.reserve(entries_.size());
  for (const Entry& entry : entries_) kinds.push_back(*entry.kind);
  return kinds;
}

}  // namespace lmk
