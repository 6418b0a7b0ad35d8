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

using test::kCaseName;
using test::MakeRecord;
using test::Ticks;
using test::TimeOfDay;

constexpr DWORD kGps = kUseGpsTimeFlag, kFallback = kLastWriteFallbackFlag;
constexpr DWORD kIn = CTimeTakenTimeSpanCondition::kInside;
constexpr DWORD kOut = CTimeTakenTimeSpanCondition::kOutside;
const std::int64_t kMay17 = Ticks(2024, 5, 17);

template <class P>
class ZonedTest : public ::testing::TestWithParam<P> {
 protected:
  test::ScopedTimeZone zone_{test::kCentralEurope};
};

struct FileDateCase {
  const char* name;
  DWORD which, op;
  std::int64_t date;
  bool includeTime;
  std::int64_t fileUtc;
  HRESULT expected;
};

const FileDateCase kFileDateCases[] = {
    // Truncated in UTC to midnight, then made local (+2 in May): 02:00, after the parameter.
    {"OnFailsBecauseTruncationPrecedesTheZone", 1, kDateOn, kMay17, false, Ticks(2024, 5, 17, 10),
     S_FALSE},
    {"OnOrAfterTheDay", 1, kDateOnOrAfter, kMay17, false, Ticks(2024, 5, 17, 10), S_OK},
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
    {"UnknownDateChoiceIsFail", 3, kDateOn, kMay17, false, kMay17, E_FAIL},
    {"UnknownOperatorIsUnexpected", 1, 5, kMay17, false, kMay17, E_UNEXPECTED},
};

using FileDateTest = ZonedTest<FileDateCase>;

TEST_P(FileDateTest, Compares) {
  const FileDateCase& c = GetParam();
  CFileDateCondition condition;
  condition.Set(c.which, c.op, c.date, c.includeTime);
  const auto value = [&](DWORD which) { return Variant::I8(c.which == which ? c.fileUtc : 0); };
  const auto record = MakeRecord({{L"File.CreationTimeFT", value(0)},
                                  {L"File.LastWriteTimeFT", value(1)},
                                  {L"File.LastAccessTimeFT", value(2)}});
  EXPECT_EQ(condition.Evaluate(record.Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, FileDateTest, ::testing::ValuesIn(kFileDateCases), kCaseName);

TEST(FileDateConditionTest, DateOfAnotherTypeIsUnexpected) {
  CFileDateCondition condition;
  condition.Set(CFileDateCondition::kModified, kDateOn, kMay17, false);
  EXPECT_EQ(
      condition.Evaluate(MakeRecord({{L"File.LastWriteTimeFT", Variant::Date(45429.0)}}).Get()),
      E_UNEXPECTED);
  EXPECT_EQ(condition.Evaluate(MakeRecord({}).Get()), E_FAIL);
}

struct DateTakenCase {
  const char* name;
  DWORD flags, op;
  std::int64_t date;
  bool includeTime;
  std::int64_t taken, gps, lastWriteUtc;
  HRESULT expected;
};

const DateTakenCase kDateTakenCases[] = {
    {"AnyTimeOfTheDay", 0, kDateOn, kMay17, false, Ticks(2024, 5, 17, 23, 59, 59), 0, 0, S_OK},
    {"LocalTakenIsNotConverted", 0, kDateOn, kMay17, false, Ticks(2024, 5, 17, 0, 30), 0, 0, S_OK},
    {"IncludeTimeExactSecond", 0, kDateOn, Ticks(2024, 5, 17, 14, 30), true,
     Ticks(2024, 5, 17, 14, 30, 0, 500), 0, 0, S_OK},
    {"After", 0, kDateAfter, kMay17, false, Ticks(2024, 5, 17, 23), 0, 0, S_FALSE},
    {"MissingDateDoesNotHold", 0, kDateBefore, kMay17, false, 0, 0, Ticks(2020, 1, 1), S_FALSE},
    {"GpsSource", kGps, kDateOn, Ticks(2023, 8, 1), false, kMay17, Ticks(2023, 8, 1, 9), 0, S_OK},
    // The last-write fallback is truncated in UTC, then made local: midnight UTC is 02:00 in May.
    {"FallbackOnMissesByTheOffset", kFallback, kDateOn, kMay17, false, 0, 0, Ticks(2024, 5, 17, 10),
     S_FALSE},
    {"FallbackWithTimeIsLocal", kFallback, kDateOn, Ticks(2024, 5, 17, 12), true, 0, 0,
     Ticks(2024, 5, 17, 10), S_OK},
    {"FallbackNotUsedWhenDated", kFallback, kDateOn, kMay17, false, Ticks(2024, 5, 17, 8), 0,
     Ticks(1999, 1, 1), S_OK},
    {"GpsWithFallback", kGps | kFallback, kDateOnOrAfter, kMay17, false, Ticks(2000, 1, 1), 0,
     Ticks(2024, 5, 17, 10), S_OK},
    {"UnknownOperator", 0, 9, kMay17, false, kMay17, 0, 0, E_UNEXPECTED},
};

using DateTakenTest = ZonedTest<DateTakenCase>;

TEST_P(DateTakenTest, Compares) {
  const DateTakenCase& c = GetParam();
  CDateTakenCondition condition;
  condition.Set(c.op, c.date, c.includeTime);
  condition.SetFlags(c.flags);
  const auto record = MakeRecord({{L"Meta.DateTakenFT", Variant::I8(c.taken)},
                                  {L"Meta.GPS.TimeStampFT", Variant::I8(c.gps)},
                                  {L"File.LastWriteTimeFT", Variant::I8(c.lastWriteUtc)}});
  EXPECT_EQ(condition.Evaluate(record.Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, DateTakenTest, ::testing::ValuesIn(kDateTakenCases), kCaseName);

// The time of day (TimeTaken: op against start) or the span from start to end (mode kIn/kOut).
struct TimeCase {
  const char* name;
  bool span;
  DWORD flags, opOrMode;
  std::int64_t start, end, taken, lastWriteUtc;
  HRESULT expected;
};

const std::int64_t kNight = TimeOfDay(22, 0), kMorning = TimeOfDay(6, 0), kNine = TimeOfDay(9, 0),
                   kFive = TimeOfDay(17, 0), kNoon = TimeOfDay(12, 0);

const TimeCase kTimeCases[] = {
    {"BeforeNoonOnAnyDay", false, 0, kDateBefore, kNoon, 0, Ticks(2019, 7, 4, 11, 59, 59), 0, S_OK},
    {"MillisecondsCleared", false, 0, kDateOn, TimeOfDay(14, 30, 15), 0,
     Ticks(2024, 7, 1, 14, 30, 15, 250), 0, S_OK},
    // 13:30 UTC in July is 15:30 locally, but the conversion happens on 5 February 1964, in
    // winter time: 14:30.
    {"FallbackUsesTheWinterOffset", false, kFallback, kDateOn, TimeOfDay(14, 30, 15), 0, 0,
     Ticks(2024, 7, 1, 13, 30, 15), S_OK},
    {"MissingDoesNotHold", false, 0, kDateAfter, 0, 0, 0, Ticks(2024, 7, 1), S_FALSE},
    {"UnknownOperator", false, 0, 5, 0, 0, Ticks(2024, 7, 1), 0, E_UNEXPECTED},
    {"NightSpanLateEvening", true, 0, kIn, kNight, kMorning, Ticks(2024, 3, 9, 23, 30), 0, S_OK},
    {"NightSpanSmallHoursAreBeforeIt", true, 0, kIn, kNight, kMorning, Ticks(2024, 3, 9, 2, 0), 0,
     S_FALSE},
    {"DaySpanEndIncluded", true, 0, kIn, kNine, kFive, Ticks(2024, 3, 9, 17, 0), 0, S_OK},
    {"DaySpanOutsideAfterEnd", true, 0, kOut, kNine, kFive, Ticks(2024, 3, 9, 17, 0, 1), 0, S_OK},
    {"DaySpanAfterEnd", true, 0, kIn, kNine, kFive, Ticks(2024, 3, 9, 17, 0, 1), 0, S_FALSE},
    {"StoredDatesOfStartAndEndIgnored", true, 0, kIn, Ticks(2010, 1, 1, 9, 0),
     Ticks(2011, 6, 6, 17, 0), Ticks(2024, 3, 9, 12, 0), 0, S_OK},
    {"EmptySpanHoldsOnlyAtItsInstant", true, 0, kIn, kNine, kNine, Ticks(2024, 3, 9, 9, 0), 0,
     S_OK},
    {"SpanMissingDateDoesNotHold", true, 0, kOut, 0, TimeOfDay(23, 59), 0, 0, S_FALSE},
    {"UnknownMode", true, 0, 2, kNine, kFive, Ticks(2024, 3, 9, 12, 0), 0, E_UNEXPECTED},
    // 10:30 UTC in May is 12:30 locally.
    {"SpanFallbackIsMadeLocalFirst", true, kFallback, kIn, kNoon, TimeOfDay(13, 0), 0,
     Ticks(2024, 5, 2, 10, 30), S_OK},
};

using TimeTest = ZonedTest<TimeCase>;

TEST_P(TimeTest, ComparesTheTimeOfDay) {
  const TimeCase& c = GetParam();
  CTimeTakenCondition time;
  CTimeTakenTimeSpanCondition span;
  time.Set(c.opOrMode, c.start);
  span.Set(c.start, c.end, c.opOrMode);
  time.SetFlags(c.flags);
  span.SetFlags(c.flags);
  const auto record = MakeRecord({{L"Meta.DateTakenFT", Variant::I8(c.taken)},
                                  {L"File.LastWriteTimeFT", Variant::I8(c.lastWriteUtc)}});
  EXPECT_EQ((c.span ? static_cast<const CCondition&>(span) : time).Evaluate(record.Get()),
            c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, TimeTest, ::testing::ValuesIn(kTimeCases), kCaseName);

TEST(DateConditionTest, Sentences) {
  CDateTakenCondition taken;
  taken.Set(kDateOnOrAfter, kMay17, false);
  EXPECT_EQ(taken.Description(), L"When the EXIF date taken is on or after 2024-05-17");
  taken.SetFlags(kGps | kFallback | kExceptionFlag);
  EXPECT_EQ(taken.Description(),
            L"Except when the GPS timestamp (or the last-modified date when none) is on or "
            L"after 2024-05-17");
  EXPECT_EQ(CTimeTakenTimeSpanCondition().Description(),
            L"When the time of day of the EXIF date taken is inside 22:00:00 to 06:00:00");
}

}  // namespace
}  // namespace lmk
