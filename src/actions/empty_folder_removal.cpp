// The removal of emptied folders.
#include "actions/empty_folder_removal.h"

#include <string>

#include "actions/action_path.h"
#include "actions/action_texts.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_facts.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"

namespace lmk {
HRESULT RemoveEmptyFolder(std::wstring_view path, bool deleteReadOnly, const SharingRetry& retry) {
  HRESULT hr = RemoveEmptyDirectory(path);
  if (hr == HRESULT_FROM_WIN32(ERROR_DIR_NOT_EMPTY)) {
    // A thumbnail cache left by Windows Explorer is no content of the user's: it goes, and the
    // folder is tried once more.
    std::wstring thumbs(path);
    if (thumbs.empty() || !IsSeparator(thumbs.back(), kNativePathStyle)) {
      thumbs += PreferredSeparator(kNativePathStyle);
    }
    thumbs += L"Thumbs.db";
    if (FileExists(thumbs) &&
        SUCCEEDED(RetryWhileShared(retry, [&] { return DeleteFileAt(thumbs); }))) {
      hr = RemoveEmptyDirectory(path);
    }
  }
  if (hr == E_ACCESSDENIED && deleteReadOnly) {
    DWORD attributes = 0;
    if (SUCCEEDED(GetFileAttributesOf(path, &attributes)) &&
        (attributes & kFileAttributeReadOnly) != 0) {
      (void)SetFileAttributesOf(path, attributes & ~kFileAttributeReadOnly);
      hr = RemoveEmptyDirectory(path);
    }
  }
  if (FAILED(hr)) {
    TakeErrorDescription();
    return hr;
  }
  LogEvent(kEventLevelInformation, action_text::kRemovingFolder, path);
  return S_OK;
}

int RemoveEmptiedFolders(std::wstring_view deletedFile, const FolderRemovalGuard& guard,
                         bool deleteReadOnly, const SharingRetry& retry) {
  constexpr PathStyle kStyle = kNativePathStyle;
  std::wstring_view folder = FolderOf(deletedFile, kStyle);
  int removed = 0;
  while (!folder.empty() && guard.Check(folder, removed == 0) == FolderKeep::kRemovable) {
    if (FAILED(RemoveEmptyFolder(folder, deleteReadOnly, retry))) break;
    ++removed;
    const std::wstring_view parent = FolderOf(folder, kStyle);
    if (parent.size() >= folder.size()) break;
    folder = parent;
  }
  return removed;
}

}  // namespace lmk
