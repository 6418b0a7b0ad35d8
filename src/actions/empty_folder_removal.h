// Removing the folders that a deletion left empty: one folder, and the climb towards the root
// within the guard's bounds.
#pragma once

#include <string_view>

#include "actions/file_rename.h"
#include "actions/folder_removal_guard.h"
#include "com/com.h"

namespace lmk {

/// Removes the folder path when it holds nothing but a "Thumbs.db" thumbnail cache (which goes
/// with it, retried while another program holds it). A folder refused as read-only is retried
/// with its read-only attribute cleared when deleteReadOnly is set. Logs "Removing "<path>"."
/// on success. S_OK, or the failure that keeps the folder.
[[nodiscard]] HRESULT RemoveEmptyFolder(std::wstring_view path, bool deleteReadOnly,
                                        const SharingRetry& retry = {});

/// After the file at deletedFile was deleted: removes its folder when empty, then that folder's
/// parent, and so on, while guard lets it (see FolderRemovalGuard::Check), stopping at the
/// first folder that cannot be removed (it still holds something). Returns how many folders
/// were removed.
int RemoveEmptiedFolders(std::wstring_view deletedFile, const FolderRemovalGuard& guard,
                         bool deleteReadOnly, const SharingRetry& retry = {});

}  // namespace lmk
