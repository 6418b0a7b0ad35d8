// CElementRegistry: the element kinds a rule set may name, with a factory slot per kind. The
// product registry knows every kind of the product; the condition and action libraries fill in
// the factories of the kinds they implement. A kind without a factory is refused when a rule set
// is loaded: no placeholder pretends to work.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <shared_mutex>
#include <string_view>
#include <vector>

#include "rules/element_kind.h"
#include "rules/rule_element.h"

namespace lmk {

/// Makes a new element of one kind (a CCondition for a condition kind, a CAction for an action
/// kind), with its default parameters.
using ElementFactory = std::function<std::shared_ptr<CRuleElement>()>;

class CElementRegistry {
 public:
  /// An empty registry (tests fill one with their own kinds).
  CElementRegistry() = default;
  CElementRegistry(const CElementRegistry& other);
  CElementRegistry& operator=(const CElementRegistry&) = delete;

  /// The registry of the product: every kind of the two tables, the factories as registered.
  static CElementRegistry& Product();

  /// Adds a kind (its texts must have static storage), with a factory or none; throws
  /// std::invalid_argument when the family already has a kind of that name.
  void AddKind(const ElementKind& kind, ElementFactory factory = {});

  /// Fills the factory slot of a known kind; throws std::invalid_argument for an unknown kind.
  void Register(ElementFamily family, std::wstring_view kindName, ElementFactory factory);
  /// Registers T (made with std::make_shared) for its kind.
  template <class T>
  void Register(ElementFamily family, std::wstring_view kindName) {
    Register(family, kindName, [] { return std::make_shared<T>(); });
  }

  /// What a key names.
  struct Lookup {
    const ElementKind* kind = nullptr;  ///< null when no kind has that key
    ElementRole role = ElementRole::Condition;
    bool available = false;  ///< whether a factory is registered
  };
  Lookup Find(std::wstring_view key) const;

  /// A new element for key, with the exception bit set for an "Exception." key. Null when the
  /// key names no kind or its kind has no factory; throws std::logic_error when the factory
  /// makes an element of another kind or family.
  std::shared_ptr<CRuleElement> Create(std::wstring_view key) const;

  /// A new element for key, to stand in the list of role list. Raises CRuleSetError (without a
  /// place) with "Unknown rule element '%ls'" for a key that names no kind, a hint for a key of
  /// another list, and "the element '%ls' is not available in this version" for a kind without a
  /// factory.
  std::shared_ptr<CRuleElement> CreateForList(std::wstring_view key, ElementRole list) const;

  /// Every kind, in the order added.
  std::vector<ElementKind> Kinds() const;

 private:
  struct Entry {
    const ElementKind* kind;
    ElementFactory factory;
  };
  const Entry* FindEntry(ElementFamily family, std::wstring_view name) const;

  mutable std::shared_mutex mutex_;
  std::deque<Entry> entries_;
};

}  // namespace lmk
