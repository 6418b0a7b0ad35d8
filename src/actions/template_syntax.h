// A check of a template's braces before it is used, so that a rule with a '{' left open is
// refused with its place instead of quietly losing the rest of its text when it runs.
#pragma once

#include <string>
#include <string_view>

namespace lmk {

/// True when every '{' that opens a token has its closing '}' ("{{" and "}}" stand for one
/// brace of their own). When not, *why names the place and the fix.
bool CheckTemplateSyntax(std::wstring_view templ, std::wstring* why);

}  // namespace lmk
