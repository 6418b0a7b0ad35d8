// Only POSIX code here: the one table from errno values to Win32 error codes and HRESULTs.
#pragma once

#include <string_view>

#include "com/com.h"

namespace lmk {

/// The Win32 error code that stands for `error` (an errno value); ERROR_SUCCESS for 0;
/// ERROR_GEN_FAILURE (31) for a value the table does not know.
DWORD Win32FromErrno(int error) noexcept;

/// Win32FromErrno for a failure to create or write a file: a missing path component can only be
/// a folder (ERROR_PATH_NOT_FOUND), a lock held elsewhere is a sharing violation, and an error
/// the table does not know is ERROR_CANTWRITE.
DWORD Win32FromWriteErrno(int error) noexcept;

/// HRESULT_FROM_WIN32(Win32FromErrno(error)); S_OK for 0.
HRESULT HresultFromErrno(int error) noexcept;

/// The same, plus a description for the user, "<context>: <system text>."
/// (lmk::SetErrorDescription), e.g. (ENOENT, L"Cannot open 'a.jpg'").
HRESULT HresultFromErrno(int error, std::wstring_view context) noexcept;

}  // namespace lmk
