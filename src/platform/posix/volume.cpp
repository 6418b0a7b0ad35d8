// Only Linux and generic POSIX code here: volume keys from the file system's device, drive
// kinds from /sys, and volume locks as flock()ed slot files.
#include "platform/volume.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/folder_listing.h"
#include "platform/posix/block_device.h"
#include "platform/posix/error_map.h"
#include "platform/posix/run_memory.h"
#include "platform/posix/unique_fd.h"
#include "platform/run_cancellation.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

constexpr std::wstring_view kNetworkKey = L"Network";

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// The file system type of the mount whose device is `device`, from /proc/self/mountinfo
// ("36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue").
std::string MountType(dev_t device) {
  std::ifstream mounts("/proc/self/mountinfo");
  const std::string wanted = std::to_string(major(device)) + ":" + std::to_string(minor(device));
  std::string line;
  while (std::getline(mounts, line)) {
    std::istringstream fields(line);
    std::string id, parent, numbers;
    fields >> id >> parent >> numbers;
    if (numbers != wanted) continue;
    const std::size_t dash = line.find(" - ");
    if (dash == std::string::npos) continue;
    std::istringstream rest(line.substr(dash + 3));
    std::string type;
    rest >> type;
    return type;
  }
  return {};
}

std::string ReadFirstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

DriveKind KindOfBlockDevice(unsigned majorNumber, unsigned minorNumber) {
  const std::string link =
      "/sys/dev/block/" + std::to_string(majorNumber) + ":" + std::to_string(minorNumber);
  char* resolved = ::realpath(link.c_str(), nullptr);
  if (resolved == nullptr) return DriveKind::kUnknown;
  std::string device(resolved);
  std::free(resolved);
  // A partition's "removable" flag lives on its whole disk, the folder above it.
  std::string disk = device;
  struct stat info {};
  if (::stat((device + "/partition").c_str(), &info) == 0) {
    disk = device.substr(0, device.find_last_of('/'));
  }
  const std::string diskName = disk.substr(disk.find_last_of('/') + 1);
  const bool removable = ReadFirstLine(disk + "/removable") == "1";
  return ClassifyBlockDevice(device, diskName, removable);
}

struct DeviceFacts {
  std::wstring key;
  DriveKind kind = DriveKind::kUnknown;
};

std::mutex g_devicesMutex;
std::map<dev_t, DeviceFacts>& Devices() {
  static std::map<dev_t, DeviceFacts> devices;
  return devices;
}

const DeviceFacts& FactsOf(dev_t device) {
  {
    std::lock_guard lock(g_devicesMutex);
    if (auto found = Devices().find(device); found != Devices().end()) return found->second;
  }
  DeviceFacts facts;
  const std::string type = MountType(device);
  if (IsNetworkFileSystemType(type)) {
    facts.key = kNetworkKey;
    facts.kind = DriveKind::kNetwork;
  } else {
    facts.key = L"dev:" + std::to_wstring(major(device)) + L":" + std::to_wstring(minor(device));
    facts.kind =
        major(device) == 0 ? DriveKind::kUnknown : KindOfBlockDevice(major(device), minor(device));
  }
  std::lock_guard lock(g_devicesMutex);
  // std::map never moves its elements: the reference stays valid after the lock is gone.
  return Devices().emplace(device, std::move(facts)).first->second;
}

// Volume keys of folders, remembered while the run memory is on.
std::mutex g_folderKeysMutex;
std::map<std::string, std::wstring, std::less<>> g_folderKeys;

// ---- the lock ---------------------------------------------------------------------------------

// The lock folder last found to be this user's: every copy takes the lock, and checking the
// folder each time cost three system calls. Forgotten when a lock file cannot be made in it.
std::mutex g_checkedLockFolderMutex;
std::string g_checkedLockFolder;

void ForgetCheckedLockFolder() {
  std::lock_guard lock(g_checkedLockFolderMutex);
  g_checkedLockFolder.clear();
}

// The user never changes while the program runs; asked once, not once per copy.
uid_t ProcessUser() {
  static const uid_t user = ::getuid();
  return user;
}

// Per user, so that one user's folder never blocks another's; in the runtime folder when the
// session has one (a memory file system, emptied at log-out).
HRESULT LockFolder(std::string* folder) {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  std::string base;
  if (runtime != nullptr && runtime[0] == '/') {
    base = std::string(runtime) + "/lumarko-locks";
  } else {
    const char* temp = std::getenv("TMPDIR");
    base = std::string(temp != nullptr && temp[0] == '/' ? temp : "/tmp") + "/lumarko-locks-" +
           std::to_string(ProcessUser());
  }
  {
    std::lock_guard lock(g_checkedLockFolderMutex);
    if (base == g_checkedLockFolder) {
      *folder = std::move(base);
      return S_OK;
    }
  }
  if (::mkdir(base.c_str(), 0700) != 0 && errno != EEXIST) {
    return HresultFromErrno(errno, L"Cannot create the lock folder '" + FromUtf8(base) + L"'");
  }
  struct stat info {};
  if (::lstat(base.c_str(), &info) != 0) {
    return HresultFromErrno(errno, L"Cannot open the lock folder '" + FromUtf8(base) + L"'");
  }
  // A folder planted by another user in a shared temp folder must not be trusted.
  if (!S_ISDIR(info.st_mode) || info.st_uid != ProcessUser()) {
    SetErrorDescription(L"The lock folder '" + FromUtf8(base) +
                        L"' is not a folder of this user; remove it.");
    return E_ACCESSDENIED;
  }
  {
    std::lock_guard lock(g_checkedLockFolderMutex);
    g_checkedLockFolder = base;
  }
  *folder = std::move(base);
  return S_OK;
}

std::string SlotFileName(std::wstring_view key, unsigned slot) {
  std::string name = "VolumeLock_" + ToUtf8(key);
  for (char& c : name) {
    if (c == '/') c = '_';
  }
  return name + "." + std::to_string(slot);
}

}  // namespace

bool IsNetworkFileSystemType(std::string_view type) {
  static constexpr std::array<std::string_view, 21> kNetworkTypes = {
      "nfs",   "nfs4",  "cifs",       "smb3",        "smbfs",          "ncpfs",     "9p",
      "ceph",  "afs",   "coda",       "glusterfs",   "lustre",         "gpfs",      "afpfs",
      "davfs", "ocfs2", "fuse.sshfs", "fuse.rclone", "fuse.glusterfs", "fuse.s3fs", "fuse.cephfs"};
  for (std::string_view known : kNetworkTypes) {
    if (type == known) return true;
  }
  // FUSE front ends of network protocols name themselves after the protocol.
  return StartsWith(type, "fuse.afp") || StartsWith(type, "fuse.smb") ||
         StartsWith(type, "fuse.davfs") || StartsWith(type, "fuse.curlftpfs") ||
         StartsWith(type, "fuse.gvfsd-fuse");
}

DriveKind ClassifyBlockDevice(std::string_view devicePath, std::string_view diskName,
                              bool removable) {
  if (StartsWith(diskName, "sr")) return DriveKind::kOptical;
  if (removable) return DriveKind::kRemovable;
  if (devicePath.find("/usb") != std::string_view::npos) return DriveKind::kUsb;
  return DriveKind::kFixed;
}

std::wstring GetVolumeKey(std::wstring_view path) {
  if (path.empty()) return L"Invalid";
  std::string native = ToUtf8(path);
  struct stat info {};
  // A target that does not exist yet lies on the volume of its nearest existing folder.
  while (::stat(native.c_str(), &info) != 0) {
    if (errno != ENOENT && errno != ENOTDIR) return L"Unknown";
    while (native.size() > 1 && native.back() == '/') native.pop_back();
    const std::size_t slash = native.find_last_of('/');
    if (slash == std::string::npos) {
      native = ".";
    } else {
      native.resize(slash == 0 ? 1 : slash);
    }
    if (native == "/" && ::stat("/", &info) != 0) return L"Unknown";
  }
  return FactsOf(info.st_dev).key;
}

std::wstring GetFolderVolumeKey(std::wstring_view folder) {
  if (folder.empty() || !RunMemoryOn()) return GetVolumeKey(folder);
  std::string native = NormalFolderPath(ToUtf8(folder));
  {
    std::lock_guard lock(g_folderKeysMutex);
    if (const auto found = g_folderKeys.find(native); found != g_folderKeys.end()) {
      return found->second;
    }
  }
  std::wstring key = GetVolumeKey(folder);
  // A folder that could not be looked at is asked again next time.
  if (key != L"Unknown") {
    std::lock_guard lock(g_folderKeysMutex);
    g_folderKeys.insert_or_assign(std::move(native), key);
  }
  return key;
}

void ForgetFolderDevices() {
  std::lock_guard lock(g_folderKeysMutex);
  g_folderKeys.clear();
}

DriveKind GetDriveKind(std::wstring_view volumeKey) {
  if (volumeKey == kNetworkKey) return DriveKind::kNetwork;
  const std::string key = ToUtf8(volumeKey);
  unsigned majorNumber = 0;
  unsigned minorNumber = 0;
  char tail = 0;
  if (std::sscanf(key.c_str(), "dev:%u:%u%c", &majorNumber, &minorNumber, &tail) != 2) {
    return DriveKind::kUnknown;
  }
  return FactsOf(makedev(majorNumber, minorNumber)).kind;
}

unsigned VolumeSlotCount(DriveKind kind) {
  switch (kind) {
    case DriveKind::kUsb:
    case DriveKind::kNetwork:
      return 2;
    case DriveKind::kOptical:
    case DriveKind::kRemovable:
    case DriveKind::kFixed:
    case DriveKind::kUnknown:
      return 1;
  }
  return 1;
}

// The slots of one lock as this process sees them. Threads of the process wait for each other
// here and are woken when a slot is freed, instead of polling the slot files; the files' locks
// keep other processes out. The files stay open while any thread holds or waits for a slot, so
// that a run of copies costs two flock calls each rather than an open, a flock and a close (and
// a sleep whenever two workers met). Outside a run they are closed when the last thread leaves,
// and after a run when it ends, so that a lock folder removed meanwhile is made again; within a
// run they stay open between copies, since workers taking turns would otherwise open and close
// them for nearly every copy.
class VolumeGate {
 public:
  VolumeGate(std::string folder, std::wstring key)
      : folder_(std::move(folder)), key_(std::move(key)) {}

  HRESULT Acquire(unsigned slots, std::chrono::milliseconds timeout, VolumeLockGuard* guard,
                  const std::shared_ptr<VolumeGate>& self) {
    std::unique_lock lock(mutex_);
    if (taken_.size() < slots) {
      taken_.resize(slots, false);
      files_.resize(slots, -1);
    }
    ++users_;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::chrono::milliseconds pause{1};
    for (;;) {
      bool heldElsewhere = false;
      for (unsigned slot = 0; slot < slots; ++slot) {
        if (taken_[slot]) continue;
        const HRESULT opened = OpenSlot(slot);
        if (FAILED(opened)) return Leave(opened);
        if (::flock(files_[slot], LOCK_EX | LOCK_NB) == 0) {
          taken_[slot] = true;
          guard->gate_ = self;
          guard->handle_ = files_[slot];
          guard->slot_ = slot;
          return S_OK;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
          return Leave(HresultFromErrno(errno, L"Cannot lock the volume"));
        }
        heldElsewhere = true;
      }
      const auto now = std::chrono::steady_clock::now();
      if (timeout >= std::chrono::milliseconds::zero() && now >= deadline) {
        return Leave(HRESULT_FROM_WIN32(ERROR_TIMEOUT));
      }
      if (RunCancellation::IsRequested()) return Leave(E_ABORT);
      // A slot freed in this process wakes the waiter at once; one held by another process is
      // polled. Either way the wait is short enough to see a cancelled run.
      std::chrono::milliseconds wait = heldElsewhere ? pause : std::chrono::milliseconds{16};
      if (timeout >= std::chrono::milliseconds::zero()) {
        wait =
            std::min(wait, std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now) +
                               std::chrono::milliseconds{1});
      }
      freed_.wait_for(lock, wait);
      if (heldElsewhere) pause = std::min(pause * 2, std::chrono::milliseconds{16});
    }
  }

  void Free(unsigned slot) noexcept {
    {
      std::lock_guard lock(mutex_);
      taken_[slot] = false;
      // Unlocked rather than only closed: a child forked meanwhile shares the open file, and
      // closing our descriptor alone would leave the slot locked for as long as the child lives.
      ::flock(files_[slot], LOCK_UN);
      if (--users_ == 0) {
        if (!RunMemoryOn()) CloseFiles();
        return;
      }
    }
    // Woken after the lock is let go, so that the waiter does not at once wait for it again.
    freed_.notify_one();
  }

  // Closes the files unless a thread holds or waits for a slot.
  void CloseIfIdle() noexcept {
    std::lock_guard lock(mutex_);
    if (users_ == 0) CloseFiles();
  }

 private:
  HRESULT Leave(HRESULT result) {
    if (--users_ == 0) CloseFiles();
    return result;
  }

  void CloseFiles() noexcept {
    for (int& file : files_) {
      if (file >= 0) ::close(std::exchange(file, -1));
    }
  }

  HRESULT OpenSlot(unsigned slot) {
    if (files_[slot] >= 0) return S_OK;
    std::string path = folder_ + "/" + SlotFileName(key_, slot);
    UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file.valid() && errno == ENOENT) {
      // The folder went away since it was checked (a cleaned temp folder): check it anew.
      ForgetCheckedLockFolder();
      LMK_RETURN_IF_FAILED(LockFolder(&folder_));
      path = folder_ + "/" + SlotFileName(key_, slot);
      file = UniqueFd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    }
    if (!file.valid()) {
      return HresultFromErrno(errno, L"Cannot open the lock file '" + FromUtf8(path) + L"'");
    }
    files_[slot] = file.Release();
    return S_OK;
  }

  std::mutex mutex_;
  std::condition_variable freed_;
  std::string folder_;
  const std::wstring key_;
  // Per slot: whether a thread of this process holds it, and its open file (-1: closed).
  std::vector<bool> taken_;
  std::vector<int> files_;
  // Threads holding or waiting for a slot.
  unsigned users_ = 0;
};

namespace {

// Counts the forks this process came out of as the child. A child inherits its parent's gates
// with their threads' slots marked taken, which no thread of the child will ever free: it starts
// with gates of its own.
std::atomic<unsigned> g_forkGeneration{0};

// One gate per lock folder and key, for the life of the process.
std::mutex g_gatesMutex;
std::map<std::tuple<unsigned, std::string, std::wstring>, std::shared_ptr<VolumeGate>> g_gates;

std::shared_ptr<VolumeGate> GateOf(const std::string& folder, std::wstring_view key) {
  static std::once_flag watchForks;
  std::call_once(watchForks,
                 [] { ::pthread_atfork(nullptr, nullptr, [] { g_forkGeneration.fetch_add(1); }); });
  const unsigned generation = g_forkGeneration.load();
  std::lock_guard lock(g_gatesMutex);
  std::shared_ptr<VolumeGate>& gate = g_gates[{generation, folder, std::wstring(key)}];
  if (!gate) gate = std::make_shared<VolumeGate>(folder, std::wstring(key));
  return gate;
}

}  // namespace

void CloseIdleVolumeLockFiles() {
  std::vector<std::shared_ptr<VolumeGate>> gates;
  {
    std::lock_guard lock(g_gatesMutex);
    for (const auto& [key, gate] : g_gates) gates.push_back(gate);
  }
  for (const std::shared_ptr<VolumeGate>& gate : gates) gate->CloseIfIdle();
}

VolumeLockGuard::~VolumeLockGuard() { Release(); }

VolumeLockGuard::VolumeLockGuard(VolumeLockGuard&& other) noexcept
    : gate_(std::move(other.gate_)),
      handle_(std::exchange(other.handle_, -1)),
      slot_(other.slot_) {}

VolumeLockGuard& VolumeLockGuard::operator=(VolumeLockGuard&& other) noexcept {
  if (this != &other) {
    Release();
    gate_ = std::move(other.gate_);
    handle_ = std::exchange(other.handle_, -1);
    slot_ = other.slot_;
  }
  return *this;
}

void VolumeLockGuard::Release() noexcept {
  if (handle_ < 0) return;
  handle_ = -1;
  const std::shared_ptr<VolumeGate> gate = std::move(gate_);
  if (gate) gate->Free(slot_);
}

HRESULT AcquireVolumeLock(std::wstring_view volumeKey, unsigned slots,
                          std::chrono::milliseconds timeout, VolumeLockGuard* guard) {
  if (guard == nullptr || volumeKey.empty()) return E_INVALIDARG;
  guard->Release();
  if (slots == 0) slots = 1;
  std::string folder;
  LMK_RETURN_IF_FAILED(LockFolder(&folder));
  const std::shared_ptr<VolumeGate> gate = GateOf(folder, volumeKey);
  return gate->Acquire(slots, timeout, guard, gate);
}

}  // namespace lmk
