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

using RunMemoryActionTest = test::FileActionTest;
using test::ReadFile;
using test::WriteFile;

// A sidecar listed with the folder and removed before its image's turn is not looked for.
TEST_F(RunMemoryActionTest, CompanionRemovedAfterTheListingIsPassedOver) {
  const ScopedRunMemory memory;
  for (const char* name : {"a.jpg", "a.xmp", "b.jpg", "b.xmp"}) WriteFile(dir_ / "in" / name, name);
  CMoveAction move;
  move.SetDestination(L"out");
  ComPtr<IDictionary> first = Record(L"in/a.jpg");
  ASSERT_EQ(move.Execute(first.Get()), S_OK) << ToUtf8(TakeErrorDescription());
  ASSERT_EQ(ReadFile(dir_ / "out/a.xmp"), "a.xmp");
  std::filesystem::remove(dir_ / "in/b.xmp");

  ComPtr<IDictionary> second = Record(L"in/b.jpg");
  EXPECT_EQ(move.Execute(second.Get()), S_OK) << ToUtf8(TakeErrorDescription());
  EXPECT_EQ(ReadFile(dir_ / "out/b.jpg"), "b.jpg");
  EXPECT_FALSE(std::filesystem::exists(dir_ / "out/b.xmp"));
  EXPECT_TRUE(log_.TextsAt(kEventLevelError).empty());
}

// A move that takes source and target for one volume when the rename says otherwise (one device
// seen through two mounts) goes on as a move across volumes, and still never replaces a file.
// The parameter says whether a file stands at the target already.
class WrongVolumeTest : public test::FileActionParamTest<bool> {
 protected:
  ScopedRunMemory memory_;
};

TEST_P(WrongVolumeTest, MovesAcrossVolumesInstead) {
  const bool targetExists = GetParam();
  WriteFile(dir_ / "in/a.jpg", "new");
  if (targetExists) WriteFile(dir_ / "out/a.jpg", "old");
  int renames = 0;
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    return step == FileStep::kRename && ++renames == 1 ? ERROR_NOT_SAME_DEVICE : 0;
  });
  CMoveAction move;
  move.SetDestination(L"out");
  ComPtr<IDictionary> record = Record(L"in/a.jpg");

  EXPECT_EQ(move.Execute(record.Get()),
            targetExists ? HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) : S_OK);
  EXPECT_EQ(ReadFile(dir_ / "out/a.jpg"), targetExists ? "old" : "new");
  EXPECT_EQ(std::filesystem::exists(dir_ / "in/a.jpg"), targetExists);
  if (targetExists) {
    EXPECT_EQ(TakeErrorDescription(),
              L"File already exists: '" + Root() + L"/out/a.jpg'. (0x80070050)");
  }
}

INSTANTIATE_TEST_SUITE_P(Actions, WrongVolumeTest, ::testing::Bool(),
                         [](const auto& i) { return i.param ? "ExistingTarget" : "NewTarget"; });

}  // namespace
}  // namespace lmk
