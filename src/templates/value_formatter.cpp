// Number formatting for template values.
#include "templates/value_formatter.h"

#include <cmath>
#include <cstdio>

namespace lmk {

void ValueFormatter::AppendDecimal(std::wstring* out, int64_t value, int width) {
  wchar_t digits[24];
  int n = 0;
  uint64_t v = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  do {
    digits[n++] = static_cast<wchar_t>(L'0' + v % 10);
    v /= 10;
  } while (v != 0);
  if (value < 0) {
    out->push_back(L'-');
    --width;
  }
  for (int i = n; i < width; ++i) out->push_back(L'0');
  while (n > 0) out->push_back(digits[--n]);
}

void ValueFormatter::AppendHex(std::wstring* out, uint64_t value, int width) {
  static constexpr wchar_t kDigits[] = L"0123456789abcdef";
  wchar_t digits[20];
  int n = 0;
  do {
    digits[n++] = kDigits[value & 15];
    value >>= 4;
  } while (value != 0);
  for (int i = n; i < width; ++i) out->push_back(L'0');
  while (n > 0) out->push_back(digits[--n]);
}

void ValueFormatter::AppendWithNumberModifier(std::wstring* out, uint32_t value, int modifier) {
  if (modifier == 1) return AppendHex(out, value, 4);
  if (modifier == 9) return AppendHex(out, value, 8);
  AppendDecimal(out, value, modifier >= 2 && modifier <= 8 ? modifier : 0);
}

std::wstring ValueFormatter::ValueList(int64_t value, bool has_items, std::wstring_view items) {
  // The value as a 16-bit signed number, as the record's enumerated fields are.
  auto number = static_cast<int16_t>(value);
  uint32_t index = number > 0 ? static_cast<uint32_t>(number) : 0;
  if (has_items) {
    constexpr uint32_t kMaxItems = 256;
    uint32_t item = 0;
    size_t start = 0;
    for (;;) {
      size_t bar = items.find(L'|', start);
      if (item == index) {
        return std::wstring(
            items.substr(start, bar == std::wstring_view::npos ? bar : bar - start));
      }
      if (bar == std::wstring_view::npos || ++item >= kMaxItems) break;
      start = bar + 1;
    }
  }
  std::wstring out;
  AppendDecimal(&out, index);
  return out;
}

std::wstring ValueFormatter::Fixed(double value, int decimals) {
  wchar_t buffer[64];
  int n = std::swprintf(buffer, std::size(buffer), L"%.*f", decimals, value);
  return n > 0 ? std::wstring(buffer, static_cast<size_t>(n)) : std::wstring();
}

std::wstring ValueFormatter::ShortReal(double value) {
  std::wstring text = Fixed(value, 6);
  size_t point = text.find_first_of(L".,");
  if (point == std::wstring::npos) return text;
  size_t end = text.size();
  while (end > point + 2 && text[end - 1] == L'0') --end;
  text.resize(end);
  return text;
}

std::wstring ValueFormatter::ExposureBias(double value) {
  std::wstring out = value > 0 ? L"+" : value < 0 ? L"-" : L"";
  return out + Fixed(std::fabs(value), 1);
}

std::wstring ValueFormatter::ExposureFraction(double value) {
  if (!(value > 0)) return L"0/0";
  double reciprocal = std::round(1.0 / value);
  if (reciprocal <= 1) return Fixed(value, value == std::floor(value) ? 0 : 1);
  std::wstring out = L"1/";
  AppendDecimal(&out, static_cast<int64_t>(reciprocal));
  return out;
}

}  // namespace lmk
