// Tests of volume keys, drive kinds and the volume lock across threads and processes.
#include "platform/volume.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/block_device.h"
#include "platform/text_encoding.h"
#include "second_file_system.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

// Paths as the platform layer takes them, whatever the C library's locale.
std::wstring W(const fs::path& path) { return FromUtf8(path.string()); }

using std::chrono::milliseconds;

// ---- keys -------------------------------------------------------------------------------------

TEST(VolumeKeyTest, SameFolderSameKeyAndMissingTargetsTakeTheirParent) {
  test::ScopedTempDir temp;
  const std::wstring key = GetVolumeKey(W(temp.path()));
  EXPECT_EQ(key.rfind(L"dev:", 0), 0u) << key;
  EXPECT_EQ(GetVolumeKey(W(temp.path())), key);
  EXPECT_EQ(GetVolumeKey(W(temp / "not/yet/made.jpg")), key);
  EXPECT_EQ(GetVolumeKey(L""), L"Invalid");
}

TEST(VolumeKeyTest, TwoFileSystemsHaveTwoKeys) {
  test::SecondFileSystem volumes;
  if (!volumes.available()) GTEST_SKIP() << volumes.reason();
  const std::wstring local = GetVolumeKey(W(volumes.local()));
  const std::wstring other = GetVolumeKey(W(volumes.other() / "a.jpg"));
  EXPECT_NE(local, other);
  // A memory file system has no block device behind it.
  EXPECT_EQ(GetDriveKind(other), DriveKind::kUnknown);
  EXPECT_EQ(VolumeSlotCount(GetDriveKind(other)), 1u);
}

struct KindCase {
  std::string name;
  std::string devicePath;
  std::string disk;
  bool removable;
  DriveKind expected;
  unsigned slots;
};

class DriveKindTest : public ::testing::TestWithParam<KindCase> {};

TEST_P(DriveKindTest, ClassifiesTheDeviceAndGivesItsSlots) {
  const KindCase& c = GetParam();
  const DriveKind kind = ClassifyBlockDevice(c.devicePath, c.disk, c.removable);
  EXPECT_EQ(kind, c.expected);
  EXPECT_EQ(VolumeSlotCount(kind), c.slots);
}

const KindCase kKindCases[] = {
    {"SataDisk",
     "/sys/devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/sda/sda1", "sda",
     false, DriveKind::kFixed, 1},
    {"NvmeDisk", "/sys/devices/pci0000:00/0000:00:1d.0/0000:3d:00.0/nvme/nvme0/nvme0n1/nvme0n1p2",
     "nvme0n1", false, DriveKind::kFixed, 1},
    {"UsbDisk",
     "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host4/target4:0:0/4:0:0:0/block/sdb/"
     "sdb1",
     "sdb", false, DriveKind::kUsb, 2},
    {"UsbStick",
     "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/host5/target5:0:0/5:0:0:0/block/sdc",
     "sdc", true, DriveKind::kRemovable, 1},
    {"CardReader", "/sys/devices/pci0000:00/0000:00:1c.0/mmc_host/mmc0/mmc0:0001/block/mmcblk0",
     "mmcblk0", true, DriveKind::kRemovable, 1},
    {"Optical", "/sys/devices/pci0000:00/0000:00:1f.2/ata2/host1/target1:0:0/1:0:0:0/block/sr0",
     "sr0", true, DriveKind::kOptical, 1},
    {"VirtualDisk", "/sys/devices/pci0000:00/0000:00:05.0/virtio2/block/vda", "vda", false,
     DriveKind::kFixed, 1},
};

INSTANTIATE_TEST_SUITE_P(Cases, DriveKindTest, ::testing::ValuesIn(kKindCases),
                         [](const auto& i) { return i.param.name; });

struct FileSystemTypeCase {
  std::string name;
  std::string type;
  bool network;
};

class FileSystemTypeTest : public ::testing::TestWithParam<FileSystemTypeCase> {};

TEST_P(FileSystemTypeTest, NetworkTypesShareOneKey) {
  EXPECT_EQ(IsNetworkFileSystemType(GetParam().type), GetParam().network);
}

const FileSystemTypeCase kTypeCases[] = {
    {"Nfs", "nfs", true},          {"Nfs4", "nfs4", true},        {"Cifs", "cifs", true},
    {"Smb3", "smb3", true},        {"NineP", "9p", true},         {"Ceph", "ceph", true},
    {"Sshfs", "fuse.sshfs", true}, {"Afp", "fuse.afpfs", true},   {"Ext4", "ext4", false},
    {"Btrfs", "btrfs", false},     {"Tmpfs", "tmpfs", false},     {"Vfat", "vfat", false},
    {"Ntfs3g", "fuseblk", false},  {"Overlay", "overlay", false}, {"Empty", "", false},
};

INSTANTIATE_TEST_SUITE_P(Cases, FileSystemTypeTest, ::testing::ValuesIn(kTypeCases),
                         [](const auto& i) { return i.param.name; });

TEST(DriveKindTest, KeysWithoutADevice) {
  EXPECT_EQ(GetDriveKind(L"Network"), DriveKind::kNetwork);
  EXPECT_EQ(VolumeSlotCount(DriveKind::kNetwork), 2u);
  EXPECT_EQ(GetDriveKind(L"Unknown"), DriveKind::kUnknown);
  EXPECT_EQ(GetDriveKind(L"dev:x:1"), DriveKind::kUnknown);
  EXPECT_EQ(GetDriveKind(L"dev:1:2:3"), DriveKind::kUnknown);
}

// ---- the lock ---------------------------------------------------------------------------------

// Lock files go to a private runtime folder, so tests never meet the user's real locks.
class VolumeLockTest : public ::testing::Test {
 protected:
  void SetUp() override { ::setenv("XDG_RUNTIME_DIR", runtime_.path().c_str(), 1); }
  test::ScopedTempDir runtime_;
};

TEST_F(VolumeLockTest, NSlotsAdmitNHoldersAndTheNextOneWaits) {
  for (unsigned slots : {1u, 2u, 3u}) {
    const std::wstring key = L"dev:8:" + std::to_wstring(slots);
    std::vector<VolumeLockGuard> holders(slots);
    std::vector<bool> taken(slots, false);
    for (VolumeLockGuard& holder : holders) {
      ASSERT_EQ(AcquireVolumeLock(key, slots, milliseconds(0), &holder), S_OK) << slots;
      ASSERT_TRUE(holder.held());
      EXPECT_FALSE(taken[holder.slot()]) << "slot given twice";
      taken[holder.slot()] = true;
    }
    VolumeLockGuard extra;
    EXPECT_EQ(AcquireVolumeLock(key, slots, milliseconds(30), &extra),
              HRESULT_FROM_WIN32(ERROR_TIMEOUT));
    EXPECT_FALSE(extra.held());
    holders.back().Release();
    EXPECT_EQ(AcquireVolumeLock(key, slots, milliseconds(0), &extra), S_OK);
    // Another key is another device and never waits for this one.
    VolumeLockGuard elsewhere;
    EXPECT_EQ(AcquireVolumeLock(L"dev:9:0", 1, milliseconds(0), &elsewhere), S_OK);
  }
}

// The lock folder is checked once and then trusted; one that disappears (a cleaned temp
// folder) is made and checked again.
TEST_F(VolumeLockTest, LockFolderRemovedBetweenLocksIsMadeAgain) {
  const std::filesystem::path folder = runtime_.path() / "lumarko-locks";
  for (int round = 0; round < 2; ++round) {
    VolumeLockGuard guard;
    ASSERT_EQ(AcquireVolumeLock(L"dev:8:9", 1, milliseconds(0), &guard), S_OK) << round;
    EXPECT_TRUE(guard.held());
    guard.Release();
    ASSERT_TRUE(std::filesystem::is_directory(folder)) << round;
    std::filesystem::remove_all(folder);
  }
}

TEST_F(VolumeLockTest, NeverMoreHoldersThanSlotsAcrossThreads) {
  constexpr unsigned kSlots = 2;
  std::atomic<int> inside{0};
  std::atomic<int> most{0};
  std::vector<std::thread> workers;
  for (int w = 0; w < 8; ++w) {
    workers.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        VolumeLockGuard guard;
        ASSERT_EQ(AcquireVolumeLock(L"Network", kSlots, kWaitForever, &guard), S_OK);
        const int now = ++inside;
        for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
        }
        std::this_thread::sleep_for(milliseconds(1));
        --inside;
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(most.load(), static_cast<int>(kSlots));
}

TEST_F(VolumeLockTest, BlockingWaiterGetsTheSlotWhenItIsFreed) {
  VolumeLockGuard first;
  ASSERT_EQ(AcquireVolumeLock(L"dev:8:0", 1, kWaitForever, &first), S_OK);
  std::atomic<bool> got{false};
  std::thread waiter([&] {
    VolumeLockGuard second;
    EXPECT_EQ(AcquireVolumeLock(L"dev:8:0", 1, kWaitForever, &second), S_OK);
    got = true;
  });
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_FALSE(got);
  VolumeLockGuard moved = std::move(first);
  EXPECT_FALSE(first.held());
  moved.Release();
  waiter.join();
  EXPECT_TRUE(got);
}

TEST_F(VolumeLockTest, AKilledHolderReleasesItsSlot) {
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    VolumeLockGuard guard;
    const char answer =
        AcquireVolumeLock(L"dev:8:0", 1, milliseconds(0), &guard) == S_OK ? 'y' : 'n';
    (void)!::write(ready[1], &answer, 1);
    ::pause();
    ::_exit(0);
  }
  ::close(ready[1]);
  char answer = 0;
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  ::close(ready[0]);
  ASSERT_EQ(answer, 'y');
  VolumeLockGuard guard;
  EXPECT_EQ(AcquireVolumeLock(L"dev:8:0", 1, milliseconds(30), &guard),
            HRESULT_FROM_WIN32(ERROR_TIMEOUT));
  ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(AcquireVolumeLock(L"dev:8:0", 1, milliseconds(5000), &guard), S_OK);
}

}  // namespace
}  // namespace lmk
