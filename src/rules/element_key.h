// Element keys ("Condition.FileType", "Exception.FileType", "Action.Copy"): roles, prefixes and
// the whole-key, case-insensitive comparison by which elements recognise their key.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lmk {

/// Which list of a rule an element stands in.
enum class ElementRole { Condition, Exception, Action };

/// The two families of element kinds: a condition kind serves as condition and as exception.
enum class ElementFamily { Condition, Action };

inline constexpr std::wstring_view kConditionPrefix = L"Condition.";
inline constexpr std::wstring_view kExceptionPrefix = L"Exception.";
inline constexpr std::wstring_view kActionPrefix = L"Action.";

/// The family a role's elements come from.
constexpr ElementFamily FamilyOf(ElementRole role) {
  return role == ElementRole::Action ? ElementFamily::Action : ElementFamily::Condition;
}

/// "Condition.", "Exception." or "Action.".
std::wstring_view RolePrefix(ElementRole role);

/// The key of a kind in a role: the role's prefix followed by the kind name.
std::wstring MakeElementKey(ElementRole role, std::wstring_view kindName);

/// Whole-text comparison without regard to case, as keys are compared.
bool EqualsNoCase(std::wstring_view a, std::wstring_view b);

/// A key split into its role and kind name.
struct ParsedElementKey {
  ElementRole role;
  std::wstring_view kindName;
};

/// Splits key at its prefix (recognised without regard to case); nothing when the key has none of
/// the three prefixes or no kind name after it.
std::optional<ParsedElementKey> ParseElementKey(std::wstring_view key);

}  // namespace lmk
