// What the system knows about a folder that a cleanup must never remove: a file system mounted
// on it, or the user's home folder below it.
#pragma once

#include <string_view>

namespace lmk {

/// True when folder is the root of a mounted file system (it lies on another device than its
/// parent, or it is the system's root), and also when that cannot be told because the folder
/// or its parent cannot be looked at: the answer errs on the side of leaving folders alone.
/// Safe from any thread.
bool IsMountPoint(std::wstring_view folder);

/// True when folder is the user's home folder or one of its ancestors. The home folder is
/// $HOME (an absolute path), else the account's. Folders are compared by their text and by
/// their identity on disk, so that a spelling of the path through a link counts too. False when
/// the home folder is unknown. Safe from any thread.
bool HoldsHomeFolder(std::wstring_view folder);

}  // namespace lmk
