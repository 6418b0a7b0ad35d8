// Taking the volume lock for a transfer.
#include "actions/volume_lock_use.h"

namespace lmk {

bool OnSameVolume(std::wstring_view source, std::wstring_view targetFolder) {
  return GetVolumeKey(source) == GetVolumeKey(targetFolder);
}

HRESULT LockVolumeOf(std::wstring_view path, VolumeLockGuard* guard) {
  const std::wstring key = GetVolumeKey(path);
  return AcquireVolumeLock(key, VolumeSlotCount(GetDriveKind(key)), kWaitForever, guard);
}

}  // namespace lmk
