// Sending files to the desktop's trash, from where the user can restore them.
#pragma once

#include <string_view>

#include "com/com.h"

namespace lmk {

/// Moves the file or folder `path` to the trash of the volume it lies on (the user's own trash
/// on the home volume; a trash folder at the top of other mounted volumes), following the
/// desktop's trash conventions so that the file manager can restore it. Nothing is ever deleted
/// for good here: when the volume has no trash the call fails and the file stays.
/// Returns S_OK; ERROR_FILE_NOT_FOUND for a missing file; E_ACCESSDENIED;
/// HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED) when there is no trash on that volume; E_FAIL for
/// other refusals. On failure a description naming the file and the reason is set
/// (lmk::SetErrorDescription). Permanent deletion is DeleteFileAt (platform/file_operations.h).
[[nodiscard]] HRESULT MoveToTrash(std::wstring_view path);

}  // namespace lmk
