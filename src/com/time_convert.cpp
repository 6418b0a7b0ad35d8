// FILETIME, SYSTEMTIME and automation DATE conversions, and dates as invariant text.
#include "com/time_convert.h"

#include <cmath>
#include <cstdio>
#include <cwctype>

#include "com/com_error.h"

namespace lmk {
namespace {

constexpr int64_t kTicksPerDay = 864000000000;
constexpr int64_t kSecondsPerDay = 86400;
// Days from 1970-01-01 back to the automation epoch 1899-12-30 and to 1601-01-01.
constexpr int64_t kDateEpochDays = -25569;
constexpr int64_t kFileTimeEpochDays = -134774;
// Automation dates cover 0100-01-01 .. 9999-12-31 23:59:59.
constexpr double kMinDate = -657435.0;  // exclusive
constexpr double kMaxDate = 2958466.0;  // exclusive

// Proleptic Gregorian calendar <-> days since 1970-01-01 (era-based, exact for any year).
constexpr int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

struct Civil {
  int64_t year;
  unsigned month;
  unsigned day;
};

constexpr Civil CivilFromDays(int64_t z) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t y = static_cast<int64_t>(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  return {y + (m <= 2), m, d};
}

static_assert(DaysFromCivil(1899, 12, 30) == kDateEpochDays);
static_assert(DaysFromCivil(1601, 1, 1) == kFileTimeEpochDays);

// 1970-01-01 was a Thursday.
constexpr WORD DayOfWeek(int64_t days) {
  return static_cast<WORD>(days >= -4 ? (days + 4) % 7 : (days + 5) % 7 + 6);
}

constexpr bool IsLeap(int64_t y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

constexpr unsigned DaysInMonth(int64_t y, unsigned m) {
  constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

bool ValidFields(const SYSTEMTIME& st, int min_year, int max_year) {
  return st.wYear >= min_year && st.wYear <= max_year && st.wMonth >= 1 && st.wMonth <= 12 &&
         st.wDay >= 1 && st.wDay <= DaysInMonth(st.wYear, st.wMonth) && st.wHour < 24 &&
         st.wMinute < 60 && st.wSecond < 60;
}

void FillSystemTime(int64_t days, int64_t seconds_of_day, WORD milliseconds, SYSTEMTIME* st) {
  const Civil c = CivilFromDays(days);
  st->wYear = static_cast<WORD>(c.year);
  st->wMonth = static_cast<WORD>(c.month);
  st->wDay = static_cast<WORD>(c.day);
  st->wDayOfWeek = DayOfWeek(days);
  st->wHour = static_cast<WORD>(seconds_of_day / 3600);
  st->wMinute = static_cast<WORD>(seconds_of_day / 60 % 60);
  st->wSecond = static_cast<WORD>(seconds_of_day % 60);
  st->wMilliseconds = milliseconds;
}

bool IsSpace(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

// Reads exactly `count` decimal digits at text[*pos].
bool ReadDigits(std::wstring_view text, size_t* pos, int count, int* value) {
  if (*pos + count > text.size()) return false;
  int v = 0;
  for (int i = 0; i < count; ++i) {
    const wchar_t c = text[*pos + i];
    if (c < L'0' || c > L'9') return false;
    v = v * 10 + (c - L'0');
  }
  *pos += count;
  *value = v;
  return true;
}

bool Expect(std::wstring_view text, size_t* pos, wchar_t c) {
  if (*pos >= text.size() || text[*pos] != c) return false;
  ++*pos;
  return true;
}

}  // namespace

int64_t FileTimeToInt64(const FILETIME& file_time) noexcept {
  return static_cast<int64_t>((static_cast<uint64_t>(file_time.dwHighDateTime) << 32) |
                              file_time.dwLowDateTime);
}

FILETIME Int64ToFileTime(int64_t ticks) noexcept {
  const auto bits = static_cast<uint64_t>(ticks);
  FILETIME ft;
  ft.dwLowDateTime = static_cast<DWORD>(bits & 0xFFFFFFFFu);
  ft.dwHighDateTime = static_cast<DWORD>(bits >> 32);
  return ft;
}

DATE FileTimeToLocalDate(const FILETIME& file_time) {
  FILETIME local;
  SYSTEMTIME st;
  DATE date = 0;
  if (!FileTimeToLocalFileTime(&file_time, &local) || !FileTimeToSystemTime(&local, &st) ||
      !SystemTimeToVariantTime(&st, &date)) {
    throw ComError(E_INVALIDARG);
  }
  return date;
}

bool DateToSystemTime(DATE date, SYSTEMTIME* system_time) noexcept {
  if (!(date > kMinDate && date < kMaxDate)) return false;  // NaN fails too
  const double whole = std::trunc(date);
  int64_t days = static_cast<int64_t>(whole);
  // A negative date counts whole days backwards but its fraction is still a time of day:
  // -1.25 is 1899-12-29 06:00.
  int64_t seconds = std::llround(std::fabs(date - whole) * kSecondsPerDay);
  if (seconds >= kSecondsPerDay) {
    seconds -= kSecondsPerDay;
    ++days;
  }
  const int64_t unix_days = days + kDateEpochDays;
  if (CivilFromDays(unix_days).year > 9999) return false;
  FillSystemTime(unix_days, seconds, 0, system_time);
  return true;
}

bool SystemTimeToDate(const SYSTEMTIME& system_time, DATE* date) noexcept {
  if (!ValidFields(system_time, 100, 9999)) return false;
  const int64_t days =
      DaysFromCivil(system_time.wYear, system_time.wMonth, system_time.wDay) - kDateEpochDays;
  const double time =
      (system_time.wHour * 3600.0 + system_time.wMinute * 60.0 + system_time.wSecond) /
      kSecondsPerDay;
  *date = days >= 0 ? static_cast<double>(days) + time : static_cast<double>(days) - time;
  return true;
}

bool TicksToSystemTime(int64_t ticks, SYSTEMTIME* system_time) noexcept {
  if (ticks < 0) return false;
  const int64_t days = ticks / kTicksPerDay;
  const int64_t rest = ticks % kTicksPerDay;
  FillSystemTime(days + kFileTimeEpochDays, rest / kFileTimeTicksPerSecond,
                 static_cast<WORD>(rest / 10000 % 1000), system_time);
  return true;
}

bool SystemTimeToTicks(const SYSTEMTIME& system_time, int64_t* ticks) noexcept {
  if (!ValidFields(system_time, 1601, 30827) || system_time.wMilliseconds >= 1000) return false;
  const int64_t days =
      DaysFromCivil(system_time.wYear, system_time.wMonth, system_time.wDay) - kFileTimeEpochDays;
  const int64_t seconds = system_time.wHour * 3600 + system_time.wMinute * 60 + system_time.wSecond;
  *ticks = days * kTicksPerDay + seconds * kFileTimeTicksPerSecond +
           system_time.wMilliseconds * int64_t{10000};
  return true;
}

bool DateToText(DATE date, std::wstring* text) {
  SYSTEMTIME st;
  if (!DateToSystemTime(date, &st)) return false;
  wchar_t buffer[32];
  if (st.wHour == 0 && st.wMinute == 0 && st.wSecond == 0) {
    std::swprintf(buffer, 32, L"%04u-%02u-%02u", st.wYear, st.wMonth, st.wDay);
  } else {
    std::swprintf(buffer, 32, L"%04u-%02u-%02u %02u:%02u:%02u", st.wYear, st.wMonth, st.wDay,
                  st.wHour, st.wMinute, st.wSecond);
  }
  *text = buffer;
  return true;
}

HRESULT TextToDate(std::wstring_view text, DATE* date) noexcept {
  if (date == nullptr) return E_POINTER;
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  SYSTEMTIME st{};
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  size_t pos = 0;
  if (!ReadDigits(text, &pos, 4, &year) || !Expect(text, &pos, L'-') ||
      !ReadDigits(text, &pos, 2, &month) || !Expect(text, &pos, L'-') ||
      !ReadDigits(text, &pos, 2, &day)) {
    return DISP_E_TYPEMISMATCH;
  }
  if (pos < text.size()) {
    if (text[pos] != L' ' && text[pos] != L'T') return DISP_E_TYPEMISMATCH;
    ++pos;
    if (!ReadDigits(text, &pos, 2, &hour) || !Expect(text, &pos, L':') ||
        !ReadDigits(text, &pos, 2, &minute)) {
      return DISP_E_TYPEMISMATCH;
    }
    if (pos < text.size() && (!Expect(text, &pos, L':') || !ReadDigits(text, &pos, 2, &second))) {
      return DISP_E_TYPEMISMATCH;
    }
    if (pos != text.size()) return DISP_E_TYPEMISMATCH;
  }
  st.wYear = static_cast<WORD>(year);
  st.wMonth = static_cast<WORD>(month);
  st.wDay = static_cast<WORD>(day);
  st.wHour = static_cast<WORD>(hour);
  st.wMinute = static_cast<WORD>(minute);
  st.wSecond = static_cast<WORD>(second);
  return SystemTimeToDate(st, date) ? S_OK : DISP_E_TYPEMISMATCH;
}

}  // namespace lmk
