// Taking FTP addresses apart, masking their passwords and collapsing their separators.
#include "platform/ftp_address.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/internet_error.h"

namespace lmk {
namespace {

constexpr HRESULT kInvalid = HRESULT_FROM_WIN32(internet_error::kInvalidUrl);

struct CrackCase {
  std::string name;
  std::wstring url;
  HRESULT hr;
  std::wstring host{};
  unsigned port = 0;
  std::wstring user{};
  std::wstring password{};
  std::wstring path{};
};

class CrackTest : public ::testing::TestWithParam<CrackCase> {};

TEST_P(CrackTest, Parts) {
  const CrackCase& c = GetParam();
  FtpAddress address;
  ASSERT_EQ(CrackFtpAddress(c.url, &address), c.hr);
  if (FAILED(c.hr)) return;
  EXPECT_EQ(address.host, c.host);
  EXPECT_EQ(address.port, c.port);
  EXPECT_EQ(address.user, c.user);
  EXPECT_EQ(address.password, c.password);
  EXPECT_EQ(address.path, c.path);
}

INSTANTIATE_TEST_SUITE_P(
    FtpAddress, CrackTest,
    ::testing::ValuesIn(std::vector<CrackCase>{
        {"NoPortIs21", L"ftp://host/a", S_OK, L"host", 21, L"", L"", L"/a"},
        {"SftpIs22", L"SFTP://host", S_OK, L"host", 22, L"", L"", L""},
        {"EscapedCredentials", L"ftps://u%3Ax:p%40s%3Aw%2Fd@h:2121/a%20b", S_OK, L"h", 2121, L"u:x",
         L"p@s:w/d", L"/a b"},
        {"ColonInPassword", L"ftp://u:a:b@h/", S_OK, L"h", 21, L"u", L"a:b", L"/"},
        {"Ipv6", L"ftp://[::1]:990/", S_OK, L"[::1]", 990, L"", L"", L"/"},
        {"RawAtInPassword", L"ftp://u:p@ss@h/", kInvalid},
        {"BrokenEscape", L"ftp://h/a%2", kInvalid},
        {"PortTooLarge", L"ftp://h:65536/", kInvalid},
        {"NoHost", L"ftp://u:p@/a", kInvalid},
        {"LongPassword", L"ftp://u:" + std::wstring(129, L'p') + L"@h/", kInvalid},
        {"OtherScheme", L"http://h/", HRESULT_FROM_WIN32(internet_error::kUnrecognizedScheme)},
    }),
    [](const auto& info) { return info.param.name; });

struct TextCase {
  std::string name;
  std::wstring in;
  std::wstring out;
};

class MaskTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(MaskTest, HidesOnlyThePassword) {
  EXPECT_EQ(MaskFtpPassword(GetParam().in), GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(FtpAddress, MaskTest,
                         ::testing::ValuesIn(std::vector<TextCase>{
                             {"Template", L"ftp://u:p%40ss@h/{DateTaken:Year}/x",
                              L"ftp://u:XXXX@h/{DateTaken:Year}/x"},
                             {"SlashAfterHostOnly", L"ftp://u:pw@h:21", L"ftp://u:XXXX@h:21"},
                             {"NoPassword", L"ftp://u@h/a", L"ftp://u@h/a"},
                             {"MalformedWithAt", L"ftp://u:p@ss@h/", L"(a malformed address)"},
                             {"NotAnAddress", L"pictures", L"pictures"},
                         }),
                         [](const auto& info) { return info.param.name; });

class NormalizeTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(NormalizeTest, CollapsesSeparators) {
  EXPECT_EQ(NormalizeFtpSeparators(GetParam().in), GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(FtpAddress, NormalizeTest,
                         ::testing::ValuesIn(std::vector<TextCase>{
                             {"Mixed", L"ftp://h/a//b\\/\\c/x.jpg", L"ftp://h/a/b/c/x.jpg"},
                             {"DotNames", L"ftp://h/a/./b/../c", L"ftp://h/a/c"},
                             {"NeverAboveTheHost", L"ftp://u:p@h/../../x", L"ftp://u:p@h/x"},
                             {"BackslashAfterHost", L"ftp://h\\a", L"ftp://h/a"},
                         }),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
