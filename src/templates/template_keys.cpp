// The record values a template reads: its tokens found as the scanner finds them, each asked of
// the variable table.
#include "templates/template_keys.h"

#include "templates/template_scanner.h"
#include "templates/variable_dispatcher.h"

namespace lmk {

void AddTemplateKeys(std::wstring_view templ, RecordKeySet& keys) {
  size_t i = 0;
  while (i < templ.size() && !keys.IsEvery()) {
    i = templ.find_first_of(L"{}", i);
    if (i == std::wstring_view::npos) return;
    // "{{", "}}" and a lone '}' are plain text.
    if (templ[i] == L'}' || (i + 1 < templ.size() && templ[i + 1] == L'{')) {
      i += i + 1 < templ.size() && templ[i + 1] == templ[i] ? 2 : 1;
      continue;
    }
    const size_t length = TemplateScanner::TokenLength(templ.substr(i));
    if (length == std::wstring_view::npos) return;
    VariableDispatcher::AddKeys(templ.substr(i, length), keys);
    i += length;
  }
}

}  // namespace lmk
