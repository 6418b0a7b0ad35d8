// The engine and folder last chosen for each script element, kept in the user's settings.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// The element whose choices are kept: "Action.Script", "Condition.Script" or
/// "Exception.Script".
inline constexpr std::wstring_view kScriptActionKey = L"Action.Script";
inline constexpr std::wstring_view kScriptConditionKey = L"Condition.Script";

/// The engine ProgID last chosen for the element; empty when none is kept or the settings
/// cannot be read.
std::wstring LastScriptEngine(std::wstring_view elementKey);

/// Keeps engine and folder as the element's "<key>.LastUsedScriptEngine" and
/// "<key>.LastUsedScriptFolder". S_OK or the settings store's failure (with its description).
HRESULT RememberScriptChoice(std::wstring_view elementKey, std::wstring_view engine,
                             std::wstring_view folder);

}  // namespace lmk
