// Moves and copies between two file systems: the volume lock, copy-verify-delete, and that an
// interruption at any step leaves the source whole and no partial file under the target name.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "actions/action_fixture.h"
#include "actions/copy_action.h"
#include "actions/move_action.h"
#include "platform/file_operations.h"
#include "platform/volume.h"

namespace lmk {
namespace {

using test::MakeImageRecord;
using test::MemoryLog;
using test::ReadFile;
using test::WideOf;
using test::WriteFile;

// A folder on a second file system (the memory file system), removed with its content.
class SecondVolumeDir {
 public:
  SecondVolumeDir() {
    std::string pattern = "/dev/shm/lmk-actions-XXXXXX";
    if (std::filesystem::is_directory("/dev/shm") && ::mkdtemp(pattern.data()) != nullptr) {
      path_ = pattern;
    }
  }
  ~SecondVolumeDir() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class CrossVolumeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (other_.path().empty() ||
        GetVolumeKey(WideOf(dir_.path())) == GetVolumeKey(WideOf(other_.path()))) {
      GTEST_SKIP() << "no second file system: /dev/shm is missing or on the same device as "
                   << dir_.path();
    }
    WriteFile(dir_ / "img.jpg", std::string(200000, 'p'));
    WriteFile(dir_ / "img.xmp", "sidecar");
  }
  std::wstring Root() const { return WideOf(dir_.path()); }
  std::wstring Destination() const { return WideOf(other_.path() / "out"); }
  ComPtr<IDictionary> Record() const { return MakeImageRecord(Root() + L"/img.jpg", Root()); }

  test::ScopedTempDir dir_;
  SecondVolumeDir other_;
  MemoryLog log_;
};

struct CrossCase {
  std::string name;
  bool verify;
};

class CrossVolumeMoveTest : public CrossVolumeTest,
                            public ::testing::WithParamInterface<CrossCase> {};

TEST_P(CrossVolumeMoveTest, MovesImageAndSidecar) {
  CMoveAction move;
  move.SetDestination(Destination());
  move.SetOption(kTransferVerify, GetParam().verify);
  ComPtr<IDictionary> record = Record();
  ASSERT_EQ(move.Execute(record.Get()), S_OK) << ToUtf8(TakeErrorDescription());
  EXPECT_EQ(ReadFile(other_.path() / "out/img.jpg"), std::string(200000, 'p'));
  EXPECT_EQ(ReadFile(other_.path() / "out/img.xmp"), "sidecar");
  EXPECT_FALSE(std::filesystem::exists(dir_ / "img.jpg"));
  EXPECT_FALSE(std::filesystem::exists(dir_ / "img.xmp"));
  const std::size_t verified = GetParam().verify ? 2 : 0;
  EXPECT_EQ(log_.Texts().size(), 1 + verified);
}

TEST_P(CrossVolumeMoveTest, InterruptedPublishLosesNothing) {
  ScopedFileFaultHook hook([](FileStep step, std::wstring_view) -> DWORD {
    return step == FileStep::kPublish ? ERROR_DISK_FULL : 0;
  });
  CMoveAction move;
  move.SetDestination(Destination());
  move.SetOption(kTransferVerify, GetParam().verify);
  ComPtr<IDictionary> record = Record();
  EXPECT_EQ(move.Execute(record.Get()), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
  EXPECT_EQ(ReadFile(dir_ / "img.jpg"), std::string(200000, 'p'));
  EXPECT_FALSE(std::filesystem::exists(other_.path() / "out/img.jpg"));
  EXPECT_EQ(test::RecordText(record.Get(), L"File.Name"), Root() + L"/img.jpg");
  const std::wstring description = TakeErrorDescription();
  EXPECT_EQ(description.rfind(L"Cannot move '" + Root() + L"/img.jpg' to '", 0), 0u)
      << ToUtf8(description);
}

INSTANTIATE_TEST_SUITE_P(Modes, CrossVolumeMoveTest,
                         ::testing::Values(CrossCase{"Plain", false}, CrossCase{"Verified", true}),
                         [](const auto& i) { return i.param.name; });

// The source changes while it is copied: the check finds the copy different, and the move keeps
// the source (and the copy, for inspection).
TEST_F(CrossVolumeTest, FailedIntegrityCheckKeepsTheSource) {
  const std::filesystem::path source = dir_ / "img.jpg";
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    if (step == FileStep::kPublish) WriteFile(source, std::string(200001, 'q'));
    return 0;
  });
  CMoveAction move;
  move.SetDestination(Destination());
  move.SetOption(kTransferVerify, true);
  ComPtr<IDictionary> record = Record();
  EXPECT_EQ(move.Execute(record.Get()), HRESULT_FROM_WIN32(1392));
  EXPECT_EQ(ReadFile(source), std::string(200001, 'q'));
  EXPECT_EQ(TakeErrorDescription(),
            L"Copy integrity check failed: '" + Destination() + L"/img.jpg' is NOT identical to '" +
                Root() +
                L"/img.jpg', or the file comparison could not be performed. The file or "
                L"directory is corrupted and unreadable. (0x80070570)");
  EXPECT_EQ(test::RecordText(record.Get(), L"File.Name"), Root() + L"/img.jpg");
}

TEST_F(CrossVolumeTest, CopyRunsUnderTheDestinationLock) {
  // A slot of the destination's lock held elsewhere makes the copy wait for it.
  const std::wstring key = GetVolumeKey(Destination());
  VolumeLockGuard held;
  ASSERT_EQ(AcquireVolumeLock(key, VolumeSlotCount(GetDriveKind(key)), kWaitForever, &held), S_OK);
  std::atomic<bool> done{false};
  std::thread worker([&] {
    CCopyAction copy;
    copy.SetDestination(Destination());
    ComPtr<IDictionary> record = Record();
    EXPECT_EQ(copy.Execute(record.Get()), S_OK);
    done = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const bool finishedWhileHeld = done.load();
  held.Release();
  worker.join();
  // Memory file systems count one slot; the copy could only finish after the release.
  if (VolumeSlotCount(GetDriveKind(key)) == 1) {
    EXPECT_FALSE(finishedWhileHeld);
  }
  EXPECT_TRUE(done.load());
}

}  // namespace
}  // namespace lmk
