// CLabelNameEnum: a position in a fixed list of names.
#include "host/label_name_enum.h"

#include <algorithm>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/text_enum_next.h"

namespace lmk {

HRESULT CLabelNameEnum::Next(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) {
  return NextTexts(celt, rgVar, pCeltFetched, [this](ULONG count) {
    std::lock_guard guard(lock_);
    std::vector<Bstr> texts;
    for (; texts.size() < count && position_ < names_.size(); ++position_) {
      texts.emplace_back(names_[position_]);
    }
    return texts;
  });
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
