// Moves inside a batch run, where folder listings, made folders and devices are remembered: what
// changes on disk during the run must still be seen, and nothing is lost.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "actions/action_fixture.h"
#include "actions/move_action.h"
#include "platform/file_operations.h"
#include "platform/folder_listing.h"

namespace lmk {
namespace {

using test::MakeImageRecord;
using test::MemoryLog;
using test::ReadFile;
using test::WideOf;
using test::WriteFile;

// A sidecar listed with the folder and removed before its image's turn is not looked for.
TEST(RunMemoryActionTest, CompanionRemovedAfterTheListingIsPassedOver) {
  test::ScopedTempDir dir;
  const MemoryLog log;
  const ScopedRunMemory memory;
  const std::wstring root = WideOf(dir.path());
  for (const char* name : {"a.jpg", "a.xmp", "b.jpg", "b.xmp"}) WriteFile(dir / "in" / name, name);
  CMoveAction move;
  move.SetDestination(L"out");
  ComPtr<IDictionary> first = MakeImageRecord(root + L"/in/a.jpg", root);
  ASSERT_EQ(move.Execute(first.Get()), S_OK) << ToUtf8(TakeErrorDescription());
  ASSERT_EQ(ReadFile(dir / "out/a.xmp"), "a.xmp");
  std::filesystem::remove(dir / "in/b.xmp");

  ComPtr<IDictionary> second = MakeImageRecord(root + L"/in/b.jpg", root);
  EXPECT_EQ(move.Execute(second.Get()), S_OK) << ToUtf8(TakeErrorDescription());
  EXPECT_EQ(ReadFile(dir / "out/b.jpg"), "b.jpg");
  EXPECT_FALSE(std::filesystem::exists(dir / "out/b.xmp"));
  EXPECT_TRUE(log.TextsAt(kEventLevelError).empty());
}

// A move that takes source and target for one volume when the rename says otherwise (one device
// seen through two mounts) goes on as a move across volumes, and still never replaces a file.
struct WrongVolumeCase {
  std::string name;
  bool targetExists;
  HRESULT expected;
  const char* expectedTarget;
};

class WrongVolumeTest : public ::testing::TestWithParam<WrongVolumeCase> {
 protected:
  test::ScopedTempDir dir_;
  MemoryLog log_;
  ScopedRunMemory memory_;
};

TEST_P(WrongVolumeTest, MovesAcrossVolumesInstead) {
  const WrongVolumeCase& c = GetParam();
  const std::wstring root = WideOf(dir_.path());
  WriteFile(dir_ / "in/a.jpg", "new");
  if (c.targetExists) WriteFile(dir_ / "out/a.jpg", "old");
  int renames = 0;
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    return step == FileStep::kRename && ++renames == 1 ? ERROR_NOT_SAME_DEVICE : 0;
  });
  CMoveAction move;
  move.SetDestination(L"out");
  ComPtr<IDictionary> record = MakeImageRecord(root + L"/in/a.jpg", root);

  EXPECT_EQ(move.Execute(record.Get()), c.expected);
  EXPECT_EQ(ReadFile(dir_ / "out/a.jpg"), c.expectedTarget);
  EXPECT_EQ(std::filesystem::exists(dir_ / "in/a.jpg"), FAILED(c.expected));
  if (FAILED(c.expected)) {
    EXPECT_EQ(TakeErrorDescription(),
              L"File already exists: '" + root + L"/out/a.jpg'. (0x80070050)");
  }
}

INSTANTIATE_TEST_SUITE_P(Actions, WrongVolumeTest,
                         ::testing::ValuesIn(std::vector<WrongVolumeCase>{
                             {"NewTarget", false, S_OK, "new"},
                             {"ExistingTarget", true, HRESULT_FROM_WIN32(ERROR_FILE_EXISTS), "old"},
                         }),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
