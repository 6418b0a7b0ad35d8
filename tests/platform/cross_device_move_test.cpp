// Moves between two file systems: the copy stands complete before the source goes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "com/com_error.h"
#include "platform/file_compare.h"
#include "platform/file_operations.h"
#include "platform_test_files.h"
#include "second_file_system.h"

// After the COM subset: the C library's LOCK_WRITE macro would clash with its enumerator.
#include <fcntl.h>

namespace lmk {
namespace {

using namespace test;

const HRESULT kOtherDevice = HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE);

class CrossDeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!volumes_.available()) GTEST_SKIP() << volumes_.reason();
    WriteBytes(source_, contents_);
    const struct timespec times[2] = {{1600000000, 0}, {1500000000, 250000000}};
    ::utimensat(AT_FDCWD, source_.c_str(), times, 0);
  }
  // The source is whole and the target as given; no temporary copy is left.
  void ExpectSourceAndTarget(const std::optional<std::string>& target) {
    EXPECT_EQ(ReadText(source_), contents_);
    EXPECT_EQ(ReadText(target_), target);
    EXPECT_TRUE(LeftoverTemporaries(volumes_.other()).empty());
  }

  SecondFileSystem volumes_;
  const fs::path source_ = volumes_.local() / "pic ä.jpg", target_ = volumes_.other() / "pic ä.jpg";
  const std::string contents_ = std::string(5 << 20, 'p') + "end";
};

TEST_F(CrossDeviceTest, MoveCopiesKeepsTheTimeAndRemovesTheSource) {
  ASSERT_EQ(MoveFileTo(W(source_), W(target_), kMoveCopyAllowed), S_OK);
  EXPECT_FALSE(fs::exists(source_));
  EXPECT_EQ(ReadText(target_), contents_);
  struct stat info {};
  ASSERT_EQ(::stat(target_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mtim.tv_sec, 1500000000);
  EXPECT_TRUE(LeftoverTemporaries(volumes_.other()).empty());
}

TEST_F(CrossDeviceTest, RefusalsLeaveBothFilesAlone) {
  EXPECT_EQ(MoveFileTo(W(source_), W(target_), 0), kOtherDevice);
  EXPECT_EQ(MakeHardLink(W(target_), W(source_)), kOtherDevice);
  ExpectSourceAndTarget(std::nullopt);
  WriteBytes(target_, "old");
  EXPECT_EQ(MoveFileTo(W(source_), W(target_), kMoveCopyAllowed),
            HRESULT_FROM_WIN32(ERROR_FILE_EXISTS));
  ExpectSourceAndTarget("old");
}

// A failure at either step leaves the source whole and nothing at the target: a copy whose
// source cannot be removed is taken back.
TEST_F(CrossDeviceTest, InterruptedMoveLeavesTheSourceAndNoPartialTarget) {
  for (const FileStep failing : {FileStep::kPublish, FileStep::kRemoveSource}) {
    ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
      return step == failing ? ERROR_DISK_FULL : 0;
    });
    EXPECT_EQ(MoveFileTo(W(source_), W(target_), kMoveCopyAllowed | kMoveReplaceExisting),
              HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_FALSE(TakeErrorDescription().empty());
    ExpectSourceAndTarget(std::nullopt);
  }
}

TEST_F(CrossDeviceTest, CopyAcrossDevicesComparesIdentical) {
  ASSERT_EQ(CopyFileTo(W(source_), W(target_), true), S_OK);
  FileComparison result = FileComparison::kDifferent;
  ASSERT_EQ(CompareFiles(W(source_), W(target_), &result), S_OK);
  EXPECT_EQ(result, FileComparison::kIdentical);
}

}  // namespace
}  // namespace lmk
