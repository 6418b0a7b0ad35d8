// The kinds of rule elements that the product knows: kind name, class, usage event, family.
#pragma once

#include <span>
#include <string_view>

#include "rules/element_key.h"

namespace lmk {

/// One kind of element. The texts must have static storage (string literals): elements keep a
/// reference to their kind for their whole life.
struct ElementKind {
  ElementFamily family;
  std::wstring_view name;        ///< the kind name after the prefix, e.g. "FileType"
  std::wstring_view className;   ///< e.g. "CFileTypeCondition"
  std::wstring_view usageEvent;  ///< e.g. "Condition:FileType"; empty when uses are not counted
  int slot = -1;  ///< a condition's place in the sentence table (ids 1000 + 2k ...), else -1
};

/// The 35 condition kinds (each serves as "Condition." and "Exception.").
std::span<const ElementKind> ProductConditionKinds();
/// The 13 action kinds.
std::span<const ElementKind> ProductActionKinds();

/// The product kind of family named name (case-insensitive), or nullptr.
const ElementKind* FindProductKind(ElementFamily family, std::wstring_view name);

/// The product kind of family named name; throws std::out_of_range when there is none (a
/// programming error in an element class).
const ElementKind& ProductKind(ElementFamily family, std::wstring_view name);

}  // namespace lmk
