// Questions about files on disk that the batch runner asks before it works on a file.
#pragma once

#include <string_view>

namespace lmk {

/// True when `path` names an existing file (anything but a folder); false for a folder, a
/// missing file, an empty path or a path the system cannot look at. Safe from any thread.
bool FileExists(std::wstring_view path);

}  // namespace lmk
