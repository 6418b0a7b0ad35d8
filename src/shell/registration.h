// Registration of the server's classes, ProgIDs, application, type library and plug-in category
// in the settings store, and its exact undoing.
#pragma once

#include <string_view>

#include "com/com.h"
#include "platform/settings_store.h"

namespace lmk {

/// Where class registrations live in either scope.
inline constexpr std::wstring_view kClassesRoot = L"Software\\Classes";

/// Writes every entry of the server under "Software\Classes" of scope's store, for the module
/// at modulePath, in one transaction: on failure nothing is left written. S_OK; E_INVALIDARG
/// for an empty modulePath; otherwise the store's failure (for instance
/// HRESULT_FROM_WIN32(ERROR_BADDB) or E_ACCESSDENIED; the thread's error description says why).
HRESULT RegisterServer(SettingsScope scope, std::wstring_view modulePath);

/// Removes what RegisterServer wrote for the module at modulePath (its file name names one key),
/// in one transaction. Keys shared with other servers stay: the plug-in category while another
/// class still implements it, and the container keys while they hold anything else. Entries
/// already absent are no error. Container keys left empty are removed too, so that registering
/// then unregistering leaves the store as it was. S_OK; failures as RegisterServer.
HRESULT UnregisterServer(SettingsScope scope, std::wstring_view modulePath);

/// True when DllInstall's command line asks for the current user's registration: the whole
/// text "user", in any case.
bool IsPerUserCommandLine(const wchar_t* commandLine) noexcept;

}  // namespace lmk
