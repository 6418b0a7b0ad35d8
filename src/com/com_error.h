// HRESULTs as exceptions inside our code and back to HRESULTs at COM method boundaries.
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "com/com_sdk.h"

namespace lmk {

/// A failed HRESULT travelling as an exception; optionally with a description for the user.
class ComError : public std::exception {
 public:
  explicit ComError(HRESULT hr);
  ComError(HRESULT hr, std::wstring_view description);

  HRESULT hr() const noexcept { return hr_; }
  /// The description given when thrown; empty when none.
  const std::wstring& description() const noexcept { return description_; }
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  HRESULT hr_;
  std::wstring description_;
  std::string what_;
};

/// Throws ComError(hr) when hr is a failure; success codes (S_FALSE too) return.
void ThrowIfFailed(HRESULT hr);

/// For `catch (...)` at a COM method boundary: ComError gives its HRESULT (and its description
/// becomes the thread's error info), std::bad_alloc E_OUTOFMEMORY, anything else E_UNEXPECTED.
HRESULT HresultFromCurrentException() noexcept;

/// Runs `body` at a COM method boundary: its HRESULT, or the HRESULT of what it throws.
template <class Body>
HRESULT GuardedCall(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return HresultFromCurrentException();
  }
}

/// Sets the calling thread's error info to an error object carrying `text` as its description.
HRESULT SetErrorDescription(std::wstring_view text) noexcept;

/// Reads and clears the calling thread's error description; empty when there is none.
std::wstring TakeErrorDescription();

/// "0x80070057" for logs.
std::wstring FormatHresult(HRESULT hr);

}  // namespace lmk

/// Returns the HRESULT of `expr` from the enclosing function when it is a failure.
#define LMK_RETURN_IF_FAILED(expr)       \
  do {                                   \
    const HRESULT lmk_hr_ = (expr);      \
    if (FAILED(lmk_hr_)) return lmk_hr_; \
  } while (false)
