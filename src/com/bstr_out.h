// Handing text out through a BSTR out parameter, as every interface method that answers with
// text does.
#pragma once

#include <string_view>

#include "com/bstr.h"

namespace lmk {

/// Writes a new BSTR of text into *out, for the caller to free. S_OK; E_INVALIDARG for a null
/// out. Throws ComError(E_OUTOFMEMORY) (with *out null), for the method boundary to return.
[[nodiscard]] inline HRESULT WriteBstr(std::wstring_view text, BSTR* out) {
  if (out == nullptr) return E_INVALIDARG;
  *out = nullptr;
  *out = Bstr(text).Detach();
  return S_OK;
}

}  // namespace lmk
