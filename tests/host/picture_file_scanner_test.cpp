// Tests of the host's list of pictures: which files a scan takes, in which order, and the
// folder the list stands for.
#include "host/picture_file_scanner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

void Touch(const std::filesystem::path& path) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << "x";
}

// The listed files relative to root, as '/'-separated text.
std::vector<std::string> Relative(const std::vector<std::wstring>& files,
                                  const std::filesystem::path& root) {
  std::vector<std::string> out;
  const std::string prefix = root.string() + "/";
  for (const std::wstring& file : files) {
    std::string text = ToUtf8(file);
    if (text.starts_with(prefix)) text.erase(0, prefix.size());
    out.push_back(text);
  }
  return out;
}

struct ScanCase {
  const char* name;
  std::vector<std::string> tree;    // files to create
  std::vector<std::string> inputs;  // relative to the root; "." is the root
  bool recursive;
  std::vector<std::string> expected;
};

class PictureScanTest : public ::testing::TestWithParam<ScanCase> {};

TEST_P(PictureScanTest, ListsThePicturesSortedByPath) {
  const ScanCase& c = GetParam();
  test::ScopedTempDir dir;
  for (const std::string& file : c.tree) Touch(dir / file);
  std::vector<std::wstring> inputs;
  for (const std::string& input : c.inputs) {
    inputs.push_back(FromUtf8((input == "." ? dir.path() : dir / input).string()));
  }
  PictureScanOptions options;
  options.recursive = c.recursive;
  std::vector<std::wstring> files;
  std::wstring error;
  ASSERT_EQ(CPictureFileScanner(options).Scan(inputs, &files, &error), S_OK) << ToUtf8(error);
  EXPECT_EQ(Relative(files, dir.path()), c.expected);
}

const ScanCase kScanCases[] = {
    {"PictureExtensionsAnyCase",
     {"a.jpg", "b.JPEG", "c.Png", "d.tif", "e.heic", "f.avif", "g.jxl", "h.webp", "i.gif", "j.bmp"},
     {"."},
     false,
     {"a.jpg", "b.JPEG", "c.Png", "d.tif", "e.heic", "f.avif", "g.jxl", "h.webp", "i.gif",
      "j.bmp"}},
    {"RawFormats",
     {"a.CR2", "b.cr3", "c.NEF", "d.nrw", "e.ARW", "f.sr2", "g.RAF", "h.orf", "i.RW2", "j.pef",
      "k.DNG", "l.srw", "m.x3f", "n.3fr", "o.iiq", "p.erf", "q.mrw", "r.kdc", "s.dcr", "t.mos"},
     {"."},
     false,
     {"a.CR2", "b.cr3", "c.NEF", "d.nrw", "e.ARW", "f.sr2", "g.RAF", "h.orf", "i.RW2", "j.pef",
      "k.DNG", "l.srw", "m.x3f", "n.3fr", "o.iiq", "p.erf", "q.mrw", "r.kdc", "s.dcr", "t.mos"}},
    {"SidecarsAndOtherFilesAreNotPictures",
     {"a.jpg", "a.xmp", "notes.txt", "movie.mp4", "noextension", "jpg"},
     {"."},
     false,
     {"a.jpg"}},
    {"HiddenFilesAndFoldersSkipped",
     {".hidden.jpg", "shown.jpg", ".cache/x.jpg", "sub/.y.jpg", "sub/z.jpg"},
     {"."},
     true,
     {"shown.jpg", "sub/z.jpg"}},
    {"SubfoldersOnlyWhenRecursive",
     {"top.jpg", "sub/inner.jpg", "sub/deeper/deep.jpg"},
     {"."},
     false,
     {"top.jpg"}},
    {"RecursionTakesEveryLevel",
     {"top.jpg", "sub/inner.jpg", "sub/deeper/deep.jpg"},
     {"."},
     true,
     {"sub/deeper/deep.jpg", "sub/inner.jpg", "top.jpg"}},
    {"SortedByPathNotByInputOrder",
     {"b/2.jpg", "a/1.jpg", "c.jpg"},
     {"c.jpg", "b", "a"},
     false,
     {"a/1.jpg", "b/2.jpg", "c.jpg"}},
    {"DuplicatesListedOnce",
     {"a.jpg", "b.jpg"},
     {".", "a.jpg", "./a.jpg"},
     false,
     {"a.jpg", "b.jpg"}},
    {"NamedFileTakenWhateverItsExtension",
     {"scan.pdf", "a.jpg"},
     {"scan.pdf"},
     false,
     {"scan.pdf"}},
    {"EmptyFolderGivesEmptyList", {}, {"."}, true, {}},
};

INSTANTIATE_TEST_SUITE_P(Scan, PictureScanTest, ::testing::ValuesIn(kScanCases),
                         [](const auto& info) { return info.param.name; });

TEST(PictureScanErrorTest, MissingPathIsNamed) {
  test::ScopedTempDir dir;
  Touch(dir / "a.jpg");
  const std::vector<std::wstring> inputs = {FromUtf8(dir.path().string()),
                                            FromUtf8((dir / "gone").string())};
  std::vector<std::wstring> files;
  std::wstring error;
  EXPECT_EQ(CPictureFileScanner().Scan(inputs, &files, &error),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_NE(error.find(L"gone"), std::wstring::npos) << ToUtf8(error);
}

struct CommonCase {
  const char* name;
  std::vector<std::wstring> files;
  std::wstring expected;
};

class CommonFolderTest : public ::testing::TestWithParam<CommonCase> {};

TEST_P(CommonFolderTest, IsTheDeepestFolderHoldingEveryFile) {
  EXPECT_EQ(CPictureFileScanner::CommonFolder(GetParam().files), GetParam().expected);
}

const CommonCase kCommonCases[] = {
    {"OneFile", {L"/p/a/x.jpg"}, L"/p/a"},
    {"SameFolder", {L"/p/a/x.jpg", L"/p/a/y.jpg"}, L"/p/a"},
    {"Subfolder", {L"/p/a/x.jpg", L"/p/a/b/y.jpg"}, L"/p/a"},
    {"Siblings", {L"/p/a/x.jpg", L"/p/b/y.jpg"}, L"/p"},
    {"WholeNamesOnly", {L"/p/ab/x.jpg", L"/p/abc/y.jpg"}, L"/p"},
    {"OnlyTheRootInCommon", {L"/a/x.jpg", L"/b/y.jpg"}, L"/"},
    {"None", {}, L""},
};

INSTANTIATE_TEST_SUITE_P(Common, CommonFolderTest, ::testing::ValuesIn(kCommonCases),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
