// What the file system tells about one file: its attribute bits, its three times and its size.
#pragma once

#include <string_view>

#include "com/com.h"

namespace lmk {

/// Attribute bits as the Windows file system reports them, for hosts that describe files to
/// the plug-in on either system.
inline constexpr DWORD kFileAttributeReadOnly = 0x1;
inline constexpr DWORD kFileAttributeHidden = 0x2;
inline constexpr DWORD kFileAttributeDirectory = 0x10;
inline constexpr DWORD kFileAttributeArchive = 0x20;

struct FileFacts {
  DWORD attributes = 0;
  FILETIME creationTime{};  ///< UTC; the change time where the system keeps no birth time
  FILETIME lastAccessTime{};
  FILETIME lastWriteTime{};
  ULONGLONG size = 0;
};

/// Reads the facts of the file or folder at path (links followed). S_OK;
/// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when it does not exist; E_ACCESSDENIED; E_FAIL.
/// A name that begins with '.' counts as hidden; a file the owner may not write is read-only;
/// every regular file carries the archive bit, as a newly written Windows file does.
[[nodiscard]] HRESULT GetFileFacts(std::wstring_view path, FileFacts* out);

}  // namespace lmk
