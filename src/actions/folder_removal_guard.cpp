// The stops of the emptied-folder climb.
#include "actions/folder_removal_guard.h"

#include "platform/protected_folders.h"

namespace lmk {
namespace {

// On Windows the climb never reaches a drive's root or its first level ("C:\Users" is 8
// characters, "C:\a" 4): the short path stands for the root there.
constexpr std::size_t kShortestWindowsFolder = 7;

bool IsRoot(std::wstring_view folder, PathStyle style) {
  if (style == PathStyle::Windows) return folder.size() < kShortestWindowsFolder;
  for (wchar_t c : folder) {
    if (!IsSeparator(c, style)) return false;
  }
  return true;
}

}  // namespace

FolderSystemFacts FolderSystemFacts::Native() {
  return {[](std::wstring_view folder) { return IsMountPoint(folder); },
          [](std::wstring_view folder) { return HoldsHomeFolder(folder); }};
}

FolderRemovalGuard::FolderRemovalGuard(std::vector<std::wstring> runPaths,
                                       std::wstring imagesFolder, std::wstring keepCopyFolder,
                                       FolderSystemFacts facts, PathStyle style)
    : runPaths_(std::move(runPaths)),
      imagesFolder_(std::move(imagesFolder)),
      keepCopyFolder_(std::move(keepCopyFolder)),
      facts_(std::move(facts)),
      style_(style) {
  if (runPaths_.empty() && !imagesFolder_.empty()) runPaths_.push_back(imagesFolder_);
}

FolderKeep FolderRemovalGuard::Check(std::wstring_view folder, bool first) const {
  if (first && ((!imagesFolder_.empty() && SameFolderText(folder, imagesFolder_, style_)) ||
                (!keepCopyFolder_.empty() && SameFolderText(folder, keepCopyFolder_, style_)))) {
    return FolderKeep::kViewerFolder;
  }
  if (folder.empty() || IsRoot(folder, style_)) return FolderKeep::kRoot;
  bool inside = false;
  for (const std::wstring& path : runPaths_) {
    inside = inside || FolderHolds(path, folder, style_);
  }
  if (!inside) return FolderKeep::kOutsideRunPaths;
  if (facts_.holdsHome && facts_.holdsHome(folder)) return FolderKeep::kHome;
  if (!facts_.isMountPoint || facts_.isMountPoint(folder)) return FolderKeep::kMountPoint;
  return FolderKeep::kRemovable;
}

}  // namespace lmk
