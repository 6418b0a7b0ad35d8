// Formatting with a locale snapshot: a small strftime of our own over the strings read once.
#include "platform/locale_format.h"

#include <algorithm>
#include <cwctype>
#include <utility>
#include <vector>

#include "platform/locale_format_data.h"

namespace lmk {
namespace {

constexpr const wchar_t* kEnglishDays[7] = {L"Sunday",   L"Monday", L"Tuesday", L"Wednesday",
                                            L"Thursday", L"Friday", L"Saturday"};
constexpr const wchar_t* kEnglishMonths[12] = {L"January",   L"February", L"March",    L"April",
                                               L"May",       L"June",     L"July",     L"August",
                                               L"September", L"October",  L"November", L"December"};

const std::wstring kEmpty;

void AppendNumber(std::wstring& out, int value, int width, wchar_t pad) {
  wchar_t digits[16];
  int n = 0;
  unsigned v = value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
  do {
    digits[n++] = static_cast<wchar_t>(L'0' + v % 10);
    v /= 10;
  } while (v != 0 && n < 15);
  if (value < 0) out += L'-';
  for (int i = n; i < width; ++i) out += pad;
  while (n > 0) out += digits[--n];
}

int DayOfYear(const SYSTEMTIME& t) {
  static constexpr int kBefore[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  int month = std::clamp<int>(t.wMonth, 1, 12);
  bool leap = (t.wYear % 4 == 0 && t.wYear % 100 != 0) || t.wYear % 400 == 0;
  return kBefore[month - 1] + t.wDay + (leap && month > 2 ? 1 : 0);
}

}  // namespace

std::unique_ptr<LocaleFormat::Data> LocaleFormat::Data::FixedEnglish() {
  auto data = std::make_unique<Data>();
  for (int i = 0; i < 7; ++i) {
    data->day_names[i] = kEnglishDays[i];
    data->abbreviated_day_names[i] = data->day_names[i].substr(0, 3);
  }
  for (int i = 0; i < 12; ++i) {
    data->month_names[i] = kEnglishMonths[i];
    data->abbreviated_month_names[i] = data->month_names[i].substr(0, 3);
  }
  return data;
}

LocaleFormat::LocaleFormat(std::unique_ptr<Data> data) : data_(std::move(data)) {}
LocaleFormat::~LocaleFormat() = default;

const LocaleFormat& LocaleFormat::Process() {
  // An object, not a pointer that is never freed: in the plug-in it must go when the host
  // unloads the module, or every run that formats a date leaves its formats behind.
  static const LocaleFormat process = [] {
    auto data = LoadLocaleData(nullptr);
    if (!data) data = Data::FixedEnglish();
    return LocaleFormat(std::move(data));
  }();
  return process;
}

std::unique_ptr<LocaleFormat> LocaleFormat::ForLocale(const std::string& name) {
  auto data = LoadLocaleData(name.c_str());
  if (!data) return nullptr;
  return std::unique_ptr<LocaleFormat>(new LocaleFormat(std::move(data)));
}

bool LocaleFormat::IsFixedEnglish() const { return data_->fixed_english; }

namespace {

// The pattern a composite conversion stands for; empty for the others.
std::wstring_view CompositePattern(const LocaleFormat::Data& d, wchar_t conversion) {
  static constexpr std::pair<wchar_t, std::wstring_view> kFixed[] = {
      {L'D', L"%m/%d/%y"}, {L'F', L"%Y-%m-%d"},    {L'T', L"%H:%M:%S"},
      {L'R', L"%H:%M"},    {L'r', L"%I:%M:%S %p"},
  };
  if (conversion == L'x') return d.short_date;
  if (conversion == L'X') return d.time;
  for (const auto& [letter, pattern] : kFixed) {
    if (letter == conversion) return pattern;
  }
  return {};
}

// Formats `pattern` (strftime conversions, "%-x" without padding) for one time.
std::wstring FormatPattern(const LocaleFormat::Data& d, std::wstring_view pattern,
                           const SYSTEMTIME& t, int depth = 0) {
  std::wstring out;
  for (size_t i = 0; i < pattern.size(); ++i) {
    wchar_t c = pattern[i];
    if (c != L'%' || i + 1 >= pattern.size()) {
      out += c;
      continue;
    }
    c = pattern[++i];
    wchar_t pad = L'0';
    if ((c == L'-' || c == L'_') && i + 1 < pattern.size()) {
      pad = c == L'-' ? L'\0' : L' ';
      c = pattern[++i];
    }
    if ((c == L'E' || c == L'O') && i + 1 < pattern.size()) c = pattern[++i];
    auto number = [&](int value, int width) { AppendNumber(out, value, pad ? width : 0, pad); };
    int hour12 = t.wHour % 12 == 0 ? 12 : t.wHour % 12;
    int day = t.wDayOfWeek <= 6 ? t.wDayOfWeek : 0;
    int month = std::clamp<int>(t.wMonth, 1, 12) - 1;
    switch (c) {
      case L'Y':
        number(t.wYear, 1);
        break;
      case L'y':
        number(t.wYear % 100, 2);
        break;
      case L'C':
        number(t.wYear / 100, 2);
        break;
      case L'm':
        number(t.wMonth, 2);
        break;
      case L'd':
        number(t.wDay, 2);
        break;
      case L'e':
        AppendNumber(out, t.wDay, pad == L'\0' ? 0 : 2, L' ');
        break;
      case L'H':
        number(t.wHour, 2);
        break;
      case L'k':
        AppendNumber(out, t.wHour, pad == L'\0' ? 0 : 2, L' ');
        break;
      case L'I':
        number(hour12, 2);
        break;
      case L'l':
        AppendNumber(out, hour12, pad == L'\0' ? 0 : 2, L' ');
        break;
      case L'M':
        number(t.wMinute, 2);
        break;
      case L'S':
        number(t.wSecond, 2);
        break;
      case L'j':
        number(DayOfYear(t), 3);
        break;
      case L'p':
        out += t.wHour < 12 ? d.am : d.pm;
        break;
      case L'P': {
        std::wstring ampm = t.wHour < 12 ? d.am : d.pm;
        for (wchar_t& ch : ampm) ch = static_cast<wchar_t>(std::towlower(ch));
        out += ampm;
        break;
      }
      case L'A':
        out += d.day_names[day];
        break;
      case L'a':
        out += d.abbreviated_day_names[day];
        break;
      case L'B':
        out += d.month_names[month];
        break;
      case L'b':
      case L'h':
        out += d.abbreviated_month_names[month];
        break;
      case L'u':
        number(day == 0 ? 7 : day, 1);
        break;
      case L'w':
        number(day, 1);
        break;
      case L'n':
        out += L'\n';
        break;
      case L't':
        out += L'\t';
        break;
      case L'%':
        out += L'%';
        break;
      default:
        // A composite conversion, bounded so that a strange locale cannot recurse for ever;
        // time zones and the rarer conversions are not offered.
        if (const std::wstring_view inner = CompositePattern(d, c); !inner.empty() && depth < 2) {
          out += FormatPattern(d, inner, t, depth + 1);
        }
        break;
    }
  }
  return out;
}

}  // namespace

std::wstring LocaleFormat::ShortDate(const SYSTEMTIME& time) const {
  return FormatPattern(*data_, data_->short_date, time);
}

std::wstring LocaleFormat::LongDate(const SYSTEMTIME& time) const {
  return FormatPattern(*data_, data_->long_date, time);
}

std::wstring LocaleFormat::Time(const SYSTEMTIME& time) const {
  return FormatPattern(*data_, data_->time, time);
}

const std::wstring& LocaleFormat::DayName(int day_of_week, bool abbreviated) const {
  if (day_of_week < 0 || day_of_week > 6) return kEmpty;
  return abbreviated ? data_->abbreviated_day_names[day_of_week] : data_->day_names[day_of_week];
}

const std::wstring& LocaleFormat::MonthName(int month, bool abbreviated) const {
  if (month < 1 || month > 12) return kEmpty;
  return abbreviated ? data_->abbreviated_month_names[month - 1] : data_->month_names[month - 1];
}

std::wstring LocaleFormat::GroupedNumber(uint64_t value) const {
  std::wstring digits = std::to_wstring(value);
  const std::string& grouping = data_->grouping;
  if (grouping.empty() || data_->thousands_separator.empty()) return digits;
  // Walk from the right, cutting groups as the grouping string says.
  std::wstring out;
  size_t end = digits.size();
  size_t group_index = 0;
  std::vector<std::wstring_view> groups;
  while (end > 0) {
    int size = static_cast<unsigned char>(grouping[std::min(group_index, grouping.size() - 1)]);
    if (size <= 0 || size == 127) {  // CHAR_MAX: no further grouping
      groups.emplace_back(std::wstring_view(digits).substr(0, end));
      break;
    }
    size_t start = end > static_cast<size_t>(size) ? end - size : 0;
    groups.emplace_back(std::wstring_view(digits).substr(start, end - start));
    end = start;
    ++group_index;
  }
  for (size_t i = groups.size(); i-- > 0;) {
    out += groups[i];
    if (i != 0) out += data_->thousands_separator;
  }
  return out;
}

std::wstring LocaleFormat::ShortSize(uint64_t bytes) const {
  if (bytes < 1024) return std::to_wstring(bytes) + L" bytes";
  static constexpr const wchar_t* kUnits[] = {L"KB", L"MB", L"GB", L"TB", L"PB", L"EB"};
  int unit = 0;
  uint64_t divisor = 1024;
  // Climb while the whole part would need a fourth digit: 1,023 KB shows as "0.99 MB".
  while (unit < 5 && bytes / divisor >= 1000) {
    divisor *= 1024;
    ++unit;
  }
  uint64_t whole = bytes / divisor;
  // Hundredths of the remainder, truncated; long double keeps it exact enough up to exabytes.
  auto hundredths = static_cast<uint64_t>(static_cast<long double>(bytes % divisor) * 100.0L /
                                          static_cast<long double>(divisor));
  std::wstring out = std::to_wstring(whole);
  if (whole < 10) {
    wchar_t frac[3] = {static_cast<wchar_t>(L'0' + hundredths / 10),
                       static_cast<wchar_t>(L'0' + hundredths % 10), 0};
    out += data_->decimal_point;
    out += frac;
  } else if (whole < 100) {
    out += data_->decimal_point;
    out += static_cast<wchar_t>(L'0' + hundredths / 10);
  }
  out += L' ';
  out += kUnits[unit];
  return out;
}

}  // namespace lmk
