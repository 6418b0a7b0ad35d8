// Dates, times, day and month names, digit grouping and short size texts in a locale's formats.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// A snapshot of one locale's formats. Everything is read from the locale when the object is
/// made, so formatting later costs no locale look-ups. The "C" and "POSIX" locales (a process
/// that never chose one) give fixed English formats: "3/7/2024", "Thursday, March 7, 2024",
/// "2:05:09 PM", "1,234,567". Objects are immutable and safe to share between threads.
class LocaleFormat {
 public:
  /// The formats of the process locale as it was the first time this was called.
  static const LocaleFormat& Process();

  /// The formats of a named locale ("de_DE.UTF-8"); nullptr when the system does not have it.
  static std::unique_ptr<LocaleFormat> ForLocale(const std::string& name);

  ~LocaleFormat();
  LocaleFormat(const LocaleFormat&) = delete;
  LocaleFormat& operator=(const LocaleFormat&) = delete;

  /// True for the fixed English formats of the "C" and "POSIX" locales.
  bool IsFixedEnglish() const;

  /// The date in the locale's short form ("3/7/2024").
  std::wstring ShortDate(const SYSTEMTIME& time) const;
  /// The date in the locale's long form, with the day's name ("Thursday, March 7, 2024").
  std::wstring LongDate(const SYSTEMTIME& time) const;
  /// The time of day in the locale's form ("2:05:09 PM").
  std::wstring Time(const SYSTEMTIME& time) const;

  /// The name of a day of the week, 0 = Sunday .. 6 = Saturday; empty outside that range.
  const std::wstring& DayName(int day_of_week, bool abbreviated) const;
  /// The name of a month, 1 = January .. 12 = December; empty outside that range.
  const std::wstring& MonthName(int month, bool abbreviated) const;

  /// A whole number with the locale's digit grouping ("1,234,567").
  std::wstring GroupedNumber(uint64_t value) const;

  /// A size as file managers show it: bytes below 1 KB ("999 bytes"), otherwise three
  /// significant digits, truncated, in binary units ("1.21 KB", "12.3 MB", "123 GB", and
  /// "0.99 MB" for 1,023.x KB), with the locale's decimal separator.
  std::wstring ShortSize(uint64_t bytes) const;

  struct Data;

 private:
  explicit LocaleFormat(std::unique_ptr<Data> data);
  std::unique_ptr<Data> data_;
};

}  // namespace lmk
