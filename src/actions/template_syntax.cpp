// The brace check of templates, scanning as the expander scans.
#include "actions/template_syntax.h"

namespace lmk {

bool CheckTemplateSyntax(std::wstring_view templ, std::wstring* why) {
  std::size_t at = 0;
  while (at < templ.size()) {
    const wchar_t c = templ[at];
    const bool doubled = at + 1 < templ.size() && templ[at + 1] == c;
    if (c == L'}') {
      at += doubled ? 2 : 1;
      continue;
    }
    if (c != L'{') {
      ++at;
      continue;
    }
    if (doubled) {
      at += 2;
      continue;
    }
    int depth = 0;
    std::size_t end = at;
    for (; end < templ.size(); ++end) {
      if (templ[end] == L'{') ++depth;
      if (templ[end] == L'}' && --depth == 0) break;
    }
    if (end == templ.size()) {
      if (why != nullptr) {
        *why = L"the '{' at character " + std::to_wstring(at + 1) +
               L" has no closing '}'; write '{{' for a brace of its own";
      }
      return false;
    }
    at = end + 1;
  }
  return true;
}

}  // namespace lmk
