// The integrity check after a copy: the copy compared byte for byte with its source, and the
// log line or the failure text that reports the result.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// Compares copy with source. Identical: logs "File '<copy>' has been verified to be identical
/// to '<source>'." and returns S_OK. Otherwise returns the comparison's failure, or
/// HRESULT_FROM_WIN32(ERROR_FILE_CORRUPT) when the files differ, with *failure set to the
/// integrity-check text and its reason. Neither file is touched.
[[nodiscard]] HRESULT VerifyCopy(std::wstring_view source, std::wstring_view copy,
                                 std::wstring* failure);

}  // namespace lmk
