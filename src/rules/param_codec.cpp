// Reading and writing the parameter forms of rule-set files.
#include "rules/param_codec.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cwctype>
#include <limits>

#include "rules/element_key.h"

namespace lmk {
namespace {

std::wstring_view Trim(std::wstring_view text) {
  while (!text.empty() && std::iswspace(static_cast<std::wint_t>(text.front()))) {
    text.remove_prefix(1);
  }
  while (!text.empty() && std::iswspace(static_cast<std::wint_t>(text.back()))) {
    text.remove_suffix(1);
  }
  return text;
}

/// ASCII text for std::from_chars; nothing when text holds other characters.
std::optional<std::string> Narrow(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (wchar_t ch : text) {
    if (ch <= 0 || ch > 0x7F) return std::nullopt;
    out += static_cast<char>(ch);
  }
  return out;
}

std::wstring Widen(std::string_view text) { return std::wstring(text.begin(), text.end()); }

/// Days from 1970-01-01 to a proleptic Gregorian date.
constexpr std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

struct Civil {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

constexpr Civil CivilFromDays(std::int64_t z) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t y = static_cast<std::int64_t>(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  return {y + (m <= 2), m, d};
}

constexpr std::int64_t kEpochDays1601 = DaysFromCivil(1601, 1, 1);

unsigned DaysInMonth(std::int64_t year, unsigned month) {
  static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

/// Reads exactly `digits` decimal digits at text[pos].
std::optional<unsigned> Digits(std::wstring_view text, std::size_t pos, std::size_t digits) {
  if (pos + digits > text.size()) return std::nullopt;
  unsigned value = 0;
  for (std::size_t i = pos; i < pos + digits; ++i) {
    if (text[i] < L'0' || text[i] > L'9') return std::nullopt;
    value = value * 10 + static_cast<unsigned>(text[i] - L'0');
  }
  return value;
}

std::wstring TwoDigits(unsigned value) {
  std::wstring out = std::to_wstring(value);
  return out.size() < 2 ? L"0" + out : out;
}

constexpr std::wstring_view kDateHelp =
    L"write a date as YYYY-MM-DD, optionally followed by a time as THH:MM:SS";
constexpr std::wstring_view kTimeHelp = L"write a time of day as HH:MM or HH:MM:SS";

struct OpText {
  std::wstring_view text;
  CompareOp op;
};

// Each operator's symbol comes first (it is what is written) and its words last (what is said).
constexpr OpText kOpTexts[] = {
    {L"=", CompareOp::Equal},
    {L"<>", CompareOp::NotEqual},
    {L"<", CompareOp::Less},
    {L"<=", CompareOp::LessOrEqual},
    {L">", CompareOp::Greater},
    {L">=", CompareOp::GreaterOrEqual},
    {L"not set", CompareOp::NotSet},
    {L"==", CompareOp::Equal},
    {L"!=", CompareOp::NotEqual},
    {L"equal to", CompareOp::Equal},
    {L"not equal to", CompareOp::NotEqual},
    {L"less than", CompareOp::Less},
    {L"less than or equal to", CompareOp::LessOrEqual},
    {L"greater than", CompareOp::Greater},
    {L"greater than or equal to", CompareOp::GreaterOrEqual},
};

constexpr ParamUnit kSizeUnits[] = {
    {L"bytes", 1, L"byte|b"},
    {L"KB", 1024.0, L"k|kib"},
    {L"MB", 1024.0 * 1024, L"m|mib"},
    {L"GB", 1024.0 * 1024 * 1024, L"g|gib"},
    {L"TB", 1024.0 * 1024 * 1024 * 1024, L"t|tib"},
};

bool UnitMatches(const ParamUnit& unit, std::wstring_view text) {
  if (EqualsNoCase(unit.word, text)) return true;
  std::wstring_view aliases = unit.aliases;
  while (!aliases.empty()) {
    const std::size_t bar = aliases.find(L'|');
    if (EqualsNoCase(aliases.substr(0, bar), text)) return true;
    if (bar == std::wstring_view::npos) break;
    aliases.remove_prefix(bar + 1);
  }
  return false;
}

std::wstring ListUnits(std::span<const ParamUnit> units) {
  std::wstring out;
  for (const ParamUnit& unit : units) {
    if (!out.empty()) out += L", ";
    out += unit.word;
  }
  return out;
}

}  // namespace

Parsed<bool> ParseBool(std::wstring_view text) {
  text = Trim(text);
  for (std::wstring_view yes : {L"true", L"yes", L"on"}) {
    if (EqualsNoCase(text, yes)) return Parsed<bool>::Ok(true);
  }
  for (std::wstring_view no : {L"false", L"no", L"off"}) {
    if (EqualsNoCase(text, no)) return Parsed<bool>::Ok(false);
  }
  return Parsed<bool>::Fail(L"write true or false");
}

std::wstring FormatBool(bool value) { return value ? L"true" : L"false"; }

Parsed<std::int64_t> ParseInteger(std::wstring_view text, std::int64_t min, std::int64_t max) {
  const auto narrow = Narrow(Trim(text));
  const std::wstring range =
      L"write a whole number from " + std::to_wstring(min) + L" to " + std::to_wstring(max);
  if (!narrow || narrow->empty()) return Parsed<std::int64_t>::Fail(range);
  std::string_view digits = *narrow;
  if (digits.front() == '+') digits.remove_prefix(1);
  std::int64_t value = 0;
  const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (ec != std::errc{} || end != digits.data() + digits.size() || value < min || value > max) {
    return Parsed<std::int64_t>::Fail(range);
  }
  return Parsed<std::int64_t>::Ok(value);
}

std::wstring FormatInteger(std::int64_t value) { return std::to_wstring(value); }

Parsed<double> ParseNumber(std::wstring_view text, double min, double max) {
  const auto narrow = Narrow(Trim(text));
  const std::wstring range =
      L"write a number from " + FormatNumber(min) + L" to " + FormatNumber(max);
  if (!narrow || narrow->empty()) return Parsed<double>::Fail(range);
  std::string_view digits = *narrow;
  if (digits.front() == '+') digits.remove_prefix(1);
  double value = 0;
  const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value,
                                         std::chars_format::general);
  if (ec != std::errc{} || end != digits.data() + digits.size() || !std::isfinite(value) ||
      value < min || value > max) {
    return Parsed<double>::Fail(range);
  }
  return Parsed<double>::Ok(value);
}

std::wstring FormatNumber(double value) {
  if (std::isinf(value)) return value > 0 ? L"infinity" : L"-infinity";
  char buffer[64];
  const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  if (ec != std::errc{}) return L"0";
  return Widen(std::string_view(buffer, static_cast<std::size_t>(end - buffer)));
}

Parsed<CompareOp> ParseCompareOp(std::wstring_view text, bool allowNotSet) {
  text = Trim(text);
  for (const OpText& entry : kOpTexts) {
    if (EqualsNoCase(entry.text, text) && (allowNotSet || entry.op != CompareOp::NotSet)) {
      return Parsed<CompareOp>::Ok(entry.op);
    }
  }
  return Parsed<CompareOp>::Fail(allowNotSet ? L"write one of =, <>, <, <=, >, >=, not set"
                                             : L"write one of =, <>, <, <=, >, >=");
}

std::wstring FormatCompareOp(CompareOp op) {
  for (const OpText& entry : kOpTexts) {
    if (entry.op == op) return std::wstring(entry.text);
  }
  return {};
}

std::wstring_view CompareOpWords(CompareOp op) {
  const auto entry = std::find_if(std::rbegin(kOpTexts), std::rend(kOpTexts),
                                  [op](const OpText& e) { return e.op == op; });
  return entry == std::rend(kOpTexts) ? std::wstring_view() : entry->text;
}

Parsed<std::int64_t> ParseIsoDate(std::wstring_view text) {
  text = Trim(text);
  const auto year = Digits(text, 0, 4);
  const auto month = Digits(text, 5, 2);
  const auto day = Digits(text, 8, 2);
  if (!year || !month || !day || text[4] != L'-' || text[7] != L'-') {
    return Parsed<std::int64_t>::Fail(std::wstring(kDateHelp));
  }
  if (*year < 1601 || *month < 1 || *month > 12 || *day < 1 || *day > DaysInMonth(*year, *month)) {
    return Parsed<std::int64_t>::Fail(L"no such calendar date (years 1601 to 9999)");
  }
  std::int64_t ticks = (DaysFromCivil(*year, *month, *day) - kEpochDays1601) * kTicksPerDay;
  if (text.size() == 10) return Parsed<std::int64_t>::Ok(ticks);
  if (text[10] != L'T' && text[10] != L't' && text[10] != L' ') {
    return Parsed<std::int64_t>::Fail(std::wstring(kDateHelp));
  }
  const auto time = ParseTimeOfDay(text.substr(11));
  if (!time) return Parsed<std::int64_t>::Fail(std::wstring(kDateHelp));
  return Parsed<std::int64_t>::Ok(ticks + *time.value);
}

std::wstring FormatIsoDate(std::int64_t fileTime) {
  if (fileTime < 0) fileTime = 0;
  const std::int64_t days = fileTime / kTicksPerDay;
  const std::int64_t timeOfDay = fileTime % kTicksPerDay;
  const Civil civil = CivilFromDays(days + kEpochDays1601);
  std::wstring out =
      std::to_wstring(civil.year) + L'-' + TwoDigits(civil.month) + L'-' + TwoDigits(civil.day);
  if (timeOfDay != 0) out += L'T' + FormatTimeOfDay(fileTime);
  return out;
}

Parsed<std::int64_t> ParseTimeOfDay(std::wstring_view text) {
  text = Trim(text);
  const auto hour = Digits(text, 0, 2);
  const auto minute = Digits(text, 3, 2);
  if (!hour || !minute || text[2] != L':' || (text.size() != 5 && text.size() != 8)) {
    return Parsed<std::int64_t>::Fail(std::wstring(kTimeHelp));
  }
  unsigned second = 0;
  if (text.size() == 8) {
    const auto s = Digits(text, 6, 2);
    if (!s || text[5] != L':') return Parsed<std::int64_t>::Fail(std::wstring(kTimeHelp));
    second = *s;
  }
  if (*hour > 23 || *minute > 59 || second > 59) {
    return Parsed<std::int64_t>::Fail(L"no such time of day (00:00:00 to 23:59:59)");
  }
  return Parsed<std::int64_t>::Ok(
      (static_cast<std::int64_t>(*hour) * 3600 + *minute * 60 + second) * kTicksPerSecond);
}

std::wstring FormatTimeOfDay(std::int64_t fileTime) {
  if (fileTime < 0) fileTime = 0;
  const auto seconds = static_cast<unsigned>((fileTime % kTicksPerDay) / kTicksPerSecond);
  return TwoDigits(seconds / 3600) + L':' + TwoDigits(seconds / 60 % 60) + L':' +
         TwoDigits(seconds % 60);
}

Parsed<Quantity> ParseQuantity(std::wstring_view text, std::span<const ParamUnit> units) {
  text = Trim(text);
  const std::wstring help = L"write a number followed by a unit (" + ListUnits(units) + L")";
  std::size_t split = 0;
  while (split < text.size() &&
         (std::iswdigit(static_cast<std::wint_t>(text[split])) || text[split] == L'.' ||
          text[split] == L'-' || text[split] == L'+' ||
          ((text[split] == L'e' || text[split] == L'E') && split > 0 && split + 1 < text.size() &&
           (std::iswdigit(static_cast<std::wint_t>(text[split + 1])) || text[split + 1] == L'-' ||
            text[split + 1] == L'+')))) {
    ++split;
  }
  const auto amount = ParseNumber(text.substr(0, split), -std::numeric_limits<double>::max(),
                                  std::numeric_limits<double>::max());
  const std::wstring_view unitText = Trim(text.substr(split));
  if (!amount || unitText.empty()) return Parsed<Quantity>::Fail(help);
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (UnitMatches(units[i], unitText)) {
      return Parsed<Quantity>::Ok(Quantity{*amount.value, static_cast<std::uint32_t>(i)});
    }
  }
  return Parsed<Quantity>::Fail(L"unknown unit '" + std::wstring(unitText) + L"'; " + help);
}

std::wstring FormatQuantity(Quantity quantity, std::span<const ParamUnit> units) {
  std::wstring out = FormatNumber(quantity.amount);
  if (quantity.unit < units.size()) out += L' ' + std::wstring(units[quantity.unit].word);
  return out;
}

std::span<const ParamUnit> SizeUnits() { return kSizeUnits; }

Parsed<SizeValue> ParseSize(std::wstring_view text) {
  const std::wstring_view trimmed = Trim(text);
  const bool unitless =
      !trimmed.empty() && std::all_of(trimmed.begin(), trimmed.end(), [](wchar_t c) {
        return std::iswdigit(static_cast<std::wint_t>(c));
      });
  const auto quantity =
      unitless ? Parsed<Quantity>::Ok(Quantity{0, 0}) : ParseQuantity(trimmed, kSizeUnits);
  if (!quantity) return Parsed<SizeValue>::Fail(quantity.why);
  if (unitless) {
    const auto bytes = ParseInteger(trimmed, 0, std::numeric_limits<std::int64_t>::max());
    if (!bytes) return Parsed<SizeValue>::Fail(bytes.why);
    return Parsed<SizeValue>::Ok(SizeValue{static_cast<std::uint64_t>(*bytes.value), 0});
  }
  const double bytes = std::round(quantity.value->amount * kSizeUnits[quantity.value->unit].factor);
  if (quantity.value->amount < 0 || bytes >= 9.2e18) {
    return Parsed<SizeValue>::Fail(L"write a size from 0 bytes to 8 EB, such as 10 MB");
  }
  return Parsed<SizeValue>::Ok(SizeValue{static_cast<std::uint64_t>(bytes), quantity.value->unit});
}

std::wstring FormatSize(SizeValue size) {
  const std::uint32_t unit = size.unit < std::size(kSizeUnits) ? size.unit : 0;
  return FormatQuantity(Quantity{static_cast<double>(size.bytes) / kSizeUnits[unit].factor, unit},
                        kSizeUnits);
}

Parsed<GeoPlace> ParsePlace(std::wstring_view text) {
  constexpr std::wstring_view kHelp =
      L"write the latitude and the longitude in decimal degrees, such as 48.8584, 2.2945 (south "
      L"and west negative)";
  text = Trim(text);
  const std::size_t comma = text.find(L',');
  if (comma == std::wstring_view::npos) return Parsed<GeoPlace>::Fail(std::wstring(kHelp));
  const auto latitude = ParseNumber(text.substr(0, comma), -90, 90);
  const auto longitude = ParseNumber(text.substr(comma + 1), -180, 180);
  if (!latitude || !longitude) return Parsed<GeoPlace>::Fail(std::wstring(kHelp));
  return Parsed<GeoPlace>::Ok(GeoPlace{*latitude.value, *longitude.value});
}

std::wstring FormatPlace(GeoPlace place) {
  return FormatNumber(place.latitude) + L", " + FormatNumber(place.longitude);
}

Parsed<std::uint32_t> ParseChoice(std::wstring_view text, std::span<const ParamWord> words) {
  text = Trim(text);
  for (const ParamWord& word : words) {
    if (EqualsNoCase(word.word, text)) return Parsed<std::uint32_t>::Ok(word.value);
  }
  return Parsed<std::uint32_t>::Fail(L"write one of " + ListWords(words));
}

std::wstring_view FormatChoice(std::uint32_t value, std::span<const ParamWord> words) {
  for (const ParamWord& word : words) {
    if (word.value == value) return word.word;
  }
  return {};
}

std::wstring ListWords(std::span<const ParamWord> words) {
  std::wstring out;
  std::vector<std::uint32_t> seen;
  for (const ParamWord& word : words) {
    // Aliases are accepted but not advertised.
    if (std::find(seen.begin(), seen.end(), word.value) != seen.end()) continue;
    seen.push_back(word.value);
    if (!out.empty()) out += L", ";
    out += word.word;
  }
  return out;
}

Parsed<std::uint32_t> ParseFlagWords(std::span<const std::wstring> texts,
                                     std::span<const ParamWord> bits) {
  std::uint32_t mask = 0;
  for (const std::wstring& text : texts) {
    const std::wstring_view word = Trim(text);
    if (EqualsNoCase(word, L"none") && texts.size() == 1) break;
    const auto bit = ParseChoice(word, bits);
    if (!bit) {
      return Parsed<std::uint32_t>::Fail(L"unknown word '" + std::wstring(word) +
                                         L"'; write a list of " + ListWords(bits));
    }
    mask |= *bit.value;
  }
  return Parsed<std::uint32_t>::Ok(mask);
}

std::vector<std::wstring> FormatFlagWords(std::uint32_t mask, std::span<const ParamWord> bits) {
  std::vector<std::wstring> out;
  std::uint32_t written = 0;
  for (const ParamWord& bit : bits) {
    if (bit.value != 0 && (mask & bit.value) == bit.value && (written & bit.value) != bit.value) {
      out.emplace_back(bit.word);
      written |= bit.value;
    }
  }
  return out;
}

}  // namespace lmk
