// Moves and copies between two file systems: the volume lock, copy-verify-delete, and that an
// interruption at any step leaves the source whole and no partial file under the target name.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "actions/action_fixture.h"
#include "actions/copy_action.h"
#include "actions/move_action.h"
#include "platform/file_operations.h"

namespace lmk {
namespace {

using test::ReadFile;
using test::WideOf;
using test::WriteFile;

class CrossVolumeTest : public test::TwoVolumeTest {
 protected:
  void SetUp() override {
    TwoVolumeTest::SetUp();
    if (IsSkipped()) return;
    WriteFile(dir_ / "img.jpg", std::string(200000, 'p'));
    WriteFile(dir_ / "img.xmp", "sidecar");
  }
  std::wstring Destination() const { return WideOf(other_ / "out"); }
};

// The parameter says whether the copy is verified.
class CrossVolumeMoveTest : public CrossVolumeTest, public ::testing::WithParamInterface<bool> {};

TEST_P(CrossVolumeMoveTest, MovesImageAndSidecar) {
  CMoveAction move;
  move.SetDestination(Destination());
  move.SetOption(kTransferVerify, GetParam());
  ComPtr<IDictionary> record = Record(L"img.jpg");
  ASSERT_EQ(move.Execute(record.Get()), S_OK) << ToUtf8(TakeErrorDescription());
  EXPECT_EQ(ReadFile(other_ / "out/img.jpg"), std::string(200000, 'p'));
  EXPECT_EQ(ReadFile(other_ / "out/img.xmp"), "sidecar");
  EXPECT_FALSE(std::filesystem::exists(dir_ / "img.jpg"));
  EXPECT_FALSE(std::filesystem::exists(dir_ / "img.xmp"));
  const std::size_t verified = GetParam() ? 2 : 0;
  EXPECT_EQ(log_.Texts().size(), 1 + verified);
}

TEST_P(CrossVolumeMoveTest, InterruptedPublishLosesNothing) {
  ScopedFileFaultHook hook([](FileStep step, std::wstring_view) -> DWORD {
    return step == FileStep::kPublish ? ERROR_DISK_FULL : 0;
  });
  CMoveAction move;
  move.SetDestination(Destination());
  move.SetOption(kTransferVerify, GetParam());
  ComPtr<IDictionary> record = Record(L"img.jpg");
  EXPECT_EQ(move.Execute(record.Get()), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
  EXPECT_EQ(ReadFile(dir_ / "img.jpg"), std::string(200000, 'p'));
  EXPECT_FALSE(std::filesystem::exists(other_ / "out/img.jpg"));
  EXPECT_EQ(test::RecordText(record.Get(), L"File.Name"), Root() + L"/img.jpg");
  const std::wstring description = TakeErrorDescription();
  EXPECT_EQ(description.rfind(L"Cannot move '" + Root() + L"/img.jpg' to '", 0), 0u)
      << ToUtf8(description);
}

INSTANTIATE_TEST_SUITE_P(Modes, CrossVolumeMoveTest, ::testing::Bool(),
                         [](const auto& i) { return i.param ? "Verified" : "Plain"; });

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
  ComPtr<IDictionary> record = Record(L"img.jpg");
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
    ComPtr<IDictionary> record = Record(L"img.jpg");
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
