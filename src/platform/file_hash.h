// Digests of file contents, read in blocks so that files of any size can be hashed.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// The digest algorithms offered to templates, numbered as the `{FileHash:h}` selector.
enum class HashAlgorithm { kMd5 = 0, kSha1 = 1, kSha256 = 2, kSha384 = 3, kSha512 = 4 };

/// Writes the lower-case hexadecimal digest of the file at `path` into `*hex` (replacing it).
/// The file is read in fixed-size blocks, never whole. S_OK; E_INVALIDARG for a null `hex`;
/// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND / ERROR_PATH_NOT_FOUND / ERROR_ACCESS_DENIED /
/// ERROR_CANTREAD) when the file cannot be read (`*hex` is then empty); E_FAIL when the digest
/// itself fails.
[[nodiscard]] HRESULT HashFile(std::wstring_view path, HashAlgorithm algorithm, std::wstring* hex);

/// The same digest of bytes held in memory.
[[nodiscard]] HRESULT HashBytes(std::string_view data, HashAlgorithm algorithm, std::wstring* hex);

}  // namespace lmk
