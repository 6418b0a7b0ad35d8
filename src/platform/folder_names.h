// The names a folder holds, read now.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

/// Every name in folder except "." and "..", files and folders alike, in no particular order,
/// read from the file system at the call (never from the run memory's listings, which may be a
/// moment old). S_OK; ERROR_PATH_NOT_FOUND / E_ACCESSDENIED and the like when the folder cannot
/// be read to its end, with a description naming it; E_INVALIDARG for a null names.
[[nodiscard]] HRESULT ListFolderNames(std::wstring_view folder, std::vector<std::wstring>* names);

}  // namespace lmk
