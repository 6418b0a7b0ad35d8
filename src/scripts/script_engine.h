// CScriptEngine: runs one user script against a per-file dictionary, under a watchdog.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "com/aggregatable.h"
#include "com/bstr.h"
#include "com/dispatch_table.h"
#include "scripts/iscript_engine.h"
#include "scripts/script_runtime.h"

namespace lmk {

/// The error object's source, and the texts it is built from.
inline constexpr std::wstring_view kScriptEngineSource = L"Lumarko File Utilties Script Engine";
inline constexpr std::wstring_view kScriptTimeoutText =
    L"The script took too long to execute (timeout).";
inline constexpr std::wstring_view kScriptPositionText = L"See line %d, column %d.";
inline constexpr std::wstring_view kDefaultScriptText = L"function main(var context) { return 0; }";

/// A script that did not parse or was stopped: the status that Execute then returns.
inline constexpr HRESULT kScriptErrorReported = static_cast<HRESULT>(0x80020101);
/// CO_E_CLASSSTRING: no engine has the ProgID.
inline constexpr HRESULT kUnknownScriptEngine = static_cast<HRESULT>(0x800401F3);

/// The version byte that Save writes; Load refuses newer ones.
inline constexpr BYTE kScriptEngineStreamVersion = 1;

/// Not shared between threads: each rule element makes one per file and drops it after the call.
/// The interpreter state lives only inside one Execute or CheckSyntax. Aggregatable: an outer
/// object that creates it gets the inner unknown and controls its life.
class CScriptEngine final
    : public DispatchTable<Aggregatable<CScriptEngine, IScriptEngine>, CScriptEngine> {
 public:
  CScriptEngine();

  /// Every member of IScriptEngine, with the DISPIDs of its type library (1 to 7 in interface
  /// order), for IDispatch.
  static std::span<const DispatchMember<CScriptEngine>> DispatchMembers();

  // IScriptEngine
  HRESULT STDMETHODCALLTYPE get_ScriptText(BSTR* pVal) override;
  HRESULT STDMETHODCALLTYPE put_ScriptText(BSTR newVal) override;
  HRESULT STDMETHODCALLTYPE get_ScriptPath(BSTR* pVal) override;
  HRESULT STDMETHODCALLTYPE put_ScriptPath(BSTR newVal) override;
  HRESULT STDMETHODCALLTYPE get_ScriptType(LMK_SCRIPT_TYPE* pVal) override;
  HRESULT STDMETHODCALLTYPE put_ScriptType(LMK_SCRIPT_TYPE newVal) override;
  HRESULT STDMETHODCALLTYPE get_ScriptEngineProgID(BSTR* pVal) override;
  HRESULT STDMETHODCALLTYPE put_ScriptEngineProgID(BSTR newVal) override;
  HRESULT STDMETHODCALLTYPE get_Timeout(LONG* pVal) override;
  HRESULT STDMETHODCALLTYPE put_Timeout(LONG newVal) override;
  /// Looks up the function named by SetSyntaxCheckFunction ("Execute" or "Evaluate", whichever
  /// the script has, when none was named).
  HRESULT STDMETHODCALLTYPE CheckSyntax() override;
  HRESULT STDMETHODCALLTYPE Execute(BSTR bstrStartupMethod, IDictionary* lpContext,
                                    VARIANT* lpResult) override;

  /// The startup function that CheckSyntax looks up; empty for either of the two.
  void SetSyntaxCheckFunction(std::wstring_view name) { checkFunction_ = name; }

  /// Writes the version byte, the ProgID, the path and the text (each a byte count then UTF-16LE
  /// with its NUL, 0 for none), the type as 1 byte and the timeout as 4. S_OK or the stream's
  /// failure; E_INVALIDARG for a null stream.
  HRESULT Save(IStream* stream) const noexcept;
  /// Reads what Save wrote. E_FAIL for a newer version or a short read; the settings are changed
  /// only when everything was read.
  HRESULT Load(IStream* stream) noexcept;

 private:
  /// The steps shared by CheckSyntax (context null) and Execute; may throw.
  HRESULT Run(std::wstring_view function, IDictionary* context, VARIANT* result);
  /// Sets the thread's error object from what the last run left, and returns hr.
  HRESULT ReportError(HRESULT hr, bool timedOut, const ScriptError& error) const;

  Bstr text_;
  Bstr path_;
  LMK_SCRIPT_TYPE type_ = LMK_SCRIPT_TEXT;
  Bstr progId_;
  LONG timeout_ = 30;
  std::wstring checkFunction_;
};

}  // namespace lmk
