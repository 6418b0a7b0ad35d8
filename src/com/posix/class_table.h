// Class objects registered in this process, and the creation of objects through them: the
// in-process part of the COM library that hosts and tests use to hand classes to a plug-in.
#pragma once

#include "com/posix/com_interfaces.h"
#include "com/posix/com_types.h"

/// Server contexts. Only in-process servers exist here; the other bits are accepted and ignored.
enum CLSCTX : DWORD {
  CLSCTX_INPROC_SERVER = 0x1,
  CLSCTX_INPROC_HANDLER = 0x2,
  CLSCTX_LOCAL_SERVER = 0x4,
  CLSCTX_REMOTE_SERVER = 0x10,
  CLSCTX_SERVER = 0x15,
  CLSCTX_ALL = 0x17,
};

/// Registration flags of CoRegisterClassObject; every class object here is multiple-use.
enum REGCLS : DWORD {
  REGCLS_SINGLEUSE = 0,
  REGCLS_MULTIPLEUSE = 1,
  REGCLS_MULTI_SEPARATE = 2,
  REGCLS_SUSPENDED = 4,
  REGCLS_SURROGATE = 8,
};

#define CO_E_OBJNOTREG LMK_HR(0x800401FB)

/// Registers class_object (AddRef'd) for clsid until CoRevokeClassObject(*cookie). A later
/// registration of the same class hides the earlier one until it is revoked. S_OK;
/// E_INVALIDARG for a null class_object or cookie.
HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* class_object, DWORD context, DWORD flags,
                              LPDWORD cookie);

/// Drops the registration made under cookie (releasing its reference). S_OK; CO_E_OBJNOTREG for
/// an unknown cookie.
HRESULT CoRevokeClassObject(DWORD cookie);

/// The registered class object of clsid queried for riid into *object (a new reference). S_OK;
/// E_INVALIDARG for a null object; REGDB_E_CLASSNOTREG for a class nobody registered;
/// E_NOINTERFACE.
HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, LPVOID server_info, REFIID riid,
                         LPVOID* object);

/// Creates one object of clsid through its registered class factory. S_OK; E_INVALIDARG for a
/// null object; REGDB_E_CLASSNOTREG; whatever the factory's CreateInstance returns.
HRESULT CoCreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID riid,
                         LPVOID* object);
