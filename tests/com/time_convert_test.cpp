// FILETIME <-> SYSTEMTIME <-> automation DATE, local time under a fixed TZ, and dates as text.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "com/com.h"

namespace lmk {
namespace {

constexpr int64_t kTicksPerDay = 864000000000;
constexpr int64_t kTicksPerSecond = 10000000;

struct TimeCase {
  std::string name;
  int64_t ticks;      // 100 ns since 1601-01-01 UTC
  SYSTEMTIME fields;  // wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds
  DATE date;          // days since 1899-12-30
};

// Day counts used below: 1601-01-01 .. 1899-12-30 is 109205 days (299 years of 365 days plus
// 72 leap days, minus Dec 31); 1899-12-30 .. 1970-01-01 is 25569 days; 1899-12-30 ..
// 2023-03-15 is 45000 days; 1899-12-30 .. 2000-01-01 is 36526 days; 9999-12-31 is day 2958465.
std::vector<TimeCase> Cases() {
  return {
      // Tick 0 is the FILETIME epoch, a Monday; as a date it lies 109205 days before 1899-12-30.
      {"FileTimeEpoch", 0, {1601, 1, 1, 1, 0, 0, 0, 0}, -109205.0},
      // Date 0 is 109205 whole days after the FILETIME epoch; a Saturday.
      {"DateEpoch", 109205 * kTicksPerDay, {1899, 12, 6, 30, 0, 0, 0, 0}, 0.0},
      // One day and a half before date 0: day -1 (a Friday) at noon; the integer part counts
      // days back, the fraction is still a positive time of day, so -1 - 0.5.
      {"NegativeDateNoon",
       109204 * kTicksPerDay + 12 * 3600 * kTicksPerSecond,
       {1899, 12, 5, 29, 12, 0, 0, 0},
       -1.5},
      // The Unix epoch, a Thursday: 25569 days after date 0 and 134774 after tick 0.
      {"UnixEpoch", 134774 * kTicksPerDay, {1970, 1, 4, 1, 0, 0, 0, 0}, 25569.0},
      // Date 45000 (a Wednesday) at noon: 45000 + 109205 days after tick 0, plus 12 hours.
      {"Date45000Noon",
       (45000 + 109205) * kTicksPerDay + 12 * 3600 * kTicksPerSecond,
       {2023, 3, 3, 15, 12, 0, 0, 0},
       45000.5},
      // A leap day: 2000-02-29 is 36526 + 31 + 28 = 36585 days after date 0, a Tuesday;
      // 06:30:15 is 23415 seconds into the day.
      {"LeapDay",
       (36585 + 109205) * kTicksPerDay + 23415 * kTicksPerSecond,
       {2000, 2, 2, 29, 6, 30, 15, 0},
       36585.0 + 23415.0 / 86400.0},
      // The last second automation dates can hold: day 2958465 (a Friday), 86399 seconds in.
      {"LastSecondOfYear9999",
       (2958465 + 109205) * kTicksPerDay + 86399 * kTicksPerSecond,
       {9999, 12, 5, 31, 23, 59, 59, 0},
       2958465.0 + 86399.0 / 86400.0},
  };
}

std::string Describe(const SYSTEMTIME& st) {
  char text[64];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u dow %u", st.wYear, st.wMonth,
                st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds, st.wDayOfWeek);
  return text;
}

class TimeConversionTest : public ::testing::TestWithParam<TimeCase> {};

TEST_P(TimeConversionTest, FileTimeToSystemTime) {
  const FILETIME ft = Int64ToFileTime(GetParam().ticks);
  SYSTEMTIME st{};
  ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
  EXPECT_EQ(Describe(st), Describe(GetParam().fields));
}

TEST_P(TimeConversionTest, SystemTimeToFileTime) {
  FILETIME ft{};
  ASSERT_TRUE(SystemTimeToFileTime(&GetParam().fields, &ft));
  EXPECT_EQ(FileTimeToInt64(ft), GetParam().ticks);
}

TEST_P(TimeConversionTest, SystemTimeToVariantTime) {
  SYSTEMTIME st = GetParam().fields;
  DATE date = 12345;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_DOUBLE_EQ(date, GetParam().date);
}

TEST_P(TimeConversionTest, VariantTimeToSystemTime) {
  SYSTEMTIME st{};
  ASSERT_TRUE(VariantTimeToSystemTime(GetParam().date, &st));
  EXPECT_EQ(Describe(st), Describe(GetParam().fields));
}

INSTANTIATE_TEST_SUITE_P(KnownInstants, TimeConversionTest, ::testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

TEST(TimeConversion, MillisecondsSurviveFileTimesButNotDates) {
  const FILETIME ft = Int64ToFileTime((45000 + 109205) * kTicksPerDay + 7500000);  // 0.75 s
  SYSTEMTIME st{};
  ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
  EXPECT_EQ(st.wMilliseconds, 750);
  DATE date = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_EQ(date, 45000.0);  // milliseconds ignored
}

struct RoundingCase {
  std::string name;
  DATE date;
  std::optional<std::string> expected;  // nullopt: out of range
};

std::vector<RoundingCase> RoundingCases() {
  return {
      {"JustBelowHalfSecondRoundsDown", 45000.5 + 0.4 / 86400, "2023-03-15 12:00:00.000 dow 3"},
      {"JustAboveHalfSecondRoundsUp", 45000.5 + 0.6 / 86400, "2023-03-15 12:00:01.000 dow 3"},
      {"RoundsIntoNextDay", 45000.0 + 86399.6 / 86400, "2023-03-16 00:00:00.000 dow 4"},
      {"NegativeRoundsIntoDateZero", -1.9999999999, "1899-12-30 00:00:00.000 dow 6"},
      {"NegativeHalfIsNoonOfDayZero", -0.5, "1899-12-30 12:00:00.000 dow 6"},
      {"FirstDayOfYear100", -657434.0, "0100-01-01 00:00:00.000 dow 5"},
      {"BeforeYear100", -657435.0, std::nullopt},
      {"AfterYear9999", 2958466.0, std::nullopt},
      {"RoundsPastYear9999", 2958465.9999999999, std::nullopt},
  };
}

class VariantTimeRoundingTest : public ::testing::TestWithParam<RoundingCase> {};

TEST_P(VariantTimeRoundingTest, RoundsToNearestSecond) {
  SYSTEMTIME st{};
  const bool ok = VariantTimeToSystemTime(GetParam().date, &st);
  ASSERT_EQ(ok, GetParam().expected.has_value());
  if (ok) {
    EXPECT_EQ(Describe(st), *GetParam().expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Dates, VariantTimeRoundingTest, ::testing::ValuesIn(RoundingCases()),
                         [](const auto& info) { return info.param.name; });

struct InvalidFieldsCase {
  std::string name;
  SYSTEMTIME fields;
  bool valid_file_time;
  bool valid_date;
};

std::vector<InvalidFieldsCase> InvalidFieldsCases() {
  return {
      {"Month13", {2023, 13, 0, 1, 0, 0, 0, 0}, false, false},
      {"February29InCommonYear", {2023, 2, 0, 29, 0, 0, 0, 0}, false, false},
      {"February29In1900", {1900, 2, 0, 29, 0, 0, 0, 0}, false, false},
      {"Hour24", {2023, 1, 0, 1, 24, 0, 0, 0}, false, false},
      {"Second60", {2023, 1, 0, 1, 0, 0, 60, 0}, false, false},
      {"Millisecond1000", {2023, 1, 0, 1, 0, 0, 0, 1000}, false, true},
      {"Year1600", {1600, 12, 0, 31, 0, 0, 0, 0}, false, true},
      {"Year99", {99, 12, 0, 31, 0, 0, 0, 0}, false, false},
      {"Year10000", {10000, 1, 0, 1, 0, 0, 0, 0}, true, false},
      {"DayOfWeekIsIgnored", {2023, 3, 6, 15, 0, 0, 0, 0}, true, true},
  };
}

class InvalidFieldsTest : public ::testing::TestWithParam<InvalidFieldsCase> {};

TEST_P(InvalidFieldsTest, Validated) {
  SYSTEMTIME st = GetParam().fields;
  FILETIME ft{};
  DATE date = 0;
  EXPECT_EQ(SystemTimeToFileTime(&st, &ft) != FALSE, GetParam().valid_file_time);
  EXPECT_EQ(SystemTimeToVariantTime(&st, &date) != FALSE, GetParam().valid_date);
}

INSTANTIATE_TEST_SUITE_P(Fields, InvalidFieldsTest, ::testing::ValuesIn(InvalidFieldsCases()),
                         [](const auto& info) { return info.param.name; });

TEST(TimeConversion, FileTimeWithHighBitIsRejected) {
  FILETIME ft{0, 0x80000000u};
  SYSTEMTIME st{};
  EXPECT_FALSE(FileTimeToSystemTime(&ft, &st));
}

TEST(TimeConversion, Int64RoundTripKeepsBothHalves) {
  const FILETIME ft = Int64ToFileTime(0x0123456789ABCDEF);
  EXPECT_EQ(ft.dwHighDateTime, 0x01234567u);
  EXPECT_EQ(ft.dwLowDateTime, 0x89ABCDEFu);
  EXPECT_EQ(FileTimeToInt64(ft), 0x0123456789ABCDEF);
}

TEST(TimeConversion, SystemTimeAgreesWithClock) {
  FILETIME ft{};
  GetSystemTimeAsFileTime(&ft);
  const int64_t unix_seconds = (FileTimeToInt64(ft) - kUnixEpochAsFileTime) / kTicksPerSecond;
  EXPECT_NEAR(static_cast<double>(unix_seconds), static_cast<double>(std::time(nullptr)), 2.0);
}

// Sets TZ for one test and puts the previous value back.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    if (const char* old = std::getenv("TZ")) old_ = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (old_) {
      setenv("TZ", old_->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  std::optional<std::string> old_;
};

struct LocalCase {
  std::string name;
  const char* tz;
  SYSTEMTIME utc;
  SYSTEMTIME local;
};

std::vector<LocalCase> LocalCases() {
  constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
  constexpr const char* kUsEastern = "EST5EDT,M3.2.0,M11.1.0";
  return {
      {"CentralEuropeWinter",
       kCentralEurope,
       {2023, 1, 0, 15, 12, 0, 0, 0},
       {2023, 1, 0, 15, 13, 0, 0, 0}},
      // The offset in force at the instant is used, so a summer date is in summer time.
      {"CentralEuropeSummer",
       kCentralEurope,
       {2023, 7, 0, 15, 12, 0, 0, 0},
       {2023, 7, 0, 15, 14, 0, 0, 0}},
      {"UsEasternWinterCrossesMidnight",
       kUsEastern,
       {2023, 1, 0, 15, 3, 0, 0, 0},
       {2023, 1, 0, 14, 22, 0, 0, 0}},
      {"UsEasternSummer", kUsEastern, {2023, 7, 0, 15, 12, 0, 0, 0}, {2023, 7, 0, 15, 8, 0, 0, 0}},
      {"Utc", "UTC0", {2023, 7, 0, 15, 12, 0, 0, 0}, {2023, 7, 0, 15, 12, 0, 0, 0}},
  };
}

class LocalTimeTest : public ::testing::TestWithParam<LocalCase> {};

TEST_P(LocalTimeTest, ConvertsBothWays) {
  ScopedTimeZone zone(GetParam().tz);
  FILETIME utc{}, local{}, expected_local{}, back{};
  ASSERT_TRUE(SystemTimeToFileTime(&GetParam().utc, &utc));
  ASSERT_TRUE(SystemTimeToFileTime(&GetParam().local, &expected_local));
  ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
  EXPECT_EQ(FileTimeToInt64(local), FileTimeToInt64(expected_local));
  ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
  EXPECT_EQ(FileTimeToInt64(back), FileTimeToInt64(utc));

  SYSTEMTIME local_fields = GetParam().local;
  DATE expected_date = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&local_fields, &expected_date));
  EXPECT_DOUBLE_EQ(FileTimeToLocalDate(utc), expected_date);
}

INSTANTIATE_TEST_SUITE_P(Zones, LocalTimeTest, ::testing::ValuesIn(LocalCases()),
                         [](const auto& info) { return info.param.name; });

TEST(FileTimeToLocalDate, SummerNoonInCentralEurope) {
  ScopedTimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  // 2023-07-15 is date 45000 + 16 + 30 + 31 + 30 + 15 = 45122; 12:00 UTC is 14:00 local.
  SYSTEMTIME utc{2023, 7, 0, 15, 12, 0, 0, 0};
  FILETIME ft{};
  ASSERT_TRUE(SystemTimeToFileTime(&utc, &ft));
  EXPECT_DOUBLE_EQ(FileTimeToLocalDate(ft), 45122.0 + 14.0 / 24.0);
}

TEST(FileTimeToLocalDate, OutOfRangeThrows) {
  ScopedTimeZone zone("UTC0");
  const FILETIME year_30000 = Int64ToFileTime(int64_t{0x7FFF000000000000});
  EXPECT_THROW(FileTimeToLocalDate(year_30000), ComError);
}

struct TextCase {
  std::string name;
  std::wstring text;
  HRESULT hr;
  DATE date;
};

std::vector<TextCase> TextCases() {
  return {
      {"DateAndTime", L"2023-03-15 12:00:00", S_OK, 45000.5},
      {"IsoSeparator", L"2023-03-15T18:00:00", S_OK, 45000.75},
      {"DateOnly", L"2023-03-15", S_OK, 45000.0},
      {"WithoutSeconds", L"2023-03-15 06:00", S_OK, 45000.25},
      {"SpacesAround", L"  2023-03-15  ", S_OK, 45000.0},
      {"NegativeDate", L"1899-12-29 12:00:00", S_OK, -1.5},
      {"TwoDigitYear", L"23-03-15", DISP_E_TYPEMISMATCH, 0},
      {"SlashSeparators", L"2023/03/15", DISP_E_TYPEMISMATCH, 0},
      {"TrailingText", L"2023-03-15 12:00:00 UTC", DISP_E_TYPEMISMATCH, 0},
      {"Minute60", L"2023-03-15 12:60:00", DISP_E_TYPEMISMATCH, 0},
      {"Empty", L"", DISP_E_TYPEMISMATCH, 0},
  };
}

class TextToDateTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(TextToDateTest, Parses) {
  DATE date = -7;
  EXPECT_EQ(TextToDate(GetParam().text, &date), GetParam().hr);
  if (SUCCEEDED(GetParam().hr)) {
    EXPECT_DOUBLE_EQ(date, GetParam().date);
    std::wstring back;
    ASSERT_TRUE(DateToText(date, &back));
    DATE again = 0;
    ASSERT_EQ(TextToDate(back, &again), S_OK);
    EXPECT_DOUBLE_EQ(again, date);
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, TextToDateTest, ::testing::ValuesIn(TextCases()),
                         [](const auto& info) { return info.param.name; });

TEST(DateToText, OutOfRangeLeavesTextAlone) {
  std::wstring text = L"keep";
  EXPECT_FALSE(DateToText(3e6, &text));
  EXPECT_EQ(text, L"keep");
}

}  // namespace
}  // namespace lmk
