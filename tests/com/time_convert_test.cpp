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
constexpr int64_t kDateZero = 109205;  // days from the FILETIME epoch to date 0 (1899-12-30)

// SYSTEMTIME's fields in its order; what is left out is zero.
struct Fields {
  WORD year, month, day_of_week, day, hour = 0, minute = 0, second = 0, ms = 0;
  SYSTEMTIME get() const { return {year, month, day_of_week, day, hour, minute, second, ms}; }
};

struct TimeCase {
  std::string name;
  int64_t ticks;  // 100 ns since 1601-01-01 UTC
  Fields fields;
  DATE date;  // days since 1899-12-30
};

// 1899-12-30 .. 1970-01-01 is 25569 days, .. 2000-02-29 is 36585, .. 2023-03-15 is 45000, and
// 9999-12-31 is day 2958465. Before date 0 the integer part counts days back while the fraction
// is still a positive time of day, so noon of 1899-12-29 is -1.5.
std::vector<TimeCase> Cases() {
  constexpr int64_t kNoon = 12 * 3600 * kTicksPerSecond;
  return {
      {"FileTimeEpoch", 0, {1601, 1, 1, 1, 0, 0, 0, 0}, -109205.0},
      {"DateEpoch", kDateZero * kTicksPerDay, {1899, 12, 6, 30, 0, 0, 0, 0}, 0.0},
      {"NegativeDateNoon", (kDateZero - 1) * kTicksPerDay + kNoon, {1899, 12, 5, 29, 12}, -1.5},
      {"UnixEpoch", (kDateZero + 25569) * kTicksPerDay, {1970, 1, 4, 1, 0, 0, 0, 0}, 25569.0},
      {"Date45000Noon", (kDateZero + 45000) * kTicksPerDay + kNoon, {2023, 3, 3, 15, 12}, 45000.5},
      {"LeapDay",
       (kDateZero + 36585) * kTicksPerDay + 23415 * kTicksPerSecond,
       {2000, 2, 2, 29, 6, 30, 15, 0},
       36585.0 + 23415.0 / 86400.0},
      {"LastSecondOfYear9999",
       (kDateZero + 2958465) * kTicksPerDay + 86399 * kTicksPerSecond,
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

TEST_P(TimeConversionTest, AllFourDirections) {
  const TimeCase& c = GetParam();
  const FILETIME ft = Int64ToFileTime(c.ticks);
  SYSTEMTIME st{};
  ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
  const SYSTEMTIME fields = c.fields.get();
  EXPECT_EQ(Describe(st), Describe(fields));
  FILETIME back{};
  ASSERT_TRUE(SystemTimeToFileTime(&fields, &back));
  EXPECT_EQ(FileTimeToInt64(back), c.ticks);
  DATE date = 12345;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_DOUBLE_EQ(date, c.date);
  st = {};
  ASSERT_TRUE(VariantTimeToSystemTime(c.date, &st));
  EXPECT_EQ(Describe(st), Describe(fields));
}

INSTANTIATE_TEST_SUITE_P(KnownInstants, TimeConversionTest, ::testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

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
  ASSERT_EQ(VariantTimeToSystemTime(GetParam().date, &st), GetParam().expected.has_value());
  if (GetParam().expected) {
    EXPECT_EQ(Describe(st), *GetParam().expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Dates, VariantTimeRoundingTest, ::testing::ValuesIn(RoundingCases()),
                         [](const auto& info) { return info.param.name; });

struct FieldsCase {
  std::string name;
  Fields fields;
  bool valid_file_time;
  bool valid_date;
};

std::vector<FieldsCase> FieldsCases() {
  return {
      {"Month13", {2023, 13, 0, 1}, false, false},
      {"February29InCommonYear", {2023, 2, 0, 29}, false, false},
      {"February29In1900", {1900, 2, 0, 29}, false, false},
      {"Hour24", {2023, 1, 0, 1, 24}, false, false},
      {"Second60", {2023, 1, 0, 1, 0, 0, 60}, false, false},
      {"Millisecond1000", {2023, 1, 0, 1, 0, 0, 0, 1000}, false, true},
      {"Year1600", {1600, 12, 0, 31}, false, true},
      {"Year99", {99, 12, 0, 31}, false, false},
      {"Year10000", {10000, 1, 0, 1}, true, false},
      {"DayOfWeekIsIgnored", {2023, 3, 6, 15}, true, true},
  };
}

class FieldsTest : public ::testing::TestWithParam<FieldsCase> {};

TEST_P(FieldsTest, Validated) {
  FILETIME ft{};
  DATE date = 0;
  SYSTEMTIME fields = GetParam().fields.get();
  EXPECT_EQ(SystemTimeToFileTime(&fields, &ft) != FALSE, GetParam().valid_file_time);
  EXPECT_EQ(SystemTimeToVariantTime(&fields, &date) != FALSE, GetParam().valid_date);
}

INSTANTIATE_TEST_SUITE_P(Validity, FieldsTest, ::testing::ValuesIn(FieldsCases()),
                         [](const auto& info) { return info.param.name; });

// Sets TZ for one test and puts the previous value back.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    if (const char* old = std::getenv("TZ")) old_ = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    old_ ? setenv("TZ", old_->c_str(), 1) : unsetenv("TZ");
    tzset();
  }

 private:
  std::optional<std::string> old_;
};

struct LocalCase {
  std::string name;
  const char* tz;
  Fields utc;
  Fields local;
};

// The offset in force at the instant is used, so a summer date is in summer time.
std::vector<LocalCase> LocalCases() {
  constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
  constexpr const char* kUsEastern = "EST5EDT,M3.2.0,M11.1.0";
  return {
      {"CentralEuropeWinter", kCentralEurope, {2023, 1, 0, 15, 12}, {2023, 1, 0, 15, 13}},
      {"CentralEuropeSummer", kCentralEurope, {2023, 7, 0, 15, 12}, {2023, 7, 0, 15, 14}},
      {"UsEasternWinterCrossesMidnight", kUsEastern, {2023, 1, 0, 15, 3}, {2023, 1, 0, 14, 22}},
      {"UsEasternSummer", kUsEastern, {2023, 7, 0, 15, 12}, {2023, 7, 0, 15, 8}},
      {"Utc", "UTC0", {2023, 7, 0, 15, 12}, {2023, 7, 0, 15, 12}},
  };
}

class LocalTimeTest : public ::testing::TestWithParam<LocalCase> {};

TEST_P(LocalTimeTest, ConvertsBothWays) {
  ScopedTimeZone zone(GetParam().tz);
  FILETIME utc{}, local{}, expected_local{}, back{};
  const SYSTEMTIME utc_fields = GetParam().utc.get();
  SYSTEMTIME local_fields = GetParam().local.get();
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

INSTANTIATE_TEST_SUITE_P(Zones, LocalTimeTest, ::testing::ValuesIn(LocalCases()),
                         [](const auto& info) { return info.param.name; });

TEST(FileTimeToLocalDate, OutOfRangeThrows) {
  ScopedTimeZone zone("UTC0");
  EXPECT_THROW(FileTimeToLocalDate(Int64ToFileTime(int64_t{0x7FFF000000000000})), ComError);
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

TEST_P(TextToDateTest, ParsesAndReadsBack) {
  DATE date = -7;
  EXPECT_EQ(TextToDate(GetParam().text, &date), GetParam().hr);
  if (FAILED(GetParam().hr)) return;
  EXPECT_DOUBLE_EQ(date, GetParam().date);
  std::wstring back;
  ASSERT_TRUE(DateToText(date, &back));
  DATE again = 0;
  ASSERT_EQ(TextToDate(back, &again), S_OK);
  EXPECT_DOUBLE_EQ(again, date);
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
