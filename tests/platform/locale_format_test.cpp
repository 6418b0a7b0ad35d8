// Short sizes, digit grouping and the fixed English formats of the C locale.
#include "platform/locale_format.h"

#include <gtest/gtest.h>

#include "platform/environment.h"
#include "platform/system_info.h"

namespace lmk {
namespace {

struct NumberCase {
  const char* name;
  bool grouped;
  uint64_t value;
  std::wstring text;
};

class NumberText : public ::testing::TestWithParam<NumberCase> {};

// Sizes with three significant digits, truncated; numbers grouped by thousands in English.
TEST_P(NumberText, Formats) {
  auto format = LocaleFormat::ForLocale(GetParam().grouped ? "POSIX" : "C");
  ASSERT_NE(format, nullptr);
  EXPECT_EQ(GetParam().grouped ? format->GroupedNumber(GetParam().value)
                               : format->ShortSize(GetParam().value),
            GetParam().text);
}

const NumberCase kNumbers[] = {
    {"Zero", false, 0, L"0 bytes"},
    {"JustBelowKilo", false, 1023, L"1023 bytes"},
    {"OneKilo", false, 1024, L"1.00 KB"},
    {"TwoDecimals", false, 1240, L"1.21 KB"},             // 1.2109 truncated
    {"OneDecimal", false, 12 * 1024 + 400, L"12.3 KB"},   // 12.39
    {"NoDecimals", false, 123 * 1024 + 1000, L"123 KB"},  // 123.98 truncated
    {"ThousandKiloIsMega", false, 1000 * 1024, L"0.97 MB"},
    {"TwelveMega", false, 12900000, L"12.3 MB"},  // 12.302 MB
    {"Giga", false, 5368709120ull, L"5.00 GB"},
    {"Exa", false, 0xFFFFFFFFFFFFFFFFull, L"15.9 EB"},
    {"Small", true, 999, L"999"},
    {"Thousand", true, 1000, L"1,000"},
    {"Max", true, 18446744073709551615ull, L"18,446,744,073,709,551,615"},
};

INSTANTIATE_TEST_SUITE_P(Platform, NumberText, ::testing::ValuesIn(kNumbers),
                         [](const auto& info) { return std::string(info.param.name); });

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

}  // namespace
}  // namespace lmk
