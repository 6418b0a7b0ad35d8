// The languages of this build.
#include <array>
#include <cwctype>

#include "com/com_error.h"
#include "platform/companion_module.h"
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

/// A Python runtime from the companion module, loaded by the first Python script of the run.
std::unique_ptr<ScriptRuntime> LoadPythonRuntime() {
  // The interpreter's extension modules, imported by scripts, look for its functions by name.
  static constexpr CompanionModule kPython{LMK_PYTHON_MODULE_FILE, kMakePythonRuntimeEntry, true};
  void* entry = nullptr;
  std::wstring error;
  HRESULT hr = LoadCompanion(kPython, &entry, &error);
  ScriptRuntime* runtime = nullptr;
  if (SUCCEEDED(hr)) hr = reinterpret_cast<MakePythonRuntimeEntry>(entry)(&runtime, &error);
  if (FAILED(hr)) throw ComError(hr, error);
  return std::unique_ptr<ScriptRuntime>(runtime);
}

}  // namespace

std::span<const ScriptLanguage> ScriptLanguages() {
  static const std::array<ScriptLanguage, 2> kLanguages = {{
      {L"JavaScript", L"JScript", &MakeDuktapeRuntime},
      {L"Python", L"Python", &LoadPythonRuntime},
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

// The interpreter keeps its own objects for the life of the process in ways a leak checker
// cannot follow (its small-object arenas, interned strings); only its allocations are
// excused, so a dictionary that a script object forgets to release is still reported.
extern "C" __attribute__((visibility("default"), used)) const char* __lsan_default_suppressions() {
  return "leak:libpython3\n";
}

// The list of excused allocations would otherwise end every run's error output.
extern "C" __attribute__((visibility("default"), used)) const char* __lsan_default_options() {
  return "print_suppressions=0";
}
