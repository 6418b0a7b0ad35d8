// Tests of what the copy learns without asking first: an existing name is refused by the copy's
// own exclusive link, and a run's volume lock files stay open between copies until it ends.
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/file_operations.h"
#include "platform/folder_listing.h"
#include "platform/volume.h"
#include "platform_test_files.h"

namespace lmk {
namespace {

using namespace test;

struct RefusalCase {
  const char* name;
  bool folderInTheWay;  // a folder, not a file, stands under the target's name
  HRESULT expected;
};

class CopyRefusalTest : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(CopyRefusalTest, LeavesTheTargetAsItWas) {
  ScopedTempDir temp;
  Touch(temp.path() / "a", "new");
  const fs::path target = temp.path() / "out" / "a";
  if (GetParam().folderInTheWay) {
    fs::create_directories(target);
  } else {
    Touch(target, "old");
  }
  EXPECT_EQ(CopyFileTo(W(temp.path() / "a"), W(target), true, CopyDurability::kFlushLater),
            GetParam().expected);
  EXPECT_EQ(fs::is_directory(target), GetParam().folderInTheWay);
  if (!GetParam().folderInTheWay) EXPECT_EQ(ReadText(target), "old");
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

INSTANTIATE_TEST_SUITE_P(Refusals, CopyRefusalTest,
                         ::testing::ValuesIn(std::vector<RefusalCase>{
                             {"FileInTheWay", false, HRESULT_FROM_WIN32(ERROR_FILE_EXISTS)},
                             {"FolderInTheWay", true, E_ACCESSDENIED},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

// Open descriptors of this process on the slot files of the volume "dev:8:9".
int OpenSlotFiles() {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ec;
    const fs::path to = fs::read_symlink(entry.path(), ec);
    if (!ec && to.filename().string().find("dev:8:9") != std::string::npos) ++count;
  }
  return count;
}

struct LockFileCase {
  const char* name;
  bool inRun;
  int openBetweenCopies;
};

class LockFileTest : public ::testing::TestWithParam<LockFileCase> {
 protected:
  void SetUp() override { ::setenv("XDG_RUNTIME_DIR", runtime_.path().c_str(), 1); }
  ScopedTempDir runtime_;
};

TEST_P(LockFileTest, StaysOpenBetweenCopiesOnlyWithinARun) {
  std::optional<ScopedRunMemory> run;
  if (GetParam().inRun) run.emplace();
  for (int copy = 0; copy < 2; ++copy) {
    VolumeLockGuard guard;
    ASSERT_EQ(AcquireVolumeLock(L"dev:8:9", 1, std::chrono::milliseconds(0), &guard), S_OK);
  }
  EXPECT_EQ(OpenSlotFiles(), GetParam().openBetweenCopies);
  run.reset();
  EXPECT_EQ(OpenSlotFiles(), 0);
}

INSTANTIATE_TEST_SUITE_P(Runs, LockFileTest,
                         ::testing::ValuesIn(std::vector<LockFileCase>{
                             {"WithinARun", true, 1},
                             {"OutsideARun", false, 0},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
