// Reads and coerces record values for conditions.
#include "conditions/record_value.h"

#include <memory>

namespace lmk {

HRESULT GetRecordValue(IDictionary& record, const Bstr& key, VARTYPE vt, Variant* value) {
  LMK_RETURN_IF_FAILED(record.get_Value(key.get(), &*value));
  if (value->vt() == vt) return S_OK;
  return value->ChangeType(vt);
}

HRESULT GetRecordInt(IDictionary& record, const Bstr& key, std::int32_t* value) {
  Variant v;
  LMK_RETURN_IF_FAILED(record.get_Value(key.get(), &v));
  // The record's small integer types always fit: taken directly, as the coercion would, without
  // its cost on every file. Everything else (VT_UI4 may overflow) goes through the coercion.
  const VARIANT& raw = v.ref();
  switch (raw.vt) {
    case VT_I4:
      *value = raw.lVal;
      return S_OK;
    case VT_I2:
      *value = raw.iVal;
      return S_OK;
    case VT_UI2:
      *value = raw.uiVal;
      return S_OK;
    case VT_UI1:
      *value = raw.bVal;
      return S_OK;
    case VT_BOOL:
      *value = raw.boolVal;
      return S_OK;
    default:
      break;
  }
  LMK_RETURN_IF_FAILED(v.ChangeType(VT_I4));
  *value = v.ref().lVal;
  return S_OK;
}

HRESULT GetNativeSize(IDictionary& record, std::int32_t* width, std::int32_t* height) {
  static const Bstr kWidth(L"Image.NativeWidth");
  static const Bstr kHeight(L"Image.NativeHeight");
  LMK_RETURN_IF_FAILED(GetRecordInt(record, kWidth, width));
  return GetRecordInt(record, kHeight, height);
}

HRESULT GetRecordDouble(IDictionary& record, const Bstr& key, double* value) {
  Variant v;
  LMK_RETURN_IF_FAILED(GetRecordValue(record, key, VT_R8, std::addressof(v)));
  *value = v.ref().dblVal;
  return S_OK;
}

HRESULT GetRecordText(IDictionary& record, const Bstr& key, Variant& holder,
                      std::wstring_view* text) {
  LMK_RETURN_IF_FAILED(GetRecordValue(record, key, VT_BSTR, std::addressof(holder)));
  const BSTR s = holder.ref().bstrVal;
  *text = s == nullptr ? std::wstring_view() : std::wstring_view(s, SysStringLen(s));
  return S_OK;
}

HRESULT GetRecordFileTime(IDictionary& record, const Bstr& key, std::int64_t* ticks) {
  Variant v;
  LMK_RETURN_IF_FAILED(record.get_Value(key.get(), &v));
  if (v.vt() != VT_I8) return E_UNEXPECTED;
  *ticks = v.ref().llVal;
  return S_OK;
}

}  // namespace lmk
