// The date and time conditions, run in a zone east of UTC with summer time so that every UTC
// to local step shows: file dates, date taken with its source bits, time of day on the fixed
// winter day, and time spans across midnight.
#include <gtest/gtest.h>

#include <string>

#include "condition_fixture.h"
#include "conditions/date_taken_condition.h"
#include "conditions/file_date_condition.h"
#include "conditions/time_taken_condition.h"
#include "conditions/time_taken_time_span_condition.h"

namespace lmk {
namespace {

using test::MakeRecord;
using test::Ticks;
using test::TimeOfDay;

class DateConditionTest : public ::testing::Test {
 protected:
  test::ScopedTimeZone zone_{test::kCentralEurope};
};

struct FileDateCase {
  const char* name;
  DWORD which;
  DWORD op;
  std::int64_t date;
  bool includeTime;
  std::int64_t fileUtc;
  HRESULT expected;
};

class FileDateTest : public DateConditionTest,
                     public ::testing::WithParamInterface<FileDateCase> {};

TEST_P(FileDateTest, Compares) {
  const FileDateCase& c = GetParam();
  CFileDateCondition condition;
  condition.Set(c.which, c.op, c.date, c.includeTime);
  const std::int64_t other = Ticks(2000, 1, 1);
  const auto record = MakeRecord({
      {L"File.CreationTimeFT", Variant::I8(c.which == 0 ? c.fileUtc : other)},
      {L"File.LastWriteTimeFT", Variant::I8(c.which == 1 ? c.fileUtc : other)},
      {L"File.LastAccessTimeFT", Variant::I8(c.which == 2 ? c.fileUtc : other)},
  });
  EXPECT_EQ(condition.Evaluate(record.Get()), c.expected);
}

const FileDateCase kFileDateCases[] = {
    // Truncated in UTC to midnight, then made local (+2 in May): 02:00, after the parameter.
    {"OnFailsBecauseTruncationPrecedesTheZone", 1, kDateOn, Ticks(2024, 5, 17), false,
     Ticks(2024, 5, 17, 10), S_FALSE},
    {"OnOrAfterTheDay", 1, kDateOnOrAfter, Ticks(2024, 5, 17), false, Ticks(2024, 5, 17, 10), S_OK},
    {"BeforeTheNextDay", 1, kDateBefore, Ticks(2024, 5, 18), false, Ticks(2024, 5, 17, 10), S_OK},
    // 23:30 UTC is 01:30 on the 18th locally, but the day is taken from the UTC value.
    {"LateUtcKeepsItsUtcDay", 0, kDateBefore, Ticks(2024, 5, 18), false, Ticks(2024, 5, 17, 23, 30),
     S_OK},
    {"ParameterTimeIsIgnoredWithoutIncludeTime", 2, kDateAfter, Ticks(2024, 5, 17, 23, 59), false,
     Ticks(2024, 5, 17, 10), S_OK},
    {"IncludeTimeExactSecondLocal", 1, kDateOn, Ticks(2024, 5, 17, 12, 0, 5), true,
     Ticks(2024, 5, 17, 10, 0, 5, 900), S_OK},
    {"IncludeTimeWinterOffset", 1, kDateOn, Ticks(2024, 1, 17, 11, 0, 5), true,
     Ticks(2024, 1, 17, 10, 0, 5), S_OK},
    {"IncludeTimeOneSecondLater", 1, kDateOnOrBefore, Ticks(2024, 5, 17, 12, 0, 4), true,
     Ticks(2024, 5, 17, 10, 0, 5), S_FALSE},
    {"UnknownDateChoiceIsFail", 3, kDateOn, Ticks(2024, 5, 17), false, Ticks(2024, 5, 17), E_FAIL},
    {"UnknownOperatorIsUnexpected", 1, 5, Ticks(2024, 5, 17), false, Ticks(2024, 5, 17),
     E_UNEXPECTED},
};
INSTANTIATE_TEST_SUITE_P(Cases, FileDateTest, ::testing::ValuesIn(kFileDateCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST_F(DateConditionTest, FileDateOfAnotherTypeIsUnexpected) {
  CFileDateCondition condition;
  condition.Set(CFileDateCondition::kModified, kDateOn, Ticks(2024, 5, 17), false);
  EXPECT_EQ(
      condition.Evaluate(MakeRecord({{L"File.LastWriteTimeFT", Variant::Date(45429.0)}}).Get()),
      E_UNEXPECTED);
  EXPECT_EQ(condition.Evaluate(MakeRecord({}).Get()), E_FAIL);
}

struct DateTakenCase {
  const char* name;
  DWORD flags;
  DWORD op;
  std::int64_t date;
  bool includeTime;
  std::int64_t taken;
  std::int64_t gps;
  std::int64_t lastWriteUtc;
  HRESULT expected;
};

class DateTakenTest : public DateConditionTest,
                      public ::testing::WithParamInterface<DateTakenCase> {};

TEST_P(DateTakenTest, Compares) {
  const DateTakenCase& c = GetParam();
  CDateTakenCondition condition;
  condition.Set(c.op, c.date, c.includeTime);
  condition.SetFlags(c.flags);
  const auto record = MakeRecord({
      {L"Meta.DateTakenFT", Variant::I8(c.taken)},
      {L"Meta.GPS.TimeStampFT", Variant::I8(c.gps)},
      {L"File.LastWriteTimeFT", Variant::I8(c.lastWriteUtc)},
  });
  EXPECT_EQ(condition.Evaluate(record.Get()), c.expected);
}

constexpr DWORD kGps = kUseGpsTimeFlag;
constexpr DWORD kFallback = kLastWriteFallbackFlag;

const DateTakenCase kDateTakenCases[] = {
    {"AnyTimeOfTheDay", 0, kDateOn, Ticks(2024, 5, 17), false, Ticks(2024, 5, 17, 23, 59, 59), 0, 0,
     S_OK},
    {"LocalTakenIsNotConverted", 0, kDateOn, Ticks(2024, 5, 17), false, Ticks(2024, 5, 17, 0, 30),
     0, 0, S_OK},
    {"IncludeTimeExactSecond", 0, kDateOn, Ticks(2024, 5, 17, 14, 30), true,
     Ticks(2024, 5, 17, 14, 30, 0, 500), 0, 0, S_OK},
    {"IncludeTimeOtherSecond", 0, kDateOn, Ticks(2024, 5, 17, 14, 30, 1), true,
     Ticks(2024, 5, 17, 14, 30), 0, 0, S_FALSE},
    {"Before", 0, kDateBefore, Ticks(2024, 5, 17), false, Ticks(2024, 5, 16, 23), 0, 0, S_OK},
    {"After", 0, kDateAfter, Ticks(2024, 5, 17), false, Ticks(2024, 5, 17, 23), 0, 0, S_FALSE},
    {"MissingDateDoesNotHold", 0, kDateBefore, Ticks(2024, 5, 17), false, 0, 0, Ticks(2020, 1, 1),
     S_FALSE},
    {"GpsSource", kGps, kDateOn, Ticks(2023, 8, 1), false, Ticks(2024, 5, 17), Ticks(2023, 8, 1, 9),
     0, S_OK},
    {"GpsMissingDoesNotFallBackToExif", kGps, kDateOn, Ticks(2024, 5, 17), false,
     Ticks(2024, 5, 17), 0, 0, S_FALSE},
    // The last-write fallback is truncated in UTC, then made local: midnight UTC is 02:00 in May.
    {"FallbackOnMissesByTheOffset", kFallback, kDateOn, Ticks(2024, 5, 17), false, 0, 0,
     Ticks(2024, 5, 17, 10), S_FALSE},
    {"FallbackOnOrAfter", kFallback, kDateOnOrAfter, Ticks(2024, 5, 17), false, 0, 0,
     Ticks(2024, 5, 17, 10), S_OK},
    {"FallbackWithTimeIsLocal", kFallback, kDateOn, Ticks(2024, 5, 17, 12), true, 0, 0,
     Ticks(2024, 5, 17, 10), S_OK},
    {"FallbackNotUsedWhenDated", kFallback, kDateOn, Ticks(2024, 5, 17), false,
     Ticks(2024, 5, 17, 8), 0, Ticks(1999, 1, 1), S_OK},
    {"GpsWithFallback", kGps | kFallback, kDateOnOrAfter, Ticks(2024, 5, 17), false,
     Ticks(2000, 1, 1), 0, Ticks(2024, 5, 17, 10), S_OK},
    {"UnknownOperator", 0, 9, Ticks(2024, 5, 17), false, Ticks(2024, 5, 17), 0, 0, E_UNEXPECTED},
};
INSTANTIATE_TEST_SUITE_P(Cases, DateTakenTest, ::testing::ValuesIn(kDateTakenCases),
                         [](const auto& i) { return std::string(i.param.name); });

struct TimeTakenCase {
  const char* name;
  DWORD flags;
  DWORD op;
  std::int64_t time;
  std::int64_t taken;
  std::int64_t lastWriteUtc;
  HRESULT expected;
};

class TimeTakenTest : public DateConditionTest,
                      public ::testing::WithParamInterface<TimeTakenCase> {};

TEST_P(TimeTakenTest, ComparesTheTimeOfDay) {
  const TimeTakenCase& c = GetParam();
  CTimeTakenCondition condition;
  condition.Set(c.op, c.time);
  condition.SetFlags(c.flags);
  const auto record = MakeRecord({
      {L"Meta.DateTakenFT", Variant::I8(c.taken)},
      {L"File.LastWriteTimeFT", Variant::I8(c.lastWriteUtc)},
  });
  EXPECT_EQ(condition.Evaluate(record.Get()), c.expected);
}

const TimeTakenCase kTimeTakenCases[] = {
    {"BeforeNoonOnAnyDay", 0, kDateBefore, TimeOfDay(12, 0), Ticks(2019, 7, 4, 11, 59, 59), 0,
     S_OK},
    {"SecondsCount", 0, kDateBefore, TimeOfDay(12, 0), Ticks(2019, 7, 4, 12, 0, 0), 0, S_FALSE},
    {"MillisecondsCleared", 0, kDateOn, TimeOfDay(14, 30, 15), Ticks(2024, 7, 1, 14, 30, 15, 250),
     0, S_OK},
    {"ParameterDateIgnored", 0, kDateOn, Ticks(2001, 2, 3, 14, 30, 15),
     Ticks(2024, 7, 1, 14, 30, 15), 0, S_OK},
    // 13:30 UTC in July is 15:30 locally, but the conversion happens on 5 February 1964, in
    // winter time: 14:30.
    {"FallbackUsesTheWinterOffset", kFallback, kDateOn, TimeOfDay(14, 30, 15), 0,
     Ticks(2024, 7, 1, 13, 30, 15), S_OK},
    {"MissingDoesNotHold", 0, kDateAfter, TimeOfDay(0, 0), 0, Ticks(2024, 7, 1), S_FALSE},
    {"UnknownOperator", 0, 5, TimeOfDay(0, 0), Ticks(2024, 7, 1), 0, E_UNEXPECTED},
};
INSTANTIATE_TEST_SUITE_P(Cases, TimeTakenTest, ::testing::ValuesIn(kTimeTakenCases),
                         [](const auto& i) { return std::string(i.param.name); });

struct SpanCase {
  const char* name;
  std::int64_t start;
  std::int64_t end;
  DWORD mode;
  std::int64_t taken;
  HRESULT expected;
};

class TimeSpanTest : public DateConditionTest, public ::testing::WithParamInterface<SpanCase> {};

TEST_P(TimeSpanTest, InsideOrOutside) {
  const SpanCase& c = GetParam();
  CTimeTakenTimeSpanCondition condition;
  condition.Set(c.start, c.end, c.mode);
  const auto record = MakeRecord({{L"Meta.DateTakenFT", Variant::I8(c.taken)}});
  EXPECT_EQ(condition.Evaluate(record.Get()), c.expected);
}

constexpr DWORD kIn = CTimeTakenTimeSpanCondition::kInside;
constexpr DWORD kOut = CTimeTakenTimeSpanCondition::kOutside;

const SpanCase kSpanCases[] = {
    {"NightSpanLateEvening", TimeOfDay(22, 0), TimeOfDay(6, 0), kIn, Ticks(2024, 3, 9, 23, 30),
     S_OK},
    {"NightSpanSmallHoursAreBeforeIt", TimeOfDay(22, 0), TimeOfDay(6, 0), kIn,
     Ticks(2024, 3, 9, 2, 0), S_FALSE},
    {"NightSpanSmallHoursOutside", TimeOfDay(22, 0), TimeOfDay(6, 0), kOut, Ticks(2024, 3, 9, 2, 0),
     S_OK},
    {"StartIncluded", TimeOfDay(22, 0), TimeOfDay(6, 0), kIn, Ticks(2024, 3, 9, 22, 0), S_OK},
    {"DaySpanEndIncluded", TimeOfDay(9, 0), TimeOfDay(17, 0), kIn, Ticks(2024, 3, 9, 17, 0), S_OK},
    {"DaySpanAfterEnd", TimeOfDay(9, 0), TimeOfDay(17, 0), kIn, Ticks(2024, 3, 9, 17, 0, 1),
     S_FALSE},
    {"DaySpanOutsideAfterEnd", TimeOfDay(9, 0), TimeOfDay(17, 0), kOut, Ticks(2024, 3, 9, 17, 0, 1),
     S_OK},
    {"StoredDatesOfStartAndEndIgnored", Ticks(2010, 1, 1, 9, 0), Ticks(2011, 6, 6, 17, 0), kIn,
     Ticks(2024, 3, 9, 12, 0), S_OK},
    {"EmptySpanHoldsOnlyAtItsInstant", TimeOfDay(9, 0), TimeOfDay(9, 0), kIn,
     Ticks(2024, 3, 9, 9, 0), S_OK},
    {"EmptySpanOtherwiseOutside", TimeOfDay(9, 0), TimeOfDay(9, 0), kIn, Ticks(2024, 3, 9, 9, 0, 1),
     S_FALSE},
    {"MissingDateDoesNotHold", TimeOfDay(0, 0), TimeOfDay(23, 59), kOut, 0, S_FALSE},
    {"UnknownMode", TimeOfDay(9, 0), TimeOfDay(17, 0), 2, Ticks(2024, 3, 9, 12, 0), E_UNEXPECTED},
};
INSTANTIATE_TEST_SUITE_P(Cases, TimeSpanTest, ::testing::ValuesIn(kSpanCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST_F(DateConditionTest, TimeSpanFallbackIsMadeLocalFirst) {
  CTimeTakenTimeSpanCondition condition;
  condition.Set(TimeOfDay(12, 0), TimeOfDay(13, 0), kIn);
  condition.SetFlags(kFallback);
  // 10:30 UTC in May is 12:30 locally.
  const auto record =
      MakeRecord({{L"Meta.DateTakenFT", Variant::I8(0)},
                  {L"File.LastWriteTimeFT", Variant::I8(Ticks(2024, 5, 2, 10, 30))}});
  EXPECT_EQ(condition.Evaluate(record.Get()), S_OK);
}

TEST_F(DateConditionTest, Sentences) {
  CDateTakenCondition taken;
  taken.Set(kDateOnOrAfter, Ticks(2024, 5, 17), false);
  EXPECT_EQ(taken.Description(), L"When the EXIF date taken is on or after 2024-05-17");
  taken.SetFlags(kGps | kFallback | kExceptionFlag);
  EXPECT_EQ(taken.Description(),
            L"Except when the GPS timestamp (or the last-modified date when none) is on or "
            L"after 2024-05-17");
  CTimeTakenTimeSpanCondition span;
  EXPECT_EQ(span.Description(),
            L"When the time of day of the EXIF date taken is inside 22:00:00 to 06:00:00");
}

}  // namespace
}  // namespace lmk
