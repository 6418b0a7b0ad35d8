// The script engine object: properties, persistence, the run of one script and its error object.
#include "scripts/script_engine.h"

#include <cwchar>
#include <new>
#include <vector>

#include "com/com_error.h"
#include "com/dispatch_table.h"
#include "com/variant.h"
#include "scripts/script_source.h"
#include "scripts/script_watchdog.h"

namespace lmk {
namespace {

// Unexpected failures inside a method come back as E_POINTER, as the engine has always
// answered them; running out of memory stays E_OUTOFMEMORY.
HRESULT Unexpected() noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const ComError& error) {
    return error.hr() == E_OUTOFMEMORY ? E_OUTOFMEMORY : E_POINTER;
  } catch (...) {
    return E_POINTER;
  }
}

HRESULT CopyOut(const Bstr& value, BSTR* out) noexcept {
  if (out == nullptr) return E_INVALIDARG;
  *out = nullptr;
  if (value.get() == nullptr) return S_OK;
  *out = SysAllocStringLen(value.get(), value.length());
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

// ---- Stream form ------------------------------------------------------------------------

void AppendUtf16(std::vector<BYTE>& bytes, std::wstring_view text) {
  auto unit = [&bytes](std::uint32_t u) {
    bytes.push_back(static_cast<BYTE>(u & 0xFF));
    bytes.push_back(static_cast<BYTE>(u >> 8));
  };
  for (const wchar_t c : text) {
    const auto code = static_cast<std::uint32_t>(c);
    if (code >= 0x10000 && code <= 0x10FFFF) {
      unit(0xD800 + ((code - 0x10000) >> 10));
      unit(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      unit(code & 0xFFFF);
    }
  }
}

std::wstring FromUtf16(const std::vector<BYTE>& bytes) {
  std::wstring text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    std::uint32_t u = bytes[i] | (bytes[i + 1] << 8);
    if (u >= 0xD800 && u < 0xDC00 && i + 3 < bytes.size()) {
      const std::uint32_t low = bytes[i + 2] | (bytes[i + 3] << 8);
      if (low >= 0xDC00 && low < 0xE000) {
        u = 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      }
    }
    text.push_back(static_cast<wchar_t>(u));
  }
  return text;
}

void PutString(std::vector<BYTE>& out, const Bstr& value) {
  std::vector<BYTE> bytes;
  if (value.get() != nullptr) {
    AppendUtf16(bytes, value.view());
    bytes.insert(bytes.end(), {0, 0});
  }
  const auto count = static_cast<ULONG>(bytes.size());
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<BYTE>(count >> shift));
  out.insert(out.end(), bytes.begin(), bytes.end());
}

HRESULT ReadExactly(IStream* stream, void* buffer, ULONG size) {
  ULONG read = 0;
  LMK_RETURN_IF_FAILED(stream->Read(buffer, size, &read));
  return read == size ? S_OK : E_FAIL;
}

HRESULT ReadUlong(IStream* stream, ULONG* value) {
  BYTE bytes[4] = {};
  LMK_RETURN_IF_FAILED(ReadExactly(stream, bytes, 4));
  *value = bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<ULONG>(bytes[3]) << 24);
  return S_OK;
}

HRESULT ReadString(IStream* stream, Bstr& value) {
  ULONG count = 0;
  LMK_RETURN_IF_FAILED(ReadUlong(stream, &count));
  if (count == 0) {
    value.Reset();
    return S_OK;
  }
  // A length from a stream is checked before anything is allocated for it.
  constexpr ULONG kLongestString = 64u << 20;
  if (count % 2 != 0 || count > kLongestString) return E_FAIL;
  std::vector<BYTE> bytes(count);
  LMK_RETURN_IF_FAILED(ReadExactly(stream, bytes.data(), count));
  bytes.resize(count - 2);
  value = Bstr(FromUtf16(bytes));
  return S_OK;
}

std::wstring PositionText(const ScriptError& error) {
  wchar_t buffer[96];
  std::swprintf(buffer, std::size(buffer), std::wstring(kScriptPositionText).c_str(),
                static_cast<int>(error.line), static_cast<int>(error.column));
  return buffer;
}

}  // namespace

HRESULT CreateScriptEngine(IUnknown* outer, REFIID riid, void** ppv) noexcept {
  return CScriptEngine::Create(outer, riid, ppv);
}

CScriptEngine::CScriptEngine() : text_(kDefaultScriptText), progId_(L"JScript") {}

namespace {

using Member = DispatchMember<CScriptEngine>;

template <HRESULT (CScriptEngine::*Get)(BSTR*), HRESULT (CScriptEngine::*Put)(BSTR)>
HRESULT TextProperty(CScriptEngine& engine, WORD kind, std::span<Variant> args, Variant* result) {
  if (kind == DISPATCH_PROPERTYPUT) return (engine.*Put)(args[0].ref().bstrVal);
  VARIANT value;
  VariantInit(&value);
  const HRESULT hr = (engine.*Get)(&value.bstrVal);
  if (SUCCEEDED(hr)) {
    value.vt = VT_BSTR;
    result->Attach(&value);
  }
  return hr;
}

template <class V, HRESULT (CScriptEngine::*Get)(V*), HRESULT (CScriptEngine::*Put)(V)>
HRESULT LongProperty(CScriptEngine& engine, WORD kind, std::span<Variant> args, Variant* result) {
  if (kind == DISPATCH_PROPERTYPUT) return (engine.*Put)(static_cast<V>(args[0].ref().lVal));
  V value{};
  const HRESULT hr = (engine.*Get)(&value);
  if (SUCCEEDED(hr)) *result = Variant::I4(static_cast<int32_t>(value));
  return hr;
}

HRESULT CallCheckSyntax(CScriptEngine& engine, WORD, std::span<Variant>, Variant*) {
  return engine.CheckSyntax();
}

HRESULT CallExecute(CScriptEngine& engine, WORD, std::span<Variant> args, Variant* result) {
  // The context parameter's interface was queried when the argument was converted.
  return engine.Execute(args[0].ref().bstrVal, static_cast<IDictionary*>(args[1].ref().punkVal),
                        result->get());
}

constexpr WORD kProperty = DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT;
constexpr DispatchParam kText[] = {{L"newVal", VT_BSTR}};
constexpr DispatchParam kLong[] = {{L"newVal", VT_I4}};
constexpr DispatchParam kExecuteParams[] = {{L"bstrStartupMethod", VT_BSTR},
                                            {L"lpContext", VT_DISPATCH, &IID_IDictionary}};

// IScriptEngine as its type library declares it: the DISPIDs follow the interface's order.
constexpr Member kMembers[] = {
    {L"ScriptText", 1, kProperty,
     &TextProperty<&CScriptEngine::get_ScriptText, &CScriptEngine::put_ScriptText>, kText},
    {L"ScriptPath", 2, kProperty,
     &TextProperty<&CScriptEngine::get_ScriptPath, &CScriptEngine::put_ScriptPath>, kText},
    {L"ScriptType", 3, kProperty,
     &LongProperty<LMK_SCRIPT_TYPE, &CScriptEngine::get_ScriptType, &CScriptEngine::put_ScriptType>,
     kLong},
    {L"ScriptEngineProgID", 4, kProperty,
     &TextProperty<&CScriptEngine::get_ScriptEngineProgID, &CScriptEngine::put_ScriptEngineProgID>,
     kText},
    {L"Timeout", 5, kProperty,
     &LongProperty<LONG, &CScriptEngine::get_Timeout, &CScriptEngine::put_Timeout>, kLong},
    {L"CheckSyntax", 6, DISPATCH_METHOD, &CallCheckSyntax},
    {L"Execute", 7, DISPATCH_METHOD, &CallExecute, kExecuteParams},
};

}  // namespace

std::span<const DispatchMember<CScriptEngine>> CScriptEngine::DispatchMembers() { return kMembers; }

HRESULT CScriptEngine::get_ScriptText(BSTR* pVal) { return CopyOut(text_, pVal); }

HRESULT CScriptEngine::put_ScriptText(BSTR newVal) {
  try {
    text_ = Bstr::Copy(newVal);
    return S_OK;
  } catch (...) {
    return Unexpected();
  }
}

HRESULT CScriptEngine::get_ScriptPath(BSTR* pVal) { return CopyOut(path_, pVal); }

HRESULT CScriptEngine::put_ScriptPath(BSTR newVal) {
  try {
    if (newVal == nullptr) {
      path_.Reset();
      return S_OK;
    }
    path_ = Bstr(ExpandScriptPath(std::wstring_view(newVal, SysStringLen(newVal))));
    return S_OK;
  } catch (...) {
    return Unexpected();
  }
}

HRESULT CScriptEngine::get_ScriptType(LMK_SCRIPT_TYPE* pVal) {
  if (pVal == nullptr) return E_INVALIDARG;
  *pVal = type_;
  return S_OK;
}

HRESULT CScriptEngine::put_ScriptType(LMK_SCRIPT_TYPE newVal) {
  type_ = newVal;
  return S_OK;
}

HRESULT CScriptEngine::get_ScriptEngineProgID(BSTR* pVal) { return CopyOut(progId_, pVal); }

HRESULT CScriptEngine::put_ScriptEngineProgID(BSTR newVal) {
  if (SysStringLen(newVal) == 0) return E_INVALIDARG;
  try {
    progId_ = Bstr::Copy(newVal);
    return S_OK;
  } catch (...) {
    return Unexpected();
  }
}

HRESULT CScriptEngine::get_Timeout(LONG* pVal) {
  if (pVal == nullptr) return E_INVALIDARG;
  *pVal = timeout_;
  return S_OK;
}

HRESULT CScriptEngine::put_Timeout(LONG newVal) {
  timeout_ = newVal;
  return S_OK;
}

HRESULT CScriptEngine::CheckSyntax() {
  try {
    return Run(checkFunction_, nullptr, nullptr);
  } catch (...) {
    return Unexpected();
  }
}

HRESULT CScriptEngine::Execute(BSTR bstrStartupMethod, IDictionary* lpContext, VARIANT* lpResult) {
  if (bstrStartupMethod == nullptr || lpContext == nullptr || lpResult == nullptr) {
    return E_INVALIDARG;
  }
  try {
    return Run(std::wstring_view(bstrStartupMethod, SysStringLen(bstrStartupMethod)), lpContext,
               lpResult);
  } catch (...) {
    return Unexpected();
  }
}

HRESULT CScriptEngine::Run(std::wstring_view function, IDictionary* context, VARIANT* result) {
  if (progId_.empty()) return E_UNEXPECTED;
  const bool checkOnly = result == nullptr;
  ComPtr<IDictionary> dictionary;
  if (!checkOnly) {
    LMK_RETURN_IF_FAILED(
        context->QueryInterface(IID_IDictionary, reinterpret_cast<void**>(&dictionary)));
  }
  std::wstring source;
  if (type_ == LMK_SCRIPT_PATH) {
    LMK_RETURN_IF_FAILED(ReadScriptFile(path_.view(), &source));
  } else {
    source = text_.str();
  }
  const ScriptLanguage* language = FindScriptLanguage(progId_.view());
  if (language == nullptr) {
    SetErrorDescription(L"There is no script engine named \"" + progId_.str() +
                        L"\" in this program. Choose one that 'lumarko scripts engines' lists.");
    return kUnknownScriptEngine;
  }
  const std::unique_ptr<ScriptRuntime> runtime = language->create();
  ScriptError error;
  if (const HRESULT hr = runtime->Load(source, &error); FAILED(hr)) {
    return ReportError(hr, false, error);
  }
  std::wstring name(function);
  if (name.empty()) name = SUCCEEDED(runtime->Find(L"Execute")) ? L"Execute" : L"Evaluate";
  if (const HRESULT hr = runtime->Find(name); FAILED(hr)) {
    error.description = L"The script has no global function named \"" + name + L"\"";
    return ReportError(hr, false, error);
  }
  if (checkOnly) return S_OK;

  ScriptWatchdog watchdog;
  ScriptRuntime* running = runtime.get();
  watchdog.Arm(WatchdogDelay(WatchdogDueTime(timeout_)), [running] { running->Interrupt(); });
  Variant value;
  const HRESULT hr = runtime->Call(name, dictionary.Get(), &value, &error);
  watchdog.Disarm();
  if (watchdog.TimedOut()) return ReportError(kScriptErrorReported, true, ScriptError{});
  if (FAILED(hr)) return ReportError(hr, false, error);
  value.Detach(result);
  return S_OK;
}

HRESULT CScriptEngine::ReportError(HRESULT hr, bool timedOut, const ScriptError& error) const {
  std::wstring text;
  if (timedOut) {
    text = kScriptTimeoutText;
  } else if (error.line != 0 || error.column != 0) {
    text = PositionText(error);
  }
  if (!error.source.empty() || !error.description.empty()) {
    text = error.description + L".\r\n" + text;
  }
  ComPtr<ICreateErrorInfo> create;
  if (FAILED(CreateErrorInfo(&create))) return hr;
  std::wstring source(kScriptEngineSource);
  create->SetSource(source.data());
  create->SetDescription(text.data());
  ComPtr<IErrorInfo> info;
  if (SUCCEEDED(create.As(&info))) SetErrorInfo(0, info.Get());
  return hr;
}

HRESULT CScriptEngine::Save(IStream* stream) const noexcept {
  if (stream == nullptr) return E_INVALIDARG;
  try {
    std::vector<BYTE> out{kScriptEngineStreamVersion};
    PutString(out, progId_);
    PutString(out, path_);
    PutString(out, text_);
    out.push_back(static_cast<BYTE>(type_));
    for (int shift = 0; shift < 32; shift += 8) {
      out.push_back(static_cast<BYTE>(static_cast<ULONG>(timeout_) >> shift));
    }
    ULONG written = 0;
    LMK_RETURN_IF_FAILED(stream->Write(out.data(), static_cast<ULONG>(out.size()), &written));
    return written == out.size() ? S_OK : STG_E_MEDIUMFULL;
  } catch (...) {
    return Unexpected();
  }
}

HRESULT CScriptEngine::Load(IStream* stream) noexcept {
  if (stream == nullptr) return E_INVALIDARG;
  try {
    BYTE version = 0;
    LMK_RETURN_IF_FAILED(ReadExactly(stream, &version, 1));
    if (version > kScriptEngineStreamVersion) return E_FAIL;
    Bstr progId, path, text;
    LMK_RETURN_IF_FAILED(ReadString(stream, progId));
    LMK_RETURN_IF_FAILED(ReadString(stream, path));
    LMK_RETURN_IF_FAILED(ReadString(stream, text));
    BYTE type = 0;
    LMK_RETURN_IF_FAILED(ReadExactly(stream, &type, 1));
    ULONG timeout = 0;
    LMK_RETURN_IF_FAILED(ReadUlong(stream, &timeout));
    progId_ = std::move(progId);
    path_ = std::move(path);
    text_ = std::move(text);
    type_ = static_cast<LMK_SCRIPT_TYPE>(type);
    timeout_ = static_cast<LONG>(timeout);
    return S_OK;
  } catch (...) {
    return Unexpected();
  }
}

}  // namespace lmk
