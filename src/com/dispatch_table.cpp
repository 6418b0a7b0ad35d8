// The table-independent half of late binding: names, kinds of call, arguments and exceptions.
#include "com/dispatch_table.h"

#include <cwctype>

#include "com/bstr.h"
#include "com/com_ptr.h"

namespace lmk {

bool SameDispatchName(std::wstring_view a, const wchar_t* b) noexcept {
  std::size_t i = 0;
  for (; i < a.size() && b[i] != L'\0'; ++i) {
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i]))) {
      return false;
    }
  }
  return i == a.size() && b[i] == L'\0';
}

HRESULT GetParamDispIds(std::span<const DispatchParam> params, LPOLESTR* names, UINT count,
                        DISPID* ids) noexcept {
  HRESULT hr = S_OK;
  for (UINT i = 1; i < count; ++i) {
    for (std::size_t p = 0; names[i] != nullptr && p < params.size(); ++p) {
      if (SameDispatchName(params[p].name, names[i])) ids[i] = static_cast<DISPID>(p);
    }
    if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
  }
  return hr;
}

WORD DispatchKindOf(WORD kinds, WORD flags) noexcept {
  // A type library matches a call by the bits its member's kind shares with the flags; a put
  // wins over a get when a caller sets both.
  for (const WORD kind :
       {WORD{DISPATCH_METHOD}, WORD{DISPATCH_PROPERTYPUT}, WORD{DISPATCH_PROPERTYGET}}) {
    if ((kinds & flags & kind) != 0) return kind;
  }
  return 0;
}

namespace {

// Converts one argument; an interface parameter is queried for its interface.
HRESULT ConvertArg(const DispatchParam& param, const VARIANT& source, Variant& out) {
  const HRESULT hr = VariantChangeType(out.get(), const_cast<VARIANT*>(&source), 0, param.vt);
  if (FAILED(hr)) return hr == DISP_E_OVERFLOW ? hr : DISP_E_TYPEMISMATCH;
  if (param.iid == nullptr || out.ref().punkVal == nullptr) return S_OK;
  ComPtr<IUnknown> wanted;
  if (FAILED(out.ref().punkVal->QueryInterface(*param.iid,
                                               reinterpret_cast<void**>(wanted.GetAddressOf())))) {
    return DISP_E_TYPEMISMATCH;
  }
  out = Variant::Unknown(wanted.Get());
  return S_OK;
}

}  // namespace

HRESULT CollectDispatchArgs(std::span<const DispatchParam> params, WORD kind, const DISPPARAMS& dp,
                            std::vector<Variant>* args, UINT* argErr) {
  if ((dp.cArgs > 0 && dp.rgvarg == nullptr) || dp.cNamedArgs > dp.cArgs ||
      (dp.cNamedArgs > 0 && dp.rgdispidNamedArgs == nullptr)) {
    return E_INVALIDARG;
  }
  if (kind == DISPATCH_PROPERTYGET) params = {};
  const bool put = kind == DISPATCH_PROPERTYPUT;
  if (put) params = params.first(1);
  if (dp.cArgs > params.size() || (put && dp.cArgs != 1)) return DISP_E_BADPARAMCOUNT;

  // rgvarg holds the positional arguments last first, after the named ones.
  std::vector<int> slotOf(params.size(), -1);
  const UINT positional = dp.cArgs - dp.cNamedArgs;
  for (UINT k = 0; k < positional; ++k) slotOf[k] = static_cast<int>(dp.cArgs - 1 - k);
  for (UINT i = 0; i < dp.cNamedArgs; ++i) {
    const DISPID id = dp.rgdispidNamedArgs[i];
    const DISPID position = put && id == DISPID_PROPERTYPUT ? 0 : id;
    if (position < 0 || static_cast<std::size_t>(position) >= params.size() ||
        slotOf[position] != -1 || (put && id != DISPID_PROPERTYPUT)) {
      if (argErr != nullptr) *argErr = i;
      return DISP_E_PARAMNOTFOUND;
    }
    slotOf[position] = static_cast<int>(i);
  }
  args->clear();
  args->resize(params.size());
  for (std::size_t p = 0; p < params.size(); ++p) {
    if (slotOf[p] < 0) return dp.cNamedArgs == 0 ? DISP_E_BADPARAMCOUNT : DISP_E_PARAMNOTOPTIONAL;
    const HRESULT hr = ConvertArg(params[p], dp.rgvarg[slotOf[p]], (*args)[p]);
    if (FAILED(hr)) {
      if (argErr != nullptr) *argErr = static_cast<UINT>(slotOf[p]);
      return hr;
    }
  }
  return S_OK;
}

HRESULT DispatchException(HRESULT hr, EXCEPINFO* info) noexcept {
  ComPtr<IErrorInfo> error;
  if (GetErrorInfo(0, error.GetAddressOf()) != S_OK) error.Reset();
  if (info == nullptr) return DISP_E_EXCEPTION;
  *info = EXCEPINFO{};
  info->scode = hr;
  if (error) {
    error->GetSource(&info->bstrSource);
    error->GetDescription(&info->bstrDescription);
  }
  return DISP_E_EXCEPTION;
}

}  // namespace lmk
