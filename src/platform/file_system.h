// Questions about files on disk that the batch runner asks before it works on a file.
#pragma once

#include <string_view>

namespace lmk {

/// True when `path` names an existing file (anything but a folder); false for a folder, a
/// missing file, an empty path or a path the system cannot look at. Safe from any thread.
bool FileExists(std::wstring_view path);

/// True when `path` names a regular file (links followed): no folder, device or pipe. False
/// where FileExists is, and for a path the system cannot represent. Safe from any thread.
bool IsRegularFile(std::wstring_view path) noexcept;

}  // namespace lmk
