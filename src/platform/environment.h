// Expansion of environment variables inside stored text.
#pragma once

#include <string>
#include <string_view>

namespace lmk {

/// Replaces every reference to a set environment variable by its value: the forms %NAME%,
/// ${NAME} and $NAME (a name of letters, digits and underscores) are all understood, whatever
/// the operating system. A reference to a variable that is not set stays as written, as does a
/// lone '%' or '$'. Values are not expanded again.
std::wstring ExpandEnvironmentText(std::wstring_view text);

}  // namespace lmk
