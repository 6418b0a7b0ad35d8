// Removing the folders that a deletion left empty: one folder, and the climb towards the root
// with its stops.
#pragma once

#include <string_view>

#include "actions/file_rename.h"
#include "com/com.h"

namespace lmk {

/// Removes the folder path when it holds nothing but a "Thumbs.db" thumbnail cache (which goes
/// with it, retried while another program holds it). A folder refused as read-only is retried
/// with its read-only attribute cleared when deleteReadOnly is set. Logs "Removing "<path>"."
/// on success. S_OK, or the failure that keeps the folder.
[[nodiscard]] HRESULT RemoveEmptyFolder(std::wstring_view path, bool deleteReadOnly,
                                        const SharingRetry& retry = {});

/// After the file at deletedFile was deleted: removes its folder when empty, then that folder's
/// parent, and so on. Stops at the images folder and the keep-copy folder (compared without
/// regard to case at every level, so the folders the viewer shows are never removed), at a
/// folder path shorter than 7 characters (roots and their first level are never touched), at a
/// path without separator, and at the first folder that cannot be removed (it still holds
/// something). Returns how many folders were removed.
int RemoveEmptiedFolders(std::wstring_view deletedFile, std::wstring_view imagesFolder,
                         std::wstring_view keepCopyFolder, bool deleteReadOnly,
                         const SharingRetry& retry = {});

}  // namespace lmk
