// Only POSIX code here: the parts of the run memory that other POSIX services keep, forgotten
// together with the folder listings, and the one spelling under which they all key folders.
#pragma once

#include <string>
#include <string_view>

namespace lmk {

/// `path` with empty and "." parts removed: "a//b/./c/" is "a/b/c"; "/" and "." stay as they
/// are; ".." is kept, since a link may stand before it.
std::string NormalFolderPath(std::string_view path);

/// NoteFileAdded (platform/folder_listing.h) for a path already in the system's form: the file
/// operations have it at hand, and converting it again cost as much as the note itself.
void NoteNativeFileAdded(const std::string& path);

/// Forgets the folders that CreateDirectories made or found, and the folders where copies found
/// clones refused (platform/posix/file_operations.cpp).
void ForgetMadeFolders();

/// Forgets the remembered devices of folders (platform/posix/volume.cpp).
void ForgetFolderDevices();

/// Closes the volume lock files that a run kept open, except those a thread is using
/// (platform/posix/volume.cpp).
void CloseIdleVolumeLockFiles();

}  // namespace lmk
