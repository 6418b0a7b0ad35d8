// Error codes, log texts, locale formats, digests and the known folders of the platform layer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "com/com_error.h"
#include "platform/environment.h"
#include "platform/file_hash.h"
#include "platform/known_folders.h"
#include "platform/locale_format.h"
#include "platform/message_format.h"
#include "platform/posix/error_map.h"
#include "platform/system_info.h"
#include "platform_test_files.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using namespace test;

// An errno value by its name, as the C library names it, or by its number.
int ErrnoNamed(const std::string& name) {
  for (int e = 1; e < 4096 && !std::isdigit(static_cast<unsigned char>(name[0])); ++e) {
    if (const char* known = ::strerrorname_np(e); known != nullptr && name == known) return e;
  }
  return std::stoi(name);
}

class ErrnoMapTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(ErrnoMapTest, GivesTheWin32CodeAndItsHresult) {
  const CaseRow& c = GetParam();
  const int error = ErrnoNamed(c[0]);
  const DWORD win32 = std::stoul(c[1]);
  EXPECT_EQ(Win32FromErrno(error), win32);
  EXPECT_EQ(HresultFromErrno(error), HRESULT_FROM_WIN32(win32));
  EXPECT_EQ(Win32FromWriteErrno(error), c.fields.size() > 2 ? std::stoul(c[2]) : win32);
}

INSTANTIATE_TEST_SUITE_P(Table, ErrnoMapTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/errno_codes.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(ErrnoMapTest, DescriptionNamesTheContextAndTheReason) {
  TakeErrorDescription();
  EXPECT_EQ(HresultFromErrno(ENOENT, L"Cannot open '/x/ä.jpg'"),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  const std::wstring text = TakeErrorDescription();
  EXPECT_EQ(text.rfind(L"Cannot open '/x/ä.jpg': ", 0), 0u) << text;
  EXPECT_GT(text.size(), 26u);
  EXPECT_EQ(HresultFromErrno(0, L"nothing"), S_OK);
  EXPECT_TRUE(TakeErrorDescription().empty());
}

class MessageFormatTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(MessageFormatTest, Formats) {
  const CaseRow& c = GetParam();
  std::istringstream words(c[1]);
  std::vector<std::string> texts{std::istream_iterator<std::string>(words), {}};
  std::vector<std::wstring> wide(texts.size());  // the arguments only refer to their texts
  std::vector<FormatArg> args;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const std::string kind = texts[i].substr(0, 2), value = Unescape(texts[i].substr(2));
    wide[i] = FromUtf8(value);
    texts[i] = value;
    args.push_back(kind == "w:"   ? FormatArg(wide[i])
                   : kind == "p:" ? FormatArg(wide[i].c_str())
                   : kind == "n:" ? FormatArg(texts[i])
                   : kind == "i:" ? FormatArg(std::stoi(value))
                   : kind == "u:" ? FormatArg(static_cast<uint32_t>(std::stoul(value)))
                   : kind == "l:" ? FormatArg(static_cast<int64_t>(std::stoll(value)))
                   : kind == "c:" ? FormatArg(wide[i][0])
                                  : FormatArg(static_cast<const wchar_t*>(nullptr)));
  }
  const std::optional<std::wstring> expected =
      c[2] == "!" ? std::nullopt : std::optional(Wide(c[2]));
  EXPECT_EQ(FormatMessageText(Wide(c[0]), args), expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, MessageFormatTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/message_formats.tsv")),
                         [](const auto& i) { return i.param.name; });

class NumberText : public ::testing::TestWithParam<CaseRow> {};

TEST_P(NumberText, Formats) {
  const CaseRow& c = GetParam();
  auto format = LocaleFormat::ForLocale(c[0] == "grouped" ? "POSIX" : "C");
  ASSERT_NE(format, nullptr);
  const uint64_t value = std::stoull(c[1]);
  EXPECT_EQ(c[0] == "grouped" ? format->GroupedNumber(value) : format->ShortSize(value),
            Wide(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Platform, NumberText,
                         ::testing::ValuesIn(ReadCaseTable("cases/number_texts.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(LocaleFormatTest, FixedEnglishForPlainLocales) {
  auto format = LocaleFormat::ForLocale("C.UTF-8");
  ASSERT_NE(format, nullptr);
  EXPECT_TRUE(format->IsFixedEnglish());
  const SYSTEMTIME t{2024, 12, 3, 25, 0, 7, 0, 0};  // Wednesday 2024-12-25 00:07
  EXPECT_EQ(format->ShortDate(t), L"12/25/2024");
  EXPECT_EQ(format->LongDate(t), L"Wednesday, December 25, 2024");
  EXPECT_EQ(format->Time(t), L"12:07:00 AM");
  EXPECT_EQ(format->DayName(7, false), L"");
  EXPECT_EQ(format->MonthName(0, true), L"");
  EXPECT_EQ(LocaleFormat::ForLocale("xx_NOWHERE.UTF-8"), nullptr);
}

TEST(EnvironmentTest, ExpandsTheThreeForms) {
  setenv("LMK_ENV_A", "alpha", 1);
  unsetenv("LMK_ENV_UNSET");
  EXPECT_EQ(ExpandEnvironmentText(L"%LMK_ENV_A%|$LMK_ENV_A.|${LMK_ENV_A}x|100%|$|"
                                  L"%LMK_ENV_UNSET%|$LMK_ENV_UNSET"),
            L"alpha|alpha.|alphax|100%|$|%LMK_ENV_UNSET%|$LMK_ENV_UNSET");
}

TEST(SystemInfoTest, DomainFormJoinsHostAndUser) {
  std::wstring computer = ComputerName();
  std::wstring user = LogonUserName();
  ASSERT_FALSE(computer.empty());
  ASSERT_FALSE(user.empty());
  EXPECT_EQ(computer.find(L'.'), std::wstring::npos);
  EXPECT_EQ(DomainUserName(), computer + L"\\" + user);
}

class Digest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(Digest, OfFileAndBytes) {
  const CaseRow& c = GetParam();
  const std::vector<std::string> names = {"md5", "sha1", "sha256", "sha384", "sha512"};
  const auto algorithm =
      static_cast<HashAlgorithm>(std::find(names.begin(), names.end(), c[0]) - names.begin());
  std::string data;
  for (int i = std::stoi(c[2]); i > 0; --i) data += c[1];
  ScopedTempDir dir;
  WriteBytes(dir / "data.bin", data);
  std::wstring hex;
  ASSERT_EQ(HashFile((dir / "data.bin").wstring(), algorithm, &hex), S_OK);
  EXPECT_EQ(hex, Wide(c[3]));
  ASSERT_EQ(HashBytes(data, algorithm, &hex), S_OK);
  EXPECT_EQ(hex, Wide(c[3]));
}

INSTANTIATE_TEST_SUITE_P(Platform, Digest, ::testing::ValuesIn(ReadCaseTable("cases/digests.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(FileHashTest, MissingFile) {
  ScopedTempDir dir;
  std::wstring hex = L"stale";
  EXPECT_EQ(HashFile((dir / "none").wstring(), HashAlgorithm::kMd5, &hex),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_TRUE(hex.empty());
  EXPECT_EQ(HashFile(dir.path().wstring(), HashAlgorithm::kMd5, &hex),
            HRESULT_FROM_WIN32(ERROR_CANTREAD));
}

class LogFolderTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(LogFolderTest, ChoosesAndCreatesTheFolder) {
  ScopedTempDir dir;
  const std::string root = dir.path().string();
  auto expand = [&](const std::string& v) -> std::optional<std::string> {
    if (v == "(unset)") return std::nullopt;
    return v.starts_with('@') ? root + v.substr(1) : v;
  };
  ScopedEnv data("XDG_DATA_HOME", expand(GetParam()[0])), home("HOME", expand(GetParam()[1]));
  ScopedEnv tmp("TMPDIR", root + "/tmp");
  const std::wstring folder = LogFolderPath();
  EXPECT_EQ(folder, FromUtf8(*expand(GetParam()[2])));
  EXPECT_TRUE(GetParam()[2] == "@/tmp" || std::filesystem::is_directory(ToUtf8(folder)));
}

INSTANTIATE_TEST_SUITE_P(Folders, LogFolderTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/log_folders.tsv")),
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
