// Tests of moves between two file systems: the copy stands complete before the source goes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "com/com_error.h"
#include "platform/file_compare.h"
#include "platform/file_operations.h"
#include "platform/text_encoding.h"
#include "second_file_system.h"

// After the COM subset: the C library's LOCK_WRITE macro would clash with its enumerator.
#include <fcntl.h>

namespace lmk {
namespace {

namespace fs = std::filesystem;

// Paths as the platform layer takes them, whatever the C library's locale.
std::wstring W(const fs::path& path) { return FromUtf8(path.string()); }

void WriteText(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::optional<std::string> ReadText(const fs::path& path) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) return std::nullopt;
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool HasTemporaries(const fs::path& folder) {
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().rfind(".lmk-", 0) == 0) return true;
  }
  return false;
}

class CrossDeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!volumes_.available()) GTEST_SKIP() << volumes_.reason();
    source_ = volumes_.local() / "pic ä.jpg";
    target_ = volumes_.other() / "pic ä.jpg";
    contents_ = std::string(5 << 20, 'p') + "end";
    WriteText(source_, contents_);
    const struct timespec times[2] = {{1600000000, 0}, {1500000000, 250000000}};
    ::utimensat(AT_FDCWD, source_.c_str(), times, 0);
  }

  test::SecondFileSystem volumes_;
  fs::path source_;
  fs::path target_;
  std::string contents_;
};

TEST_F(CrossDeviceTest, MoveCopiesKeepsTheTimeAndRemovesTheSource) {
  ASSERT_EQ(MoveFileTo(W(source_), W(target_), kMoveCopyAllowed), S_OK);
  EXPECT_FALSE(fs::exists(source_));
  EXPECT_EQ(ReadText(target_), contents_);
  struct stat info {};
  ASSERT_EQ(::stat(target_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mtim.tv_sec, 1500000000);
  EXPECT_FALSE(HasTemporaries(volumes_.other()));
}

TEST_F(CrossDeviceTest, MoveWithoutCopyAllowedIsRefused) {
  EXPECT_EQ(MoveFileTo(W(source_), W(target_), 0), HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE));
  EXPECT_EQ(ReadText(source_), contents_);
  EXPECT_FALSE(fs::exists(target_));
}

TEST_F(CrossDeviceTest, HardLinkAcrossDevicesIsRefused) {
  EXPECT_EQ(MakeHardLink(W(target_), W(source_)), HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE));
}

TEST_F(CrossDeviceTest, ExistingTargetIsKeptWithoutReplace) {
  WriteText(target_, "old");
  EXPECT_EQ(MoveFileTo(W(source_), W(target_), kMoveCopyAllowed),
            HRESULT_FROM_WIN32(ERROR_FILE_EXISTS));
  EXPECT_EQ(ReadText(source_), contents_);
  EXPECT_EQ(ReadText(target_), "old");
  EXPECT_FALSE(HasTemporaries(volumes_.other()));
}

struct InterruptionCase {
  std::string name;
  FileStep step;
  bool targetStands;
};

class InterruptedMoveTest : public CrossDeviceTest,
                            public ::testing::WithParamInterface<InterruptionCase> {};

// A failure at either step leaves the source whole and nothing at the target.
TEST_P(InterruptedMoveTest, LeavesTheSourceAndNoPartialTarget) {
  const InterruptionCase& c = GetParam();
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    return step == c.step ? ERROR_DISK_FULL : 0;
  });
  const HRESULT hr = MoveFileTo(W(source_), W(target_), kMoveCopyAllowed | kMoveReplaceExisting);
  EXPECT_EQ(hr, HRESULT_FROM_WIN32(ERROR_DISK_FULL));
  EXPECT_FALSE(TakeErrorDescription().empty());
  EXPECT_EQ(ReadText(source_), contents_);
  if (c.targetStands) {
    EXPECT_EQ(ReadText(target_), contents_);
  } else {
    EXPECT_FALSE(fs::exists(target_));
  }
  EXPECT_FALSE(HasTemporaries(volumes_.other()));
}

const InterruptionCase kInterruptions[] = {
    {"AtTheFinalRename", FileStep::kPublish, false},
    // The source stays, so the copy is taken back.
    {"AtTheRemovalOfTheSource", FileStep::kRemoveSource, false},
};

INSTANTIATE_TEST_SUITE_P(Steps, InterruptedMoveTest, ::testing::ValuesIn(kInterruptions),
                         [](const auto& i) { return i.param.name; });

TEST_F(CrossDeviceTest, CopyAcrossDevicesComparesIdentical) {
  ASSERT_EQ(CopyFileTo(W(source_), W(target_), true), S_OK);
  FileComparison result = FileComparison::kDifferent;
  ASSERT_EQ(CompareFiles(W(source_), W(target_), &result), S_OK);
  EXPECT_EQ(result, FileComparison::kIdentical);
}

}  // namespace
}  // namespace lmk
