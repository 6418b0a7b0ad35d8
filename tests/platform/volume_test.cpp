// Tests of volume keys, drive kinds and the volume lock across threads and processes, and of
// cancelling a run that waits for it.
#include "platform/volume.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/block_device.h"
#include "platform/run_cancellation.h"
#include "platform_test_files.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using namespace test;
using std::chrono::milliseconds;
const HRESULT kTimeout = HRESULT_FROM_WIN32(ERROR_TIMEOUT);

TEST(VolumeKeyTest, SameFolderSameKeyAndMissingTargetsTakeTheirParent) {
  ScopedTempDir temp;
  const std::wstring key = GetVolumeKey(W(temp.path()));
  EXPECT_EQ(key.rfind(L"dev:", 0), 0u) << key;
  EXPECT_EQ(GetVolumeKey(W(temp.path())), key);
  EXPECT_EQ(GetVolumeKey(W(temp / "not/yet/made.jpg")), key);
  EXPECT_EQ(GetVolumeKey(L""), L"Invalid");
}

class DriveKindTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DriveKindTest, ClassifiesTheDeviceAndGivesItsSlots) {
  const CaseRow& c = GetParam();
  const std::map<std::string, DriveKind> kinds = {{"fixed", DriveKind::kFixed},
                                                  {"usb", DriveKind::kUsb},
                                                  {"removable", DriveKind::kRemovable},
                                                  {"optical", DriveKind::kOptical}};
  const DriveKind kind = ClassifyBlockDevice(c[0], c[1], c[2] == "1");
  EXPECT_EQ(kind, kinds.at(c[3]));
  EXPECT_EQ(VolumeSlotCount(kind), std::stoul(c[4]));
}

INSTANTIATE_TEST_SUITE_P(Cases, DriveKindTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/block_devices.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(DriveKindTest, NetworkTypesShareOneKey) {
  for (const char* type : {"nfs", "nfs4", "cifs", "smb3", "9p", "ceph", "fuse.sshfs", "fuse.afpfs"})
    EXPECT_TRUE(IsNetworkFileSystemType(type)) << type;
  for (const char* type : {"ext4", "btrfs", "tmpfs", "vfat", "fuseblk", "overlay", ""})
    EXPECT_FALSE(IsNetworkFileSystemType(type)) << type;
}

TEST(DriveKindTest, KeysWithoutADevice) {
  EXPECT_EQ(GetDriveKind(L"Network"), DriveKind::kNetwork);
  EXPECT_EQ(VolumeSlotCount(DriveKind::kNetwork), 2u);
  EXPECT_EQ(GetDriveKind(L"Unknown"), DriveKind::kUnknown);
  EXPECT_EQ(GetDriveKind(L"dev:x:1"), DriveKind::kUnknown);
  EXPECT_EQ(GetDriveKind(L"dev:1:2:3"), DriveKind::kUnknown);
}

// Lock files go to a private runtime folder, so tests never meet the user's real locks.
class VolumeLockTest : public ::testing::Test {
 protected:
  void SetUp() override { ::setenv("XDG_RUNTIME_DIR", runtime_.path().c_str(), 1); }
  ScopedTempDir runtime_;
};

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
  std::atomic<int> inside{0}, most{0};
  {
    std::vector<std::jthread> workers;
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
  }
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
  EXPECT_EQ(AcquireVolumeLock(L"dev:8:0", 1, milliseconds(30), &guard), kTimeout);
  ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(AcquireVolumeLock(L"dev:8:0", 1, milliseconds(5000), &guard), S_OK);
}

class VolumeGateForkTest : public VolumeLockTest, public ::testing::WithParamInterface<bool> {};

// A child forked while the parent holds the slot neither shares it nor waits for the parent's
// threads, which the child does not have: it gets the slot once the parent lets it go. With the
// parameter set, a second thread of the parent waits for the slot at the fork.
TEST_P(VolumeGateForkTest, ChildGetsTheSlotOnceTheParentFreesIt) {
  VolumeLockGuard parent;
  ASSERT_EQ(AcquireVolumeLock(L"dev:8:4", 1, milliseconds(0), &parent), S_OK);
  std::jthread waiter;
  if (GetParam()) {
    waiter = std::jthread([] {
      VolumeLockGuard second;
      EXPECT_EQ(AcquireVolumeLock(L"dev:8:4", 1, milliseconds(10000), &second), S_OK);
    });
    std::this_thread::sleep_for(milliseconds(20));
  }
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    VolumeLockGuard guard;
    const bool early = AcquireVolumeLock(L"dev:8:4", 1, milliseconds(0), &guard) == S_OK;
    const bool later = AcquireVolumeLock(L"dev:8:4", 1, milliseconds(10000), &guard) == S_OK;
    ::_exit(!early && later ? 0 : 1);
  }
  std::this_thread::sleep_for(milliseconds(100));
  parent.Release();
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child shared or never got it";
}

INSTANTIATE_TEST_SUITE_P(Cases, VolumeGateForkTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "HeldAndAwaited" : "Held"; });

struct WaitCase {
  const char* name;
  unsigned slots;
  milliseconds timeout;
};

const WaitCase kCases[] = {
    {"OneSlotForever", 1, kWaitForever},
    {"OneSlotLongLimit", 1, milliseconds(60'000)},
};

// A cancelled run does not sit behind a volume lock that another holder keeps.
class CancelledWait : public VolumeLockTest, public ::testing::WithParamInterface<WaitCase> {
 protected:
  void SetUp() override {
    VolumeLockTest::SetUp();
    RunCancellation::Clear();
  }
  void TearDown() override { RunCancellation::Clear(); }
};

TEST_P(CancelledWait, GivesUpWithinASecond) {
  const WaitCase& c = GetParam();
  std::vector<VolumeLockGuard> held(c.slots);
  for (VolumeLockGuard& guard : held) {
    ASSERT_EQ(AcquireVolumeLock(L"dev:8:1", c.slots, milliseconds(0), &guard), S_OK);
  }
  auto waiter = std::async(std::launch::async, [&] {
    VolumeLockGuard guard;
    return AcquireVolumeLock(L"dev:8:1", c.slots, c.timeout, &guard);
  });
  EXPECT_EQ(waiter.wait_for(milliseconds(100)), std::future_status::timeout) << "did not wait";
  const auto cancelled = std::chrono::steady_clock::now();
  RunCancellation::Request();
  ASSERT_EQ(waiter.wait_for(std::chrono::seconds(5)), std::future_status::ready);
  EXPECT_EQ(waiter.get(), E_ABORT);
  EXPECT_LT(std::chrono::steady_clock::now() - cancelled, std::chrono::seconds(1));
}

INSTANTIATE_TEST_SUITE_P(Waits, CancelledWait, ::testing::ValuesIn(kCases),
                         [](const auto& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace lmk
