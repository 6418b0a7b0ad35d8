// BSTR, VARIANT and the OLE Automation functions that work on them, for POSIX.
#pragma once

#include "com/posix/com_types.h"

struct IUnknown;
struct IDispatch;
struct IRecordInfo;
struct SAFEARRAY;

/// Length-prefixed wide string: the 32-bit byte count sits just before the first character and
/// a terminating NUL follows the last one. Null is a valid, empty BSTR.
using BSTR = OLECHAR*;
using LPBSTR = BSTR*;

enum VARENUM : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_DECIMAL = 14,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_VOID = 24,
  VT_HRESULT = 25,
  VT_LPSTR = 30,
  VT_LPWSTR = 31,
  VT_FILETIME = 64,
  VT_VECTOR = 0x1000,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
  VT_RESERVED = 0x8000,
  VT_ILLEGAL = 0xFFFF,
  VT_ILLEGALMASKED = 0x0FFF,
  VT_TYPEMASK = 0x0FFF,
};

union CY {
  struct {
    ULONG Lo;
    LONG Hi;
  } u;
  LONGLONG int64;
};

struct tagVARIANT;
using VARIANT = tagVARIANT;
using VARIANTARG = tagVARIANT;
using LPVARIANT = VARIANT*;
using LPVARIANTARG = VARIANT*;

/// The Automation variant, with the Windows member names. The reserved words keep the value at
/// offset 8 as on Windows.
struct tagVARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BYTE bVal;
    SHORT iVal;
    FLOAT fltVal;
    DOUBLE dblVal;
    VARIANT_BOOL boolVal;
    SCODE scode;
    CY cyVal;
    DATE date;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    SAFEARRAY* parray;
    BYTE* pbVal;
    SHORT* piVal;
    LONG* plVal;
    LONGLONG* pllVal;
    FLOAT* pfltVal;
    DOUBLE* pdblVal;
    VARIANT_BOOL* pboolVal;
    SCODE* pscode;
    CY* pcyVal;
    DATE* pdate;
    BSTR* pbstrVal;
    IUnknown** ppunkVal;
    IDispatch** ppdispVal;
    SAFEARRAY** pparray;
    VARIANT* pvarVal;
    PVOID byref;
    CHAR cVal;
    USHORT uiVal;
    ULONG ulVal;
    ULONGLONG ullVal;
    INT intVal;
    UINT uintVal;
    CHAR* pcVal;
    USHORT* puiVal;
    ULONG* pulVal;
    ULONGLONG* pullVal;
    INT* pintVal;
    UINT* puintVal;
    struct {
      PVOID pvRecord;
      IRecordInfo* pRecInfo;
    } brecVal;
  };
};

// VariantChangeType(Ex) flags.
#define VARIANT_NOVALUEPROP 0x01
#define VARIANT_ALPHABOOL 0x02
#define VARIANT_NOUSEROVERRIDE 0x04
#define VARIANT_CALENDAR_HIJRI 0x08
#define VARIANT_LOCALBOOL 0x10

// VarBstrCmp results.
#define VARCMP_LT 0
#define VARCMP_EQ 1
#define VARCMP_GT 2
#define VARCMP_NULL 3

// ---- IDispatch argument structures ---------------------------------------------------

struct DISPPARAMS {
  VARIANTARG* rgvarg;
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};

struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  PVOID pvReserved;
  HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
  SCODE scode;
};
using LPEXCEPINFO = EXCEPINFO*;

#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8

#define DISPID_UNKNOWN (-1)
#define DISPID_VALUE 0
#define DISPID_PROPERTYPUT (-3)
#define DISPID_NEWENUM (-4)
#define DISPID_EVALUATE (-5)

// ---- BSTR ----------------------------------------------------------------------------------

/// Allocates a copy of the NUL-terminated text; nullptr for a null text or when out of memory.
BSTR SysAllocString(const OLECHAR* text);
/// Allocates `length` characters copied from `text` (zero-filled when `text` is null) plus a
/// terminating NUL; nullptr when out of memory or when the byte count would exceed 32 bits.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
/// Replaces *bstr with a copy of `text`; FALSE (and *bstr unchanged) when out of memory.
INT SysReAllocString(BSTR* bstr, const OLECHAR* text);
/// Replaces *bstr with `length` characters of `text`; FALSE (and *bstr unchanged) on failure.
INT SysReAllocStringLen(BSTR* bstr, const OLECHAR* text, UINT length);
/// Frees a BSTR; null is ignored.
void SysFreeString(BSTR bstr);
/// Bytes in the BSTR, without the prefix and the terminator; 0 for null. Inline: every name
/// lookup of a dictionary asks for it.
inline UINT SysStringByteLen(BSTR bstr) {
  if (bstr == nullptr) return 0;
  uint32_t bytes;
  std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(bstr) - sizeof(uint32_t),
              sizeof(uint32_t));
  return bytes;
}
/// Characters in the BSTR (embedded NULs count); 0 for null.
inline UINT SysStringLen(BSTR bstr) {
  return static_cast<UINT>(SysStringByteLen(bstr) / sizeof(OLECHAR));
}

// ---- VARIANT -------------------------------------------------------------------------------

/// Sets vt to VT_EMPTY without freeing anything.
void VariantInit(VARIANTARG* var);
/// Frees what the variant owns (BSTR, interface references) and sets VT_EMPTY.
/// By-reference values are not owned. E_INVALIDARG for null, DISP_E_BADVARTYPE for unknown types.
HRESULT VariantClear(VARIANTARG* var);
/// Deep copy: BSTRs duplicated, interfaces AddRef'ed. dest is cleared first.
/// E_OUTOFMEMORY, DISP_E_BADVARTYPE, E_INVALIDARG.
HRESULT VariantCopy(VARIANTARG* dest, const VARIANTARG* src);
/// Like VariantCopy, but a by-reference source is copied as the value it points to.
HRESULT VariantCopyInd(VARIANT* dest, const VARIANTARG* src);
/// Converts src to type vt into dest (which may be src). On failure dest is untouched:
/// DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_BADVARTYPE, E_OUTOFMEMORY, E_NOINTERFACE.
HRESULT VariantChangeType(VARIANTARG* dest, const VARIANTARG* src, USHORT flags, VARTYPE vt);
/// VariantChangeType; the locale is ignored, conversions to and from text are invariant.
HRESULT VariantChangeTypeEx(VARIANTARG* dest, const VARIANTARG* src, LCID lcid, USHORT flags,
                            VARTYPE vt);

/// VarBstrCmp with the flags honoured; called by the inline form below for NORM_IGNORECASE.
HRESULT VarBstrCmpWithFlags(BSTR left, BSTR right, ULONG flags);

/// Compares two strings by code point (case-insensitively with NORM_IGNORECASE); a null BSTR
/// equals the empty string. VARCMP_LT, VARCMP_EQ or VARCMP_GT. The case-sensitive form is inline
/// because every dictionary lookup orders its names with it.
inline HRESULT VarBstrCmp(BSTR left, BSTR right, LCID /*lcid*/, ULONG flags) {
  if (flags != 0) return VarBstrCmpWithFlags(left, right, flags);
  const UINT a_size = SysStringLen(left);
  const UINT b_size = SysStringLen(right);
  const UINT common = a_size < b_size ? a_size : b_size;
  for (UINT i = 0; i < common; ++i) {
    // Unsigned, so the order is the same wherever wchar_t is signed.
    const auto x = static_cast<ULONG>(left[i]);
    const auto y = static_cast<ULONG>(right[i]);
    if (x != y) return x < y ? VARCMP_LT : VARCMP_GT;
  }
  if (a_size == b_size) return VARCMP_EQ;
  return a_size < b_size ? VARCMP_LT : VARCMP_GT;
}

// ---- Automation dates ------------------------------------------------------------------------

/// SYSTEMTIME (years 100..9999) to a date, milliseconds ignored; FALSE for invalid fields.
INT SystemTimeToVariantTime(LPSYSTEMTIME system_time, DOUBLE* variant_time);
/// Date to SYSTEMTIME rounded to the nearest second (wMilliseconds 0); FALSE out of range.
INT VariantTimeToSystemTime(DOUBLE variant_time, LPSYSTEMTIME system_time);
