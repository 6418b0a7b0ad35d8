// What the Script action and the Script condition do with their script for one file, once the
// path template is expanded: the path made whole, the log line, the engine's settings, the call,
// and the one script message at a time.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"
#include "dictionary/idictionary.h"

namespace lmk {

/// The settings of one element's call.
struct ElementScriptCall {
  std::wstring_view engine;    ///< the element's engine ProgID
  std::wstring_view function;  ///< "Execute" for actions, "Evaluate" for conditions
  LONG timeout;                ///< 600 for actions, 30 for conditions
};

/// The script path of an element for one file: a relative path goes under the record's
/// `App.ImagesFolder`; the result is cut at 520 characters as the path buffer has always been.
std::wstring ElementScriptPath(IDictionary& record, std::wstring_view expandedPath);

/// Whether an element's script settings can work: a script path and a known engine; when the
/// path names one file (no template variables, not relative to the pictures) that file must
/// exist and parse, and define the function. *reason says what is wrong and where.
bool CheckElementScript(std::wstring_view pathTemplate, std::wstring_view engine,
                        std::wstring_view function, std::wstring* reason);

/// "the JavaScript script "catalogue.js"": the words the descriptions use for the script.
std::wstring ElementScriptWords(std::wstring_view pathTemplate, std::wstring_view engine);

/// Logs "Running ... script on ... using ... engine." and runs the script on the record. S_OK
/// with the function's value in *result; the read's failure (or E_FAIL for an empty name) when
/// `File.Name` is missing; on a failed run, what ReportScriptFailure gives.
HRESULT RunElementScript(IDictionary& record, std::wstring_view path, const ElementScriptCall& call,
                         VARIANT* result);

/// The first 32 bits of a result's value, read without any conversion (a double's low bits
/// included), which is how the elements have always read what a script returned.
LONG RawResultValue(const VARIANT& result) noexcept;

/// How the user answered a script's error message.
enum class ScriptMessageAnswer { GoOn, Cancel, GoOnWithoutAsking };

/// Shows a script's error text and asks whether to go on. The default asks on the terminal when
/// both standard input and standard error are one; otherwise it prints the text to standard
/// error and answers GoOnWithoutAsking.
using ScriptMessagePresenter = ScriptMessageAnswer (*)(std::wstring_view text);

/// Replaces the presenter (tests); null restores the default. Returns the previous one.
ScriptMessagePresenter SetScriptMessagePresenter(ScriptMessagePresenter presenter);

/// One message at a time for the whole process: a caller that is not the first fails with E_FAIL
/// and shows nothing. The first shows the thread's error description: Cancel gives E_ABORT and
/// keeps every later message away; GoOnWithoutAsking fails with E_FAIL and also keeps later
/// messages away (the log has them); GoOn fails with E_FAIL and lets the next error ask again.
/// The error description stays set for the log.
HRESULT ReportScriptFailure(HRESULT hr);

/// Lets messages be shown again (a new run in the same process; tests).
void ResetScriptMessages();

}  // namespace lmk
