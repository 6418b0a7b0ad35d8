// How the file actions use the per-device volume lock: which transfers take it, and taking it
// with the slot count of the device's kind.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"
#include "platform/file_operations.h"
#include "platform/volume.h"

namespace lmk {

/// Whether source and the folder targetFolder lie on one volume (equal volume keys).
bool OnSameVolume(std::wstring_view source, std::wstring_view targetFolder);

/// The volume lock of the device of `folder`, with the slot count of the device's kind.
CopyLock VolumeLockOf(std::wstring_view folder);

/// Takes one slot of the lock of the volume of `folder`, waiting as long as it takes: the device
/// decides how many heavy transfers run on it at once, whatever the number of workers. S_OK, or the
/// failure of the lock files (with a description).
[[nodiscard]] HRESULT LockVolumeOf(std::wstring_view folder, VolumeLockGuard* guard);

}  // namespace lmk
