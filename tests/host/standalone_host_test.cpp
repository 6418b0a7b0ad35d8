// Tests of the standalone host: the range the parallel workers share, the list's answers to
// renames and deletions, and records built from sample pictures.
#include "host/standalone_host.h"

#include <gtest/gtest.h>

#include <fstream>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "platform/text_encoding.h"
#include "support/data_table.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

// Files that are no pictures at all: the host still lists and delivers them.
std::vector<std::wstring> MakeFiles(const test::ScopedTempDir& dir, int count) {
  std::vector<std::wstring> files;
  for (int i = 0; i < count; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "pic_%04d.jpg", i);
    std::ofstream(dir / name) << "not a picture " << i;
    files.push_back(FromUtf8((dir / name).string()));
  }
  return files;
}

const LMKIMAGERECORD& RecordOf(ILumarkoImage* image) {
  const LMKIMAGERECORD* record = nullptr;
  EXPECT_EQ(image->GetRecord(&record), S_OK);
  return *record;
}
ULONG IndexOf(ILumarkoImage* image) { return RecordOf(image).index; }
std::wstring PathOf(ILumarkoImage* image) { return RecordOf(image).fullPath; }

// A range case: the files listed, where the range starts (first, current or at), the index of
// the current file or of the image asked for, and the workers.
struct RangeCase {
  const char* name;
  int files;
  const char* start;
  ULONG startIndex;
  int threads;
};

class HostRangeTest : public ::testing::TestWithParam<RangeCase> {};

// Every image from the start of the range to the end is handed out exactly once, however many
// workers ask at the same time, and every later call says the range is over.
TEST_P(HostRangeTest, EachImageOfTheRangeExactlyOnce) {
  const RangeCase& c = GetParam();
  test::ScopedTempDir dir;
  const std::vector<std::wstring> files = MakeFiles(dir, c.files);
  const auto host = MakeComObject<CStandaloneHost>(files, FromUtf8(dir.path().string()));

  ComPtr<ILumarkoImage> first;
  const std::string start = c.start;
  EXPECT_EQ(start == "current" ? host->SetCurrentFile(files[c.startIndex]) : S_OK, S_OK);
  ASSERT_EQ(start == "first"     ? host->GetFirstImage(&first)
            : start == "current" ? host->GetCurrentImage(&first)
                                 : host->GetImageAt(c.startIndex, &first),
            S_OK);
  const ULONG startIndex = c.startIndex;
  EXPECT_EQ(IndexOf(first.Get()), startIndex);

  std::mutex lock;
  std::multiset<ULONG> seen;
  int pastTheEnd = 0;
  std::vector<std::thread> workers;
  for (int t = 0; t < c.threads; ++t) {
    workers.emplace_back([&] {
      for (;;) {
        ComPtr<ILumarkoImage> image;
        const HRESULT hr = host->GetNextImageOfRange(&image);
        std::lock_guard guard(lock);
        if (hr == S_FALSE) {
          EXPECT_FALSE(image);
          ++pastTheEnd;
          return;
        }
        ASSERT_EQ(hr, S_OK);
        seen.insert(IndexOf(image.Get()));
        EXPECT_EQ(PathOf(image.Get()), files[IndexOf(image.Get())]);
      }
    });
  }
  for (std::thread& worker : workers) worker.join();

  std::multiset<ULONG> expected;
  for (ULONG i = startIndex + 1; i < static_cast<ULONG>(c.files); ++i) expected.insert(i);
  EXPECT_EQ(seen, expected);
  EXPECT_EQ(pastTheEnd, c.threads);
  EXPECT_EQ(host->ImagesDelivered(), static_cast<ULONG>(c.files) - startIndex);
  EXPECT_EQ(host->RangeSize(), static_cast<ULONG>(c.files) - startIndex);
}

const RangeCase kRangeCases[] = {
    {"CurrentImageEightThreads", 300, "current", 120, 8},
    {"OneImageList", 1, "first", 0, 8},
    {"ImageAtSingleWorker", 50, "at", 49, 1},
};

INSTANTIATE_TEST_SUITE_P(Range, HostRangeTest, ::testing::ValuesIn(kRangeCases),
                         [](const auto& info) { return info.param.name; });

TEST(HostListTest, EmptyListHasNoCurrentImageAndUnlistedFilesAreRefused) {
  const auto host = MakeComObject<CStandaloneHost>(std::vector<std::wstring>{}, L"");
  ULONG index = 0;
  EXPECT_EQ(host->GetCurrentIndex(&index), E_FAIL);
  ComPtr<ILumarkoImage> image;
  EXPECT_EQ(host->GetFirstImage(&image), E_FAIL);
  EXPECT_EQ(host->GetImageAt(0, &image), E_INVALIDARG);
  EXPECT_EQ(host->SetCurrentFile(L"/nowhere/x.jpg"), HRESULT_FROM_WIN32(ERROR_NOT_FOUND));
}

// The parameter: the renamed file's cookie is listed.
class HostRenameTest : public ::testing::TestWithParam<bool> {};

TEST_P(HostRenameTest, ListFollowsTheRename) {
  const bool known = GetParam();
  test::ScopedTempDir dir;
  const std::vector<std::wstring> files = MakeFiles(dir, 3);
  const auto host = MakeComObject<CStandaloneHost>(files, L"");
  const std::wstring newPath = FromUtf8((dir / "renamed.jpg").string());
  const ULONGLONG cookie = known ? 2 : 99;  // 2: the file at index 1
  const std::wstring oldPath = known ? files[1] : L"/elsewhere/x.jpg";
  EXPECT_EQ(host->OnFileRenamed(cookie, oldPath.c_str(), newPath.c_str()), known ? S_OK : S_FALSE);

  std::vector<std::wstring> expected = files;
  if (known) expected[1] = newPath;
  EXPECT_EQ(host->Files(), expected);
  ComPtr<ILumarkoImage> image;
  ASSERT_EQ(host->GetImageByCookie(2, &image), S_OK);
  EXPECT_EQ(PathOf(image.Get()), expected[1]);
  // Positions never move, so a running range is not disturbed.
  ULONG count = 0;
  EXPECT_EQ(host->GetImageCount(&count), S_OK);
  EXPECT_EQ(count, 3u);
}

INSTANTIATE_TEST_SUITE_P(Rename, HostRenameTest, ::testing::Bool(), [](const auto& info) {
  return info.param ? "ByCookie" : "UnknownCookie";
});

TEST(HostListTest, DeletedFileLeavesTheListButKeepsPositions) {
  test::ScopedTempDir dir;
  const std::vector<std::wstring> files = MakeFiles(dir, 3);
  const auto host = MakeComObject<CStandaloneHost>(files, L"");
  EXPECT_EQ(host->OnFileDeleted(0, files[0].c_str()), S_OK);
  EXPECT_EQ(host->OnFileDeleted(0, files[0].c_str()), S_FALSE);
  EXPECT_EQ(host->OnFileRenamed(0, nullptr, L"/x"), E_INVALIDARG);
  EXPECT_EQ(host->Files(), (std::vector<std::wstring>{files[1], files[2]}));
  ComPtr<ILumarkoImage> image;
  ASSERT_EQ(host->GetImageAt(2, &image), S_OK);
  EXPECT_EQ(PathOf(image.Get()), files[2]);
  ComPtr<ILumarkoImage> gone;
  EXPECT_EQ(host->GetImageByCookie(1, &gone), E_INVALIDARG);
}

class HostRecordTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(HostRecordTest, RecordCarriesFileFactsAndMetadata) {
  const test::CaseRow& c = GetParam();
  const std::wstring path = FromUtf8(std::string(LMK_SAMPLES_DIR) + "/" + c[0]);
  const auto host =
      MakeComObject<CStandaloneHost>(std::vector<std::wstring>{path}, FromUtf8(LMK_SAMPLES_DIR));
  std::wstring problem;
  const ComPtr<CImageRecord> image = host->BuildRecord(path, 0, &problem);
  const LMKIMAGERECORD& r = image->record();
  EXPECT_EQ(std::wstring(r.fullPath), path);
  EXPECT_EQ(std::wstring(r.pathNoExt) + r.extensions, path);
  EXPECT_EQ(r.cookie, 1u);
  EXPECT_GT(r.size, 0u);
  EXPECT_NE(r.lastWriteTime.dwHighDateTime, 0u);
  EXPECT_EQ(problem.empty(), c[3] == "1") << ToUtf8(problem);
  EXPECT_EQ((r.gpsFlags & LMKGPS_POSITION) != 0, c[1] == "1");
  if ((r.gpsFlags & LMKGPS_POSITION) == 0) {
    EXPECT_EQ(r.gpsLatitude, 0.0);
    EXPECT_EQ(r.gpsLongitude, 0.0);
  }
  EXPECT_EQ(r.xmpRating, std::stoi(c[2]));
  EXPECT_EQ(r.totalFrames, 1);
}

INSTANTIATE_TEST_SUITE_P(Samples, HostRecordTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/host_records.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
