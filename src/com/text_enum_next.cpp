// NextTexts: the shared body of the text enumerators' Next.
#include "com/text_enum_next.h"

#include <algorithm>

#include "com/com_error.h"

namespace lmk {

HRESULT NextTexts(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched,
                  const std::function<std::vector<Bstr>(ULONG)>& take) noexcept {
  try {
    if (pCeltFetched != nullptr) *pCeltFetched = 0;
    if (celt == 0) return S_OK;
    if (rgVar == nullptr) return E_INVALIDARG;
    for (ULONG i = 0; i < celt; ++i) VariantInit(&rgVar[i]);
    std::vector<Bstr> texts = take(celt);
    const ULONG fetched = static_cast<ULONG>(std::min<std::size_t>(texts.size(), celt));
    for (ULONG i = 0; i < fetched; ++i) {
      rgVar[i].vt = VT_BSTR;
      rgVar[i].bstrVal = texts[i].Detach();
    }
    if (pCeltFetched != nullptr) *pCeltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

}  // namespace lmk
