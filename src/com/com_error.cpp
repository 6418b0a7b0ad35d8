// HRESULTs as exceptions inside our code and back to HRESULTs at COM method boundaries.
#include "com/com_error.h"

#include <cstdio>
#include <new>

#include "com/bstr.h"
#include "com/com_ptr.h"

namespace lmk {
namespace {

std::string NarrowHex(HRESULT hr) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
  return text;
}

}  // namespace

ComError::ComError(HRESULT hr) : hr_(hr), what_("COM error " + NarrowHex(hr)) {}

ComError::ComError(HRESULT hr, std::wstring_view description)
    : hr_(hr), description_(description), what_("COM error " + NarrowHex(hr)) {}

void ThrowIfFailed(HRESULT hr) {
  if (FAILED(hr)) throw ComError(hr);
}

HRESULT HresultFromCurrentException() noexcept {
  try {
    throw;
  } catch (const ComError& error) {
    if (!error.description().empty()) SetErrorDescription(error.description());
    return error.hr();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

HRESULT SetErrorDescription(std::wstring_view text) noexcept {
  try {
    ComPtr<ICreateErrorInfo> create;
    LMK_RETURN_IF_FAILED(CreateErrorInfo(&create));
    Bstr description(text);
    LMK_RETURN_IF_FAILED(create->SetDescription(description.get()));
    ComPtr<IErrorInfo> info;
    LMK_RETURN_IF_FAILED(create.As(&info));
    return SetErrorInfo(0, info.Get());
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

std::wstring TakeErrorDescription() {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, &info) != S_OK || !info) return {};
  Bstr description;
  if (FAILED(info->GetDescription(&description))) return {};
  return description.str();
}

std::wstring FormatHresult(HRESULT hr) {
  wchar_t text[16];
  std::swprintf(text, 16, L"0x%08X", static_cast<unsigned>(hr));
  return text;
}

}  // namespace lmk
