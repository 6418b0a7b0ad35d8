// Date and time formats: numbered formats, date parts and the week number.
#include "templates/date_formatter.h"

#include <array>
#include <cwctype>

#include "com/time_convert.h"
#include "platform/locale_format.h"
#include "templates/value_formatter.h"

namespace lmk {
namespace {

struct Word {
  std::wstring_view name;
  DateSelector selector;
};

// Compared without regard to case; "ampm" itself is told apart before this table is used.
constexpr std::array<Word, 23> kWords = {{
    {L"Year", DateSelector::kYear},
    {L"Year2", DateSelector::kYear2},
    {L"Month", DateSelector::kMonth},
    {L"Month0", DateSelector::kMonth0},
    {L"DayOfWeek", DateSelector::kDayOfWeek},
    {L"Day", DateSelector::kDay},
    {L"Day0", DateSelector::kDay0},
    {L"Hour", DateSelector::kHour},
    {L"Hour0", DateSelector::kHour0},
    {L"Hour12", DateSelector::kHour12},
    {L"Hour012", DateSelector::kHour012},
    {L"Minute", DateSelector::kMinute},
    {L"Minute0", DateSelector::kMinute0},
    {L"Second", DateSelector::kSecond},
    {L"Second0", DateSelector::kSecond0},
    {L"Millisecond", DateSelector::kMillisecond},
    {L"Millisecond0", DateSelector::kMillisecond0},
    {L"AMPM", DateSelector::kAmPmUpper},
    {L"DayOfYear", DateSelector::kDayOfYear},
    {L"DayOfYear0", DateSelector::kDayOfYear0},
    {L"WeekOfYear", DateSelector::kWeekOfYear},
    {L"WeekOfYear0", DateSelector::kWeekOfYear0},
    {L"ampm", DateSelector::kAmPmLower},
}};

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    wchar_t x = a[i], y = b[i];
    if (x >= L'A' && x <= L'Z') x = static_cast<wchar_t>(x + 32);
    if (y >= L'A' && y <= L'Z') y = static_cast<wchar_t>(y + 32);
    if (x != y) return false;
  }
  return true;
}

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

constexpr const wchar_t* kMonthAbbreviations[12] = {L"JAN", L"FEB", L"MAR", L"APR", L"MAY", L"JUN",
                                                    L"JUL", L"AUG", L"SEP", L"OCT", L"NOV", L"DEC"};

}  // namespace

std::optional<DateFormat> DateFormatter::Parse(std::wstring_view rest) {
  DateFormat format;
  if (rest.empty() || rest.back() != L'}') return std::nullopt;
  rest.remove_suffix(1);
  if (rest.size() >= 3 && EqualsNoCase(rest.substr(0, 3), L"Utc")) {
    format.utc = true;
    rest.remove_prefix(3);
  }
  if (rest.empty()) return format;
  if (rest[0] != L':') return std::nullopt;
  rest.remove_prefix(1);
  if ((rest.size() == 1 || rest.size() == 2) && IsDigit(rest[0]) &&
      (rest.size() == 1 || IsDigit(rest[1]))) {
    format.number = rest[0] - L'0';
    if (rest.size() == 2) format.number = format.number * 10 + (rest[1] - L'0');
    return format;
  }
  // "ampm" in lower case gives lower-case text; every other spelling of it the upper-case one.
  if (rest == L"ampm") {
    format.selector = DateSelector::kAmPmLower;
    return format;
  }
  for (const Word& word : kWords) {
    if (word.selector != DateSelector::kAmPmLower && EqualsNoCase(rest, word.name)) {
      format.selector = word.selector;
      return format;
    }
  }
  return std::nullopt;
}

bool DateFormatter::ToSystemTime(int64_t file_time, bool utc, SYSTEMTIME* time) {
  FILETIME ft = Int64ToFileTime(file_time);
  if (!utc) {
    FILETIME local{};
    if (!FileTimeToLocalFileTime(&ft, &local)) return false;
    ft = local;
  }
  return FileTimeToSystemTime(&ft, time) != FALSE;
}

int DateFormatter::Weekday(int year, int month, int day) {
  // Sakamoto's method on the proleptic Gregorian calendar.
  static constexpr int kOffsets[12] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
  if (month < 1 || month > 12) return 0;
  if (month < 3) year -= 1;
  int w = (year + year / 4 - year / 100 + year / 400 + kOffsets[month - 1] + day) % 7;
  return w < 0 ? w + 7 : w;
}

int DateFormatter::WeekOfYear(int year, int month, int day) {
  auto wd = [](int y, int m, int d) { return Weekday(y, m, d); };
  int dow = wd(year, month, day);
  int j = wd(year, 1, 1);
  int m = month;
  int d = day;
  int next_new_year = wd(year + 1, 1, 1);
  if (month == 1 && 3 < j && j < 8 - day) {
    // The first days of January before the first Thursday belong to last year's last week.
    dow = j - 1;
    j = wd(year - 1, 1, 1);
    m = 12;
    d = 31;
  } else if (month == 12 && 31 - day < next_new_year && next_new_year < 4) {
    return 1;
  }
  // The leading term deliberately looks at this year's first of January in both cases.
  return (wd(year, 1, 1) < 4 ? -3 : -4) + ((2 * m - dow + j + d + 3) * 36) / 256 + 4 * m;
}

int DateFormatter::DayOfYear(int year, int month, int day) {
  static constexpr int kBefore[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  if (month < 1 || month > 12) return day;
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return kBefore[month - 1] + day + (leap && month > 2 ? 1 : 0);
}

void DateFormatter::Format(const SYSTEMTIME& t, const DateFormat& format,
                           const LocaleFormat& locale, std::wstring* out) {
  const int y = t.wYear, mo = t.wMonth, d = t.wDay, h = t.wHour, mi = t.wMinute, s = t.wSecond,
            ms = t.wMilliseconds;
  auto num = [out](int64_t value, int width) { ValueFormatter::AppendDecimal(out, value, width); };
  switch (format.selector) {
    case DateSelector::kNumbered:
      break;
    case DateSelector::kYear:
      return num(y, 4);
    case DateSelector::kYear2:
      return num(y % 100, 2);
    case DateSelector::kMonth:
      return num(mo, 0);
    case DateSelector::kMonth0:
      return num(mo, 2);
    case DateSelector::kDayOfWeek:
      return num(t.wDayOfWeek, 0);
    case DateSelector::kDay:
      return num(d, 0);
    case DateSelector::kDay0:
      return num(d, 2);
    case DateSelector::kHour:
      return num(h, 0);
    case DateSelector::kHour0:
      return num(h, 2);
    case DateSelector::kHour12:
      return num(h % 12 == 0 ? 12 : h % 12, 0);
    case DateSelector::kHour012:
      return num(h % 12 == 0 ? 12 : h % 12, 2);
    case DateSelector::kMinute:
      return num(mi, 0);
    case DateSelector::kMinute0:
      return num(mi, 2);
    case DateSelector::kSecond:
      return num(s, 0);
    case DateSelector::kSecond0:
      return num(s, 2);
    case DateSelector::kMillisecond:
      return num(ms, 0);
    case DateSelector::kMillisecond0:
      return num(ms, 3);
    case DateSelector::kAmPmLower:
      out->append(h < 12 ? L"am" : L"pm");
      return;
    case DateSelector::kAmPmUpper:
      out->append(h < 12 ? L"AM" : L"PM");
      return;
    case DateSelector::kDayOfYear:
      return num(DayOfYear(y, mo, d), 0);
    case DateSelector::kDayOfYear0:
      return num(DayOfYear(y, mo, d), 3);
    case DateSelector::kWeekOfYear:
      return num(WeekOfYear(y, mo, d), 0);
    case DateSelector::kWeekOfYear0:
      return num(WeekOfYear(y, mo, d), 2);
  }
  switch (format.number) {
    case 1:
      out->append(locale.LongDate(t)).append(L" ").append(locale.Time(t));
      return;
    case 2:
      out->append(locale.ShortDate(t));
      return;
    case 3:
      out->append(locale.LongDate(t));
      return;
    case 4:
      out->append(locale.Time(t));
      return;
    case 5:
      num(y, 4);
      num(mo, 2);
      return;
    case 6:
      num(y, 4);
      num(mo, 2);
      num(d, 2);
      return;
    case 7:
      num(d, 2);
      num(mo, 2);
      num(y, 4);
      return;
    case 8:
      num(mo, 2);
      num(d, 2);
      num(y, 4);
      return;
    case 9:
      num(d, 2);
      out->append(mo >= 1 && mo <= 12 ? kMonthAbbreviations[mo - 1] : L"XXX");
      num(y % 100, 2);
      return;
    case 10:
      num(h, 2);
      num(mi, 2);
      return;
    case 11:
      num(h, 2);
      num(mi, 2);
      num(s, 2);
      return;
    case 12:
      num(h, 2);
      num(mi, 2);
      num(s, 2);
      num(ms, 3);
      return;
    case 13:
      out->append(locale.DayName(t.wDayOfWeek, false));
      return;
    case 14:
      out->append(locale.DayName(t.wDayOfWeek, true));
      return;
    case 15:
      out->append(locale.MonthName(mo, false));
      return;
    case 16:
      out->append(locale.MonthName(mo, true));
      return;
    case 17: {
      const std::wstring& name = locale.MonthName(mo, true);
      for (wchar_t c : name)
        out->push_back(static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c))));
      return;
    }
    case 18:
      num(y, 4);
      out->push_back(L'-');
      num(mo, 2);
      return;
    case 19:
      num(y, 4);
      out->push_back(L'-');
      num(mo, 2);
      out->push_back(L'-');
      num(d, 2);
      return;
    default:  // 0 and 20..99: short date and time
      out->append(locale.ShortDate(t)).append(L" ").append(locale.Time(t));
      return;
  }
}

}  // namespace lmk
