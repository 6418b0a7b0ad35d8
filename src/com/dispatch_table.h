// Late binding over one table of members (name, DISPID, kind, handler), answered the way OLE
// Automation answers it from a type library.
#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "com/com_error.h"
#include "com/com_sdk.h"
#include "com/variant.h"

namespace lmk {

/// One parameter as a type library declares it. An interface parameter (iid set) takes any
/// object that answers iid; the handler receives that interface in a VT_UNKNOWN.
struct DispatchParam {
  std::wstring_view name;
  VARTYPE vt;
  const IID* iid = nullptr;
};

/// One member of a late-bound interface. kinds is DISPATCH_METHOD for a method, or
/// DISPATCH_PROPERTYGET and/or DISPATCH_PROPERTYPUT for a property. A member without handler is
/// only a name. params are a method's arguments in order, or a property's one value.
template <class T>
struct DispatchMember {
  /// kind is the one DISPATCH_* the call was answered as; args hold the converted arguments
  /// (a put's value alone); a method's or get's value goes to *result.
  using Handler = HRESULT (*)(T& object, WORD kind, std::span<Variant> args, Variant* result);
  std::wstring_view name;
  DISPID id;
  WORD kinds = DISPATCH_METHOD;
  Handler handler = nullptr;
  std::span<const DispatchParam> params = {};
};

/// Member names compare without regard to case, as OLE Automation compares them.
bool SameDispatchName(std::wstring_view a, const wchar_t* b) noexcept;

/// The rest of GetIDsOfNames once the member's DISPID is in ids[0]: names[1...] are its
/// parameters, whose DISPIDs are their positions. S_OK or DISP_E_UNKNOWNNAME.
HRESULT GetParamDispIds(std::span<const DispatchParam> params, LPOLESTR* names, UINT count,
                        DISPID* ids) noexcept;

/// Which of kinds a call with flags is: DISPATCH_METHOD, _PROPERTYPUT or _PROPERTYGET, or 0.
WORD DispatchKindOf(WORD kinds, WORD flags) noexcept;

/// Converts the arguments of one call of kind to the types of params into *args, in parameter
/// order; named arguments go to their positions. E_INVALIDARG for inconsistent DISPPARAMS;
/// DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTFOUND, DISP_E_PARAMNOTOPTIONAL; DISP_E_TYPEMISMATCH or
/// DISP_E_OVERFLOW with *argErr the index in rgvarg of the argument that does not fit.
HRESULT CollectDispatchArgs(std::span<const DispatchParam> params, WORD kind, const DISPPARAMS& dp,
                            std::vector<Variant>* args, UINT* argErr);

/// A member's failure as Invoke reports it: DISP_E_EXCEPTION, with hr and the error object the
/// member set for this thread (if any) in *info.
HRESULT DispatchException(HRESULT hr, EXCEPINFO* info) noexcept;

/// IDispatch::GetIDsOfNames over table. DISP_E_UNKNOWNINTERFACE unless riid is IID_NULL;
/// E_INVALIDARG for null arrays or no name; DISP_E_UNKNOWNNAME, with DISPID_UNKNOWN in each slot
/// whose name is unknown.
template <class T>
HRESULT GetDispatchIds(std::span<const DispatchMember<T>> table, REFIID riid, LPOLESTR* names,
                       UINT count, DISPID* ids) noexcept {
  if (!IsEqualGUID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  if (names[0] == nullptr) return DISP_E_UNKNOWNNAME;
  for (const DispatchMember<T>& member : table) {
    if (SameDispatchName(member.name, names[0])) {
      ids[0] = member.id;
      return GetParamDispIds(member.params, names, count, ids);
    }
  }
  return DISP_E_UNKNOWNNAME;
}

/// IDispatch::Invoke over table: the member of id that answers flags, its arguments converted,
/// its handler called. DISP_E_MEMBERNOTFOUND for an unknown id or a kind of call the member
/// does not answer; the errors of CollectDispatchArgs; DISP_E_EXCEPTION when the handler fails.
template <class T>
HRESULT InvokeDispatchMember(std::span<const DispatchMember<T>> table, T& object, DISPID id,
                             REFIID riid, WORD flags, DISPPARAMS* dp, VARIANT* result,
                             EXCEPINFO* info, UINT* argErr) {
  if (!IsEqualGUID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  if (dp == nullptr) return E_INVALIDARG;
  for (const DispatchMember<T>& member : table) {
    if (member.id != id || member.handler == nullptr) continue;
    const WORD kind = DispatchKindOf(member.kinds, flags);
    if (kind == 0) break;
    std::vector<Variant> args;
    const HRESULT collected = CollectDispatchArgs(member.params, kind, *dp, &args, argErr);
    if (FAILED(collected)) return collected;
    // Only what this call sets may reach the caller's EXCEPINFO.
    SetErrorInfo(0, nullptr);
    Variant value;
    const HRESULT hr = member.handler(object, kind, args, std::addressof(value));
    if (FAILED(hr)) return DispatchException(hr, info);
    if (result != nullptr) {
      VariantInit(result);
      value.Detach(result);
    }
    return S_OK;
  }
  return DISP_E_MEMBERNOTFOUND;
}

/// IDispatch for Derived, answered from its member table: Derived declares
/// `static std::span<const DispatchMember<Derived>> DispatchMembers();`. Base is the ComObject or
/// Aggregatable that Derived would otherwise derive from. No ITypeInfo is built, so
/// GetTypeInfoCount answers 0 and GetTypeInfo DISP_E_BADINDEX.
template <class Base, class Derived>
class DispatchTable : public Base {
 public:
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) override {
    if (pctinfo == nullptr) return E_INVALIDARG;
    *pctinfo = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** ppTInfo) override {
    if (ppTInfo == nullptr) return E_INVALIDARG;
    *ppTInfo = nullptr;
    return DISP_E_BADINDEX;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID,
                                          DISPID* rgDispId) override {
    return GetDispatchIds<Derived>(Derived::DispatchMembers(), riid, rgszNames, cNames, rgDispId);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID, WORD wFlags,
                                   DISPPARAMS* pDispParams, VARIANT* pVarResult,
                                   EXCEPINFO* pExcepInfo, UINT* puArgErr) override {
    try {
      return InvokeDispatchMember<Derived>(Derived::DispatchMembers(), static_cast<Derived&>(*this),
                                           dispIdMember, riid, wFlags, pDispParams, pVarResult,
                                           pExcepInfo, puArgErr);
    } catch (...) {
      return HresultFromCurrentException();
    }
  }

 protected:
  DispatchTable() = default;
};

}  // namespace lmk
