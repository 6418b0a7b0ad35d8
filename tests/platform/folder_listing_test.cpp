// Tests of the run memory: folder listings answer as real lookups would, see every name this
// process makes, are read again when old, and a remembered folder that vanished is made again.
#include "platform/folder_listing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "com/com_error.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/posix/run_memory.h"
#include "platform_test_files.h"

namespace lmk {
namespace {

using namespace test;
using Clock = std::chrono::steady_clock;

// ---- answers ----------------------------------------------------------------------------------

// The folder holds "a.xmp", "caf\xc3\xa9.xmp" (precomposed), the folder "sub.xmp" and the
// dangling link "gone.xmp"; each question (relative to the folder) is answered as a real lookup.
TEST(FolderListingsTest, AnswersAsTheFileSystemDoes) {
  ScopedTempDir dir;
  Touch(dir / "a.xmp");
  Touch(dir / "caf\xc3\xa9.xmp");
  fs::create_directories(dir / "sub.xmp");
  fs::create_symlink(dir / "nothing", dir / "gone.xmp");
  const std::pair<const char*, bool> cases[] = {
      {"a.xmp", true},           {"A.XMP", false},     {"cafe\xcc\x81.xmp", false},
      {"caf\xc3\xa9.xmp", true}, {"sub.xmp", false},   {"gone.xmp", false},
      {"/./a.xmp", true},        {"none/a.xmp", false}};
  FolderListings listings;
  for (const auto& [asked, expected] : cases) {
    const std::wstring path = W(dir.path()) + L"/" + FromUtf8(asked);
    EXPECT_EQ(listings.FileExists(path), expected) << asked;
    EXPECT_EQ(FileExists(path), expected) << asked << ": differs from a real lookup";
  }
}

// Listings are keyed by this spelling: two spellings of one folder must not split it, and
// the quick path for paths already normal must agree with the full one.
TEST(FolderListingsTest, FolderPathsHaveOneSpelling) {
  const std::pair<const char*, const char*> cases[] = {
      {"a//b/./c/", "a/b/c"}, {"/", "/"},   {"//", "/"},      {".", "."},       {"", "."},
      {"./a", "a"},           {"a/.", "a"}, {"/a/b", "/a/b"}, {"a/..", "a/.."}, {"/a/./b", "/a/b"},
      {"a/b/", "a/b"},
  };
  for (const auto& [path, normal] : cases) EXPECT_EQ(NormalFolderPath(path), normal) << path;
}

TEST(FolderListingsTest, NameAddedWhileTheFolderIsReadIsKept) {
  ScopedTempDir dir;
  const std::wstring added = W(dir / "img.xmp");
  FolderListings* self = nullptr;
  int calls = 0;
  // The clock is asked just before the folder is read: the name is noted in the middle of it.
  FolderListings listings(std::chrono::milliseconds(2000), [&] {
    if (++calls == 1) self->NoteAdded(added);
    return Clock::time_point{};
  });
  self = &listings;
  ASSERT_FALSE(listings.FileExists(W(dir / "img.wav")));
  Touch(dir / "img.xmp");
  EXPECT_TRUE(listings.FileExists(added));
  EXPECT_EQ(listings.ReadCount(), 1u);
}

TEST(FolderListingsTest, ThreadsAskingAtOnceShareOneRead) {
  ScopedTempDir dir;
  for (int i = 0; i < 2000; ++i) Touch(dir / ("p" + std::to_string(i) + ".jpg"));
  FolderListings listings;
  std::atomic<int> ready{0};
  std::atomic<int> wrong{0};
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 8; ++t) {
      threads.emplace_back([&, t] {
        ready.fetch_add(1);
        while (ready.load() < 8) std::this_thread::yield();
        if (!listings.FileExists(W(dir / ("p" + std::to_string(t * 100) + ".jpg")))) ++wrong;
        if (listings.FileExists(W(dir / ("p" + std::to_string(t) + ".xmp")))) ++wrong;
      });
    }
  }
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(listings.ReadCount(), 1u);
}

// ---- names made by this process and folders made during a run --------------------------------

struct OperationCase {
  std::string name;
  // Puts the file `s` at `t` with the file operations.
  HRESULT (*transfer)(const std::wstring& s, const std::wstring& t);
};

const OperationCase kOperationCases[] = {
    {"Move", [](const auto& s, const auto& t) { return MoveFileTo(s, t, 0); }},
    {"Copy", [](const auto& s, const auto& t) { return CopyFileTo(s, t, true); }},
    {"Link", [](const auto& s, const auto& t) { return MakeHardLink(t, s); }},
};

class RunMemoryTest : public ::testing::TestWithParam<OperationCase> {};

TEST_P(RunMemoryTest, NameMadeInAListedFolderIsSeenAtOnce) {
  ScopedTempDir dir;
  Touch(dir / "in/img.jpg");
  Touch(dir / "elsewhere/companion");
  const ScopedRunMemory memory;
  ASSERT_FALSE(ListedFileExists(W(dir / "in/img.xmp")));
  // Spelled otherwise than the question: the folder is still the listed one.
  ASSERT_EQ(GetParam().transfer(W(dir / "elsewhere/companion"), W(dir / "in/.//img.xmp")), S_OK)
      << ToUtf8(TakeErrorDescription());
  EXPECT_TRUE(ListedFileExists(W(dir / "in/img.xmp")));
}

TEST_P(RunMemoryTest, RemovedMidRunIsMadeAgain) {
  ScopedTempDir dir;
  Touch(dir / "img.jpg");
  const ScopedRunMemory memory;
  const std::wstring folder = W(dir / "out/2024/05");
  ASSERT_EQ(CreateDirectories(folder), S_OK);
  fs::remove_all(dir / "out");
  // Remembered: the folder is not looked at again.
  EXPECT_EQ(CreateDirectories(folder), S_FALSE);

  EXPECT_EQ(GetParam().transfer(W(dir / "img.jpg"), folder + L"/img.jpg"), S_OK)
      << ToUtf8(TakeErrorDescription());
  EXPECT_TRUE(fs::is_regular_file(dir / "out/2024/05/img.jpg"));
}

TEST_P(RunMemoryTest, FolderNotMadeByTheRunIsNotMade) {
  ScopedTempDir dir;
  Touch(dir / "img.jpg");
  const ScopedRunMemory memory;
  ASSERT_EQ(CreateDirectories(W(dir / "made")), S_OK);
  EXPECT_EQ(GetParam().transfer(W(dir / "img.jpg"), W(dir / "other/img.jpg")),
            HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  TakeErrorDescription();
  EXPECT_FALSE(fs::exists(dir / "other"));
  EXPECT_TRUE(fs::is_regular_file(dir / "img.jpg"));
}

INSTANTIATE_TEST_SUITE_P(Operations, RunMemoryTest, ::testing::ValuesIn(kOperationCases),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
