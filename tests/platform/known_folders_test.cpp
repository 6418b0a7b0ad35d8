// The known folders and the log folder's choice.
#include "platform/known_folders.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "platform_test_files.h"

namespace lmk {
namespace {

// Sets or clears environment variables for one test and puts them back after it.
class ScopedEnvironment {
 public:
  void Set(const char* name, const std::optional<std::string>& value) {
    const char* old = std::getenv(name);
    saved_.push_back({name, old ? std::optional<std::string>(old) : std::nullopt});
    Put(name, value);
  }
  ~ScopedEnvironment() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) Put(it->first.c_str(), it->second);
  }

 private:
  static void Put(const char* name, const std::optional<std::string>& value) {
    value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
  }
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

struct FolderCase {
  std::string name;
  std::optional<std::string> xdg, home;  // "@" stands for the temp dir
  std::string logFolder;                 // relative to the temp dir; "TMP": the temporary folder
};

class LogFolderTest : public ::testing::TestWithParam<FolderCase> {};

TEST_P(LogFolderTest, ChoosesAndCreatesTheFolder) {
  test::ScopedTempDir dir;
  const std::string root = dir.path().string();
  auto expand = [&](std::optional<std::string> v) {
    if (v && v->starts_with('@')) v = root + v->substr(1);
    return v;
  };
  ScopedEnvironment env;
  env.Set("XDG_DATA_HOME", expand(GetParam().xdg));
  env.Set("HOME", expand(GetParam().home));
  env.Set("TMPDIR", root + "/tmp");
  const std::wstring folder = LogFolderPath();
  const bool temporary = GetParam().logFolder == "TMP";
  EXPECT_EQ(folder, FromUtf8(root + (temporary ? "/tmp" : GetParam().logFolder)));
  EXPECT_TRUE(temporary || std::filesystem::is_directory(ToUtf8(folder)));
}

INSTANTIATE_TEST_SUITE_P(
    Folders, LogFolderTest,
    ::testing::ValuesIn(std::vector<FolderCase>{
        {"XdgDataHome", "@/data", "@/home", "/data/Lumarko/Logs"},
        {"XdgTrailingSlash", "@/data/", "@/home", "/data/Lumarko/Logs"},
        {"RelativeXdgIgnored", "data", "@/home", "/home/.local/share/Lumarko/Logs"},
        {"NoXdgUsesHome", std::nullopt, "@/home", "/home/.local/share/Lumarko/Logs"},
        {"UncreatableFallsBackToTemp", "/proc/lmk-no-such", std::nullopt, "TMP"},
        {"OverlongFallsBackToTemp", "@/" + std::string(250, 'd'), std::nullopt, "TMP"},
    }),
    [](const auto& i) { return i.param.name; });

TEST(KnownFoldersTest, ParentsAndJoins) {
  EXPECT_EQ(ParentFolderPath(L"/home/me/log.txt"), L"/home/me");
  EXPECT_EQ(ParentFolderPath(L"/log.txt"), L"/");
  EXPECT_EQ(ParentFolderPath(L"log.txt"), L"");
  EXPECT_EQ(JoinPath(L"/a", L"b/c"), L"/a/b/c");
  EXPECT_EQ(JoinPath(L"/a/", L"b"), L"/a/b");
  EXPECT_EQ(JoinPath(L"/", L"b"), L"/b");
}

}  // namespace
}  // namespace lmk
