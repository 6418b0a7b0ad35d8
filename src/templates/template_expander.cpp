// The expander's entry points: argument checks, the result buffer and the error boundary.
#include "templates/template_expander.h"

#include <new>
#include <optional>

#include "com/com_error.h"
#include "platform/fatal_exit.h"
#include "templates/bounded_regex.h"
#include "templates/expansion_call.h"
#include "templates/template_scanner.h"
#include "templates/variable_dispatcher.h"

namespace lmk {
namespace {

// The expression alone may appear in several templates of a rule set: name this one.
HRESULT ReportTooComplex(std::wstring_view templ, const ComError& error) noexcept {
  try {
    SetErrorDescription(L"The template \"" + std::wstring(templ) + L"\": " + error.description());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return error.hr();
}

}  // namespace

HRESULT ExpandTemplate(IDictionary* dictionary, const wchar_t* templ, std::wstring* result,
                       TemplateContext* context) noexcept {
  if (result == nullptr) return E_INVALIDARG;
  if (templ == nullptr) return S_OK;
  return ExpandTemplate(dictionary, std::wstring_view(templ), result, context);
}

HRESULT ExpandTemplate(IDictionary* dictionary, std::wstring_view templ, std::wstring* result,
                       TemplateContext* context) noexcept {
  if (result == nullptr) return E_INVALIDARG;
  try {
    result->clear();
    if (result->capacity() < TemplateScanner::kGrowth) {
      try {
        result->reserve(TemplateScanner::kGrowth);
      } catch (const std::bad_alloc&) {
        FatalExit(L"Lumarko", L"Fatally out of memory, not much to do...", 1);
      }
    }
    std::optional<TemplateContext> own;
    if (context == nullptr) context = &own.emplace();
    ExpansionCall call(dictionary, *context);
    TemplateScanner::Expand(templ, call, result);
    return S_OK;
  } catch (const ComError& error) {
    // Half a name must never be used: the caller gets the failure and no text.
    result->clear();
    if (error.hr() != BoundedRegex::kTooComplex) return HresultFromCurrentException();
    return ReportTooComplex(templ, error);
  } catch (...) {
    result->clear();
    return HresultFromCurrentException();
  }
}

HRESULT ExpandVariable(std::wstring* value, IDictionary* dictionary, std::wstring_view token,
                       size_t* consumed, TemplateContext* context) noexcept {
  if (value == nullptr || consumed == nullptr) return E_INVALIDARG;
  try {
    value->clear();
    *consumed = 0;
    if (token.empty() || token[0] != L'{') return S_OK;
    size_t length = TemplateScanner::TokenLength(token);
    if (length == std::wstring_view::npos) return S_OK;
    TemplateContext own;
    ExpansionCall call(dictionary, context != nullptr ? *context : own);
    if (VariableDispatcher::Expand(token.substr(0, length), call, value)) *consumed = length;
    return S_OK;
  } catch (...) {
    value->clear();
    *consumed = 0;
    return HresultFromCurrentException();
  }
}

}  // namespace lmk
