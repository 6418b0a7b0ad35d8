// Tests of the run memory: folder listings answer as real lookups would, see every name this
// process makes, are read again when old, and a remembered folder that vanished is made again.
#include "platform/folder_listing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "com/com_error.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/posix/run_memory.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::wstring W(const fs::path& path) { return FromUtf8(path.string()); }

void Touch(const fs::path& path) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << "x";
}

// ---- answers ----------------------------------------------------------------------------------

struct AnswerCase {
  std::string name;
  std::string asked;  // relative to the folder, as given to FileExists
  bool expected;
};

// The folder holds "a.xmp", "caf\xc3\xa9.xmp" (precomposed), the folder "sub.xmp" and
// the dangling link "gone.xmp".
std::vector<AnswerCase> AnswerCases() {
  return {
      {"ListedFile", "a.xmp", true},
      {"OtherCase", "A.XMP", false},
      {"DecomposedAccent", "cafe\xcc\x81.xmp", false},
      {"PrecomposedAccent", "caf\xc3\xa9.xmp", true},
      {"FolderIsNoFile", "sub.xmp", false},
      {"DanglingLink", "gone.xmp", false},
      {"DoubleSeparator", "/./a.xmp", true},
      {"InMissingFolder", "none/a.xmp", false},
  };
}

class ListingAnswerTest : public ::testing::TestWithParam<AnswerCase> {};

TEST_P(ListingAnswerTest, AnswersAsTheFileSystemDoes) {
  const AnswerCase& c = GetParam();
  test::ScopedTempDir dir;
  Touch(dir / "a.xmp");
  Touch(dir / "caf\xc3\xa9.xmp");
  fs::create_directories(dir / "sub.xmp");
  fs::create_symlink(dir / "nothing", dir / "gone.xmp");
  const std::wstring asked = W(dir.path()) + L"/" + FromUtf8(c.asked);

  FolderListings listings;
  EXPECT_EQ(listings.FileExists(asked), c.expected);
  EXPECT_EQ(listings.FileExists(asked), FileExists(asked)) << "differs from a real lookup";
}

INSTANTIATE_TEST_SUITE_P(Listings, ListingAnswerTest, ::testing::ValuesIn(AnswerCases()),
                         [](const auto& i) { return i.param.name; });

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

// A large folder: every name there is found and none that is not, whatever the table in
// front of the names grows to.
TEST(FolderListingsTest, LargeFolderAnswersEveryName) {
  test::ScopedTempDir dir;
  constexpr int kCount = 2000;
  for (int i = 0; i < kCount; ++i) std::ofstream(dir / ("n" + std::to_string(i)));
  FolderListings listings;
  int found = 0;
  for (int i = 0; i < kCount; ++i) {
    found += listings.FileExists(W(dir / ("n" + std::to_string(i)))) ? 1 : 0;
    EXPECT_FALSE(listings.FileExists(W(dir / ("m" + std::to_string(i)))));
  }
  EXPECT_EQ(found, kCount);
  EXPECT_EQ(listings.ReadCount(), 1u);
}

TEST(FolderListingsTest, ListingIsReadAgainOnlyWhenOld) {
  test::ScopedTempDir dir;
  Touch(dir / "img.jpg");
  Clock::time_point now{};
  FolderListings listings(std::chrono::milliseconds(2000), [&] { return now; });
  ASSERT_FALSE(listings.FileExists(W(dir / "img.xmp")));
  // Another program puts a sidecar beside the image: unseen while the listing is young.
  Touch(dir / "img.xmp");
  now += std::chrono::milliseconds(1900);
  EXPECT_FALSE(listings.FileExists(W(dir / "img.xmp")));
  EXPECT_EQ(listings.ReadCount(), 1u);
  now += std::chrono::milliseconds(200);
  EXPECT_TRUE(listings.FileExists(W(dir / "img.xmp")));
  EXPECT_EQ(listings.ReadCount(), 2u);
}

TEST(FolderListingsTest, NameAddedWhileTheFolderIsReadIsKept) {
  test::ScopedTempDir dir;
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
  test::ScopedTempDir dir;
  for (int i = 0; i < 2000; ++i) Touch(dir / ("p" + std::to_string(i) + ".jpg"));
  FolderListings listings;
  std::atomic<int> ready{0};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < 8) std::this_thread::yield();
      const std::string name = "p" + std::to_string(t * 100) + ".jpg";
      if (!listings.FileExists(W(dir / name))) wrong.fetch_add(1);
      if (listings.FileExists(W(dir / ("p" + std::to_string(t) + ".xmp")))) wrong.fetch_add(1);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(listings.ReadCount(), 1u);
}

// ---- names made by this process and folders made during a run --------------------------------

struct OperationCase {
  std::string name;
  // Puts the file `source` at `target` with the file operations.
  HRESULT (*transfer)(const std::wstring& source, const std::wstring& target);
};

std::vector<OperationCase> OperationCases() {
  return {
      {"Move", [](const std::wstring& s, const std::wstring& t) { return MoveFileTo(s, t, 0); }},
      {"Copy", [](const std::wstring& s, const std::wstring& t) { return CopyFileTo(s, t, true); }},
      {"Link", [](const std::wstring& s, const std::wstring& t) { return MakeHardLink(t, s); }},
  };
}

class RunMemoryTest : public ::testing::TestWithParam<OperationCase> {};

TEST_P(RunMemoryTest, NameMadeInAListedFolderIsSeenAtOnce) {
  test::ScopedTempDir dir;
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
  test::ScopedTempDir dir;
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
  test::ScopedTempDir dir;
  Touch(dir / "img.jpg");
  const ScopedRunMemory memory;
  ASSERT_EQ(CreateDirectories(W(dir / "made")), S_OK);
  EXPECT_EQ(GetParam().transfer(W(dir / "img.jpg"), W(dir / "other/img.jpg")),
            HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  TakeErrorDescription();
  EXPECT_FALSE(fs::exists(dir / "other"));
  EXPECT_TRUE(fs::is_regular_file(dir / "img.jpg"));
}

INSTANTIATE_TEST_SUITE_P(Operations, RunMemoryTest, ::testing::ValuesIn(OperationCases()),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
