// The date and time formats of the date variables ({DateTaken:19}, {Now:WeekOfYear0}, ...).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

class LocaleFormat;

/// One date format: a numbered format 0..99 or a date part.
enum class DateSelector {
  kNumbered,
  kYear,
  kYear2,
  kMonth,
  kMonth0,
  kDayOfWeek,
  kDay,
  kDay0,
  kHour,
  kHour0,
  kHour12,
  kHour012,
  kMinute,
  kMinute0,
  kSecond,
  kSecond0,
  kMillisecond,
  kMillisecond0,
  kAmPmLower,
  kAmPmUpper,
  kDayOfYear,
  kDayOfYear0,
  kWeekOfYear,
  kWeekOfYear0
};

struct DateFormat {
  bool utc = false;
  DateSelector selector = DateSelector::kNumbered;
  int number = 0;  // for kNumbered
};

class DateFormatter {
 public:
  /// Reads what follows a date variable's name: "", "Utc", ":n", ":nn", ":Word", "Utc:Word",
  /// then the closing brace. Nothing when the text does not have that form.
  static std::optional<DateFormat> Parse(std::wstring_view rest);

  /// Appends the time in the format. The local formats (0..4, 13..17) come from `locale`.
  static void Format(const SYSTEMTIME& time, const DateFormat& format, const LocaleFormat& locale,
                     std::wstring* out);

  /// UTC FILETIME ticks to calendar fields, converted to local time unless `utc`.
  /// False when the time cannot be represented.
  static bool ToSystemTime(int64_t file_time, bool utc, SYSTEMTIME* time);

  /// Day of the week, 0 = Sunday, of a proleptic Gregorian date.
  static int Weekday(int year, int month, int day);
  /// The week number of a date, by the fixed formula of the date variables.
  static int WeekOfYear(int year, int month, int day);
  /// 1 for the first of January.
  static int DayOfYear(int year, int month, int day);
};

}  // namespace lmk
