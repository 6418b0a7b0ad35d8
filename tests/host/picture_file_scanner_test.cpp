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
#include "support/data_table.h"
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

class PictureScanTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(PictureScanTest, ListsThePicturesSortedByPath) {
  const test::CaseRow& c = GetParam();
  test::ScopedTempDir dir;
  for (const std::string& entry : Words(c[0])) Make(dir.path(), entry);
  std::vector<std::wstring> inputs, files, leftOut;
  for (const std::string& input : Words(c[1])) {
    // Devices are shared with every other program on the machine: take them as they are.
    if (input[0] == '/' && !fs::is_character_file(input)) GTEST_SKIP() << input << " is no device";
    inputs.push_back(FromUtf8(input == "."      ? dir.path().string()
                              : input[0] == '/' ? input
                                                : (dir / input).string()));
  }
  std::wstring error;
  PictureScanOptions options;
  options.recursive = c[2] == "1";
  ASSERT_EQ(CPictureFileScanner(options).Scan(inputs, &files, &error, &leftOut), S_OK)
      << ToUtf8(error);
  EXPECT_EQ(Shown(files, dir.path()), Words(c[3]));
  EXPECT_EQ(Shown(leftOut, dir.path()), Words(c[4]));
}

INSTANTIATE_TEST_SUITE_P(Scan, PictureScanTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/picture_scans.tsv")),
                         [](const auto& info) { return info.param.name; });

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
