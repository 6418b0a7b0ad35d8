// The COM interfaces our code implements or calls, in the Windows slot order, for POSIX.
#pragma once

#include "com/posix/com_types.h"
#include "com/posix/oleauto.h"

struct ITypeInfo;

struct IUnknown {
  /// Returns the requested interface AddRef'ed in *object; E_NOINTERFACE (and *object null)
  /// when not supported, E_POINTER for a null out-pointer.
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;
};
using LPUNKNOWN = IUnknown*;

struct IDispatch : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count,
                                                  LCID lcid, DISPID* dispids) = 0;
  virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID dispid, REFIID riid, LCID lcid, WORD flags,
                                           DISPPARAMS* params, VARIANT* result,
                                           EXCEPINFO* excep_info, UINT* arg_err) = 0;
};
using LPDISPATCH = IDispatch*;

struct IEnumVARIANT : public IUnknown {
  /// Copies up to `count` items into `items`; S_FALSE when fewer were left.
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* items, ULONG* fetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG count) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) = 0;
};

// ---- Streams ---------------------------------------------------------------------------------

enum STREAM_SEEK : DWORD { STREAM_SEEK_SET = 0, STREAM_SEEK_CUR = 1, STREAM_SEEK_END = 2 };
enum STATFLAG : DWORD { STATFLAG_DEFAULT = 0, STATFLAG_NONAME = 1, STATFLAG_NOOPEN = 2 };
enum STGTY : DWORD { STGTY_STORAGE = 1, STGTY_STREAM = 2, STGTY_LOCKBYTES = 3, STGTY_PROPERTY = 4 };
// The C library's <fcntl.h> defines LOCK_WRITE as a macro of its own (mandatory locking), so
// these names are not enumerators here: an enumerator would break whichever include comes first.
inline constexpr DWORD kLockTypeWrite = 1;
inline constexpr DWORD kLockTypeExclusive = 2;
inline constexpr DWORD kLockTypeOnlyOnce = 4;
enum STGC : DWORD { STGC_DEFAULT = 0, STGC_OVERWRITE = 1, STGC_ONLYIFCURRENT = 2 };

#define STGM_READ 0x00000000L
#define STGM_WRITE 0x00000001L
#define STGM_READWRITE 0x00000002L

struct STATSTG {
  LPOLESTR pwcsName;  // CoTaskMemAlloc'ed; the caller frees it
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

struct ISequentialStream : public IUnknown {
  /// Reads up to `size` bytes; fewer at the end of the stream (still S_OK).
  virtual HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) = 0;
  virtual HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) = 0;
};

struct IStream : public ISequentialStream {
  virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                         ULARGE_INTEGER* new_position) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER new_size) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size,
                                           ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
  virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
  virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                               DWORD lock_type) = 0;
  virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                                 DWORD lock_type) = 0;
  virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IStream** copy) = 0;
};
using LPSTREAM = IStream*;

// ---- Class factories and error information ---------------------------------------------

struct IClassFactory : public IUnknown {
  /// CLASS_E_NOAGGREGATION when `outer` is not null.
  virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;
};
using LPCLASSFACTORY = IClassFactory*;

struct IErrorInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) = 0;
  /// Each text getter returns a new BSTR the caller frees.
  virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* source) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* description) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* help_file) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* help_context) = 0;
};

struct ICreateErrorInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guid) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR source) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR description) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR help_file) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD help_context) = 0;
};

// ---- Interface identifiers (the Windows values) -----------------------------------------

inline constexpr IID IID_IUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IDispatch = {
    0x00020400, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IEnumVARIANT = {
    0x00020404, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_IStream = {
    0x0000000C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IClassFactory = {
    0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IErrorInfo = {
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ICreateErrorInfo = {
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
