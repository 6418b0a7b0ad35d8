// The per-file script call of the Script action and condition.
#include "scripts/element_script.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/variant.h"
#include "platform/event_log_writer.h"
#include "platform/terminal.h"
#include "platform/text_encoding.h"
#include "scripts/iscript_engine.h"
#include "scripts/script_engine.h"
#include "scripts/script_runtime.h"
#include "scripts/script_source.h"

namespace lmk {
namespace {

constexpr std::size_t kScriptPathLength = 520;
constexpr std::wstring_view kRunningScript =
    L"Running \"%ls\" script on \"%s\" using \"%s\" engine.";
constexpr std::wstring_view kErrorInstruction = L"An error occurred while running the script!";
constexpr std::wstring_view kUnknownError = L"An unknown error occurred while running the script.";

std::atomic<long> g_messages{0};

ScriptMessageAnswer DefaultPresenter(std::wstring_view text) {
  const std::string message =
      "\nlumarko: " + ToUtf8(kErrorInstruction) + "\n" + ToUtf8(text) + "\n";
  std::fputs(message.c_str(), stderr);
  if (!IsTerminal(stdin) || !IsTerminal(stderr)) return ScriptMessageAnswer::GoOnWithoutAsking;
  std::fputs("Go on with the run? [Y/n] ", stderr);
  std::fflush(stderr);
  std::string answer;
  if (!std::getline(std::cin, answer)) return ScriptMessageAnswer::Cancel;
  return answer.empty() || answer[0] == 'y' || answer[0] == 'Y' ? ScriptMessageAnswer::GoOn
                                                                : ScriptMessageAnswer::Cancel;
}

std::atomic<ScriptMessagePresenter> g_presenter{&DefaultPresenter};

}  // namespace

std::wstring ElementScriptPath(IDictionary& record, std::wstring_view expandedPath) {
  std::wstring path(expandedPath);
  const bool absolute =
      path.starts_with(L'/') || path.starts_with(L'\\') || (path.size() > 1 && path[1] == L':');
  if (!absolute) {
    Variant folder;
    if (SUCCEEDED(record.get_Value(Bstr(L"App.ImagesFolder").get(), folder.get())) &&
        SUCCEEDED(folder.ChangeType(VT_BSTR))) {
      std::wstring prefix(folder.get()->bstrVal, SysStringLen(folder.get()->bstrVal));
      if (!prefix.empty() && prefix.back() != L'/' && prefix.back() != L'\\') prefix += L'/';
      path = prefix + path;
    }
  }
  if (path.size() > kScriptPathLength) path.resize(kScriptPathLength);
  return path;
}

bool CheckElementScript(std::wstring_view pathTemplate, std::wstring_view engine,
                        std::wstring_view function, std::wstring* reason) {
  std::wstring why;
  const std::wstring path = ExpandScriptPath(pathTemplate);
  if (pathTemplate.empty()) {
    why = L"script: the script file is missing; give the path of a script that defines " +
          std::wstring(function) + L"(context)";
  } else if (FindScriptLanguage(engine) == nullptr) {
    why = L"engine: there is no script engine named \"" + std::wstring(engine) +
          L"\"; 'lumarko scripts engines' lists those there are";
  } else if (path.find(L'{') == std::wstring::npos && path.starts_with(L'/')) {
    ComPtr<CScriptEngine> check = MakeComObject<CScriptEngine>();
    check->put_ScriptType(LMK_SCRIPT_PATH);
    check->put_ScriptPath(Bstr(path).get());
    check->put_ScriptEngineProgID(Bstr(engine).get());
    check->SetSyntaxCheckFunction(function);
    if (SUCCEEDED(check->CheckSyntax())) return true;
    // A reason is one line: the error's text and its position go side by side.
    std::wstring text = TakeErrorDescription();
    for (std::size_t at; (at = text.find(L"\r\n")) != std::wstring::npos;) {
      text.replace(at, 2, L" ");
    }
    why = L"script: " + text;
  } else {
    return true;
  }
  if (reason != nullptr) *reason = std::move(why);
  return false;
}

std::wstring ElementScriptWords(std::wstring_view pathTemplate, std::wstring_view engine) {
  const ScriptLanguage* language = FindScriptLanguage(engine);
  const std::wstring name = language != nullptr ? language->displayName : std::wstring(engine);
  return L"the " + name + L" script \"" + std::wstring(pathTemplate) + L"\"";
}

HRESULT RunElementScript(IDictionary& record, std::wstring_view path, const ElementScriptCall& call,
                         VARIANT* result) {
  ComPtr<IScriptEngine> engine;
  LMK_RETURN_IF_FAILED(
      CreateScriptEngine(nullptr, IID_IScriptEngine, reinterpret_cast<void**>(&engine)));
  Variant name;
  LMK_RETURN_IF_FAILED(record.get_Value(Bstr(L"File.Name").get(), name.get()));
  LMK_RETURN_IF_FAILED(name.ChangeType(VT_BSTR));
  const std::wstring fileName(name.get()->bstrVal, SysStringLen(name.get()->bstrVal));
  if (fileName.empty()) return E_FAIL;
  LogEvent(kEventLevelInformation, kRunningScript, path, fileName, call.engine);
  engine->put_ScriptType(LMK_SCRIPT_PATH);
  LMK_RETURN_IF_FAILED(engine->put_ScriptPath(Bstr(path).get()));
  LMK_RETURN_IF_FAILED(engine->put_ScriptEngineProgID(Bstr(call.engine).get()));
  engine->put_Timeout(call.timeout);
  const HRESULT hr = engine->Execute(Bstr(call.function).get(), &record, result);
  return FAILED(hr) ? ReportScriptFailure(hr) : hr;
}

LONG RawResultValue(const VARIANT& result) noexcept {
  LONG value = 0;
  std::memcpy(&value, &result.lVal, sizeof value);
  return value;
}

ScriptMessagePresenter SetScriptMessagePresenter(ScriptMessagePresenter presenter) {
  return g_presenter.exchange(presenter != nullptr ? presenter : &DefaultPresenter);
}

HRESULT ReportScriptFailure(HRESULT hr) {
  if (g_messages.fetch_add(1) != 0) {
    g_messages.fetch_sub(1);
    return E_FAIL;
  }
  std::wstring text = TakeErrorDescription();
  if (text.empty()) text = std::wstring(kUnknownError) + L" (" + FormatHresult(hr) + L")";
  const ScriptMessageAnswer answer = g_presenter.load()(text);
  // The log gets the same text through the element's failure path.
  SetErrorDescription(text);
  switch (answer) {
    case ScriptMessageAnswer::Cancel:
      return E_ABORT;
    case ScriptMessageAnswer::GoOnWithoutAsking:
      return E_FAIL;
    case ScriptMessageAnswer::GoOn:
      break;
  }
  g_messages.fetch_sub(1);
  return E_FAIL;
}

void ResetScriptMessages() { g_messages.store(0); }

}  // namespace lmk
