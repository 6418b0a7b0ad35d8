// The module entry points every in-process server exports, under their system names.
#pragma once

#include "com/com.h"

#ifdef _WIN32
#define LMK_MODULE_EXPORT
#else
// The plug-in is built with hidden symbols; only these five leave it.
#define LMK_MODULE_EXPORT __attribute__((visibility("default")))
#endif

/// A class object of this server (IClassFactory), a new reference in *ppv. S_OK;
/// CLASS_E_CLASSNOTAVAILABLE for a class the server does not have or cannot create;
/// E_INVALIDARG for a null ppv; E_NOINTERFACE.
extern "C" LMK_MODULE_EXPORT HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID rclsid, REFIID riid,
                                                                      LPVOID* ppv);

/// S_OK when no object of the module lives and no LockServer holds it, else S_FALSE.
extern "C" LMK_MODULE_EXPORT HRESULT STDAPICALLTYPE DllCanUnloadNow();

/// Registers every class machine-wide. S_OK or the settings store's failure.
extern "C" LMK_MODULE_EXPORT HRESULT STDAPICALLTYPE DllRegisterServer();

/// Removes the machine-wide registration. S_OK or the settings store's failure.
extern "C" LMK_MODULE_EXPORT HRESULT STDAPICALLTYPE DllUnregisterServer();

/// Registers (bInstall) or unregisters; the command line "user" (whole text, any case) selects
/// the current user's registration, anything else (null too) the machine's. A failed
/// registration is undone and its HRESULT returned.
extern "C" LMK_MODULE_EXPORT HRESULT STDAPICALLTYPE DllInstall(BOOL bInstall, LPCWSTR pszCmdLine);
