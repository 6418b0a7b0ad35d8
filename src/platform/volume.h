// Which physical device a path lies on, and the per-device lock that bounds parallel transfers.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// The volume key of `path`: one text per device, equal for every path on it, stable while it
/// is mounted. Local file systems give "dev:<major>:<minor>"; every network file system gives
/// "Network" (they all share one lock); an empty path gives "Invalid" and a path whose volume
/// cannot be found "Unknown". A path that does not exist yet is keyed by its nearest existing
/// parent folder. Keys compare exactly (VarBstrCmp without flags). Safe from any thread.
std::wstring GetVolumeKey(std::wstring_view path);

/// GetVolumeKey of the folder `folder`. While the run memory is on (platform/folder_listing.h)
/// the key is remembered per folder until the run ends: a folder does not change device
/// during a run. Safe from any thread.
std::wstring GetFolderVolumeKey(std::wstring_view folder);

/// The kind of device behind a volume key, as far as the system tells it.
enum class DriveKind { kUnknown, kFixed, kRemovable, kUsb, kOptical, kNetwork };

/// The kind of the device of `volumeKey` (from GetVolumeKey): kNetwork for "Network"; kOptical,
/// kRemovable (the device says it is removable) or kUsb (a fixed disk on a USB bus) when the
/// system describes the block device so; kFixed for other block devices; kUnknown otherwise
/// (memory file systems, "Unknown", "Invalid"). Looked up once per key and cached.
DriveKind GetDriveKind(std::wstring_view volumeKey);

/// How many heavy transfers may run at once on a device of this kind: optical and removable
/// 1, USB 2, network 2, every other kind 1.
unsigned VolumeSlotCount(DriveKind kind);

class VolumeGate;

/// One slot of a volume lock, held until destroyed (or Release). Move-only. The slot is a lock
/// on a file, so the system frees it when the holding process ends in any way, even killed.
class VolumeLockGuard {
 public:
  VolumeLockGuard() = default;
  ~VolumeLockGuard();
  VolumeLockGuard(VolumeLockGuard&& other) noexcept;
  VolumeLockGuard& operator=(VolumeLockGuard&& other) noexcept;
  VolumeLockGuard(const VolumeLockGuard&) = delete;
  VolumeLockGuard& operator=(const VolumeLockGuard&) = delete;

  /// True while a slot is held.
  bool held() const noexcept { return handle_ >= 0; }
  /// Which slot (0-based) is held; meaningful only while held().
  unsigned slot() const noexcept { return slot_; }
  /// Frees the slot now; nothing when none is held.
  void Release() noexcept;

 private:
  friend class VolumeGate;
  friend HRESULT AcquireVolumeLock(std::wstring_view, unsigned, std::chrono::milliseconds,
                                   VolumeLockGuard*);
  // The process's side of the lock: threads of one process wait for each other there.
  std::shared_ptr<VolumeGate> gate_;
  int handle_ = -1;
  unsigned slot_ = 0;
};

/// No time limit for AcquireVolumeLock.
inline constexpr std::chrono::milliseconds kWaitForever{-1};

/// Waits until one of `slots` slots (at least 1) of the lock named after `volumeKey` is free,
/// takes it and hands it to `*guard` (which first releases whatever it held). The slots are
/// shared by every thread and every process of the user. Callers on one key must agree on
/// `slots` (VolumeSlotCount(GetDriveKind(key))); a smaller count only waits more.
/// Returns S_OK; HRESULT_FROM_WIN32(ERROR_TIMEOUT) when `timeout` passed first (never with
/// kWaitForever); E_ABORT when the run is cancelled while waiting (RunCancellation);
/// E_INVALIDARG for a null `guard` or an empty key; the system's error when the lock files
/// cannot be made (with a description naming the folder).
[[nodiscard]] HRESULT AcquireVolumeLock(std::wstring_view volumeKey, unsigned slots,
                                        std::chrono::milliseconds timeout, VolumeLockGuard* guard);

}  // namespace lmk
