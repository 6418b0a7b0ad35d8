// The languages of this build.
#include <array>
#include <cwctype>

#include "scripts/duktape_runtime.h"
#include "scripts/python_runtime.h"
#include "scripts/script_runtime.h"

namespace lmk {
namespace {

bool EqualNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(a[i]) != std::towlower(b[i])) return false;
  }
  return true;
}

}  // namespace

std::span<const ScriptLanguage> ScriptLanguages() {
  static const std::array<ScriptLanguage, 2> kLanguages = {{
      {L"JavaScript", L"JScript", &MakeDuktapeRuntime},
      {L"Python", L"Python", &MakePythonRuntime},
  }};
  return kLanguages;
}

const ScriptLanguage* FindScriptLanguage(std::wstring_view progId) {
  // "JavaScript" is what people call the language; rule sets written on Windows say "JScript".
  if (EqualNoCase(progId, L"JavaScript")) progId = L"JScript";
  for (const ScriptLanguage& language : ScriptLanguages()) {
    if (EqualNoCase(progId, language.progId)) return &language;
  }
  return nullptr;
}

}  // namespace lmk
