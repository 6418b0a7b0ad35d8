// Replacing a file that was read whole: the new contents land in one piece, and the mode, owner,
// last-write time and link of the old file stay, whether or not the new file was made with them.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

#include "platform/file_operations.h"
#include "platform/folder_listing.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

struct ReplaceCase {
  const char* name;
  mode_t mode;        // of the old file
  bool otherOwner;    // the old file belongs to user and group 1 (root only)
  bool setgidFolder;  // the folder hands group 1 down to new files (root only)
  bool linked;        // the path is a link to the file
  int pieces;         // the new contents come in this many pieces, every third one empty
  bool runMemory;     // folder facts may be remembered
};

class FileReplacementTest : public testing::TestWithParam<ReplaceCase> {};

TEST_P(FileReplacementTest, KeepsWhatTheOldFileHad) {
  const ReplaceCase& c = GetParam();
  if ((c.otherOwner || c.setgidFolder) && ::geteuid() != 0) {
    GTEST_SKIP() << "needs root";
  }
  test::ScopedTempDir dir;
  const fs::path file = dir / "a.jpg";
  std::ofstream(file) << "old contents";
  if (c.linked) fs::create_symlink("a.jpg", dir / "link.jpg");
  ASSERT_EQ(::chmod(file.c_str(), c.mode), 0);
  if (c.otherOwner) {
    ASSERT_EQ(::chown(file.c_str(), 1, 1), 0);
  }
  if (c.setgidFolder) {
    ASSERT_EQ(::chown(dir.path().c_str(), 0, 1), 0);
    ASSERT_EQ(::chmod(dir.path().c_str(), 02755), 0);
  }
  const fs::file_time_type time = fs::last_write_time(file) - std::chrono::hours(3);
  fs::last_write_time(file, time);
  struct stat before {};
  ASSERT_EQ(::stat(file.c_str(), &before), 0);

  std::optional<ScopedRunMemory> memory;
  if (c.runMemory) memory.emplace();
  std::string read;
  ReadFileFacts facts;
  const fs::path named = c.linked ? dir / "link.jpg" : file;
  ASSERT_EQ(ReadWholeFile(FromUtf8(named.string()), &read, &facts), S_OK);
  EXPECT_EQ(read, "old contents");
  std::vector<std::string> texts;
  std::string expected;
  for (int i = 0; i < c.pieces; ++i) texts.push_back(i % 3 == 2 ? "" : "piece" + std::to_string(i));
  for (const std::string& text : texts) expected += text;
  const std::vector<std::string_view> pieces(texts.begin(), texts.end());
  ASSERT_EQ(ReplaceFileContents(facts, pieces, ReplacedFileTime::kKeep), S_OK);

  struct stat after {};
  ASSERT_EQ(::stat(file.c_str(), &after), 0);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(std::ifstream(file).rdbuf()), {}), expected);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_EQ(fs::last_write_time(file), time);
  EXPECT_EQ(fs::is_symlink(dir / "link.jpg"), c.linked);
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    EXPECT_NE(entry.path().filename().string().front(), '.') << "left behind: " << entry.path();
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, FileReplacementTest,
                         testing::ValuesIn(std::vector<ReplaceCase>{
                             {"OwnFile", 0644, false, false, false, 3, true},
                             {"OwnFileOutsideARun", 0644, false, false, false, 3, false},
                             {"ModeTheUmaskWouldNarrow", 0666, false, false, false, 3, true},
                             {"SetUserIdBit", 04755, false, false, false, 1, true},
                             {"OtherOwner", 0640, true, false, false, 3, true},
                             {"FolderHandsItsGroupDown", 0644, false, true, false, 3, true},
                             {"LinkStaysALink", 0600, false, false, true, 3, true},
                             {"MorePiecesThanOneCallTakes", 0644, false, false, false, 20, true},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
