// Tests of the companion lookup over several spellings: the listing's answer must be the real
// lookup's, whichever spelling, folder or stale name is asked.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/folder_listing.h"
#include "platform_test_files.h"

namespace lmk {
namespace {

using namespace test;

struct FirstListedCase {
  const char* name;
  std::wstring stem;  // below the test folder
  std::vector<std::wstring> suffixes;
  int expected;
};

class FirstListedFileTest : public ::testing::TestWithParam<FirstListedCase> {};

// The folder holds a.XMP, a.jpg.xmp, the folder b.xmp and s/x.xmp; c.xmp is listed, then removed.
TEST_P(FirstListedFileTest, AnswersAsRealLookups) {
  const FirstListedCase& c = GetParam();
  ScopedTempDir dir;
  for (const char* name : {"a.XMP", "a.jpg.xmp", "c.xmp", "s/x.xmp"}) {
    fs::create_directories((dir / name).parent_path());
    Touch(dir / name);
  }
  fs::create_directories(dir / "b.xmp");
  FolderListings listings;
  const std::wstring stem = W(dir.path()) + L"/" + c.stem;
  ASSERT_EQ(listings.FirstExisting(W(dir / "c"), std::vector<std::wstring>{L".xmp"}), 0);
  fs::remove(dir / "c.xmp");
  EXPECT_EQ(listings.FirstExisting(stem, c.suffixes), c.expected);
  EXPECT_EQ(FirstListedFile(stem, c.suffixes), c.expected) << "differs without a listing";
}

INSTANTIATE_TEST_SUITE_P(Spellings, FirstListedFileTest,
                         ::testing::ValuesIn(std::vector<FirstListedCase>{
                             {"FirstSpellingThatExists", L"a", {L".xmp", L".XMP", L".jpg.xmp"}, 1},
                             {"EmptySuffixIsPassedOver", L"a", {L"", L".jpg.xmp"}, 1},
                             {"FolderIsNoFile", L"b", {L".xmp"}, -1},
                             {"RemovedSinceListed", L"c", {L".xmp"}, -1},
                             {"SuffixIntoSubfolder", L"s", {L"/x.xmp"}, 0},
                             {"StemEndingInSeparator", L"s/", {L"x.xmp"}, 0},
                             {"MissingFolder", L"none/a", {L".XMP"}, -1},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
