// Where a script's text comes from: the expansion of a stored script path and the reading of a
// script file.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// ERROR_NO_UNICODE_TRANSLATION: bytes that do not decode as text.
inline constexpr DWORD kErrorNoUnicodeTranslation = 1113;

/// The stored path with environment variables expanded (%VAR%, $VAR, ${VAR}) and, on POSIX, a
/// leading "~/" made the home folder. Unset variables stay as written.
std::wstring ExpandScriptPath(std::wstring_view path);

/// Reads a whole script file as UTF-8 text, the system's text encoding. S_OK;
/// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) or (ERROR_PATH_NOT_FOUND) for a file that is not
/// there, (ERROR_ACCESS_DENIED) or (ERROR_CANTREAD) when it cannot be read, and
/// (kErrorNoUnicodeTranslation) for bytes that are not text; every failure sets the thread's
/// error description naming the file and what to do.
HRESULT ReadScriptFile(std::wstring_view path, std::wstring* text);

}  // namespace lmk
