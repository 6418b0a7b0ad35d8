// Tests of copying, moving, linking and deleting on real disks: nothing lost, nothing partial.
#include "platform/file_operations.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "com/com_error.h"
#include "platform/file_facts.h"
#include "platform/folder_listing.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

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

void MakeReadOnly(const fs::path& path) { ::chmod(path.c_str(), 0444); }

// No temporary copy may survive an operation, whether it succeeded or failed.
std::vector<std::string> LeftoverTemporaries(const fs::path& folder) {
  std::vector<std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(".lmk-", 0) == 0) found.push_back(entry.path().string());
  }
  return found;
}

// ---- outcomes of single operations ------------------------------------------------------------

enum class Op { kCopyKeep, kCopyReplace, kMove, kMoveReplace, kLink, kDelete };

struct OperationCase {
  std::string name;
  std::map<std::string, std::string> files;  // relative path -> contents; "dir/" makes a folder
  std::vector<std::string> readOnly;
  Op op;
  std::string source;  // the link's existing file for kLink
  std::string target;  // the new link for kLink; unused for kDelete
  HRESULT expected;
  std::map<std::string, std::optional<std::string>> after;  // nullopt: must not exist as file
};

class OperationTest : public ::testing::TestWithParam<OperationCase> {};

TEST_P(OperationTest, GivesTheResultAndLeavesTheFilesAsExpected) {
  const OperationCase& c = GetParam();
  test::ScopedTempDir temp;
  for (const auto& [relative, contents] : c.files) {
    if (relative.back() == '/') {
      fs::create_directories(temp / relative);
    } else {
      fs::create_directories((temp / relative).parent_path());
      WriteText(temp / relative, contents);
    }
  }
  for (const std::string& relative : c.readOnly) MakeReadOnly(temp / relative);
  const std::wstring source = W(temp / c.source);
  const std::wstring target = W(temp / c.target);
  HRESULT hr = E_UNEXPECTED;
  switch (c.op) {
    case Op::kCopyKeep:
      hr = CopyFileTo(source, target, true);
      break;
    case Op::kCopyReplace:
      hr = CopyFileTo(source, target, false);
      break;
    case Op::kMove:
      hr = MoveFileTo(source, target, kMoveCopyAllowed);
      break;
    case Op::kMoveReplace:
      hr = MoveFileTo(source, target, kMoveCopyAllowed | kMoveReplaceExisting);
      break;
    case Op::kLink:
      hr = MakeHardLink(target, source);
      break;
    case Op::kDelete:
      hr = DeleteFileAt(source);
      break;
  }
  EXPECT_EQ(hr, c.expected) << FormatHresult(hr);
  if (FAILED(hr)) {
    EXPECT_FALSE(TakeErrorDescription().empty());
  }
  for (const auto& [relative, contents] : c.after) {
    EXPECT_EQ(ReadText(temp / relative), contents) << relative;
  }
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

const HRESULT kExists = HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
const HRESULT kNoFile = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
const HRESULT kNoPath = HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
const std::optional<std::string> kAbsent;

const OperationCase kOperationCases[] = {
    {"CopyKeepsExistingTarget",
     {{"a", "new"}, {"out/a", "old"}},
     {},
     Op::kCopyKeep,
     "a",
     "out/a",
     kExists,
     {{"a", "new"}, {"out/a", "old"}}},
    {"MoveKeepsExistingTarget",
     {{"a", "new"}, {"out/a", "old"}},
     {},
     Op::kMove,
     "a",
     "out/a",
     kExists,
     {{"a", "new"}, {"out/a", "old"}}},
    {"LinkKeepsExistingTarget",
     {{"a", "new"}, {"out/a", "old"}},
     {},
     Op::kLink,
     "a",
     "out/a",
     kExists,
     {{"a", "new"}, {"out/a", "old"}}},
    {"CopyReplacesTarget",
     {{"a", "new"}, {"out/a", "old"}},
     {},
     Op::kCopyReplace,
     "a",
     "out/a",
     S_OK,
     {{"a", "new"}, {"out/a", "new"}}},
    {"MoveReplacesTarget",
     {{"a", "new"}, {"out/a", "old"}},
     {},
     Op::kMoveReplace,
     "a",
     "out/a",
     S_OK,
     {{"a", kAbsent}, {"out/a", "new"}}},
    {"CopyRefusesReadOnlyTarget",
     {{"a", "new"}, {"out/a", "old"}},
     {"out/a"},
     Op::kCopyReplace,
     "a",
     "out/a",
     E_ACCESSDENIED,
     {{"a", "new"}, {"out/a", "old"}}},
    {"MoveRefusesReadOnlyTarget",
     {{"a", "new"}, {"out/a", "old"}},
     {"out/a"},
     Op::kMoveReplace,
     "a",
     "out/a",
     E_ACCESSDENIED,
     {{"a", "new"}, {"out/a", "old"}}},
    {"CopyMovesReadOnlySource",
     {{"a", "x"}, {"out/", ""}},
     {"a"},
     Op::kCopyKeep,
     "a",
     "out/a",
     S_OK,
     {{"a", "x"}, {"out/a", "x"}}},
    {"MoveOfReadOnlySource",
     {{"a", "x"}, {"out/", ""}},
     {"a"},
     Op::kMove,
     "a",
     "out/a",
     S_OK,
     {{"a", kAbsent}, {"out/a", "x"}}},
    {"CopyMissingSource",
     {{"out/", ""}},
     {},
     Op::kCopyKeep,
     "a",
     "out/a",
     kNoFile,
     {{"out/a", kAbsent}}},
    {"CopyMissingSourceFolder",
     {{"out/", ""}},
     {},
     Op::kCopyKeep,
     "no/a",
     "out/a",
     kNoPath,
     {{"out/a", kAbsent}}},
    {"MoveMissingSource",
     {{"out/", ""}},
     {},
     Op::kMove,
     "a",
     "out/a",
     kNoFile,
     {{"out/a", kAbsent}}},
    {"CopyIntoMissingFolder",
     {{"a", "x"}},
     {},
     Op::kCopyKeep,
     "a",
     "none/a",
     kNoPath,
     {{"a", "x"}}},
    {"MoveIntoMissingFolder", {{"a", "x"}}, {}, Op::kMove, "a", "none/a", kNoPath, {{"a", "x"}}},
    {"CopyOntoFolder",
     {{"a", "x"}, {"out/a/", ""}},
     {},
     Op::kCopyReplace,
     "a",
     "out/a",
     E_ACCESSDENIED,
     {{"a", "x"}}},
    {"CopyBelowAFile",
     {{"a", "x"}, {"out", "file"}},
     {},
     Op::kCopyKeep,
     "a",
     "out/a",
     kNoPath,
     {{"a", "x"}, {"out", "file"}}},
    {"MoveBelowAFile",
     {{"a", "x"}, {"out", "file"}},
     {},
     Op::kMove,
     "a",
     "out/a",
     kNoPath,
     {{"a", "x"}, {"out", "file"}}},
    {"CopyOfAFolder", {{"d/", ""}}, {}, Op::kCopyKeep, "d", "e", E_ACCESSDENIED, {{"e", kAbsent}}},
    {"LinkMissingSource", {}, {}, Op::kLink, "a", "b", kNoFile, {{"b", kAbsent}}},
    {"LinkMade", {{"a", "x"}}, {}, Op::kLink, "a", "b", S_OK, {{"a", "x"}, {"b", "x"}}},
    {"DeleteRefusesReadOnly",
     {{"a", "x"}},
     {"a"},
     Op::kDelete,
     "a",
     "",
     E_ACCESSDENIED,
     {{"a", "x"}}},
    {"DeleteMissing", {}, {}, Op::kDelete, "a", "", kNoFile, {}},
    {"DeleteInMissingFolder", {}, {}, Op::kDelete, "no/a", "", kNoPath, {}},
    {"DeleteFolder", {{"d/", ""}}, {}, Op::kDelete, "d", "", E_ACCESSDENIED, {}},
    {"DeleteFile", {{"a", "x"}}, {}, Op::kDelete, "a", "", S_OK, {{"a", kAbsent}}},
    {"SpacesAndNonAscii",
     {{"ein Bild ä/Ünïcødé 写真 .jpg", "x"}, {"out é/", ""}},
     {},
     Op::kMove,
     "ein Bild ä/Ünïcødé 写真 .jpg",
     "out é/Ünïcødé 写真 .jpg",
     S_OK,
     {{"out é/Ünïcødé 写真 .jpg", "x"}, {"ein Bild ä/Ünïcødé 写真 .jpg", kAbsent}}},
    {"CopySpacesAndNonAscii",
     {{"a b ß.jpg", "x"}},
     {},
     Op::kCopyKeep,
     "a b ß.jpg",
     "ç d.jpg",
     S_OK,
     {{"a b ß.jpg", "x"}, {"ç d.jpg", "x"}}},
};

INSTANTIATE_TEST_SUITE_P(Cases, OperationTest, ::testing::ValuesIn(kOperationCases),
                         [](const auto& i) { return i.param.name; });

// ---- what a copy keeps ------------------------------------------------------------------------

TEST(CopyFileToTest, KeepsLastWriteTimeAndPermissions) {
  test::ScopedTempDir temp;
  const fs::path source = temp / "a.jpg";
  WriteText(source, std::string(3 << 20, 'q') + "tail");  // several copy chunks
  ::chmod(source.c_str(), 0604);
  const struct timespec times[2] = {{1000000000, 5}, {987654321, 123456789}};
  ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);

  ASSERT_EQ(CopyFileTo(W(source), W(temp / "b.jpg"), true), S_OK);
  struct stat copied {};
  ASSERT_EQ(::stat((temp / "b.jpg").c_str(), &copied), 0);
  EXPECT_EQ(copied.st_mode & 07777, 0604u);
  EXPECT_EQ(copied.st_mtim.tv_sec, 987654321);
  EXPECT_EQ(copied.st_mtim.tv_nsec, 123456789);
  EXPECT_EQ(ReadText(temp / "b.jpg"), ReadText(source));
}

TEST(CopyFileToTest, EmptyFileIsCopied) {
  test::ScopedTempDir temp;
  WriteText(temp / "empty", "");
  ASSERT_EQ(CopyFileTo(W(temp / "empty"), W(temp / "copy"), true), S_OK);
  EXPECT_EQ(ReadText(temp / "copy"), "");
}

TEST(CopyFileToTest, VeryLongPathsNearTheLimits) {
  test::ScopedTempDir temp;
  // Folders of 200 characters until the path is near PATH_MAX, then a name of NAME_MAX bytes.
  fs::path folder = temp.path();
  while (folder.native().size() + 201 + 256 < 4000) folder /= std::string(200, 'd');
  ASSERT_EQ(CreateDirectories(W(folder)), S_OK);
  const fs::path source = folder / std::string(255, 's');
  const fs::path target = folder / std::string(255, 't');
  ASSERT_GT(target.native().size(), 3700u);
  WriteText(source, "long");
  EXPECT_EQ(CopyFileTo(W(source), W(target), true), S_OK);
  EXPECT_EQ(ReadText(target), "long");
  EXPECT_EQ(CopyFileTo(W(source), W(target), true), kExists);
  EXPECT_EQ(DeleteFileAt(W(target)), S_OK);
  EXPECT_EQ(MoveFileTo(W(source), W(target), 0), S_OK);
  EXPECT_EQ(ReadText(target), "long");
  // One byte more than a name may hold is refused, not truncated.
  EXPECT_EQ(CopyFileTo(W(target), W(folder / std::string(256, 'x')), true),
            HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE));
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

TEST(CopyFileToTest, ReadOnlyFolderRefusesUnlessRoot) {
  test::ScopedTempDir temp;
  WriteText(temp / "a", "x");
  fs::create_directories(temp / "locked");
  ::chmod((temp / "locked").c_str(), 0555);
  const HRESULT hr = CopyFileTo(W(temp / "a"), W(temp / "locked/a"), true);
  // Root writes into any folder; everyone else is refused and nothing is left behind.
  if (::geteuid() == 0) {
    EXPECT_EQ(hr, S_OK);
  } else {
    EXPECT_EQ(hr, E_ACCESSDENIED);
    EXPECT_FALSE(fs::exists(temp / "locked/a"));
  }
  ::chmod((temp / "locked").c_str(), 0755);
}

// ---- many writers at once ---------------------------------------------------------------------

TEST(CopyFileToTest, EightWorkersCopyFiveHundredFilesIntoOneFolder) {
  test::ScopedTempDir temp;
  constexpr int kFiles = 500;
  fs::create_directories(temp / "in");
  fs::create_directories(temp / "out");
  for (int i = 0; i < kFiles; ++i) {
    WriteText(temp / "in" / std::to_string(i), std::string(1000 + i * 37, static_cast<char>(i)));
  }
  std::atomic<int> next{0};
  std::atomic<int> failures{0};
  std::vector<std::thread> workers;
  for (int w = 0; w < 8; ++w) {
    workers.emplace_back([&] {
      for (int i = next++; i < kFiles; i = next++) {
        const std::string name = std::to_string(i);
        if (CopyFileTo(W(temp / "in" / name), W(temp / "out" / name), true) != S_OK) {
          ++failures;
        }
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(failures, 0);
  int count = 0;
  for (const auto& entry : fs::directory_iterator(temp / "out")) {
    ++count;
    EXPECT_EQ(ReadText(entry.path()), ReadText(temp / "in" / entry.path().filename()));
  }
  EXPECT_EQ(count, kFiles);
}

TEST(CopyFileToTest, RacingCopiesToOneNameLeaveExactlyOneWinner) {
  test::ScopedTempDir temp;
  constexpr int kWorkers = 8;
  for (int w = 0; w < kWorkers; ++w) WriteText(temp / std::to_string(w), std::to_string(w));
  for (int round = 0; round < 20; ++round) {
    const fs::path target = temp / ("t" + std::to_string(round));
    std::atomic<int> winners{0};
    std::atomic<int> refused{0};
    std::vector<std::thread> workers;
    for (int w = 0; w < kWorkers; ++w) {
      workers.emplace_back([&, w] {
        const HRESULT hr = CopyFileTo(W(temp / std::to_string(w)), W(target), true,
                                      CopyDurability::kLeaveToSystem);
        if (hr == S_OK) ++winners;
        if (hr == kExists) ++refused;
      });
    }
    for (std::thread& worker : workers) worker.join();
    ASSERT_EQ(winners, 1) << "round " << round;
    ASSERT_EQ(refused, kWorkers - 1) << "round " << round;
  }
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

// Copies to be flushed later are complete under their names at once; the flush that follows
// reports a folder that can no longer be flushed, and forgets what it has flushed.
TEST(CopyFileToTest, CopiesFlushedLaterAreWholeAndFlushedOnce) {
  test::ScopedTempDir temp;
  WriteText(temp / "source", "picture bytes");
  fs::create_directories(temp / "kept");
  fs::create_directories(temp / "gone");
  ASSERT_EQ(FlushDeferredCopies(), S_OK);  // nothing pending
  ASSERT_EQ(
      CopyFileTo(W(temp / "source"), W(temp / "kept" / "a"), true, CopyDurability::kFlushLater),
      S_OK);
  EXPECT_EQ(ReadText(temp / "kept" / "a"), "picture bytes");
  EXPECT_EQ(FlushDeferredCopies(), S_OK);

  // After a flush, the next copy's folder is the one that stands for its file system.
  ASSERT_EQ(
      CopyFileTo(W(temp / "source"), W(temp / "gone" / "b"), true, CopyDurability::kFlushLater),
      S_OK);
  fs::remove_all(temp / "gone");
  const HRESULT hr = FlushDeferredCopies();
  EXPECT_TRUE(FAILED(hr));
  EXPECT_NE(TakeErrorDescription().find(L"gone"), std::wstring::npos);
  EXPECT_EQ(FlushDeferredCopies(), S_OK) << "a failed flush is not retried for ever";
  EXPECT_EQ(ReadText(temp / "source"), "picture bytes");
}

// Within a run a folder's file system is noted once; after a flush, a further copy there must
// be noted again, or the copies after the first flush would never reach the device.
TEST(CopyFileToTest, RunMemoryNotesAFolderAgainAfterEachFlush) {
  test::ScopedTempDir temp;
  WriteText(temp / "source", "picture bytes");
  fs::create_directories(temp / "out");
  const ScopedRunMemory run;
  for (const char* name : {"a", "b"}) {
    ASSERT_EQ(
        CopyFileTo(W(temp / "source"), W(temp / "out" / name), true, CopyDurability::kFlushLater),
        S_OK);
  }
  EXPECT_EQ(FlushDeferredCopies(), S_OK);
  ASSERT_EQ(
      CopyFileTo(W(temp / "source"), W(temp / "out" / "c"), true, CopyDurability::kFlushLater),
      S_OK);
  fs::remove_all(temp / "out");
  EXPECT_TRUE(FAILED(FlushDeferredCopies())) << "the copy after the flush was not noted";
  TakeErrorDescription();
}

// ---- injected faults --------------------------------------------------------------------------

TEST(FileFaultHookTest, SharingViolationsReachTheCallerUntilTheHookStops) {
  test::ScopedTempDir temp;
  WriteText(temp / "a", "x");
  int calls = 0;
  {
    ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
      if (step != FileStep::kRename) return 0;
      return ++calls <= 2 ? ERROR_SHARING_VIOLATION : 0;
    });
    const std::wstring from = W(temp / "a");
    const std::wstring to = W(temp / "b");
    EXPECT_EQ(MoveFileTo(from, to, 0), HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(MoveFileTo(from, to, 0), HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(ReadText(temp / "a"), "x");
    EXPECT_EQ(MoveFileTo(from, to, 0), S_OK);
  }
  WriteText(temp / "c", "y");
  EXPECT_EQ(MoveFileTo(W(temp / "c"), W(temp / "d"), 0), S_OK);
  EXPECT_EQ(calls, 3);  // the hook is gone with its scope
}

// A system that makes files without a name but cannot name them: each copy is made again
// under a temporary name, whole, with its times, and the existing-target rule still holds.
TEST(FileFaultHookTest, CopyThatCannotBeNamedIsMadeAgainUnderATemporaryName) {
  test::ScopedTempDir temp;
  const fs::path source = temp / "a.jpg";
  WriteText(source, std::string(3 << 20, 'p') + "end");  // more than one copy chunk
  const struct timespec times[2] = {{1000000000, 0}, {987654321, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
  int refusals = 0;
  const ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    if (step != FileStep::kNameUnnamed) return 0;
    ++refusals;
    return ERROR_ACCESS_DENIED;
  });
  for (const CopyDurability durability :
       {CopyDurability::kFlushToDevice, CopyDurability::kLeaveToSystem}) {
    const fs::path target = temp / (durability == CopyDurability::kFlushToDevice ? "b" : "c");
    ASSERT_EQ(CopyFileTo(W(source), W(target), true, durability), S_OK);
    EXPECT_EQ(ReadText(target), ReadText(source));
    struct stat copied {};
    ASSERT_EQ(::stat(target.c_str(), &copied), 0);
    EXPECT_EQ(copied.st_mtim.tv_sec, 987654321);
    EXPECT_EQ(CopyFileTo(W(source), W(target), true, durability), kExists);
  }
  // One refusal per copy made; none where the file system has no unnamed files.
  EXPECT_TRUE(refusals == 2 || refusals == 0) << refusals;
  EXPECT_TRUE(LeftoverTemporaries(temp.path()).empty());
}

// ---- attributes, folders, times ---------------------------------------------------------------

struct AttributeCase {
  std::string name;
  std::string path;
  bool folder;
  mode_t mode;
  DWORD expected;
};

class AttributeTest : public ::testing::TestWithParam<AttributeCase> {};

TEST_P(AttributeTest, ReadsTheWindowsBits) {
  const AttributeCase& c = GetParam();
  test::ScopedTempDir temp;
  const fs::path path = temp / c.path;
  if (c.folder) {
    fs::create_directories(path);
  } else {
    WriteText(path, "x");
  }
  ::chmod(path.c_str(), c.mode);
  DWORD attributes = 0;
  ASSERT_EQ(GetFileAttributesOf(W(path), &attributes), S_OK);
  EXPECT_EQ(attributes, c.expected);
  ::chmod(path.c_str(), 0755);
}

const AttributeCase kAttributeCases[] = {
    {"PlainFile", "a.jpg", false, 0644, kFileAttributeArchive},
    {"ReadOnlyFile", "a.jpg", false, 0444, kFileAttributeArchive | kFileAttributeReadOnly},
    {"GroupWritableOnly", "a.jpg", false, 0464, kFileAttributeArchive | kFileAttributeReadOnly},
    {"HiddenFile", ".a.jpg", false, 0644, kFileAttributeArchive | kFileAttributeHidden},
    {"Folder", "d", true, 0755, kFileAttributeDirectory},
    {"ReadOnlyHiddenFolder", ".d", true, 0555,
     kFileAttributeDirectory | kFileAttributeHidden | kFileAttributeReadOnly},
};

INSTANTIATE_TEST_SUITE_P(Cases, AttributeTest, ::testing::ValuesIn(kAttributeCases),
                         [](const auto& i) { return i.param.name; });

TEST(AttributeTest, ClearingReadOnlyLetsTheDeleteThrough) {
  test::ScopedTempDir temp;
  const std::wstring path = W(temp / "a");
  WriteText(temp / "a", "x");
  ASSERT_EQ(SetFileAttributesOf(path, kFileAttributeReadOnly), S_OK);
  struct stat info {};
  ASSERT_EQ(::stat((temp / "a").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0222, 0u);
  EXPECT_EQ(DeleteFileAt(path), E_ACCESSDENIED);
  ASSERT_EQ(SetFileAttributesOf(path, 0), S_OK);
  EXPECT_EQ(DeleteFileAt(path), S_OK);
  EXPECT_EQ(SetFileAttributesOf(path, 0), kNoFile);
}

TEST(FolderTest, CreateAndRemove) {
  test::ScopedTempDir temp;
  const std::wstring deep = W(temp / "a/b/c d/é");
  EXPECT_EQ(CreateDirectories(deep), S_OK);
  EXPECT_TRUE(FolderExists(deep));
  EXPECT_EQ(CreateDirectories(deep + L"/"), S_FALSE);
  WriteText(temp / "file", "x");
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
  test::ScopedTempDir temp;
  const std::wstring path = W(temp / "a");
  WriteText(temp / "a", "12345");
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

}  // namespace
}  // namespace lmk
