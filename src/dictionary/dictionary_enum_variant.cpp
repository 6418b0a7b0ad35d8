// CDictionaryEnumVARIANT: hands out a dictionary's names as VT_BSTR VARIANTs.
#include "dictionary/dictionary_enum_variant.h"

#include <utility>
#include <vector>

#include "com/com_error.h"

namespace lmk {

CDictionaryEnumVARIANT::CDictionaryEnumVARIANT(ComPtr<CDictionary> dictionary, Bstr position)
    : dictionary_(std::move(dictionary)), position_(std::move(position)) {}

HRESULT CDictionaryEnumVARIANT::Next(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) {
  try {
    if (pCeltFetched != nullptr) *pCeltFetched = 0;
    if (celt == 0) return S_OK;
    if (rgVar == nullptr) return E_INVALIDARG;
    for (ULONG i = 0; i < celt; ++i) VariantInit(&rgVar[i]);
    std::lock_guard guard(lock_);
    std::vector<Bstr> names = dictionary_->NamesAfter(position_, celt);
    if (!names.empty()) position_ = names.back();
    const ULONG fetched = static_cast<ULONG>(names.size());
    for (ULONG i = 0; i < fetched; ++i) {
      rgVar[i].vt = VT_BSTR;
      rgVar[i].bstrVal = names[i].Detach();
    }
    if (pCeltFetched != nullptr) *pCeltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionaryEnumVARIANT::Skip(ULONG celt) {
  try {
    if (celt == 0) return S_OK;
    std::lock_guard guard(lock_);
    std::vector<Bstr> names = dictionary_->NamesAfter(position_, celt);
    if (!names.empty()) position_ = std::move(names.back());
    return names.size() == celt ? S_OK : S_FALSE;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionaryEnumVARIANT::Reset() {
  try {
    std::lock_guard guard(lock_);
    position_ = Bstr();
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionaryEnumVARIANT::Clone(IEnumVARIANT** ppEnum) {
  try {
    if (ppEnum == nullptr) return E_INVALIDARG;
    *ppEnum = nullptr;
    std::lock_guard guard(lock_);
    ComPtr<CDictionaryEnumVARIANT> copy =
        MakeComObject<CDictionaryEnumVARIANT>(dictionary_, position_);
    return copy->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(ppEnum));
  } catch (...) {
    return HresultFromCurrentException();
  }
}

}  // namespace lmk
