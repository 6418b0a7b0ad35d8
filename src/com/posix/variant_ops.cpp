// VARIANT lifetime and coercion, and BSTR comparison, for POSIX, following OLE Automation's
// rules for the types our code stores: overflow is DISP_E_OVERFLOW, text that is no number
// DISP_E_TYPEMISMATCH, reals become integers by banker's rounding.
#include <locale.h>

#include <charconv>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cwctype>
#include <limits>
#include <string>
#include <string_view>
#include <variant>

#include "com/posix/com_interfaces.h"
#include "com/posix/oleauto.h"
#include "com/time_convert.h"

namespace {

// ---- Types -------------------------------------------------------------------------------

bool IsKnownBaseType(VARTYPE vt) {
  switch (vt) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I2:
    case VT_I4:
    case VT_R4:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_ERROR:
    case VT_BOOL:
    case VT_VARIANT:
    case VT_UNKNOWN:
    case VT_DECIMAL:
    case VT_I1:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
      return true;
    default:
      return false;
  }
}

// A type a variant may hold by value (VT_VARIANT only exists by reference).
bool IsValidValueType(VARTYPE vt) {
  if ((vt & VT_BYREF) != 0) {
    const VARTYPE base = vt & VT_TYPEMASK;
    return base != VT_EMPTY && base != VT_NULL && IsKnownBaseType(base) &&
           (vt & ~(VT_BYREF | VT_TYPEMASK)) == 0;
  }
  if ((vt & ~VT_TYPEMASK) != 0) return false;  // arrays are not supported here
  return vt != VT_VARIANT && IsKnownBaseType(vt);
}

bool IsSignedInteger(VARTYPE vt) {
  return vt == VT_I1 || vt == VT_I2 || vt == VT_I4 || vt == VT_I8 || vt == VT_INT;
}

bool IsUnsignedInteger(VARTYPE vt) {
  return vt == VT_UI1 || vt == VT_UI2 || vt == VT_UI4 || vt == VT_UI8 || vt == VT_UINT;
}

bool IsInteger(VARTYPE vt) { return IsSignedInteger(vt) || IsUnsignedInteger(vt); }

struct IntegerRange {
  int64_t min;
  uint64_t max;
};

IntegerRange RangeOf(VARTYPE vt) {
  switch (vt) {
    case VT_I1:
      return {INT8_MIN, INT8_MAX};
    case VT_I2:
      return {INT16_MIN, INT16_MAX};
    case VT_I4:
    case VT_INT:
      return {INT32_MIN, INT32_MAX};
    case VT_I8:
      return {INT64_MIN, INT64_MAX};
    case VT_UI1:
      return {0, UINT8_MAX};
    case VT_UI2:
      return {0, UINT16_MAX};
    case VT_UI4:
    case VT_UINT:
      return {0, UINT32_MAX};
    default:
      return {0, UINT64_MAX};
  }
}

// ---- Values between types ----------------------------------------------------------------

// A number on its way from one type to another: exact integers stay exact.
using Number = std::variant<int64_t, uint64_t, double>;

Number ReadNumber(const VARIANT& v) {
  switch (v.vt) {
    case VT_I1:
      return int64_t{v.cVal};
    case VT_I2:
      return int64_t{v.iVal};
    case VT_I4:
      return int64_t{v.lVal};
    case VT_INT:
      return int64_t{v.intVal};
    case VT_I8:
      return int64_t{v.llVal};
    case VT_UI1:
      return uint64_t{v.bVal};
    case VT_UI2:
      return uint64_t{v.uiVal};
    case VT_UI4:
      return uint64_t{v.ulVal};
    case VT_UINT:
      return uint64_t{v.uintVal};
    case VT_UI8:
      return uint64_t{v.ullVal};
    case VT_R4:
      return double{v.fltVal};
    case VT_R8:
      return v.dblVal;
    case VT_DATE:
      return v.date;
    case VT_BOOL:
      return int64_t{v.boolVal != VARIANT_FALSE ? -1 : 0};
    default:
      return int64_t{0};  // VT_EMPTY
  }
}

double AsDouble(const Number& n) {
  if (const auto* i = std::get_if<int64_t>(&n)) return static_cast<double>(*i);
  if (const auto* u = std::get_if<uint64_t>(&n)) return static_cast<double>(*u);
  return std::get<double>(n);
}

bool IsNonZero(const Number& n) {
  if (const auto* i = std::get_if<int64_t>(&n)) return *i != 0;
  if (const auto* u = std::get_if<uint64_t>(&n)) return *u != 0;
  return std::get<double>(n) != 0.0;  // NaN is non-zero
}

// Round half to even, as Automation does for every real-to-integer coercion.
double RoundHalfEven(double d) {
  const double floor = std::floor(d);
  const double diff = d - floor;
  if (diff > 0.5) return floor + 1.0;
  if (diff < 0.5) return floor;
  return std::fmod(floor, 2.0) == 0.0 ? floor : floor + 1.0;
}

HRESULT ToInteger(const Number& n, VARTYPE vt, VARIANT* out) {
  const IntegerRange range = RangeOf(vt);
  bool negative = false;
  int64_t as_signed = 0;
  uint64_t as_unsigned = 0;
  if (const auto* i = std::get_if<int64_t>(&n)) {
    negative = *i < 0;
    as_signed = *i;
    as_unsigned = static_cast<uint64_t>(*i);
  } else if (const auto* u = std::get_if<uint64_t>(&n)) {
    as_unsigned = *u;
  } else {
    const double d = RoundHalfEven(std::get<double>(n));
    constexpr double kTwoTo63 = 9223372036854775808.0;
    constexpr double kTwoTo64 = 18446744073709551616.0;
    if (std::isnan(d) || d < -kTwoTo63 || d >= kTwoTo64) return DISP_E_OVERFLOW;
    if (d < 0) {
      negative = true;
      as_signed = static_cast<int64_t>(d);
    } else {
      as_unsigned = static_cast<uint64_t>(d);
    }
  }
  if (negative ? as_signed < range.min : as_unsigned > range.max) return DISP_E_OVERFLOW;
  const int64_t s = negative ? as_signed : static_cast<int64_t>(as_unsigned);
  out->vt = vt;
  switch (vt) {
    case VT_I1:
      out->cVal = static_cast<CHAR>(s);
      break;
    case VT_I2:
      out->iVal = static_cast<SHORT>(s);
      break;
    case VT_I4:
      out->lVal = static_cast<LONG>(s);
      break;
    case VT_INT:
      out->intVal = static_cast<INT>(s);
      break;
    case VT_I8:
      out->llVal = s;
      break;
    case VT_UI1:
      out->bVal = static_cast<BYTE>(as_unsigned);
      break;
    case VT_UI2:
      out->uiVal = static_cast<USHORT>(as_unsigned);
      break;
    case VT_UI4:
      out->ulVal = static_cast<ULONG>(as_unsigned);
      break;
    case VT_UINT:
      out->uintVal = static_cast<UINT>(as_unsigned);
      break;
    default:
      out->ullVal = as_unsigned;
      break;
  }
  return S_OK;
}

HRESULT ToReal(const Number& n, VARTYPE vt, VARIANT* out) {
  const double d = AsDouble(n);
  if (vt == VT_R4) {
    if (std::isinf(d) || std::fabs(d) > std::numeric_limits<float>::max()) return DISP_E_OVERFLOW;
    out->vt = VT_R4;
    out->fltVal = static_cast<float>(d);
  } else {
    out->vt = VT_R8;
    out->dblVal = d;
  }
  return S_OK;
}

HRESULT ToDate(const Number& n, VARIANT* out) {
  const double d = AsDouble(n);
  // Automation dates run from 0100-01-01 to 9999-12-31.
  if (!(d > -657435.0 && d < 2958466.0)) return DISP_E_OVERFLOW;
  out->vt = VT_DATE;
  out->date = d;
  return S_OK;
}

// ---- Text --------------------------------------------------------------------------------

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

std::wstring_view Trim(std::wstring_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::wstring_view ViewOf(BSTR bstr) {
  return bstr == nullptr ? std::wstring_view() : std::wstring_view(bstr, SysStringLen(bstr));
}

// The power of ten of the first significant digit of a well-formed number text ("1e400" is
// 400, "0.001" is -3), saturated; tells an overflow from an underflow.
long DecimalMagnitude(const std::string& ascii) {
  long magnitude = 0;
  bool seen_point = false;
  bool seen_digit = false;
  long integral_digits = 0;
  size_t i = 0;
  for (; i < ascii.size() && ascii[i] != 'e'; ++i) {
    const char c = ascii[i];
    if (c == '.') {
      seen_point = true;
    } else if (c >= '0' && c <= '9') {
      if (!seen_digit && c == '0') {
        if (seen_point) --magnitude;
        continue;
      }
      seen_digit = true;
      if (!seen_point) ++integral_digits;
    }
  }
  if (!seen_digit) return LONG_MIN / 2;
  magnitude = integral_digits > 0 ? integral_digits - 1 : magnitude - 1;
  long exponent = 0;
  if (i < ascii.size()) {
    bool negative = false;
    for (++i; i < ascii.size(); ++i) {
      if (ascii[i] == '-') {
        negative = true;
      } else if (ascii[i] >= '0' && ascii[i] <= '9' && exponent < 100000) {
        exponent = exponent * 10 + (ascii[i] - '0');
      }
    }
    if (negative) exponent = -exponent;
  }
  return magnitude + exponent;
}

// Reads "[+|-]digits[.digits][(e|E)[+|-]digits]" with blanks around; integers without a
// fraction or exponent stay exact. DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW otherwise.
HRESULT ParseNumber(std::wstring_view text, Number* out) {
  text = Trim(text);
  std::string ascii;
  size_t pos = 0;
  bool negative = false;
  if (pos < text.size() && (text[pos] == L'+' || text[pos] == L'-')) {
    negative = text[pos] == L'-';
    ++pos;
  }
  if (negative) ascii.push_back('-');
  auto digits = [&] {
    size_t count = 0;
    while (pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9') {
      ascii.push_back(static_cast<char>(text[pos]));
      ++pos;
      ++count;
    }
    return count;
  };
  size_t mantissa_digits = digits();
  bool integral = true;
  if (pos < text.size() && text[pos] == L'.') {
    integral = false;
    ascii.push_back('.');
    ++pos;
    mantissa_digits += digits();
  }
  if (mantissa_digits == 0) return DISP_E_TYPEMISMATCH;
  if (pos < text.size() && (text[pos] == L'e' || text[pos] == L'E')) {
    integral = false;
    ascii.push_back('e');
    ++pos;
    if (pos < text.size() && (text[pos] == L'+' || text[pos] == L'-')) {
      ascii.push_back(static_cast<char>(text[pos]));
      ++pos;
    }
    if (digits() == 0) return DISP_E_TYPEMISMATCH;
  }
  if (pos != text.size()) return DISP_E_TYPEMISMATCH;

  const char* first = ascii.data();
  const char* last = ascii.data() + ascii.size();
  if (integral) {
    int64_t i = 0;
    if (auto [ptr, ec] = std::from_chars(first, last, i); ec == std::errc() && ptr == last) {
      *out = i;
      return S_OK;
    }
    uint64_t u = 0;
    if (auto [ptr, ec] = std::from_chars(first, last, u); ec == std::errc() && ptr == last) {
      *out = u;
      return S_OK;
    }
  }
  double d = 0;
  const auto [ptr, ec] = std::from_chars(first, last, d);
  if (ec == std::errc::result_out_of_range) {
    // Too large overflows; too small is just zero.
    if (DecimalMagnitude(ascii) > 0) return DISP_E_OVERFLOW;
    d = 0.0;
  } else if (ec != std::errc() || ptr != last) {
    return DISP_E_TYPEMISMATCH;
  }
  *out = d;
  return S_OK;
}

bool EqualsIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    wchar_t x = a[i], y = b[i];
    if (x >= L'A' && x <= L'Z') x = static_cast<wchar_t>(x - L'A' + L'a');
    if (y >= L'A' && y <= L'Z') y = static_cast<wchar_t>(y - L'A' + L'a');
    if (x != y) return false;
  }
  return true;
}

HRESULT MakeBstr(std::wstring_view text, VARIANT* out) {
  BSTR bstr = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (bstr == nullptr) return E_OUTOFMEMORY;
  out->vt = VT_BSTR;
  out->bstrVal = bstr;
  return S_OK;
}

// Integers plainly; reals with up to `digits` significant digits, no trailing zeros and an
// exponent only where Automation prints one ("0.1", "1E+20", "1.5E-07").
HRESULT FormatNumber(const Number& n, int digits, std::wstring* text) {
  char buffer[64];
  std::to_chars_result result{};
  if (const auto* i = std::get_if<int64_t>(&n)) {
    result = std::to_chars(buffer, buffer + sizeof buffer, *i);
  } else if (const auto* u = std::get_if<uint64_t>(&n)) {
    result = std::to_chars(buffer, buffer + sizeof buffer, *u);
  } else {
    double d = std::get<double>(n);
    if (!std::isfinite(d)) return DISP_E_OVERFLOW;
    if (d == 0.0) d = 0.0;  // no "-0"
    result = std::to_chars(buffer, buffer + sizeof buffer, d, std::chars_format::general, digits);
  }
  if (result.ec != std::errc()) return DISP_E_OVERFLOW;
  text->clear();
  for (const char* p = buffer; p != result.ptr; ++p) text->push_back(*p == 'e' ? L'E' : *p);
  return S_OK;
}

// ---- Coercion ----------------------------------------------------------------------------

// A by-value view of a by-reference variant; owns nothing.
bool Dereference(const VARIANT& src, VARIANT* view) {
  *view = VARIANT{};
  if ((src.vt & VT_BYREF) == 0) {
    *view = src;
    return true;
  }
  if (src.byref == nullptr) return false;
  const VARTYPE base = src.vt & VT_TYPEMASK;
  view->vt = base;
  switch (base) {
    case VT_I1:
      view->cVal = *src.pcVal;
      break;
    case VT_UI1:
      view->bVal = *src.pbVal;
      break;
    case VT_I2:
      view->iVal = *src.piVal;
      break;
    case VT_UI2:
      view->uiVal = *src.puiVal;
      break;
    case VT_I4:
      view->lVal = *src.plVal;
      break;
    case VT_UI4:
      view->ulVal = *src.pulVal;
      break;
    case VT_INT:
      view->intVal = *src.pintVal;
      break;
    case VT_UINT:
      view->uintVal = *src.puintVal;
      break;
    case VT_I8:
      view->llVal = *src.pllVal;
      break;
    case VT_UI8:
      view->ullVal = *src.pullVal;
      break;
    case VT_R4:
      view->fltVal = *src.pfltVal;
      break;
    case VT_R8:
      view->dblVal = *src.pdblVal;
      break;
    case VT_DATE:
      view->date = *src.pdate;
      break;
    case VT_BOOL:
      view->boolVal = *src.pboolVal;
      break;
    case VT_ERROR:
      view->scode = *src.pscode;
      break;
    case VT_BSTR:
      view->bstrVal = *src.pbstrVal;
      break;
    case VT_UNKNOWN:
      view->punkVal = *src.ppunkVal;
      break;
    case VT_DISPATCH:
      view->pdispVal = *src.ppdispVal;
      break;
    case VT_VARIANT:
      // One level: a variant reference that again holds a reference is followed once more.
      if ((src.pvarVal->vt & VT_BYREF) != 0 && (src.pvarVal->vt & VT_TYPEMASK) == VT_VARIANT) {
        return false;
      }
      return Dereference(*src.pvarVal, view);
    default:
      return false;
  }
  return true;
}

HRESULT QueryInto(IUnknown* unknown, VARTYPE vt, VARIANT* out) {
  if (unknown == nullptr) {
    out->vt = vt;
    out->punkVal = nullptr;
    return S_OK;
  }
  void* p = nullptr;
  const HRESULT hr = unknown->QueryInterface(vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown, &p);
  if (FAILED(hr)) return hr;
  out->vt = vt;
  if (vt == VT_DISPATCH) {
    out->pdispVal = static_cast<IDispatch*>(p);
  } else {
    out->punkVal = static_cast<IUnknown*>(p);
  }
  return S_OK;
}

HRESULT ToText(const VARIANT& src, USHORT flags, VARIANT* out) {
  std::wstring text;
  switch (src.vt) {
    case VT_EMPTY:
      break;
    case VT_BOOL:
      if ((flags & (VARIANT_ALPHABOOL | VARIANT_LOCALBOOL)) != 0) {
        text = src.boolVal != VARIANT_FALSE ? L"True" : L"False";
      } else {
        text = src.boolVal != VARIANT_FALSE ? L"-1" : L"0";
      }
      break;
    case VT_DATE:
      if (!lmk::DateToText(src.date, &text)) return DISP_E_OVERFLOW;
      break;
    case VT_R4:
      if (HRESULT hr = FormatNumber(double{src.fltVal}, 7, &text); FAILED(hr)) return hr;
      break;
    default:
      if (HRESULT hr = FormatNumber(ReadNumber(src), 15, &text); FAILED(hr)) return hr;
      break;
  }
  return MakeBstr(text, out);
}

HRESULT Convert(const VARIANT& src, USHORT flags, VARTYPE vt, VARIANT* out) {
  if (src.vt == vt) return VariantCopy(out, &src);
  if (vt == VT_EMPTY) {
    out->vt = VT_EMPTY;
    return S_OK;
  }
  if (vt == VT_NULL) {
    if (src.vt != VT_EMPTY) return DISP_E_TYPEMISMATCH;
    out->vt = VT_NULL;
    return S_OK;
  }
  switch (src.vt) {
    case VT_NULL:
    case VT_ERROR:
      return DISP_E_TYPEMISMATCH;
    case VT_UNKNOWN:
    case VT_DISPATCH:
      // Reading an object's default property is not supported: only interface changes.
      if (vt != VT_UNKNOWN && vt != VT_DISPATCH) return DISP_E_TYPEMISMATCH;
      return QueryInto(src.punkVal, vt, out);
    case VT_CY:
    case VT_DECIMAL:
      return DISP_E_BADVARTYPE;
    default:
      break;
  }
  if (vt == VT_UNKNOWN || vt == VT_DISPATCH) return DISP_E_TYPEMISMATCH;
  if (vt == VT_ERROR) {
    if (!IsInteger(src.vt)) return DISP_E_TYPEMISMATCH;
    VARIANT code{};
    if (HRESULT hr = ToInteger(ReadNumber(src), VT_I4, &code); FAILED(hr)) return hr;
    out->vt = VT_ERROR;
    out->scode = code.lVal;
    return S_OK;
  }
  if (vt == VT_BSTR) return ToText(src, flags, out);

  Number number;
  if (src.vt == VT_BSTR) {
    const std::wstring_view text = ViewOf(src.bstrVal);
    if (vt == VT_DATE) {
      DATE date = 0;
      if (SUCCEEDED(lmk::TextToDate(text, &date))) {
        out->vt = VT_DATE;
        out->date = date;
        return S_OK;
      }
    }
    if (vt == VT_BOOL) {
      const std::wstring_view word = Trim(text);
      if (EqualsIgnoringAsciiCase(word, L"true") || EqualsIgnoringAsciiCase(word, L"false")) {
        out->vt = VT_BOOL;
        out->boolVal = EqualsIgnoringAsciiCase(word, L"true") ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
      }
    }
    if (HRESULT hr = ParseNumber(text, &number); FAILED(hr)) return hr;
  } else if (src.vt == VT_BOOL && src.boolVal != VARIANT_FALSE && IsUnsignedInteger(vt) &&
             vt != VT_UI8) {
    // True (-1) keeps its bits in the narrower unsigned types: 255, 65535, 4294967295.
    number = RangeOf(vt).max;
  } else {
    number = ReadNumber(src);
  }

  switch (vt) {
    case VT_BOOL:
      out->vt = VT_BOOL;
      out->boolVal = IsNonZero(number) ? VARIANT_TRUE : VARIANT_FALSE;
      return S_OK;
    case VT_DATE:
      return ToDate(number, out);
    case VT_R4:
    case VT_R8:
      return ToReal(number, vt, out);
    default:
      return ToInteger(number, vt, out);
  }
}

// ---- Case folding for comparisons ----------------------------------------------------------

// Case-insensitive comparison must fold more than ASCII (É and é are one letter), and must not
// depend on the locale the program happens to run in: fold with the C.UTF-8 locale's tables.
locale_t FoldingLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  return locale;
}

wchar_t Fold(wchar_t c) {
  if (c < 0x80) return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
  const locale_t locale = FoldingLocale();
  return locale != static_cast<locale_t>(0) ? static_cast<wchar_t>(towlower_l(c, locale)) : c;
}

}  // namespace

void VariantInit(VARIANTARG* var) {
  if (var == nullptr) return;
  var->vt = VT_EMPTY;
  var->wReserved1 = var->wReserved2 = var->wReserved3 = 0;
  var->llVal = 0;
}

HRESULT VariantClear(VARIANTARG* var) {
  if (var == nullptr) return E_INVALIDARG;
  if (!IsValidValueType(var->vt)) return DISP_E_BADVARTYPE;
  if ((var->vt & VT_BYREF) == 0) {
    switch (var->vt) {
      case VT_BSTR:
        SysFreeString(var->bstrVal);
        break;
      case VT_UNKNOWN:
        if (var->punkVal != nullptr) var->punkVal->Release();
        break;
      case VT_DISPATCH:
        if (var->pdispVal != nullptr) var->pdispVal->Release();
        break;
      default:
        break;
    }
  }
  VariantInit(var);
  return S_OK;
}

HRESULT VariantCopy(VARIANTARG* dest, const VARIANTARG* src) {
  if (dest == nullptr || src == nullptr) return E_INVALIDARG;
  if (dest == src) return S_OK;
  if (!IsValidValueType(src->vt)) return DISP_E_BADVARTYPE;
  VARIANT copy = *src;
  if (src->vt == VT_BSTR && src->bstrVal != nullptr) {
    copy.bstrVal = SysAllocStringLen(src->bstrVal, SysStringLen(src->bstrVal));
    if (copy.bstrVal == nullptr) return E_OUTOFMEMORY;
  } else if ((src->vt == VT_UNKNOWN || src->vt == VT_DISPATCH) && src->punkVal != nullptr) {
    src->punkVal->AddRef();
  }
  if (const HRESULT hr = VariantClear(dest); FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *dest = copy;
  return S_OK;
}

HRESULT VariantCopyInd(VARIANT* dest, const VARIANTARG* src) {
  if (dest == nullptr || src == nullptr) return E_INVALIDARG;
  if (!IsValidValueType(src->vt)) return DISP_E_BADVARTYPE;
  VARIANT view;
  if (!Dereference(*src, &view)) return E_INVALIDARG;
  VARIANT copy;
  VariantInit(&copy);
  if (const HRESULT hr = VariantCopy(&copy, &view); FAILED(hr)) return hr;
  if (const HRESULT hr = VariantClear(dest); FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *dest = copy;
  return S_OK;
}

HRESULT VariantChangeTypeEx(VARIANTARG* dest, const VARIANTARG* src, LCID, USHORT flags,
                            VARTYPE vt) {
  if (dest == nullptr || src == nullptr) return E_INVALIDARG;
  if (!IsValidValueType(src->vt)) return DISP_E_BADVARTYPE;
  if ((vt & ~VT_TYPEMASK) != 0 || vt == VT_VARIANT || !IsKnownBaseType(vt)) {
    return DISP_E_BADVARTYPE;
  }
  if (vt == VT_CY || vt == VT_DECIMAL) return DISP_E_BADVARTYPE;
  VARIANT view;
  if (!Dereference(*src, &view)) return E_INVALIDARG;
  // Convert into a fresh variant first, so a failure leaves dest as it was and an in-place
  // conversion frees the source only once the result exists.
  VARIANT result;
  VariantInit(&result);
  if (const HRESULT hr = Convert(view, flags, vt, &result); FAILED(hr)) {
    VariantClear(&result);
    return hr;
  }
  if (const HRESULT hr = VariantClear(dest); FAILED(hr)) {
    VariantClear(&result);
    return hr;
  }
  *dest = result;
  return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* dest, const VARIANTARG* src, USHORT flags, VARTYPE vt) {
  return VariantChangeTypeEx(dest, src, LOCALE_USER_DEFAULT, flags, vt);
}

HRESULT VarBstrCmpWithFlags(BSTR left, BSTR right, ULONG flags) {
  const std::wstring_view a = ViewOf(left);
  const std::wstring_view b = ViewOf(right);
  const bool ignore_case = (flags & NORM_IGNORECASE) != 0;
  const size_t common = a.size() < b.size() ? a.size() : b.size();
  for (size_t i = 0; i < common; ++i) {
    // Compare as unsigned code points so the order is the same wherever wchar_t is signed.
    const auto x = static_cast<uint32_t>(ignore_case ? Fold(a[i]) : a[i]);
    const auto y = static_cast<uint32_t>(ignore_case ? Fold(b[i]) : b[i]);
    if (x != y) return x < y ? VARCMP_LT : VARCMP_GT;
  }
  if (a.size() == b.size()) return VARCMP_EQ;
  return a.size() < b.size() ? VARCMP_LT : VARCMP_GT;
}
