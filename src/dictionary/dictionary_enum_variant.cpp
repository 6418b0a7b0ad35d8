// CDictionaryEnumVARIANT: hands out a dictionary's names as VT_BSTR VARIANTs.
#include "dictionary/dictionary_enum_variant.h"

#include <utility>
#include <vector>

#include "com/com_error.h"
#include "com/text_enum_next.h"

namespace lmk {

CDictionaryEnumVARIANT::CDictionaryEnumVARIANT(ComPtr<CDictionary> dictionary, Bstr position)
    : dictionary_(std::move(dictionary)), position_(std::move(position)) {}

HRESULT CDictionaryEnumVARIANT::Next(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) {
  return NextTexts(celt, rgVar, pCeltFetched, [this](ULONG count) {
    std::lock_guard guard(lock_);
    std::vector<Bstr> names = dictionary_->NamesAfter(position_, count);
    if (!names.empty()) position_ = names.back();
    return names;
  });
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
