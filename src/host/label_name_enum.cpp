// CLabelNameEnum: a position in a fixed list of names.
#include "host/label_name_enum.h"

#include <algorithm>

#include "com/bstr.h"
#include "com/com_error.h"

namespace lmk {

HRESULT CLabelNameEnum::Next(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) {
  try {
    if (pCeltFetched != nullptr) *pCeltFetched = 0;
    if (celt == 0) return S_OK;
    if (rgVar == nullptr) return E_INVALIDARG;
    for (ULONG i = 0; i < celt; ++i) VariantInit(&rgVar[i]);
    std::lock_guard guard(lock_);
    ULONG fetched = 0;
    for (; fetched < celt && position_ < names_.size(); ++fetched, ++position_) {
      rgVar[fetched].bstrVal = Bstr(names_[position_]).Detach();
      rgVar[fetched].vt = VT_BSTR;
    }
    if (pCeltFetched != nullptr) *pCeltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CLabelNameEnum::Skip(ULONG celt) {
  std::lock_guard guard(lock_);
  const std::size_t left = names_.size() - position_;
  position_ += std::min<std::size_t>(celt, left);
  return celt <= left ? S_OK : S_FALSE;
}

HRESULT CLabelNameEnum::Reset() {
  std::lock_guard guard(lock_);
  position_ = 0;
  return S_OK;
}

HRESULT CLabelNameEnum::Clone(IEnumVARIANT** ppEnum) {
  try {
    if (ppEnum == nullptr) return E_INVALIDARG;
    *ppEnum = nullptr;
    std::lock_guard guard(lock_);
    ComPtr<CLabelNameEnum> copy = MakeComObject<CLabelNameEnum>(names_, position_);
    return copy->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(ppEnum));
  } catch (...) {
    return HresultFromCurrentException();
  }
}

}  // namespace lmk
