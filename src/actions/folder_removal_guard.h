// FolderRemovalGuard: which folders the removal of emptied folders may take, after a deletion.
// The guard keeps the climb inside the paths the user gave the run and away from what the
// system needs (its root, mount points, the home folder and its ancestors).
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "actions/action_path.h"

namespace lmk {

/// Why a folder stays; kRemovable when nothing keeps it (it is still removed only if empty).
enum class FolderKeep {
  kRemovable,
  kViewerFolder,     ///< the deleted image's own folder is the images or the keep-copy folder
  kRoot,             ///< a system root, or on Windows a path of fewer than 7 characters
  kOutsideRunPaths,  ///< not inside (or equal to) any path the run was given
  kHome,             ///< the user's home folder or one of its ancestors
  kMountPoint,       ///< a file system is mounted on it
};

/// The system's answers about a folder; the product asks platform/protected_folders.h, tests
/// answer from tables.
struct FolderSystemFacts {
  std::function<bool(std::wstring_view)> isMountPoint;
  std::function<bool(std::wstring_view)> holdsHome;

  /// The answers of this system.
  static FolderSystemFacts Native();
};

class FolderRemovalGuard {
 public:
  /// runPaths: the files and folders the run was given (absolute); a host that names none has
  /// its images folder stand for them, and with neither no folder is ever removed.
  FolderRemovalGuard(std::vector<std::wstring> runPaths, std::wstring imagesFolder,
                     std::wstring keepCopyFolder, FolderSystemFacts facts,
                     PathStyle style = kNativePathStyle);

  /// Whether the climb may remove folder. first says that folder is the deleted image's own:
  /// only there do the images and keep-copy folders stop the climb, so that their emptied
  /// sub-folders go while the folders the viewer shows stay.
  FolderKeep Check(std::wstring_view folder, bool first) const;

 private:
  std::vector<std::wstring> runPaths_;
  std::wstring imagesFolder_;
  std::wstring keepCopyFolder_;
  FolderSystemFacts facts_;
  PathStyle style_;
};

}  // namespace lmk
