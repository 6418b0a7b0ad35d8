// Byte-for-byte comparison of two files, for the integrity check after a copy or a move.
#pragma once

#include <string_view>

#include "com/com.h"

namespace lmk {

/// What CompareFiles found.
enum class FileComparison {
  kIdentical,  ///< same size, same bytes
  kDifferent,  ///< the sizes or some bytes differ
};

/// The Win32 error a failed integrity check is reported with when the files differ
/// (ERROR_FILE_CORRUPT, 1392).
inline constexpr DWORD kWin32FileCorrupt = 1392;
inline constexpr HRESULT kFilesDifferHresult = HRESULT_FROM_WIN32(kWin32FileCorrupt);

/// Reads both files block by block (1 MiB aligned buffers, halved down to 64 KiB when memory is
/// short), bypassing the system's cache where the file system allows it, so that the bytes come
/// from the device and not from the copy still held in memory. Files of different sizes are
/// kDifferent without being read; two empty files are kIdentical.
/// Returns S_OK with `*result` set; E_INVALIDARG for a null `result`; ERROR_FILE_NOT_FOUND /
/// ERROR_PATH_NOT_FOUND / E_ACCESSDENIED when a file cannot be opened or is a folder; the
/// system's error when a read fails; E_OUTOFMEMORY. A file that changes size while it is read
/// is kDifferent.
/// On failure `*result` is kDifferent and a description naming the file is set.
[[nodiscard]] HRESULT CompareFiles(std::wstring_view first, std::wstring_view second,
                                   FileComparison* result);

}  // namespace lmk
