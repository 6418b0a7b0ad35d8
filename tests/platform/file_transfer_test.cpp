// Copying, moving, linking, comparing and trashing on real disks, across devices too: nothing
// lost, nothing partial, and what a killed or refused transfer leaves is cleaned up.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "com/com_error.h"
#include "platform/file_compare.h"
#include "platform/file_facts.h"
#include "platform/file_operations.h"
#include "platform/folder_listing.h"
#include "platform/trash.h"
#include "platform_test_files.h"
#include "second_file_system.h"
#include "support/data_table.h"

// After the COM subset: the C library's LOCK_WRITE macro would clash with its enumerator.
#include <fcntl.h>

namespace lmk {
namespace {

using namespace test;

const HRESULT kExists = HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
const HRESULT kNoFile = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
const HRESULT kNoPath = HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);

// ---- outcomes of single operations ------------------------------------------------------------

// The entries of a "entry;entry" list of files.
std::vector<std::string> Entries(const std::string& list) {
  std::vector<std::string> entries;
  std::istringstream in(list);
  for (std::string entry; std::getline(in, entry, ';');) entries.push_back(entry);
  return entries;
}

class OperationTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(OperationTest, GivesTheResultAndLeavesTheFilesAsExpected) {
  const CaseRow& c = GetParam();
  ScopedTempDir temp;
  for (std::string entry : Entries(c[1])) {
    const std::size_t equals = entry.find('=');
    std::string path = entry.substr(0, equals);
    const bool readOnly = path.ends_with('*');
    if (readOnly) path.pop_back();
    if (path.ends_with('/')) {
      fs::create_directories(temp / path);
    } else {
      Touch(temp / path, entry.substr(equals + 1));
    }
    if (readOnly) ::chmod((temp / path).c_str(), 0444);
  }
  const std::wstring source = W(temp / c[2]), target = W(temp / c[3]);
  const std::string& op = c[0];
  const HRESULT hr = op == "copy"           ? CopyFileTo(source, target, true)
                     : op == "copy-replace" ? CopyFileTo(source, target, false)
                     : op == "move"         ? MoveFileTo(source, target, kMoveCopyAllowed)
                     : op == "move-replace"
                         ? MoveFileTo(source, target, kMoveCopyAllowed | kMoveReplaceExisting)
                     : op == "link" ? MakeHardLink(target, source)
                                    : DeleteFileAt(source);
  const std::map<std::string, HRESULT> results = {{"ok", S_OK},
                                                  {"denied", E_ACCESSDENIED},
                                                  {"exists", kExists},
                                                  {"no-file", kNoFile},
                                                  {"no-path", kNoPath}};
  EXPECT_EQ(hr, results.at(c[4])) << FormatHresult(hr);
  EXPECT_TRUE(SUCCEEDED(hr) || !TakeErrorDescription().empty());
  for (const std::string& entry : Entries(c[5])) {
    const std::size_t equals = entry.find('=');
    if (equals == std::string::npos) {
      EXPECT_EQ(ReadText(temp / entry.substr(0, entry.size() - 1)), std::nullopt) << entry;
    } else {
      EXPECT_EQ(ReadText(temp / entry.substr(0, equals)), entry.substr(equals + 1)) << entry;
    }
  }
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, OperationTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/file_operations.tsv")),
                         [](const auto& i) { return i.param.name; });

// ---- what a copy keeps ------------------------------------------------------------------------

// A source of several copy chunks with its times set; the copy's mode and last write time.
fs::path BigSource(const ScopedTempDir& temp) {
  const fs::path source = temp / "a.jpg";
  WriteBytes(source, std::string(3 << 20, 'q') + "tail");
  ::chmod(source.c_str(), 0604);
  const struct timespec times[2] = {{1000000000, 5}, {987654321, 123456789}};
  EXPECT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
  return source;
}

struct stat StatOf(const fs::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info;
}

TEST(CopyFileToTest, KeepsContentLastWriteTimeAndPermissions) {
  ScopedTempDir temp;
  const fs::path source = BigSource(temp);
  ASSERT_EQ(CopyFileTo(W(source), W(temp / "b.jpg"), true), S_OK);
  const struct stat copied = StatOf(temp / "b.jpg");
  EXPECT_EQ(copied.st_mode & 07777, 0604u);
  EXPECT_EQ(copied.st_mtim.tv_sec, 987654321);
  EXPECT_EQ(copied.st_mtim.tv_nsec, 123456789);
  EXPECT_EQ(ReadText(temp / "b.jpg"), ReadText(source));
}

// Eight workers copy into one folder at once, all to the same name: their temporary copies
// never collide, and exactly one copy wins each name.
TEST(CopyFileToTest, RacingCopiesToOneNameLeaveExactlyOneWinner) {
  ScopedTempDir temp;
  constexpr int kWorkers = 8;
  for (int w = 0; w < kWorkers; ++w) WriteBytes(temp / std::to_string(w), std::to_string(w));
  for (int round = 0; round < 20; ++round) {
    const fs::path target = temp / ("t" + std::to_string(round));
    std::atomic<int> winners{0}, refused{0};
    {
      std::vector<std::jthread> workers;
      for (int w = 0; w < kWorkers; ++w) {
        workers.emplace_back([&, w] {
          const HRESULT hr = CopyFileTo(W(temp / std::to_string(w)), W(target), true,
                                        CopyDurability::kLeaveToSystem);
          if (hr == S_OK) ++winners;
          if (hr == kExists) ++refused;
        });
      }
    }
    ASSERT_EQ(winners, 1) << "round " << round;
    ASSERT_EQ(refused, kWorkers - 1) << "round " << round;
  }
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

// Copies to be flushed later are complete under their names at once; the flush that follows
// reports a folder that can no longer be flushed, and forgets what it has flushed. Within a
// run a folder's file system is noted once; after a flush, a further copy there must be noted
// again, or the copies after the first flush would never reach the device.
TEST(CopyFileToTest, CopiesFlushedLaterAreWholeAndFlushedOnce) {
  for (const bool run : {false, true}) {
    ScopedTempDir temp;
    WriteBytes(temp / "source", "picture bytes");
    fs::create_directories(temp / "out");
    std::optional<ScopedRunMemory> memory;
    if (run) memory.emplace();
    ASSERT_EQ(FlushDeferredCopies(), S_OK);  // nothing pending
    for (const char* name : {"a", "b"}) {
      ASSERT_EQ(
          CopyFileTo(W(temp / "source"), W(temp / "out" / name), true, CopyDurability::kFlushLater),
          S_OK);
      EXPECT_EQ(ReadText(temp / "out" / name), "picture bytes");
    }
    EXPECT_EQ(FlushDeferredCopies(), S_OK);
    // After a flush the next copy's folder stands for its file system, whether it is the
    // folder flushed before (noted again) or another one.
    const fs::path late = temp / (run ? "out" : "late");
    fs::create_directories(late);
    ASSERT_EQ(CopyFileTo(W(temp / "source"), W(late / "c"), true, CopyDurability::kFlushLater),
              S_OK);
    fs::remove_all(late);
    EXPECT_TRUE(FAILED(FlushDeferredCopies())) << "the copy after the flush was not noted";
    EXPECT_NE(TakeErrorDescription().find(run ? L"out" : L"late"), std::wstring::npos);
    EXPECT_EQ(FlushDeferredCopies(), S_OK) << "a failed flush is not retried for ever";
  }
}

// ---- injected faults --------------------------------------------------------------------------

TEST(FileFaultHookTest, SharingViolationsReachTheCallerUntilTheHookStops) {
  ScopedTempDir temp;
  Touch(temp / "a");
  int calls = 0;
  {
    ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
      return step == FileStep::kRename && ++calls <= 2 ? ERROR_SHARING_VIOLATION : 0;
    });
    const std::wstring from = W(temp / "a"), to = W(temp / "b");
    EXPECT_EQ(MoveFileTo(from, to, 0), HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(MoveFileTo(from, to, 0), HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(ReadText(temp / "a"), "x");
    EXPECT_EQ(MoveFileTo(from, to, 0), S_OK);
  }
  Touch(temp / "c");
  EXPECT_EQ(MoveFileTo(W(temp / "c"), W(temp / "d"), 0), S_OK);
  EXPECT_EQ(calls, 3);  // the hook is gone with its scope
}

// A system that makes files without a name but cannot name them: each copy is made again
// under a temporary name, whole, with its times, and the existing-target rule still holds.
TEST(FileFaultHookTest, CopyThatCannotBeNamedIsMadeAgainUnderATemporaryName) {
  ScopedTempDir temp;
  const fs::path source = BigSource(temp);
  int refusals = 0;
  const ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    return step == FileStep::kNameUnnamed && ++refusals ? ERROR_ACCESS_DENIED : 0;
  });
  for (const auto durability : {CopyDurability::kFlushToDevice, CopyDurability::kLeaveToSystem}) {
    const fs::path target = temp / (durability == CopyDurability::kFlushToDevice ? "b" : "c");
    ASSERT_EQ(CopyFileTo(W(source), W(target), true, durability), S_OK);
    EXPECT_EQ(ReadText(target), ReadText(source));
    EXPECT_EQ(StatOf(target).st_mtim.tv_sec, 987654321);
    EXPECT_EQ(CopyFileTo(W(source), W(target), true, durability), kExists);
  }
  // One refusal per copy, the refused ones too (they learn that the name is taken only when
  // naming the copy); none where the file system has no unnamed files.
  EXPECT_TRUE(refusals == 4 || refusals == 0) << refusals;
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

// ---- attributes, folders, times ---------------------------------------------------------------

class AttributeTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(AttributeTest, ReadsTheWindowsBits) {
  const CaseRow& c = GetParam();
  ScopedTempDir temp;
  const fs::path path = temp / c[0];
  c[0].ends_with('/') ? (void)fs::create_directories(path) : Touch(path);
  ::chmod(path.c_str(), std::stoul(c[1], nullptr, 8));
  DWORD attributes = 0;
  ASSERT_EQ(GetFileAttributesOf(W(path), &attributes), S_OK);
  ::chmod(path.c_str(), 0755);
  DWORD expected = 0;
  for (const char bit : c[2]) {
    expected |= bit == 'A'   ? kFileAttributeArchive
                : bit == 'R' ? kFileAttributeReadOnly
                : bit == 'H' ? kFileAttributeHidden
                             : kFileAttributeDirectory;
  }
  EXPECT_EQ(attributes, expected);
}

INSTANTIATE_TEST_SUITE_P(Modes, AttributeTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/file_attributes.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(FileAttributeTest, ClearingReadOnlyLetsTheDeleteThrough) {
  ScopedTempDir temp;
  const std::wstring path = W(temp / "a");
  Touch(temp / "a");
  ASSERT_EQ(SetFileAttributesOf(path, kFileAttributeReadOnly), S_OK);
  EXPECT_EQ(StatOf(temp / "a").st_mode & 0222, 0u);
  EXPECT_EQ(DeleteFileAt(path), E_ACCESSDENIED);
  ASSERT_EQ(SetFileAttributesOf(path, 0), S_OK);
  EXPECT_EQ(DeleteFileAt(path), S_OK);
  EXPECT_EQ(SetFileAttributesOf(path, 0), kNoFile);
}

TEST(FolderTest, CreateAndRemove) {
  ScopedTempDir temp;
  const std::wstring deep = W(temp / "a/b/c d/é");
  EXPECT_EQ(CreateDirectories(deep), S_OK);
  EXPECT_TRUE(FolderExists(deep));
  EXPECT_EQ(CreateDirectories(deep + L"/"), S_FALSE);
  Touch(temp / "file");
  EXPECT_EQ(CreateDirectories(W(temp / "file")), HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS));
  EXPECT_EQ(CreateDirectories(W(temp / "file/sub")), kNoPath);
  EXPECT_FALSE(FolderExists(W(temp / "file")));
  EXPECT_EQ(RemoveEmptyDirectory(W(temp / "a/b")), HRESULT_FROM_WIN32(ERROR_DIR_NOT_EMPTY));
  ::chmod((temp / "a/b/c d/é").c_str(), 0555);
  EXPECT_EQ(RemoveEmptyDirectory(deep), E_ACCESSDENIED);
  ::chmod((temp / "a/b/c d/é").c_str(), 0755);
  EXPECT_EQ(RemoveEmptyDirectory(deep), S_OK);
  EXPECT_FALSE(FolderExists(deep));
  EXPECT_EQ(RemoveEmptyDirectory(deep), kNoFile);
}

TEST(FileTimesTest, SetTimesAreReadBack) {
  ScopedTempDir temp;
  const std::wstring path = W(temp / "a");
  Touch(temp / "a", "12345");
  const FILETIME write = {0x12345670, 0x01D00000};  // an instant in 2014, whole 100 ns
  ASSERT_EQ(SetFileTimesOf(path, nullptr, &write), S_OK);
  FileFacts facts;
  ASSERT_EQ(GetFileFacts(path, &facts), S_OK);
  EXPECT_EQ(facts.lastWriteTime.dwLowDateTime, write.dwLowDateTime);
  EXPECT_EQ(facts.lastWriteTime.dwHighDateTime, write.dwHighDateTime);
  ULONGLONG size = 0;
  EXPECT_EQ(GetFileSizeOf(path, &size), S_OK);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(GetFileSizeOf(W(temp.path()), &size), E_ACCESSDENIED);
}

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
  EXPECT_EQ(StatOf(target_).st_mtim.tv_sec, 1500000000);
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

// Field 22 of /proc/self/stat: when this process started.
unsigned long long OwnStartTime() {
  const std::string stat = ReadBytes("/proc/self/stat");
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
  ScopedTempDir dir_;
};

TEST_P(LeftoverTemporaryTest, FirstCopyIntoTheFolderRemovesOnlyThoseOfGoneProcesses) {
  ASSERT_GT(OwnStartTime(), 0u);
  fs::create_directory(dir_ / "out");
  const fs::path leftover = dir_ / "out" / GetParam().leftover;
  WriteBytes(leftover, "partial");
  WriteBytes(dir_ / "in.jpg", "picture");
  ASSERT_EQ(CopyFileTo(W(dir_ / "in.jpg"), W(dir_ / "out/in.jpg"), false), S_OK)
      << ToUtf8(TakeErrorDescription());
  EXPECT_EQ(fs::exists(leftover), !GetParam().removed);
  EXPECT_EQ(ReadBytes(dir_ / "out/in.jpg"), "picture");
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

// A source that cannot be removed after its copy is made leaves one picture, never two.
class TakeBackTest : public CrossDeviceTest, public ::testing::WithParamInterface<TakeBackCase> {};

TEST_P(TakeBackTest, SourceThatCannotBeRemovedLeavesOnePicture) {
  const TakeBackCase& c = GetParam();
  WriteBytes(source_, "picture");
  if (c.targetBefore) WriteBytes(target_, "older");
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    if (step != FileStep::kRemoveSource) return 0;
    if (c.sourceVanishes) fs::remove(source_);
    return ERROR_WRITE_PROTECT;
  });
  bool takenBack = !c.takenBack;
  const DWORD flags = kMoveCopyAllowed | (c.targetBefore ? kMoveReplaceExisting : 0);
  EXPECT_EQ(MoveFileTo(W(source_), W(target_), flags, &takenBack),
            HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT));
  const std::wstring description = TakeErrorDescription();
  EXPECT_EQ(takenBack, c.takenBack);
  EXPECT_EQ(description.find(L"taken back") != std::wstring::npos, c.takenBack)
      << ToUtf8(description);
  EXPECT_EQ(ReadText(target_).value_or(""), c.targetAfter);
  EXPECT_EQ(fs::exists(source_), !c.sourceVanishes);
  EXPECT_TRUE(LeftoverTemporaries(volumes_.other()).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Targets, TakeBackTest,
    ::testing::Values(TakeBackCase{"NewTargetGoes", false, false, true, ""},
                      TakeBackCase{"ReplacedTargetComesBack", true, false, true, "older"},
                      TakeBackCase{"CopyOfAVanishedSourceStays", false, true, false, "picture"}),
    [](const auto& i) { return i.param.name; });

std::string Pattern(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>((i * 131) >> 3);
  return text;
}

class CompareFilesTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(CompareFilesTest, FindsEveryDifference) {
  const CaseRow& c = GetParam();
  ScopedTempDir temp;
  std::string second = Pattern(std::stoul(c[2]));
  if (c[1] != "-") second[std::stoul(c[1])] ^= 0x40;
  WriteBytes(temp / "a", Pattern(std::stoul(c[0])));
  WriteBytes(temp / "b", second);
  FileComparison result = FileComparison::kIdentical;
  ASSERT_EQ(CompareFiles(W(temp / "a"), W(temp / "b"), &result), S_OK);
  EXPECT_EQ(result, c[3] == "identical" ? FileComparison::kIdentical : FileComparison::kDifferent);
}

INSTANTIATE_TEST_SUITE_P(Cases, CompareFilesTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/file_comparisons.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(CompareFilesErrorTest, MissingFilesAndFoldersAreErrorsNotDifferences) {
  ScopedTempDir temp;
  Touch(temp / "a");
  FileComparison result = FileComparison::kIdentical;
  EXPECT_EQ(CompareFiles(W(temp / "a"), W(temp / "none"), &result),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(result, FileComparison::kDifferent);
  EXPECT_NE(TakeErrorDescription().find(L"none"), std::wstring::npos);
  EXPECT_EQ(CompareFiles(W(temp / "no/a"), W(temp / "a"), &result),
            HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(CompareFiles(W(temp / "a"), W(temp.path()), &result), E_ACCESSDENIED);
  EXPECT_EQ(CompareFiles(W(temp / "a"), W(temp / "a"), nullptr), E_INVALIDARG);
}

// The desktop's data folder is read once per process: it is pointed at one temporary folder
// on the same volume as the test files before the first trash call, so that the user's own
// trash is never touched.
class TrashTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    home_ = std::make_unique<ScopedTempDir>();
    fs::create_directories(*home_ / "data");
    ::setenv("XDG_DATA_HOME", (*home_ / "data").c_str(), 1);
    ::setenv("HOME", home_->path().c_str(), 1);
  }
  static void TearDownTestSuite() { home_.reset(); }

  void SetUp() override {
    temp_ = *home_ / std::to_string(++counter_);
    data_ = *home_ / "data";
    fs::create_directories(temp_);
  }

  static inline std::unique_ptr<ScopedTempDir> home_;
  static inline int counter_ = 0;
  fs::path temp_;
  fs::path data_;
};

TEST_F(TrashTest, RoundTripThroughTheTrash) {
  const fs::path picture = temp_ / "Ferien ä.jpg";
  WriteBytes(picture, "pixels");
  const HRESULT hr = MoveToTrash(W(picture));
  if (hr == HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED)) {
    GTEST_SKIP() << "no trash on the temporary volume: " << ToUtf8(TakeErrorDescription());
  }
  ASSERT_EQ(hr, S_OK) << ToUtf8(TakeErrorDescription());
  EXPECT_FALSE(fs::exists(picture));

  const fs::path files = data_ / "Trash/files";
  const fs::path info = data_ / "Trash/info";
  EXPECT_EQ(ReadText(files / "Ferien ä.jpg"), "pixels");
  const std::string restore = ReadBytes(info / "Ferien ä.jpg.trashinfo");
  EXPECT_NE(restore.find("Path="), std::string::npos);
  EXPECT_NE(restore.find("DeletionDate="), std::string::npos);

  // A second file of the same name is kept beside the first, not over it.
  WriteBytes(picture, "second");
  ASSERT_EQ(MoveToTrash(W(picture)), S_OK);
  EXPECT_EQ(std::distance(fs::directory_iterator(files), {}), 2);
}

TEST_F(TrashTest, MissingFileIsReportedAndNothingElseHappens) {
  EXPECT_EQ(MoveToTrash(W(temp_ / "none.jpg")), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_NE(TakeErrorDescription().find(L"none.jpg"), std::wstring::npos);
  EXPECT_EQ(MoveToTrash(L""), E_INVALIDARG);
}

}  // namespace
}  // namespace lmk
