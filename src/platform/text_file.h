// Saving a text that people read (an exported log) as a file, all or nothing.
#pragma once

#include <string_view>

#include "com/com.h"

namespace lmk {

/// Writes `text` to `path` as UTF-8, each "\n" becoming this system's line end, replacing an
/// existing file only once the new content is complete and durable (a failure leaves the old file
/// as it was and no partial file behind). Returns ERROR_SUCCESS or the Win32 code of the failure
/// (ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_DISK_FULL, ERROR_OUTOFMEMORY, ...).
DWORD WriteTextFile(std::wstring_view path, std::wstring_view text);

}  // namespace lmk
