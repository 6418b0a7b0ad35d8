// COM library, thread error information, GUID text, memory streams and system time for POSIX.
#pragma once

#include "com/posix/com_interfaces.h"
#include "com/posix/com_types.h"
#include "com/posix/oleauto.h"

// ---- COM library -------------------------------------------------------------------------

enum COINIT : DWORD {
  COINIT_MULTITHREADED = 0x0,
  COINIT_APARTMENTTHREADED = 0x2,
  COINIT_DISABLE_OLE1DDE = 0x4,
  COINIT_SPEED_OVER_MEMORY = 0x8,
};

/// No apartments exist on POSIX: always S_OK, nothing to undo.
HRESULT CoInitializeEx(LPVOID reserved, DWORD co_init);
HRESULT CoInitialize(LPVOID reserved);
void CoUninitialize();

/// Task memory: what COM callers free with CoTaskMemFree (STATSTG names, for instance).
LPVOID CoTaskMemAlloc(SIZE_T size);
LPVOID CoTaskMemRealloc(LPVOID block, SIZE_T size);
void CoTaskMemFree(LPVOID block);

/// A new random GUID (version 4, from the system's random source). S_OK; E_INVALIDARG for null.
HRESULT CoCreateGuid(GUID* guid);
/// Writes "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (upper case); returns the characters written
/// including the NUL (39), or 0 when `max_chars` is too small.
int StringFromGUID2(REFGUID guid, LPOLESTR text, int max_chars);
/// Parses the braced form; CO_E_CLASSSTRING for anything else (no ProgID lookup).
HRESULT CLSIDFromString(LPCOLESTR text, LPCLSID clsid);
/// Parses the braced form; E_INVALIDARG for anything else.
HRESULT IIDFromString(LPCOLESTR text, LPIID iid);

// ---- Error information, one slot per thread --------------------------------------------

/// Replaces the calling thread's error object (null clears it); `reserved` must be 0.
HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
/// Takes the thread's error object (the slot is cleared): S_OK with the reference, S_FALSE and
/// null when there is none.
HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);
/// A new, empty error object.
HRESULT CreateErrorInfo(ICreateErrorInfo** info);

// ---- Shell lightweight helpers -----------------------------------------------------------

/// A growable in-memory stream initialised with a copy of `size` bytes at `data` (which may be
/// null when size is 0). Returns a new reference, or nullptr when out of memory.
IStream* SHCreateMemStream(const BYTE* data, UINT size);

// ---- System time -----------------------------------------------------------------------------

void GetSystemTimeAsFileTime(LPFILETIME file_time);
void GetSystemTime(LPSYSTEMTIME system_time);
void GetLocalTime(LPSYSTEMTIME system_time);
/// FALSE for times beyond 0x7FFFFFFFFFFFFFFF ticks.
BOOL FileTimeToSystemTime(const FILETIME* file_time, LPSYSTEMTIME system_time);
/// FALSE for invalid fields (year 1601..30827, real day of month, ms < 1000); day of week ignored.
BOOL SystemTimeToFileTime(const SYSTEMTIME* system_time, LPFILETIME file_time);
/// UTC to local time with the process time zone (TZ honoured), using the offset in force at that
/// instant, so a summer date stays in summer time.
BOOL FileTimeToLocalFileTime(const FILETIME* file_time, LPFILETIME local_file_time);
BOOL LocalFileTimeToFileTime(const FILETIME* local_file_time, LPFILETIME file_time);
