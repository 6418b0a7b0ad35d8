// The written forms of element parameters, shared by every element: booleans, numbers,
// comparison operators, ISO 8601 dates and times of day, quantities with units, sizes, places,
// words of a choice and sets of flag words. Each Parse function gives the value, or nothing with
// a short reason that tells the user what to write instead.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lmk {

/// A parse result: the value, or the reason it could not be read.
template <class T>
struct Parsed {
  std::optional<T> value;
  std::wstring why;

  explicit operator bool() const { return value.has_value(); }
  static Parsed Ok(T v) { return Parsed{std::move(v), {}}; }
  static Parsed Fail(std::wstring reason) { return Parsed{std::nullopt, std::move(reason)}; }
};

/// Operator codes of the packed comparison word (its top 4 bits).
enum class CompareOp : std::uint8_t {
  Equal = 1,
  NotEqual = 2,
  Less = 3,
  LessOrEqual = 4,
  Greater = 5,
  GreaterOrEqual = 6,
  NotSet = 15,
};

/// One word of a choice, or one bit of a set of flags. Several words may share a value: the
/// first is the one written, the others are accepted when read.
struct ParamWord {
  std::wstring_view word;
  std::uint32_t value;
};

/// One unit of a quantity: its written name, the factor to the base unit, and accepted aliases
/// (separated by "|").
struct ParamUnit {
  std::wstring_view word;
  double factor;
  std::wstring_view aliases = {};
};

/// A latitude and longitude in degrees.
struct GeoPlace {
  double latitude = 0;
  double longitude = 0;
};

/// A FILETIME count: 100-nanosecond ticks since 1601-01-01 00:00:00.
inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kTicksPerDay = 86'400 * kTicksPerSecond;

Parsed<bool> ParseBool(std::wstring_view text);
std::wstring FormatBool(bool value);

Parsed<std::int64_t> ParseInteger(std::wstring_view text, std::int64_t min, std::int64_t max);
std::wstring FormatInteger(std::int64_t value);

Parsed<double> ParseNumber(std::wstring_view text, double min, double max);
/// The shortest text that reads back as exactly value.
std::wstring FormatNumber(double value);

/// "=", "<>", "<", "<=", ">", ">=" (also "==", "!=" and the words "equal to" ... "greater than or
/// equal to"), and "not set" when allowNotSet.
Parsed<CompareOp> ParseCompareOp(std::wstring_view text, bool allowNotSet);
/// The symbol ("=", "<>", ...) or "not set"; empty for a code that is no operator.
std::wstring FormatCompareOp(CompareOp op);
/// The word text ("equal to", "less than or equal to", ..., "not set").
std::wstring_view CompareOpWords(CompareOp op);

/// An ISO 8601 calendar date, optionally with a time ("2024-05-17", "2024-05-17T14:30:00",
/// "2024-05-17 14:30"), as a FILETIME count of that calendar time (no time-zone conversion).
Parsed<std::int64_t> ParseIsoDate(std::wstring_view text);
/// "YYYY-MM-DD" when the time of day is midnight, else "YYYY-MM-DDTHH:MM:SS".
std::wstring FormatIsoDate(std::int64_t fileTime);

/// "HH:MM" or "HH:MM:SS", as ticks since midnight.
Parsed<std::int64_t> ParseTimeOfDay(std::wstring_view text);
/// "HH:MM:SS" of the time of day of fileTime.
std::wstring FormatTimeOfDay(std::int64_t fileTime);

/// A number followed by one of units ("1.5 km", "300ft"); gives the amount and the unit index.
struct Quantity {
  double amount = 0;
  std::uint32_t unit = 0;
};
Parsed<Quantity> ParseQuantity(std::wstring_view text, std::span<const ParamUnit> units);
/// "amount unit"; an unknown unit index writes the amount alone.
std::wstring FormatQuantity(Quantity quantity, std::span<const ParamUnit> units);

/// The size units: bytes, KB, MB, GB, TB, each 1024 times the one before.
std::span<const ParamUnit> SizeUnits();
/// A size such as "10 MB" or "1.5 GB" or "123" (bytes): the byte count and the unit index.
struct SizeValue {
  std::uint64_t bytes = 0;
  std::uint32_t unit = 0;
};
Parsed<SizeValue> ParseSize(std::wstring_view text);
std::wstring FormatSize(SizeValue size);

/// "48.8584, 2.2945" (decimal degrees, south and west negative).
Parsed<GeoPlace> ParsePlace(std::wstring_view text);
std::wstring FormatPlace(GeoPlace place);

/// One of words (case-insensitive).
Parsed<std::uint32_t> ParseChoice(std::wstring_view text, std::span<const ParamWord> words);
/// The first word of value; empty when no word has it.
std::wstring_view FormatChoice(std::uint32_t value, std::span<const ParamWord> words);
/// The words separated by ", ", for messages.
std::wstring ListWords(std::span<const ParamWord> words);

/// A set of flag words; "none" or no words give 0.
Parsed<std::uint32_t> ParseFlagWords(std::span<const std::wstring> texts,
                                     std::span<const ParamWord> bits);
/// The words of the bits set in mask, in table order; nothing when no bit is set. Bits that no
/// word names are left out.
std::vector<std::wstring> FormatFlagWords(std::uint32_t mask, std::span<const ParamWord> bits);

}  // namespace lmk
