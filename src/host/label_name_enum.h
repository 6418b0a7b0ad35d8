// CLabelNameEnum: the label names of a labelling convention, handed to the plug-in's label
// dialog as an enumerator of texts.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "com/com.h"
#include "com/com_object.h"

namespace lmk {

/// Walks a fixed list of names, label 1 first, as VT_BSTR VARIANTs.
class CLabelNameEnum final : public ComObject<CLabelNameEnum, IEnumVARIANT> {
 public:
  CLabelNameEnum(std::vector<std::wstring> names, std::size_t position = 0)
      : names_(std::move(names)), position_(position) {}

  /// Up to celt names into rgVar (every slot initialised). S_OK when celt were written, S_FALSE
  /// when fewer; E_INVALIDARG for a null rgVar.
  HRESULT STDMETHODCALLTYPE Next(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) override;
  /// S_OK, or S_FALSE when the end came first.
  HRESULT STDMETHODCALLTYPE Skip(ULONG celt) override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  /// A new enumerator at the same position. E_INVALIDARG for null.
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** ppEnum) override;

 private:
  std::mutex lock_;
  const std::vector<std::wstring> names_;
  std::size_t position_;
};

}  // namespace lmk
