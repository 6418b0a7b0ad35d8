// Tests of the known folders and of the log folder's choice.
#include "platform/known_folders.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

// Sets or clears environment variables for one test and puts them back after it.
class ScopedEnvironment {
 public:
  void Set(const char* name, const std::optional<std::string>& value) {
    const char* old = std::getenv(name);
    saved_.push_back({name, old ? std::optional<std::string>(old) : std::nullopt});
    if (value)
      ::setenv(name, value->c_str(), 1);
    else
      ::unsetenv(name);
  }
  ~ScopedEnvironment() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
      if (it->second)
        ::setenv(it->first.c_str(), it->second->c_str(), 1);
      else
        ::unsetenv(it->first.c_str());
    }
  }

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

struct FolderCase {
  std::string name;
  std::optional<std::string> xdg;   // "@" stands for the temp dir
  std::optional<std::string> home;  // likewise
  std::string expected_log_folder;  // relative to the temp dir; "TMP" for the temporary folder
};

class LogFolderTest : public ::testing::TestWithParam<FolderCase> {};

TEST_P(LogFolderTest, ChoosesAndCreatesTheFolder) {
  test::ScopedTempDir dir;
  const std::string root = dir.path().string();
  auto expand = [&](const std::optional<std::string>& v) -> std::optional<std::string> {
    if (!v) return std::nullopt;
    std::string s = *v;
    if (!s.empty() && s[0] == '@') s = root + s.substr(1);
    return s;
  };
  ScopedEnvironment env;
  env.Set("XDG_DATA_HOME", expand(GetParam().xdg));
  env.Set("HOME", expand(GetParam().home));
  env.Set("TMPDIR", root + "/tmp");
  const std::wstring folder = LogFolderPath();
  if (GetParam().expected_log_folder == "TMP") {
    EXPECT_EQ(folder, FromUtf8(root + "/tmp"));
  } else {
    EXPECT_EQ(folder, FromUtf8(root + GetParam().expected_log_folder));
    EXPECT_TRUE(std::filesystem::is_directory(ToUtf8(folder)));
  }
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

struct PathCase {
  std::string name;
  std::wstring path;
  std::wstring parent;
};

class ParentFolderTest : public ::testing::TestWithParam<PathCase> {};

TEST_P(ParentFolderTest, Splits) {
  EXPECT_EQ(ParentFolderPath(GetParam().path), GetParam().parent);
}

INSTANTIATE_TEST_SUITE_P(Paths, ParentFolderTest,
                         ::testing::ValuesIn(std::vector<PathCase>{
                             {"Nested", L"/home/me/log.txt", L"/home/me"},
                             {"Root", L"/log.txt", L"/"},
                             {"BareName", L"log.txt", L""},
                         }),
                         [](const auto& i) { return i.param.name; });

TEST(JoinPathTest, AddsOneSeparator) {
  EXPECT_EQ(JoinPath(L"/a", L"b/c"), L"/a/b/c");
  EXPECT_EQ(JoinPath(L"/a/", L"b"), L"/a/b");
  EXPECT_EQ(JoinPath(L"/", L"b"), L"/b");
}

}  // namespace
}  // namespace lmk
