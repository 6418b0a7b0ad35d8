// Tests of what a killed or refused transfer leaves: the temporaries of processes that no longer
// run are removed by the next copy into their folder, and a move across devices whose source
// cannot be removed takes its copy back.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "com/com_error.h"
#include "platform/file_operations.h"
#include "platform/text_encoding.h"
#include "second_file_system.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

std::wstring W(const fs::path& path) { return FromUtf8(path.string()); }

void WriteText(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool HasTemporaries(const fs::path& folder) {
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with(".lmk-")) return true;
  }
  return false;
}

// Field 22 of /proc/self/stat: when this process started.
unsigned long long OwnStartTime() {
  const std::string stat = ReadText("/proc/self/stat");
  std::istringstream fields(stat.substr(stat.rfind(')') + 2));
  std::string field;
  for (int i = 3; i < 22; ++i) fields >> field;
  unsigned long long start = 0;
  fields >> start;
  return start;
}

std::string NameOf(long pid, unsigned long long start) {
  return ".lmk-" + std::to_string(pid) + "-" + std::to_string(start) + "-0badcafe.tmp";
}

struct LeftoverCase {
  std::string name;
  std::string leftover;  // the file found in the target folder
  bool removed;
};

std::vector<LeftoverCase> LeftoverCases() {
  const long self = ::getpid();
  const unsigned long long start = OwnStartTime();
  // Above the default process id limit of 4194304 no process runs.
  return {
      {"ProcessGone", NameOf(4194309, 12345), true},
      {"IdTakenByALaterProcess", NameOf(self, start + 1), true},
      {"WriterStillRuns", NameOf(self, start), false},
      {"RunningWriterOfUnknownStart", NameOf(self, 0), false},
      {"NameWithoutOwner", ".lmk-0123456789abcdef.tmp", false},
      {"UsersOwnHiddenFile", ".lmk-notes.tmp", false},
      {"OwnerNotANumber", ".lmk-12x-5-ab.tmp", false},
  };
}

class LeftoverTemporaryTest : public ::testing::TestWithParam<LeftoverCase> {
 protected:
  test::ScopedTempDir dir_;
};

TEST_P(LeftoverTemporaryTest, FirstCopyIntoTheFolderRemovesOnlyThoseOfGoneProcesses) {
  ASSERT_GT(OwnStartTime(), 0u);
  fs::create_directory(dir_ / "out");
  const fs::path leftover = dir_ / "out" / GetParam().leftover;
  WriteText(leftover, "partial");
  WriteText(dir_ / "in.jpg", "picture");
  ASSERT_EQ(CopyFileTo(W(dir_ / "in.jpg"), W(dir_ / "out/in.jpg"), false), S_OK)
      << ToUtf8(TakeErrorDescription());
  EXPECT_EQ(fs::exists(leftover), !GetParam().removed);
  EXPECT_EQ(ReadText(dir_ / "out/in.jpg"), "picture");
}

INSTANTIATE_TEST_SUITE_P(Owners, LeftoverTemporaryTest, ::testing::ValuesIn(LeftoverCases()),
                         [](const auto& i) { return i.param.name; });

struct TakeBackCase {
  std::string name;
  bool targetBefore;  // an older file stands at the target (and is replaced)
  bool sourceVanishes;
  bool takenBack;
  std::string targetAfter;  // empty: no file
};

class TakeBackTest : public ::testing::TestWithParam<TakeBackCase> {
 protected:
  void SetUp() override {
    if (!volumes_.available()) GTEST_SKIP() << volumes_.reason();
  }
  test::SecondFileSystem volumes_;
};

TEST_P(TakeBackTest, SourceThatCannotBeRemovedLeavesOnePicture) {
  const TakeBackCase& c = GetParam();
  const fs::path source = volumes_.local() / "img.jpg";
  const fs::path target = volumes_.other() / "img.jpg";
  WriteText(source, "picture");
  if (c.targetBefore) WriteText(target, "older");
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    if (step != FileStep::kRemoveSource) return 0;
    if (c.sourceVanishes) fs::remove(source);
    return ERROR_WRITE_PROTECT;
  });
  bool takenBack = !c.takenBack;
  const DWORD flags = kMoveCopyAllowed | (c.targetBefore ? kMoveReplaceExisting : 0);
  EXPECT_EQ(MoveFileTo(W(source), W(target), flags, &takenBack),
            HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT));
  const std::wstring description = TakeErrorDescription();
  EXPECT_EQ(takenBack, c.takenBack);
  EXPECT_EQ(description.find(L"taken back") != std::wstring::npos, c.takenBack)
      << ToUtf8(description);
  EXPECT_EQ(fs::exists(target) ? ReadText(target) : "", c.targetAfter);
  EXPECT_EQ(fs::exists(source), !c.sourceVanishes);
  EXPECT_FALSE(HasTemporaries(volumes_.other()));
}

INSTANTIATE_TEST_SUITE_P(
    Targets, TakeBackTest,
    ::testing::Values(TakeBackCase{"NewTargetGoes", false, false, true, ""},
                      TakeBackCase{"ReplacedTargetComesBack", true, false, true, "older"},
                      TakeBackCase{"CopyOfAVanishedSourceStays", false, true, false, "picture"}),
    [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
