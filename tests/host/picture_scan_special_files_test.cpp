// A scan lists regular files only: named pipes, sockets and devices would block a run's reads.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/picture_file_scanner.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

void MakeFifo(const fs::path& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }

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

struct SpecialCase {
  const char* name;
  void (*make)(const fs::path& root);  // makes what the inputs name under root
  std::vector<std::string> inputs;     // relative to root; absolute when they start with '/'
  std::vector<std::string> listed;     // relative to root
  std::vector<std::string> leftOut;    // relative to root, or absolute
};

const SpecialCase kCases[] = {
    {"NamedFifo", [](const fs::path& r) { MakeFifo(r / "p.jpg"); }, {"p.jpg"}, {}, {"p.jpg"}},
    {"FifoNamedTwiceIsReportedOnce",
     [](const fs::path& r) {
       MakeFifo(r / "p.jpg");
       std::ofstream(r / "a.jpg") << "x";
     },
     {"p.jpg", "a.jpg", "p.jpg"},
     {"a.jpg"},
     {"p.jpg"}},
    {"NamedSocket", [](const fs::path& r) { MakeSocket(r / "s.jpg"); }, {"s.jpg"}, {}, {"s.jpg"}},
    {"NamedDevice", [](const fs::path&) {}, {"/dev/zero"}, {}, {"/dev/zero"}},
    {"LinkToFifo",
     [](const fs::path& r) {
       MakeFifo(r / "p.jpg");
       fs::create_symlink(r / "p.jpg", r / "link.jpg");
     },
     {"link.jpg"},
     {},
     {"link.jpg"}},
    {"FifoInsideAFolderIsSkippedSilently",
     [](const fs::path& r) {
       fs::create_directory(r / "d");
       MakeFifo(r / "d" / "p.jpg");
       std::ofstream(r / "d" / "a.jpg") << "x";
     },
     {"d"},
     {"d/a.jpg"},
     {}},
};

std::vector<std::string> Shown(const std::vector<std::wstring>& paths, const fs::path& root) {
  std::vector<std::string> out;
  const std::string prefix = root.string() + "/";
  for (const std::wstring& path : paths) {
    std::string text = ToUtf8(path);
    if (text.starts_with(prefix)) text.erase(0, prefix.size());
    out.push_back(text);
  }
  return out;
}

class SpecialFileScan : public ::testing::TestWithParam<SpecialCase> {};

TEST_P(SpecialFileScan, LeavesOutWhatIsNoRegularFile) {
  const SpecialCase& c = GetParam();
  // Devices are shared with every other program on the machine: take them as they are.
  for (const std::string& input : c.inputs) {
    if (input[0] == '/' && !fs::is_character_file(input)) GTEST_SKIP() << input << " is no device";
  }
  test::ScopedTempDir dir;
  c.make(dir.path());
  std::vector<std::wstring> inputs;
  for (const std::string& input : c.inputs) {
    inputs.push_back(FromUtf8(input[0] == '/' ? input : (dir / input).string()));
  }
  std::vector<std::wstring> files, leftOut;
  std::wstring error;
  ASSERT_EQ(CPictureFileScanner().Scan(inputs, &files, &error, &leftOut), S_OK) << ToUtf8(error);
  EXPECT_EQ(Shown(files, dir.path()), c.listed);
  EXPECT_EQ(Shown(leftOut, dir.path()), c.leftOut);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SpecialFileScan, ::testing::ValuesIn(kCases),
                         [](const auto& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace lmk
