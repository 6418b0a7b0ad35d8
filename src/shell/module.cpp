// The module entry points of the in-process server.
#include <string>

#include "batch/product_elements.h"
#include "platform/module_path.h"
#include "shell/class_factory.h"
#include "shell/module_exports.h"
#include "shell/registration.h"

namespace {

// The file this code was loaded from: the plug-in's shared object (or a program linking it).
HRESULT OwnModulePath(std::wstring* path) {
  return lmk::GetModulePath(reinterpret_cast<const void*>(&OwnModulePath), path);
}

// The element kinds this module implements fill the product registry once, before a plug-in
// object can load a rule set.
void RegisterElements() { static_cast<void>(lmk::ProductElements()); }

HRESULT Register(lmk::SettingsScope scope) {
  std::wstring path;
  LMK_RETURN_IF_FAILED(OwnModulePath(&path));
  return lmk::RegisterServer(scope, path);
}

HRESULT Unregister(lmk::SettingsScope scope) {
  std::wstring path;
  LMK_RETURN_IF_FAILED(OwnModulePath(&path));
  return lmk::UnregisterServer(scope, path);
}

}  // namespace

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
  try {
    RegisterElements();
  } catch (...) {
    return lmk::HresultFromCurrentException();
  }
  return lmk::CClassFactory::GetClassObject(rclsid, riid, ppv);
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return lmk::ModuleLockCount() == 0 ? S_OK : S_FALSE;
}

extern "C" HRESULT STDAPICALLTYPE DllRegisterServer() {
  try {
    return Register(lmk::SettingsScope::Machine);
  } catch (...) {
    return lmk::HresultFromCurrentException();
  }
}

extern "C" HRESULT STDAPICALLTYPE DllUnregisterServer() {
  try {
    return Unregister(lmk::SettingsScope::Machine);
  } catch (...) {
    return lmk::HresultFromCurrentException();
  }
}

extern "C" HRESULT STDAPICALLTYPE DllInstall(BOOL bInstall, LPCWSTR pszCmdLine) {
  try {
    const lmk::SettingsScope scope = lmk::IsPerUserCommandLine(pszCmdLine)
                                         ? lmk::SettingsScope::CurrentUser
                                         : lmk::SettingsScope::Machine;
    if (!bInstall) return Unregister(scope);
    const HRESULT hr = Register(scope);
    if (FAILED(hr)) Unregister(scope);
    return hr;
  } catch (...) {
    return lmk::HresultFromCurrentException();
  }
}
