// Element keys: prefixes and case-insensitive recognition.
#include "rules/element_key.h"

#include <cwctype>

namespace lmk {

std::wstring_view RolePrefix(ElementRole role) {
  switch (role) {
    case ElementRole::Condition:
      return kConditionPrefix;
    case ElementRole::Exception:
      return kExceptionPrefix;
    case ElementRole::Action:
      return kActionPrefix;
  }
  return {};
}

std::wstring MakeElementKey(ElementRole role, std::wstring_view kindName) {
  std::wstring key(RolePrefix(role));
  key += kindName;
  return key;
}

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] == b[i]) continue;
    if (std::towlower(static_cast<std::wint_t>(a[i])) !=
        std::towlower(static_cast<std::wint_t>(b[i]))) {
      return false;
    }
  }
  return true;
}

std::optional<ParsedElementKey> ParseElementKey(std::wstring_view key) {
  for (ElementRole role : {ElementRole::Condition, ElementRole::Exception, ElementRole::Action}) {
    const std::wstring_view prefix = RolePrefix(role);
    if (key.size() > prefix.size() && EqualsNoCase(key.substr(0, prefix.size()), prefix)) {
      return ParsedElementKey{role, key.substr(prefix.size())};
    }
  }
  return std::nullopt;
}

}  // namespace lmk
