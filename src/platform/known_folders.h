// Folders that the system keeps per user: application data, the temporary folder, the log folder.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

enum class KnownFolder {
  /// Per-user application data that stays on this machine: $XDG_DATA_HOME, else
  /// ~/.local/share on POSIX; the local application data folder on Windows.
  kLocalAppData,
  /// The temporary folder: $TMPDIR, else /tmp on POSIX.
  kTemp,
};

/// The folder's absolute path without a trailing separator; empty when it cannot be determined
/// (a relative $XDG_DATA_HOME is ignored, as the XDG rules say). The folder may not exist yet.
std::wstring KnownFolderPath(KnownFolder folder);

/// `folder` and `name` joined with this system's separator; `name` may hold several components
/// separated by '/'.
std::wstring JoinPath(std::wstring_view folder, std::wstring_view name);

/// The folder part of `path` (everything before its last separator; "/" for a file in the
/// root); empty when `path` names no folder.
std::wstring ParentFolderPath(std::wstring_view path);

/// Creates a folder and its missing parents. ERROR_SUCCESS also when it already exists;
/// otherwise the Win32 code of the failure (ERROR_ACCESS_DENIED, ERROR_PATH_NOT_FOUND, ...).
DWORD CreateFolderPath(std::wstring_view path);

/// The folder for this program's log files, created if needed: "Lumarko/Logs" under the local
/// application data folder; when that is unknown, cannot be created or its path is longer than
/// 260 characters, the temporary folder. Never empty.
std::wstring LogFolderPath();

}  // namespace lmk
