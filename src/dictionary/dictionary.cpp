// CDictionary: an ordered, locked map of names to VARIANTs, callable directly or by name.
#include "dictionary/dictionary.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <limits>
#include <numeric>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "com/com_error.h"
#include "com/dispatch_table.h"
#include "dictionary/dictionary_enum_variant.h"

namespace lmk {
namespace {

constexpr DISPID kDispidCount = 1;
constexpr DISPID kDispidGetMultiple = 2;
constexpr DISPID kDispidPutMultiple = 3;
constexpr DISPID kDispidTest = 4;
constexpr DISPID kDispidMergeTo = 5;

// Only the names are looked up in the table; Invoke answers the members itself, since Value
// keeps by-reference values and explains a missing name.
constexpr DispatchMember<CDictionary> kMembers[] = {
    {L"Value", DISPID_VALUE},
    {L"Count", kDispidCount},
    {L"GetMultiple", kDispidGetMultiple},
    {L"PutMultiple", kDispidPutMultiple},
    {L"Test", kDispidTest},
    {L"MergeTo", kDispidMergeTo},
    {L"_NewEnum", DISPID_NEWENUM},
};

bool IsEmptyName(BSTR name) { return name == nullptr || SysStringLen(name) == 0; }

std::wstring_view View(BSTR name) { return {name, SysStringLen(name)}; }

// Scripts pass arguments by reference (VT_BYREF|VT_VARIANT); follow that to the value itself.
// The depth limit guards against a reference that points back at itself.
const VARIANT& Unwrap(const VARIANT& v) {
  const VARIANT* p = &v;
  for (int depth = 0; depth < 16 && p->vt == (VT_BYREF | VT_VARIANT) && p->pvarVal != nullptr;
       ++depth) {
    p = p->pvarVal;
  }
  return *p;
}

// Copies a value to be stored. A reference into the caller's memory would dangle once the call
// returns, so by-reference values are stored as the value they point to.
HRESULT CopyForStorage(const VARIANT& source, VARIANT* out) {
  const VARIANT& v = Unwrap(source);
  if ((v.vt & VT_BYREF) != 0) {
    return VariantChangeType(out, const_cast<VARIANT*>(&v), 0,
                             static_cast<VARTYPE>(v.vt & ~VT_BYREF));
  }
  return VariantCopy(out, const_cast<VARIANT*>(&v));
}

// Positional argument `index` (0 = first); DISPPARAMS stores them last first.
UINT ArgSlot(const DISPPARAMS& params, UINT index) { return params.cArgs - 1 - index; }

HRESULT CoerceArg(const DISPPARAMS& params, UINT index, VARTYPE vt, VARIANT* out, UINT* puArgErr) {
  const UINT slot = ArgSlot(params, index);
  const HRESULT hr =
      VariantChangeType(out, const_cast<VARIANT*>(&Unwrap(params.rgvarg[slot])), 0, vt);
  if (FAILED(hr) && puArgErr != nullptr) *puArgErr = slot;
  return hr;
}

// Hands a failure with a readable description to a script caller that asked for one.
HRESULT ReportFailure(HRESULT hr, std::wstring_view description, EXCEPINFO* info) {
  if (info == nullptr) return hr;
  *info = EXCEPINFO{};
  info->bstrSource = Bstr(L"Lumarko.Plugin.FileUtilities.Dictionary").Detach();
  info->bstrDescription = Bstr(description).Detach();
  info->scode = hr;
  return DISP_E_EXCEPTION;
}

void ReturnResult(Variant value, VARIANT* pVarResult) {
  if (pVarResult == nullptr) return;
  VariantInit(pVarResult);
  value.Detach(pVarResult);
}

}  // namespace

bool CDictionary::NameLess::operator()(std::wstring_view a, std::wstring_view b) const noexcept {
  const std::size_t common = std::min(a.size(), b.size());
  // Names share long prefixes ("Meta.IPTC.Photographer."): skip equal blocks a few characters
  // at a time before finding the first difference.
  constexpr std::size_t kBlock = 16 / sizeof(wchar_t);
  std::size_t i = 0;
  while (i + kBlock <= common &&
         std::memcmp(a.data() + i, b.data() + i, kBlock * sizeof(wchar_t)) == 0) {
    i += kBlock;
  }
  for (; i < common; ++i) {
    // Unsigned, so the order is the same wherever wchar_t is signed.
    const auto x = static_cast<std::make_unsigned_t<wchar_t>>(a[i]);
    const auto y = static_cast<std::make_unsigned_t<wchar_t>>(b[i]);
    if (x != y) return x < y;
  }
  return a.size() < b.size();
}

HRESULT CDictionary::GetTypeInfoCount(UINT* pctinfo) {
  if (pctinfo == nullptr) return E_INVALIDARG;
  *pctinfo = 0;
  return S_OK;
}

HRESULT CDictionary::GetTypeInfo(UINT, LCID, ITypeInfo** ppTInfo) {
  if (ppTInfo != nullptr) *ppTInfo = nullptr;
  return E_NOTIMPL;
}

HRESULT CDictionary::GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID,
                                   DISPID* rgDispId) {
  return GetDispatchIds<CDictionary>(kMembers, riid, rgszNames, cNames, rgDispId);
}

HRESULT CDictionary::Invoke(DISPID dispIdMember, REFIID riid, LCID, WORD wFlags,
                            DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                            UINT* puArgErr) {
  try {
    if (!IsEqualGUID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    if (pDispParams == nullptr) return E_INVALIDARG;
    const DISPPARAMS& params = *pDispParams;
    if (params.cArgs > 0 && params.rgvarg == nullptr) return E_INVALIDARG;
    if (params.cNamedArgs > 0 && params.rgdispidNamedArgs == nullptr) return E_INVALIDARG;
    if (params.cNamedArgs > params.cArgs) return E_INVALIDARG;

    const bool is_put = (wFlags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    const bool is_get = (wFlags & (DISPATCH_PROPERTYGET | DISPATCH_METHOD)) != 0;
    // The only named argument any member accepts is the value of a property put.
    if (params.cNamedArgs > 0 &&
        !(is_put && params.cNamedArgs == 1 && params.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT)) {
      return DISP_E_NONAMEDARGS;
    }

    switch (dispIdMember) {
      case DISPID_VALUE:
        return InvokeValue(wFlags, params, pVarResult, pExcepInfo, puArgErr);
      case kDispidCount: {
        if (is_put || !is_get) return DISP_E_MEMBERNOTFOUND;
        if (params.cArgs != 0) return DISP_E_BADPARAMCOUNT;
        LONG count = 0;
        LMK_RETURN_IF_FAILED(get_Count(&count));
        ReturnResult(Variant::I4(count), pVarResult);
        return S_OK;
      }
      case DISPID_NEWENUM: {
        if (is_put || !is_get) return DISP_E_MEMBERNOTFOUND;
        if (params.cArgs != 0) return DISP_E_BADPARAMCOUNT;
        ComPtr<IUnknown> enumerator;
        LMK_RETURN_IF_FAILED(get__NewEnum(&enumerator));
        ReturnResult(Variant::Unknown(enumerator.Get()), pVarResult);
        return S_OK;
      }
      case kDispidTest:
        if (is_put || !is_get) return DISP_E_MEMBERNOTFOUND;
        return InvokeTest(params, pVarResult, puArgErr);
      case kDispidMergeTo:
        if (is_put || !is_get) return DISP_E_MEMBERNOTFOUND;
        return InvokeMergeTo(params, puArgErr);
      case kDispidGetMultiple:
      case kDispidPutMultiple:
        // They take C arrays of names and VARIANTs, which a script cannot pass.
        return E_NOTIMPL;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionary::InvokeValue(WORD wFlags, const DISPPARAMS& params, VARIANT* pVarResult,
                                 EXCEPINFO* pExcepInfo, UINT* puArgErr) {
  const bool is_put = (wFlags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  const bool is_get = (wFlags & (DISPATCH_PROPERTYGET | DISPATCH_METHOD)) != 0;
  if (!is_put && !is_get) return DISP_E_MEMBERNOTFOUND;
  if (params.cArgs != (is_put ? 2U : 1U)) return DISP_E_BADPARAMCOUNT;

  Variant name;
  LMK_RETURN_IF_FAILED(CoerceArg(params, 0, VT_BSTR, &name, puArgErr));
  if (IsEmptyName(name.ref().bstrVal)) {
    if (puArgErr != nullptr) *puArgErr = ArgSlot(params, 0);
    return ReportFailure(E_INVALIDARG, L"A dictionary value needs a non-empty name.", pExcepInfo);
  }
  if (is_put) {
    Variant value;
    const HRESULT hr = CopyForStorage(params.rgvarg[ArgSlot(params, 1)], &value);
    if (FAILED(hr)) {
      if (puArgErr != nullptr) *puArgErr = ArgSlot(params, 1);
      return hr;
    }
    return put_Value(name.ref().bstrVal, *value.get());
  }
  Variant value;
  const HRESULT hr = get_Value(name.ref().bstrVal, &value);
  if (hr == E_FAIL) {
    return ReportFailure(
        hr,
        L"The dictionary has no value named \"" + std::wstring(View(name.ref().bstrVal)) + L"\".",
        pExcepInfo);
  }
  LMK_RETURN_IF_FAILED(hr);
  ReturnResult(std::move(value), pVarResult);
  return S_OK;
}

HRESULT CDictionary::InvokeTest(const DISPPARAMS& params, VARIANT* pVarResult, UINT* puArgErr) {
  if (params.cArgs != 1) return DISP_E_BADPARAMCOUNT;
  Variant name;
  LMK_RETURN_IF_FAILED(CoerceArg(params, 0, VT_BSTR, &name, puArgErr));
  const HRESULT hr = Test(name.ref().bstrVal);
  LMK_RETURN_IF_FAILED(hr);
  // A script cannot see S_FALSE, so presence comes back as a Boolean.
  ReturnResult(Variant::Bool(hr == S_OK), pVarResult);
  return S_OK;
}

HRESULT CDictionary::InvokeMergeTo(const DISPPARAMS& params, UINT* puArgErr) {
  if (params.cArgs != 1) return DISP_E_BADPARAMCOUNT;
  const UINT slot = ArgSlot(params, 0);
  const VARIANT& arg = Unwrap(params.rgvarg[slot]);
  IUnknown* target = nullptr;
  switch (arg.vt) {
    case VT_DISPATCH:
      target = arg.pdispVal;
      break;
    case VT_UNKNOWN:
      target = arg.punkVal;
      break;
    case VT_BYREF | VT_DISPATCH:
      target = arg.byref != nullptr ? *static_cast<IDispatch**>(arg.byref) : nullptr;
      break;
    case VT_BYREF | VT_UNKNOWN:
      target = arg.byref != nullptr ? *static_cast<IUnknown**>(arg.byref) : nullptr;
      break;
    default:
      if (puArgErr != nullptr) *puArgErr = slot;
      return DISP_E_TYPEMISMATCH;
  }
  if (target == nullptr) return MergeTo(nullptr);
  ComPtr<IDictionary> dictionary;
  if (FAILED(target->QueryInterface(IidOf<IDictionary>(),
                                    reinterpret_cast<void**>(dictionary.GetAddressOf())))) {
    if (puArgErr != nullptr) *puArgErr = slot;
    return DISP_E_TYPEMISMATCH;
  }
  return MergeTo(dictionary.Get());
}

HRESULT CDictionary::get__NewEnum(IUnknown** ppUnk) {
  try {
    if (ppUnk == nullptr) return E_INVALIDARG;
    *ppUnk = nullptr;
    ComPtr<CDictionary> self;
    AddRef();
    self.Attach(this);
    ComPtr<CDictionaryEnumVARIANT> enumerator =
        MakeComObject<CDictionaryEnumVARIANT>(std::move(self), Bstr());
    return enumerator->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(ppUnk));
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionary::get_Value(BSTR bstrName, VARIANT* pVal) {
  try {
    if (pVal == nullptr) return E_INVALIDARG;
    VariantInit(pVal);
    if (IsEmptyName(bstrName)) return E_INVALIDARG;
    std::lock_guard guard(lock_);
    const auto found = Find(View(bstrName));
    if (found == entries_.end()) return E_FAIL;
    return VariantCopy(pVal, const_cast<VARIANT*>(&found->second.ref()));
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionary::put_Value(BSTR bstrName, VARIANT pvarNew) {
  try {
    if (IsEmptyName(bstrName)) return E_INVALIDARG;
    Variant value;
    LMK_RETURN_IF_FAILED(CopyForStorage(pvarNew, &value));
    // The replaced value is released after the lock: releasing an object may run code that
    // calls back into this dictionary from another thread.
    std::vector<Variant> replaced;
    std::lock_guard guard(lock_);
    PutLocked(View(bstrName), std::move(value), &replaced);
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

CDictionary::Entries::iterator CDictionary::LowerBound(std::wstring_view name) {
  const auto& constThis = *this;
  return entries_.begin() + (constThis.LowerBound(name) - entries_.cbegin());
}

CDictionary::Entries::const_iterator CDictionary::LowerBound(std::wstring_view name) const {
  return std::lower_bound(
      entries_.begin(), entries_.end(), name,
      [](const Entry& e, std::wstring_view n) { return NameLess()(e.first, n); });
}

CDictionary::Entries::const_iterator CDictionary::Find(std::wstring_view name) const {
  const auto at = LowerBound(name);
  return at != entries_.end() && !NameLess()(name, at->first) ? at : entries_.end();
}

void CDictionary::PutLocked(std::wstring_view name, Variant value, std::vector<Variant>* replaced) {
  const auto at = LowerBound(name);
  if (at != entries_.end() && !NameLess()(name, at->first)) {
    replaced->push_back(std::move(at->second));
    at->second = std::move(value);
    return;
  }
  entries_.emplace(at, StoreName(name), std::move(value));
}

std::wstring_view CDictionary::StoreName(std::wstring_view name) {
  auto* text =
      static_cast<wchar_t*>(arena_.allocate((name.size() + 1) * sizeof(wchar_t), alignof(wchar_t)));
  std::copy(name.begin(), name.end(), text);
  text[name.size()] = L'\0';
  return {text, name.size()};
}

HRESULT CDictionary::get_Count(LONG* pVal) {
  try {
    if (pVal == nullptr) return E_INVALIDARG;
    std::lock_guard guard(lock_);
    if (entries_.size() > static_cast<std::size_t>(std::numeric_limits<LONG>::max())) {
      return DISP_E_OVERFLOW;
    }
    *pVal = static_cast<LONG>(entries_.size());
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionary::GetMultiple(ULONG cb, LPOLESTR* rgolestr, VARIANT* rgvar) {
  try {
    if (cb == 0) return S_OK;
    if (rgvar == nullptr) return E_INVALIDARG;
    for (ULONG i = 0; i < cb; ++i) VariantInit(&rgvar[i]);
    if (rgolestr == nullptr) return E_INVALIDARG;
    // Values are gathered first and handed over only when all were found, so a failure leaves
    // the caller owning nothing.
    std::vector<Variant> values(cb);
    std::lock_guard guard(lock_);
    for (ULONG i = 0; i < cb; ++i) {
      if (rgolestr[i] == nullptr || rgolestr[i][0] == L'\0') return E_INVALIDARG;
      const auto found = Find(std::wstring_view(rgolestr[i]));
      if (found == entries_.end()) return E_FAIL;
      values[i] = found->second;
    }
    for (ULONG i = 0; i < cb; ++i) values[i].Detach(&rgvar[i]);
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

template <class Take>
HRESULT CDictionary::PutEach(ULONG cb, LPOLESTR* rgolestr, Take&& take) {
  // Values before a bad name or a value that cannot be copied are put all the same, as with
  // one put_Value call after another.
  std::vector<Variant> values;
  values.reserve(cb);
  HRESULT hr = S_OK;
  for (ULONG i = 0; i < cb; ++i) {
    if (rgolestr[i] == nullptr || rgolestr[i][0] == L'\0') {
      hr = E_INVALIDARG;
      break;
    }
    Variant value;
    hr = take(i, value);
    if (FAILED(hr)) break;
    values.push_back(std::move(value));
  }
  std::vector<Variant> replaced;
  std::lock_guard guard(lock_);
  if (entries_.empty()) {
    FillEmptyLocked(static_cast<ULONG>(values.size()), rgolestr, values.data());
  } else {
    for (std::size_t i = 0; i < values.size(); ++i) {
      PutLocked(std::wstring_view(rgolestr[i]), std::move(values[i]), &replaced);
    }
  }
  return hr;
}

HRESULT CDictionary::PutMultiple(ULONG cb, LPOLESTR* rgolestr, VARIANT* rgvar) {
  try {
    if (cb == 0) return S_OK;
    if (rgolestr == nullptr || rgvar == nullptr) return E_INVALIDARG;
    return PutEach(cb, rgolestr,
                   [rgvar](ULONG i, Variant& value) { return CopyForStorage(rgvar[i], &value); });
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionary::TakeMultiple(ULONG cb, LPOLESTR* rgolestr, Variant* values) noexcept {
  try {
    if (cb == 0) return S_OK;
    if (rgolestr == nullptr || values == nullptr) return E_INVALIDARG;
    // The usual case, a fresh record: the values move straight into place. A value by
    // reference must be copied, which the general way does.
    ULONG valid = 0;
    bool byReference = false;
    for (; valid < cb && rgolestr[valid] != nullptr && rgolestr[valid][0] != L'\0'; ++valid) {
      byReference = byReference || (values[valid].ref().vt & VT_BYREF) != 0;
    }
    if (!byReference) {
      std::lock_guard guard(lock_);
      if (entries_.empty()) {
        FillEmptyLocked(valid, rgolestr, values);
        return valid == cb ? S_OK : E_INVALIDARG;
      }
    }
    return PutEach(cb, rgolestr, [values](ULONG i, Variant& value) {
      if ((values[i].ref().vt & VT_BYREF) != 0) return CopyForStorage(values[i].ref(), &value);
      value = std::move(values[i]);
      return S_OK;
    });
  } catch (...) {
    return HresultFromCurrentException();
  }
}

struct CDictionary::NameBlock {
  std::vector<LPOLESTR> pointers;   // the caller's names, by position
  std::vector<std::wstring> texts;  // their text, by position
  std::vector<ULONG> order;         // positions in name order; of equal names the later last
  bool distinct = true;             // no name given twice

  NameBlock(ULONG count, LPOLESTR* names) : pointers(names, names + count), order(count) {
    texts.reserve(count);
    for (ULONG k = 0; k < count; ++k) texts.emplace_back(names[k]);
    std::iota(order.begin(), order.end(), 0U);
    const NameLess less;
    // Stable: of two equal names the later one comes later and wins, as with two puts.
    std::stable_sort(order.begin(), order.end(),
                     [&](ULONG a, ULONG b) { return less(texts[a], texts[b]); });
    for (ULONG k = 1; k < count; ++k) distinct = distinct && texts[order[k - 1]] != texts[order[k]];
  }

  // True when the caller passes the same names again: the same array, each name still
  // holding the same text (an equality test, cheaper than ordering them again).
  bool Matches(ULONG count, LPOLESTR* names) const {
    if (pointers.size() != count || !std::equal(names, names + count, pointers.begin()))
      return false;
    for (ULONG k = 0; k < count; ++k) {
      if (std::wcsncmp(names[k], texts[k].c_str(), texts[k].size() + 1) != 0) return false;
    }
    return true;
  }
};

void CDictionary::FillEmptyLocked(ULONG count, LPOLESTR* rgolestr, Variant* values) {
  if (count == 0) return;
  // Every per-file record is such a fill, always of the same names: they are sorted once per
  // thread, and each record keeps the sorted copy alive instead of copying every name.
  thread_local std::shared_ptr<const NameBlock> lastBlock;
  if (!lastBlock || !lastBlock->Matches(count, rgolestr)) {
    lastBlock = std::make_shared<const NameBlock>(count, rgolestr);
  }
  sharedNames_ = lastBlock;
  const NameBlock& block = *sharedNames_;
  entries_.reserve(count);
  for (const ULONG index : block.order) {
    const std::wstring_view name = block.texts[index];
    // Only a name given twice can equal the last one put.
    if (!block.distinct && !entries_.empty() && entries_.back().first == name) {
      entries_.back().second = std::move(values[index]);
    } else {
      entries_.emplace_back(name, std::move(values[index]));
    }
  }
}

HRESULT CDictionary::Test(BSTR bstrName) {
  try {
    if (IsEmptyName(bstrName)) return E_INVALIDARG;
    std::lock_guard guard(lock_);
    return Find(View(bstrName)) != entries_.end() ? S_OK : S_FALSE;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT CDictionary::MergeTo(IDictionary* lpDictionary) {
  try {
    if (lpDictionary == nullptr) return E_INVALIDARG;
    std::vector<std::pair<Bstr, Variant>> snapshot;
    {
      std::lock_guard guard(lock_);
      snapshot.reserve(entries_.size());
      for (const auto& [name, value] : entries_) snapshot.emplace_back(Bstr(name), value);
    }
    for (auto& [name, value] : snapshot) {
      LMK_RETURN_IF_FAILED(lpDictionary->put_Value(name.get(), *value.get()));
    }
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

std::vector<Bstr> CDictionary::NamesAfter(const Bstr& after, std::size_t max) const {
  std::vector<Bstr> names;
  std::lock_guard guard(lock_);
  auto it = entries_.begin();
  if (!after.empty()) {
    it = std::upper_bound(
        entries_.begin(), entries_.end(), View(after.get()),
        [](std::wstring_view n, const Entry& e) { return NameLess()(n, e.first); });
  }
  for (; it != entries_.end() && names.size() < max; ++it) names.emplace_back(it->first);
  return names;
}

HRESULT CreateDictionary(IUnknown* outer, REFIID riid, void** ppv) noexcept {
  try {
    if (ppv == nullptr) return E_INVALIDARG;
    *ppv = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    ComPtr<CDictionary> dictionary = MakeComObject<CDictionary>();
    return dictionary->QueryInterface(riid, ppv);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

ComPtr<IDictionary> MakeDictionary() {
  ComPtr<IDictionary> dictionary;
  const HRESULT hr = CreateDictionary(nullptr, IidOf<IDictionary>(),
                                      reinterpret_cast<void**>(dictionary.GetAddressOf()));
  if (FAILED(hr)) ThrowIfFailed(hr);
  return dictionary;
}

}  // namespace lmk
