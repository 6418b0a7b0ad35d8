// The host's list of pictures: which files a scan takes, in which order, and the folder the list
// stands for.
#include "host/picture_file_scanner.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "platform/text_encoding.h"
#include "support/file_bytes.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

std::vector<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

// Lists of files are separated by blanks; inputs are relative to the folder, "." is the folder.
struct ScanCase {
  const char* name;
  const char *tree, *inputs;
  bool recursive;
  const char* expected;
};

// Every picture extension, any case, raw formats too.
constexpr const char* kPictures =
    "a.jpg b.JPEG c.Png d.tif e.heic f.avif g.jxl h.webp i.gif j.bmp k.CR2 l.cr3 m.NEF n.nrw o.ARW "
    "p.sr2 q.RAF r.orf s.RW2 t.pef u.DNG v.srw w.x3f x.3fr y.iiq z.erf za.mrw zb.kdc zc.dcr zd.mos";

const ScanCase kScanCases[] = {
    {"PictureExtensions", kPictures, ".", false, kPictures},
    {"SidecarsAndOtherFilesAreNotPictures", "a.jpg a.xmp notes.txt movie.mp4 noextension jpg", ".",
     false, "a.jpg"},
    {"HiddenFilesAndFoldersSkipped", ".hidden.jpg shown.jpg .cache/x.jpg sub/.y.jpg sub/z.jpg", ".",
     true, "shown.jpg sub/z.jpg"},
    {"SubfoldersOnlyWhenRecursive", "top.jpg sub/inner.jpg", ".", false, "top.jpg"},
    {"RecursionTakesEveryLevel", "top.jpg sub/inner.jpg sub/deeper/deep.jpg", ".", true,
     "sub/deeper/deep.jpg sub/inner.jpg top.jpg"},
    {"SortedByPathNotByInputOrder", "b/2.jpg a/1.jpg c.jpg", "c.jpg b a", false,
     "a/1.jpg b/2.jpg c.jpg"},
    {"DuplicatesListedOnce", "a.jpg b.jpg", ". a.jpg ./a.jpg", false, "a.jpg b.jpg"},
    {"NamedFileTakenWhateverItsExtension", "scan.pdf a.jpg", "scan.pdf", false, "scan.pdf"},
    {"EmptyFolderGivesEmptyList", "", ".", true, ""},
};

class PictureScanTest : public ::testing::TestWithParam<ScanCase> {};

TEST_P(PictureScanTest, ListsThePicturesSortedByPath) {
  const ScanCase& c = GetParam();
  test::ScopedTempDir dir;
  for (const std::string& file : Words(c.tree)) {
    std::filesystem::create_directories((dir / file).parent_path());
    test::WriteBytes(dir / file, "x");
  }
  std::vector<std::wstring> inputs, files;
  for (const std::string& input : Words(c.inputs)) {
    inputs.push_back(FromUtf8((input == "." ? dir.path() : dir / input).string()));
  }
  std::wstring error;
  PictureScanOptions options;
  options.recursive = c.recursive;
  ASSERT_EQ(CPictureFileScanner(options).Scan(inputs, &files, &error), S_OK) << ToUtf8(error);
  std::vector<std::string> relative;
  for (const std::wstring& file : files) {
    relative.push_back(std::filesystem::path(ToUtf8(file)).lexically_relative(dir.path()));
  }
  EXPECT_EQ(relative, Words(c.expected));
}

INSTANTIATE_TEST_SUITE_P(Scan, PictureScanTest, ::testing::ValuesIn(kScanCases),
                         [](const auto& info) { return info.param.name; });

TEST(PictureScanErrorTest, MissingPathIsNamed) {
  test::ScopedTempDir dir;
  const std::vector<std::wstring> inputs = {FromUtf8(dir.path().string()),
                                            FromUtf8((dir / "gone").string())};
  std::vector<std::wstring> files;
  std::wstring error;
  EXPECT_EQ(CPictureFileScanner().Scan(inputs, &files, &error),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_NE(error.find(L"gone"), std::wstring::npos) << ToUtf8(error);
}

TEST(PictureScanTest, CommonFolderIsTheDeepestFolderHoldingEveryFile) {
  const std::pair<std::vector<std::wstring>, std::wstring> cases[] = {
      {{L"/p/a/x.jpg"}, L"/p/a"},
      {{L"/p/a/x.jpg", L"/p/a/b/y.jpg"}, L"/p/a"},
      {{L"/p/a/x.jpg", L"/p/b/y.jpg"}, L"/p"},
      {{L"/p/ab/x.jpg", L"/p/abc/y.jpg"}, L"/p"},  // whole names only
      {{L"/a/x.jpg", L"/b/y.jpg"}, L"/"},
      {{}, L""}};
  for (const auto& [files, folder] : cases) {
    EXPECT_EQ(CPictureFileScanner::CommonFolder(files), folder) << ToUtf8(folder);
  }
}

}  // namespace
}  // namespace lmk
