// IScriptEngine: the dual interface through which rule elements (and scripts) run a user script.
#pragma once

#include "com/com.h"
#include "dictionary/idictionary.h"

/// Where the script comes from.
enum LMK_SCRIPT_TYPE : LONG {
  LMK_SCRIPT_TEXT = 0,  ///< ScriptText is the script
  LMK_SCRIPT_PATH = 1,  ///< ScriptPath names a file that holds the script
};

/// Runs one script, in the language named by ScriptEngineProgID, under a watchdog of Timeout
/// seconds. Getters return a copy the caller frees; E_INVALIDARG for a null out-pointer;
/// E_OUTOFMEMORY when a copy cannot be made; E_POINTER for an unexpected internal failure.
struct IScriptEngine : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_ScriptText(BSTR* pVal) = 0;
  /// A null value clears the text.
  virtual HRESULT STDMETHODCALLTYPE put_ScriptText(BSTR newVal) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ScriptPath(BSTR* pVal) = 0;
  /// Expands environment variables (%VAR%, and on POSIX also $VAR, ${VAR} and a leading "~/");
  /// a null value clears the path.
  virtual HRESULT STDMETHODCALLTYPE put_ScriptPath(BSTR newVal) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ScriptType(LMK_SCRIPT_TYPE* pVal) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ScriptType(LMK_SCRIPT_TYPE newVal) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ScriptEngineProgID(BSTR* pVal) = 0;
  /// E_INVALIDARG for a null or empty value (the old one is kept).
  virtual HRESULT STDMETHODCALLTYPE put_ScriptEngineProgID(BSTR newVal) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Timeout(LONG* pVal) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Timeout(LONG newVal) = 0;
  /// Loads, parses and starts the script and looks its startup function up without calling it.
  /// S_OK, or a failure with the thread's error object describing it.
  virtual HRESULT STDMETHODCALLTYPE CheckSyntax() = 0;
  /// Runs the script and calls bstrStartupMethod with lpContext as its one argument; the
  /// function's value goes to *lpResult. E_INVALIDARG for a null argument; the missing file's
  /// HRESULT_FROM_WIN32 status; a failure with the thread's error object set when the script
  /// fails, throws or times out.
  virtual HRESULT STDMETHODCALLTYPE Execute(BSTR bstrStartupMethod, IDictionary* lpContext,
                                            VARIANT* lpResult) = 0;
};

LMK_DECLARE_IID(IScriptEngine, "8DA1FD5D-8342-4B44-BF3E-2DCD8FC9601C");
LMK_DECLARE_IID_BASE(IScriptEngine, IDispatch);

inline constexpr IID IID_IScriptEngine = {
    0x8DA1FD5D, 0x8342, 0x4B44, {0xBF, 0x3E, 0x2D, 0xCD, 0x8F, 0xC9, 0x60, 0x1C}};

/// The script engine's class ("Lumarko.Plugin.FileUtilities.ScriptEngine").
inline constexpr CLSID CLSID_ScriptEngine = {
    0xA2E41F1C, 0x3903, 0x42B1, {0xB5, 0x82, 0x95, 0xD3, 0xB3, 0xE9, 0xFE, 0x98}};

namespace lmk {

/// Creates a CScriptEngine queried for riid: the class table's creator. With an outer unknown only
/// IID_IUnknown may be asked for (CLASS_E_NOAGGREGATION otherwise) and *ppv receives the inner
/// unknown. E_INVALIDARG for a null ppv, E_NOINTERFACE, E_OUTOFMEMORY.
HRESULT CreateScriptEngine(IUnknown* outer, REFIID riid, void** ppv) noexcept;

}  // namespace lmk
