// FILETIME <-> SYSTEMTIME <-> automation DATE, local time under a fixed TZ, and dates as text,
// over the tables of tests/data/time_conversions.txt.
#include <gtest/gtest.h>

#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "com/com.h"
#include "support/data_table.h"
#include "support/scoped_env.h"

namespace lmk {
namespace {

constexpr int64_t kTicksPerDay = 864000000000;
constexpr int64_t kTicksPerSecond = 10000000;
constexpr int64_t kDateZero = 109205;  // days from the FILETIME epoch to date 0 (1899-12-30)

std::vector<test::NamedRow> Table(const char* kind) {
  return test::NamedRows("time_conversions.txt", kind, 5);
}

// "year month day-of-week day hour minute second ms" as a SYSTEMTIME.
SYSTEMTIME Fields(const std::string& text) {
  std::istringstream in(text);
  unsigned f[8] = {};
  for (unsigned& field : f) in >> field;
  return {static_cast<WORD>(f[0]), static_cast<WORD>(f[1]), static_cast<WORD>(f[2]),
          static_cast<WORD>(f[3]), static_cast<WORD>(f[4]), static_cast<WORD>(f[5]),
          static_cast<WORD>(f[6]), static_cast<WORD>(f[7])};
}

std::string Describe(const SYSTEMTIME& st) {
  char text[64];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u dow %u", st.wYear, st.wMonth,
                st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds, st.wDayOfWeek);
  return text;
}

const auto kName = [](const auto& info) { return info.param.name; };

class Instant : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(Instant, ConvertsAllFourDirections) {
  const int64_t ticks = std::stoll(GetParam().f[0]);
  const SYSTEMTIME fields = Fields(GetParam().f[1]);
  const DATE expected = std::stod(GetParam().f[2]);
  const FILETIME ft = Int64ToFileTime(ticks);
  SYSTEMTIME st{};
  ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
  EXPECT_EQ(Describe(st), Describe(fields));
  FILETIME back{};
  ASSERT_TRUE(SystemTimeToFileTime(&fields, &back));
  EXPECT_EQ(FileTimeToInt64(back), ticks);
  DATE date = 12345;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_DOUBLE_EQ(date, expected);
  st = {};
  ASSERT_TRUE(VariantTimeToSystemTime(expected, &st));
  EXPECT_EQ(Describe(st), Describe(fields));
}

INSTANTIATE_TEST_SUITE_P(Time, Instant, ::testing::ValuesIn(Table("instant")), kName);

class Rounding : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(Rounding, ToTheNearestSecond) {
  SYSTEMTIME st{};
  const std::string& expected = GetParam().f[1];
  ASSERT_EQ(VariantTimeToSystemTime(std::stod(GetParam().f[0]), &st), !expected.empty());
  if (!expected.empty()) {
    EXPECT_EQ(Describe(st), Describe(Fields(expected)));
  }
}

INSTANTIATE_TEST_SUITE_P(Time, Rounding, ::testing::ValuesIn(Table("rounding")), kName);

class Validity : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(Validity, OfFields) {
  FILETIME ft{};
  DATE date = 0;
  SYSTEMTIME fields = Fields(GetParam().f[0]);
  EXPECT_EQ(SystemTimeToFileTime(&fields, &ft) != FALSE, GetParam().f[1] == "1");
  EXPECT_EQ(SystemTimeToVariantTime(&fields, &date) != FALSE, GetParam().f[2] == "1");
}

INSTANTIATE_TEST_SUITE_P(Time, Validity, ::testing::ValuesIn(Table("fields")), kName);

class LocalTime : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(LocalTime, ConvertsBothWays) {
  test::ScopedTimeZone zone(GetParam().f[0].c_str());
  FILETIME utc{}, local{}, expected_local{}, back{};
  const SYSTEMTIME utc_fields = Fields(GetParam().f[1]);
  SYSTEMTIME local_fields = Fields(GetParam().f[2]);
  ASSERT_TRUE(SystemTimeToFileTime(&utc_fields, &utc));
  ASSERT_TRUE(SystemTimeToFileTime(&local_fields, &expected_local));
  ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
  EXPECT_EQ(FileTimeToInt64(local), FileTimeToInt64(expected_local));
  ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
  EXPECT_EQ(FileTimeToInt64(back), FileTimeToInt64(utc));
  DATE expected_date = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&local_fields, &expected_date));
  EXPECT_DOUBLE_EQ(FileTimeToLocalDate(utc), expected_date);
}

INSTANTIATE_TEST_SUITE_P(Time, LocalTime, ::testing::ValuesIn(Table("local")), kName);

class TextToDateTest : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(TextToDateTest, ParsesAndReadsBack) {
  DATE date = -7;
  const bool ok = GetParam().f[1] == "OK";
  EXPECT_EQ(TextToDate(test::Widen(GetParam().f[0]), &date), ok ? S_OK : DISP_E_TYPEMISMATCH);
  if (!ok) return;
  EXPECT_DOUBLE_EQ(date, std::stod(GetParam().f[2]));
  std::wstring back;
  ASSERT_TRUE(DateToText(date, &back));
  DATE again = 0;
  ASSERT_EQ(TextToDate(back, &again), S_OK);
  EXPECT_DOUBLE_EQ(again, date);
}

INSTANTIATE_TEST_SUITE_P(Time, TextToDateTest, ::testing::ValuesIn(Table("text")), kName);

TEST(TimeConversion, MillisecondsSurviveFileTimesButNotDates) {
  const FILETIME ft = Int64ToFileTime((45000 + kDateZero) * kTicksPerDay + 7500000);  // 0.75 s
  SYSTEMTIME st{};
  ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
  EXPECT_EQ(st.wMilliseconds, 750);
  DATE date = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_EQ(date, 45000.0);
  const FILETIME high_bit{0, 0x80000000u};
  EXPECT_FALSE(FileTimeToSystemTime(&high_bit, &st));
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const int64_t unix_seconds = (FileTimeToInt64(now) - kUnixEpochAsFileTime) / kTicksPerSecond;
  EXPECT_NEAR(static_cast<double>(unix_seconds), static_cast<double>(std::time(nullptr)), 2.0);
}

TEST(TimeConversion, OutOfRangeDatesFailCleanly) {
  test::ScopedTimeZone zone("UTC0");
  EXPECT_THROW(FileTimeToLocalDate(Int64ToFileTime(int64_t{0x7FFF000000000000})), ComError);
  std::wstring text = L"keep";
  EXPECT_FALSE(DateToText(3e6, &text));
  EXPECT_EQ(text, L"keep");
}

}  // namespace
}  // namespace lmk
