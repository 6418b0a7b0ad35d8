// Basic Windows types, HRESULT and Win32 error values, GUIDs and time structures for POSIX.
// Values are those of winerror.h; never invent codes here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Calling conventions do not exist on the System V ABI; the macros keep the declarations
// identical to the Windows ones.
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define STDAPI extern "C" HRESULT STDAPICALLTYPE
#define STDAPI_(type) extern "C" type STDAPICALLTYPE

using HRESULT = int32_t;
using SCODE = int32_t;
using BOOL = int32_t;
using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using SHORT = int16_t;
using USHORT = uint16_t;
using CHAR = char;
using INT = int32_t;
using UINT = uint32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using DWORDLONG = uint64_t;
using FLOAT = float;
using DOUBLE = double;
using SIZE_T = std::size_t;
using WCHAR = wchar_t;
using OLECHAR = wchar_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPSTR = CHAR*;
using LPCSTR = const CHAR*;
using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPDWORD = DWORD*;
using DATE = double;
using VARIANT_BOOL = int16_t;
using VARTYPE = uint16_t;
using LCID = DWORD;
using LANGID = WORD;
using DISPID = LONG;
using MEMBERID = DISPID;
using HWND = void*;
using HANDLE = void*;
using HINSTANCE = void*;
using HMODULE = void*;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#define VARIANT_TRUE (static_cast<VARIANT_BOOL>(-1))
#define VARIANT_FALSE (static_cast<VARIANT_BOOL>(0))

// ---- HRESULT values (winerror.h) --------------------------------------------------------

#define LMK_HR(value) (static_cast<HRESULT>(value##u))

#define S_OK (static_cast<HRESULT>(0))
#define S_FALSE (static_cast<HRESULT>(1))
#define NOERROR S_OK
#define E_NOTIMPL LMK_HR(0x80004001)
#define E_NOINTERFACE LMK_HR(0x80004002)
#define E_POINTER LMK_HR(0x80004003)
#define E_ABORT LMK_HR(0x80004004)
#define E_FAIL LMK_HR(0x80004005)
#define E_UNEXPECTED LMK_HR(0x8000FFFF)
#define E_ACCESSDENIED LMK_HR(0x80070005)
#define E_HANDLE LMK_HR(0x80070006)
#define E_OUTOFMEMORY LMK_HR(0x8007000E)
#define E_INVALIDARG LMK_HR(0x80070057)
#define DISP_E_UNKNOWNINTERFACE LMK_HR(0x80020001)
#define DISP_E_MEMBERNOTFOUND LMK_HR(0x80020003)
#define DISP_E_PARAMNOTFOUND LMK_HR(0x80020004)
#define DISP_E_TYPEMISMATCH LMK_HR(0x80020005)
#define DISP_E_UNKNOWNNAME LMK_HR(0x80020006)
#define DISP_E_NONAMEDARGS LMK_HR(0x80020007)
#define DISP_E_BADVARTYPE LMK_HR(0x80020008)
#define DISP_E_EXCEPTION LMK_HR(0x80020009)
#define DISP_E_OVERFLOW LMK_HR(0x8002000A)
#define DISP_E_BADINDEX LMK_HR(0x8002000B)
#define DISP_E_BADPARAMCOUNT LMK_HR(0x8002000E)
#define DISP_E_PARAMNOTOPTIONAL LMK_HR(0x8002000F)
#define DISP_E_DIVBYZERO LMK_HR(0x80020012)
#define CLASS_E_NOAGGREGATION LMK_HR(0x80040110)
#define CLASS_E_CLASSNOTAVAILABLE LMK_HR(0x80040111)
#define REGDB_E_CLASSNOTREG LMK_HR(0x80040154)
#define SELFREG_E_TYPELIB LMK_HR(0x80040200)
#define SELFREG_E_CLASS LMK_HR(0x80040201)
#define CO_E_CLASSSTRING LMK_HR(0x800401F3)
#define STG_E_INVALIDFUNCTION LMK_HR(0x80030001)
#define STG_E_ACCESSDENIED LMK_HR(0x80030005)
#define STG_E_INVALIDPOINTER LMK_HR(0x80030009)
#define STG_E_MEDIUMFULL LMK_HR(0x80030070)
#define STG_E_INVALIDFLAG LMK_HR(0x800300FF)

#define SEVERITY_SUCCESS 0
#define SEVERITY_ERROR 1
#define FACILITY_NULL 0
#define FACILITY_RPC 1
#define FACILITY_DISPATCH 2
#define FACILITY_STORAGE 3
#define FACILITY_ITF 4
#define FACILITY_WIN32 7

#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#define HRESULT_CODE(hr) (static_cast<HRESULT>(hr) & 0xFFFF)
#define HRESULT_FACILITY(hr) ((static_cast<HRESULT>(hr) >> 16) & 0x1FFF)
#define HRESULT_SEVERITY(hr) ((static_cast<HRESULT>(hr) >> 31) & 0x1)
#define MAKE_HRESULT(sev, fac, code)                                                             \
  static_cast<HRESULT>((static_cast<uint32_t>(sev) << 31) | (static_cast<uint32_t>(fac) << 16) | \
                       static_cast<uint32_t>(code))

/// A Win32 error code as an HRESULT: (code & 0xFFFF) | 0x80070000; ERROR_SUCCESS stays S_OK and
/// values that already are HRESULTs (negative) pass unchanged.
constexpr HRESULT HRESULT_FROM_WIN32(unsigned long code) {
  return static_cast<HRESULT>(code) <= 0
             ? static_cast<HRESULT>(code)
             : static_cast<HRESULT>((static_cast<uint32_t>(code) & 0x0000FFFFu) | 0x80070000u);
}

// ---- Win32 error codes (winerror.h) ----------------------------------------------------

#define ERROR_SUCCESS 0L
#define NO_ERROR 0L
#define ERROR_FILE_NOT_FOUND 2L
#define ERROR_PATH_NOT_FOUND 3L
#define ERROR_ACCESS_DENIED 5L
#define ERROR_INVALID_HANDLE 6L
#define ERROR_NOT_ENOUGH_MEMORY 8L
#define ERROR_BAD_FORMAT 11L
#define ERROR_INVALID_DATA 13L
#define ERROR_OUTOFMEMORY 14L
#define ERROR_NOT_SAME_DEVICE 17L
#define ERROR_WRITE_PROTECT 19L
#define ERROR_NOT_READY 21L
#define ERROR_SHARING_VIOLATION 32L
#define ERROR_LOCK_VIOLATION 33L
#define ERROR_HANDLE_EOF 38L
#define ERROR_NOT_SUPPORTED 50L
#define ERROR_FILE_EXISTS 80L
#define ERROR_INVALID_PARAMETER 87L
#define ERROR_DISK_FULL 112L
#define ERROR_INSUFFICIENT_BUFFER 122L
#define ERROR_INVALID_NAME 123L
#define ERROR_MOD_NOT_FOUND 126L
#define ERROR_DIR_NOT_EMPTY 145L
#define ERROR_BAD_PATHNAME 161L
#define ERROR_BUSY 170L
#define ERROR_ALREADY_EXISTS 183L
#define ERROR_FILENAME_EXCED_RANGE 206L
#define ERROR_MORE_DATA 234L
#define ERROR_NO_MORE_ITEMS 259L
#define ERROR_BADDB 1009L
#define ERROR_CANTOPEN 1011L
#define ERROR_CANTREAD 1012L
#define ERROR_CANTWRITE 1013L
#define ERROR_KEY_DELETED 1018L
#define ERROR_NOT_FOUND 1168L
#define ERROR_CANCELLED 1223L
#define ERROR_TIMEOUT 1460L

// ---- GUIDs ------------------------------------------------------------------------------

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using LPGUID = GUID*;
using LPIID = IID*;
using LPCLSID = CLSID*;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

constexpr bool IsEqualGUID(REFGUID a, REFGUID b) {
  if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
  for (int i = 0; i < 8; ++i) {
    if (a.Data4[i] != b.Data4[i]) return false;
  }
  return true;
}
constexpr bool IsEqualIID(REFIID a, REFIID b) { return IsEqualGUID(a, b); }
constexpr bool IsEqualCLSID(REFCLSID a, REFCLSID b) { return IsEqualGUID(a, b); }
constexpr bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }

inline constexpr GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
inline constexpr IID IID_NULL = GUID_NULL;
inline constexpr CLSID CLSID_NULL = GUID_NULL;

// ---- Large integers and times ----------------------------------------------------------

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};
union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;
using PULARGE_INTEGER = ULARGE_INTEGER*;

/// 100-nanosecond intervals since 1601-01-01 00:00 UTC, split in two 32-bit halves.
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};
using LPFILETIME = FILETIME*;
using PFILETIME = FILETIME*;

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;  // 0 = Sunday
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;
using PSYSTEMTIME = SYSTEMTIME*;

// ---- Locales -------------------------------------------------------------------------------

#define LOCALE_USER_DEFAULT (static_cast<LCID>(0x0400))
#define LOCALE_SYSTEM_DEFAULT (static_cast<LCID>(0x0800))
#define LOCALE_INVARIANT (static_cast<LCID>(0x007F))
#define LOCALE_NEUTRAL (static_cast<LCID>(0x0000))
#define NORM_IGNORECASE 0x00000001u
