// What a LocaleFormat holds: the strings read once from a locale (shared by the OS parts only).
#pragma once

#include <memory>
#include <string>

#include "platform/locale_format.h"

namespace lmk {

struct LocaleFormat::Data {
  bool fixed_english = true;
  // Patterns in the strftime notation (with the "%-d" no-padding flag), formatted without
  // further locale calls.
  std::wstring short_date = L"%-m/%-d/%Y";
  std::wstring long_date = L"%A, %B %-d, %Y";
  std::wstring time = L"%-I:%M:%S %p";
  std::wstring am = L"AM";
  std::wstring pm = L"PM";
  std::wstring day_names[7];
  std::wstring abbreviated_day_names[7];
  std::wstring month_names[12];
  std::wstring abbreviated_month_names[12];
  std::wstring decimal_point = L".";
  std::wstring thousands_separator = L",";
  // Group sizes from the least significant digit on, as in localeconv(): each byte one group,
  // the last one repeating; empty means no grouping.
  std::string grouping = "\3";

  /// Fills in the fixed English texts.
  static std::unique_ptr<Data> FixedEnglish();
};

/// Reads a named locale of the operating system; nullptr when it does not exist. A null `name`
/// means the process locale as it is now. The "C" and "POSIX" locales give FixedEnglish().
std::unique_ptr<LocaleFormat::Data> LoadLocaleData(const char* name);

}  // namespace lmk
