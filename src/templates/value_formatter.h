// Number texts of templates: number modifier, value lists, the camera values' formats.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lmk {

class ValueFormatter {
 public:
  /// Appends `value` in decimal, zero-padded to `width` digits ("%0*d"); a minus sign first.
  static void AppendDecimal(std::wstring* out, int64_t value, int width = 0);
  /// Appends `value` in lower-case hexadecimal, zero-padded to `width` digits.
  static void AppendHex(std::wstring* out, uint64_t value, int width = 0);

  /// The number modifier of `{ImageIndex:n}` and the counters: 0 "%u", 1 four hexadecimal
  /// digits, 2..8 decimal zero-padded to n digits, 9 eight hexadecimal digits. The hexadecimal
  /// 1 and 9 are the program's long-standing meaning and stay so.
  static void AppendWithNumberModifier(std::wstring* out, uint32_t value, int modifier);

  /// A value list: `items` is the text after the first ':' ("None|Red|Yellow"), `has_items`
  /// false for the bare form. A value below the item count gives that item, anything else the
  /// value in decimal. Values that are missing or not positive count as 0.
  static std::wstring ValueList(int64_t value, bool has_items, std::wstring_view items);

  /// "%.Nf" in the C locale's notation.
  static std::wstring Fixed(double value, int decimals);
  /// "%f" with trailing zeros removed, one digit after the point kept ("0.5", "2.0").
  static std::wstring ShortReal(double value);
  /// The exposure bias: "+" for positive, "-" for negative, nothing for zero, then "%.1f" of
  /// the absolute value.
  static std::wstring ExposureBias(double value);
  /// The exposure time as a fraction: "1/250", "2.0" ... "0/0" when not positive.
  static std::wstring ExposureFraction(double value);
};

}  // namespace lmk
