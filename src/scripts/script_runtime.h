// ScriptRuntime: one loaded script in one language, as CScriptEngine drives it, and the table of
// the languages this build has.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "com/com_ptr.h"
#include "dictionary/idictionary.h"

namespace lmk {

/// What a language reports about a failure: the exception's text, and where it happened as the
/// language counts (line from 1, column from 0 as engines give it; 0 when unknown).
struct ScriptError {
  std::wstring source;       ///< the language's name for the error ("SyntaxError")
  std::wstring description;  ///< its message
  LONG line = 0;
  LONG column = 0;
  std::wstring lineText;  ///< the offending source line, when known
};

/// One script loaded into a fresh interpreter state of its language; lives for one Execute.
/// Load, Find and Call are made from one thread; Interrupt from any thread, at any time.
class ScriptRuntime {
 public:
  virtual ~ScriptRuntime() = default;

  /// Parses and runs the script's top level. S_OK, or a failure with *error filled.
  virtual HRESULT Load(std::wstring_view source, ScriptError* error) = 0;
  /// S_OK when the script defines a global function of that name; DISP_E_UNKNOWNNAME otherwise.
  virtual HRESULT Find(std::wstring_view function) = 0;
  /// Calls the function with the dictionary as its one argument (also the globals "Context" and
  /// "context"); its value goes to *result. S_OK, or DISP_E_EXCEPTION with *error filled.
  virtual HRESULT Call(std::wstring_view function, IDictionary* context, VARIANT* result,
                       ScriptError* error) = 0;
  /// Makes the running script stop as soon as it can (the watchdog calls it).
  virtual void Interrupt() noexcept = 0;
};

/// The dictionary a VT_UNKNOWN or VT_DISPATCH argument or result holds (what a script sees as a
/// dictionary object); null for any other object, or none.
inline ComPtr<IDictionary> DictionaryIn(const VARIANT& value) {
  ComPtr<IDictionary> dictionary;
  if (value.punkVal != nullptr && FAILED(value.punkVal->QueryInterface(
                                      IID_IDictionary, reinterpret_cast<void**>(&dictionary)))) {
    return nullptr;
  }
  return dictionary;
}

/// One language of this build.
struct ScriptLanguage {
  const wchar_t* displayName;  ///< what the element's engine list shows
  const wchar_t* progId;       ///< the name rule sets store
  /// Makes a fresh runtime; throws ComError or std::bad_alloc.
  std::unique_ptr<ScriptRuntime> (*create)();
};

/// The languages of this build, each once, in list order.
std::span<const ScriptLanguage> ScriptLanguages();

/// The language named by progId (also an alias such as "JavaScript"; compared without regard to
/// case), or null.
const ScriptLanguage* FindScriptLanguage(std::wstring_view progId);

}  // namespace lmk
