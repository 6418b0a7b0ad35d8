// Where this code was loaded from: the file of the module (shared library or program) holding a
// given address, and the running program's file.
#pragma once

#include <string>

#include "com/com.h"

namespace lmk {

/// The absolute path of the module that contains address (a function or object of that module).
/// S_OK; E_INVALIDARG for a null address or path; E_FAIL when the address belongs to no module.
HRESULT GetModulePath(const void* address, std::wstring* path);

/// The absolute path of the running program. S_OK; E_INVALIDARG for a null path; E_FAIL when
/// the system does not tell.
HRESULT GetExecutablePath(std::wstring* path);

}  // namespace lmk
