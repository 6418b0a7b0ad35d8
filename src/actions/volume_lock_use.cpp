// Taking the volume lock for a transfer.
#include "actions/volume_lock_use.h"

#include "actions/action_path.h"

namespace lmk {

bool OnSameVolume(std::wstring_view source, std::wstring_view targetFolder) {
  // A file lies on its folder's device, whose key the run remembers. A file mounted over
  // another is the exception; then the rename refuses with "not the same device" and the
  // move goes on as one across volumes.
  const std::wstring_view sourceFolder = FolderOf(source, kNativePathStyle);
  const std::wstring sourceKey =
      sourceFolder.empty() ? GetVolumeKey(source) : GetFolderVolumeKey(sourceFolder);
  return sourceKey == GetFolderVolumeKey(targetFolder);
}

CopyLock VolumeLockOf(std::wstring_view folder) {
  CopyLock lock{GetFolderVolumeKey(folder)};
  lock.slots = VolumeSlotCount(GetDriveKind(lock.volumeKey));
  return lock;
}

HRESULT LockVolumeOf(std::wstring_view folder, VolumeLockGuard* guard) {
  const CopyLock lock = VolumeLockOf(folder);
  return AcquireVolumeLock(lock.volumeKey, lock.slots, kWaitForever, guard);
}

}  // namespace lmk
