// The host's list of pictures: which files a scan takes (regular files only: named pipes,
// sockets and devices would block a run's reads), in which order, and the folder the list
// stands for.
#include "host/picture_file_scanner.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "platform/text_encoding.h"
#include "support/file_bytes.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

void MakeSocket(const fs::path& path) {
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_GE(fd, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.string().size(), sizeof(address.sun_path));
  std::strcpy(address.sun_path, path.c_str());
  EXPECT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  ::close(fd);
}

// Makes one entry of a tree: "f" a file, "f|" a named pipe, "f=" a socket, "l>t" a link to t.
void Make(const fs::path& root, std::string entry) {
  const char kind = entry.back();
  const std::size_t arrow = entry.find('>');
  if (kind == '|' || kind == '=') entry.pop_back();
  const fs::path path = root / entry.substr(0, arrow);
  fs::create_directories(path.parent_path());
  if (arrow != std::string::npos) {
    fs::create_symlink(root / entry.substr(arrow + 1), path);
  } else if (kind == '|') {
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
  } else if (kind == '=') {
    MakeSocket(path);
  } else {
    test::WriteBytes(path, "x");
  }
}

// Lists of files are separated by blanks; inputs are relative to the folder, "." is the folder,
// absolute when they start with '/'. Named pipes, sockets and devices would block a run's reads:
// those named are left out (and reported), those inside a folder skipped silently.
struct ScanCase {
  const char* name;
  const char *tree, *inputs;
  bool recursive;
  const char* expected;
  const char* leftOut = "";
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
    {"NamedFifo", "p.jpg|", "p.jpg", false, "", "p.jpg"},
    {"FifoNamedTwiceIsReportedOnce", "p.jpg| a.jpg", "p.jpg a.jpg p.jpg", false, "a.jpg", "p.jpg"},
    {"NamedSocket", "s.jpg=", "s.jpg", false, "", "s.jpg"},
    {"NamedDevice", "", "/dev/zero", false, "", "/dev/zero"},
    {"LinkToFifo", "p.jpg| link.jpg>p.jpg", "link.jpg", false, "", "link.jpg"},
    {"FifoInsideAFolderIsSkippedSilently", "d/p.jpg| d/a.jpg", "d", false, "d/a.jpg"},
};

// The paths below root relative to it, others as they are.
std::vector<std::string> Shown(const std::vector<std::wstring>& paths, const fs::path& root) {
  std::vector<std::string> out;
  for (const std::wstring& path : paths) {
    std::string text = ToUtf8(path);
    if (text.starts_with(root.string() + "/")) text.erase(0, root.string().size() + 1);
    out.push_back(text);
  }
  return out;
}

class PictureScanTest : public ::testing::TestWithParam<ScanCase> {};

TEST_P(PictureScanTest, ListsThePicturesSortedByPath) {
  const ScanCase& c = GetParam();
  test::ScopedTempDir dir;
  for (const std::string& entry : Words(c.tree)) Make(dir.path(), entry);
  std::vector<std::wstring> inputs, files, leftOut;
  for (const std::string& input : Words(c.inputs)) {
    // Devices are shared with every other program on the machine: take them as they are.
    if (input[0] == '/' && !fs::is_character_file(input)) GTEST_SKIP() << input << " is no device";
    inputs.push_back(FromUtf8(input == "."      ? dir.path().string()
                              : input[0] == '/' ? input
                                                : (dir / input).string()));
  }
  std::wstring error;
  PictureScanOptions options;
  options.recursive = c.recursive;
  ASSERT_EQ(CPictureFileScanner(options).Scan(inputs, &files, &error, &leftOut), S_OK)
      << ToUtf8(error);
  EXPECT_EQ(Shown(files, dir.path()), Words(c.expected));
  EXPECT_EQ(Shown(leftOut, dir.path()), Words(c.leftOut));
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
