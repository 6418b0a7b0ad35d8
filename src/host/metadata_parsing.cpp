// Parsers for untrusted metadata texts and blocks; every length and range is checked.
#include "host/metadata_parsing.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "platform/text_encoding.h"

namespace lmk {

namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view TrimAscii(std::string_view s) {
  while (!s.empty() && IsSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsSpace(s.back())) s.remove_suffix(1);
  return s;
}

bool IsValidUtf8(std::string_view s) {
  size_t i = 0;
  while (i < s.size()) {
    const auto c = static_cast<unsigned char>(s[i]);
    size_t extra = 0;
    uint32_t cp = 0;
    if (c < 0x80) {
      ++i;
      continue;
    } else if ((c & 0xE0) == 0xC0) {
      extra = 1;
      cp = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
      extra = 2;
      cp = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
      extra = 3;
      cp = c & 0x07;
    } else {
      return false;
    }
    if (s.size() - i <= extra) return false;
    for (size_t k = 1; k <= extra; ++k) {
      const auto cc = static_cast<unsigned char>(s[i + k]);
      if ((cc & 0xC0) != 0x80) return false;
      cp = cp << 6 | (cc & 0x3F);
    }
    // Overlong forms, surrogates and values past Unicode are not UTF-8.
    static constexpr uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
    i += extra + 1;
  }
  return true;
}

// Reads exactly `digits` decimal digits at s[*pos].
bool ReadDigits(std::string_view s, size_t* pos, size_t digits, int* out) {
  if (s.size() - *pos < digits) return false;
  int v = 0;
  for (size_t k = 0; k < digits; ++k) {
    const char c = s[*pos + k];
    if (c < '0' || c > '9') return false;
    v = v * 10 + (c - '0');
  }
  *pos += digits;
  *out = v;
  return true;
}

bool Accept(std::string_view s, size_t* pos, char c) {
  if (*pos < s.size() && s[*pos] == c) {
    ++*pos;
    return true;
  }
  return false;
}

int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

void CivilFromDays(int64_t z, int64_t* y, unsigned* m, unsigned* d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  *d = doy - (153 * mp + 2) / 5 + 1;
  *m = mp < 10 ? mp + 3 : mp - 9;
  *y = static_cast<int64_t>(yoe) + era * 400 + (*m <= 2);
}

bool ParseDouble(std::string_view s, double* out) {
  s = TrimAscii(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return false;
  double v = 0;
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
  if (ec != std::errc() || end != s.data() + s.size() || !std::isfinite(v)) return false;
  *out = v;
  return true;
}

std::wstring Latin1(std::string_view s) {
  std::wstring out;
  out.reserve(s.size());
  for (char c : s) out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
  return out;
}

uint32_t Be32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
         static_cast<uint32_t>(p[2]) << 8 | p[3];
}

std::wstring Utf16BeText(const uint8_t* p, size_t bytes) {
  std::wstring out;
  for (size_t i = 0; i + 1 < bytes && out.size() < kMaxMetadataTextLength; i += 2) {
    uint32_t unit = static_cast<uint32_t>(p[i]) << 8 | p[i + 1];
    if (unit == 0) break;
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < bytes) {
      const uint32_t low = static_cast<uint32_t>(p[i + 2]) << 8 | p[i + 3];
      if (low >= 0xDC00 && low <= 0xDFFF) {
        unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      } else {
        unit = 0xFFFD;
      }
    } else if (unit >= 0xD800 && unit <= 0xDFFF) {
      unit = 0xFFFD;
    }
    if constexpr (sizeof(wchar_t) == 2) {
      if (unit >= 0x10000) {
        out.push_back(static_cast<wchar_t>(0xD800 + ((unit - 0x10000) >> 10)));
        out.push_back(static_cast<wchar_t>(0xDC00 + ((unit - 0x10000) & 0x3FF)));
        continue;
      }
    }
    out.push_back(static_cast<wchar_t>(unit));
  }
  return out;
}

std::wstring TrimWide(std::wstring s) {
  while (!s.empty() && (s.back() == L' ' || s.back() == L'\0')) s.pop_back();
  size_t start = 0;
  while (start < s.size() && s[start] == L' ') ++start;
  return s.substr(start);
}

}  // namespace

std::wstring DecodeMetadataText(std::string_view raw) {
  while (!raw.empty() && (raw.back() == '\0' || IsSpace(raw.back()))) raw.remove_suffix(1);
  while (!raw.empty() && IsSpace(raw.front())) raw.remove_prefix(1);
  if (raw.size() > kMaxMetadataTextLength * 4) raw = raw.substr(0, kMaxMetadataTextLength * 4);
  std::string joined;
  joined.reserve(raw.size());
  for (size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] != '\0') {
      joined.push_back(raw[i]);
    } else if (i > 0 && raw[i - 1] != '\0') {
      joined += "; ";
    }
  }
  std::wstring text = IsValidUtf8(joined) ? FromUtf8(joined) : Latin1(joined);
  if (text.size() > kMaxMetadataTextLength) text.resize(kMaxMetadataTextLength);
  return text;
}

bool ParseMetaDateTime(std::string_view text, MetaDateTime* out, bool* hasZone, int* zoneMinutes) {
  *out = MetaDateTime{};
  if (hasZone != nullptr) *hasZone = false;
  if (zoneMinutes != nullptr) *zoneMinutes = 0;
  const std::string_view s = TrimAscii(text);
  size_t pos = 0;
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, sec = 0, ms = 0;
  if (!ReadDigits(s, &pos, 4, &y)) return false;
  const bool separated = Accept(s, &pos, ':') || Accept(s, &pos, '-');
  if (!ReadDigits(s, &pos, 2, &mo)) return false;
  if (separated && !Accept(s, &pos, ':') && !Accept(s, &pos, '-')) return false;
  if (!ReadDigits(s, &pos, 2, &d)) return false;
  if (pos < s.size() && (s[pos] == 'T' || s[pos] == ' ')) {
    ++pos;
    if (!ReadDigits(s, &pos, 2, &h) || !Accept(s, &pos, ':') || !ReadDigits(s, &pos, 2, &mi))
      return false;
    if (Accept(s, &pos, ':')) {
      if (!ReadDigits(s, &pos, 2, &sec)) return false;
      if (Accept(s, &pos, '.')) {
        // Fractions of a second: keep milliseconds, skip finer digits.
        size_t digits = 0;
        while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') {
          if (digits < 3) ms = ms * 10 + (s[pos] - '0');
          ++digits;
          ++pos;
        }
        if (digits == 0) return false;
        for (size_t k = digits; k < 3; ++k) ms *= 10;
      }
    }
    if (pos < s.size()) {
      int zone = 0;
      if (s[pos] == 'Z') {
        ++pos;
      } else if (s[pos] == '+' || s[pos] == '-') {
        const int sign = s[pos] == '-' ? -1 : 1;
        ++pos;
        int zh = 0, zm = 0;
        if (!ReadDigits(s, &pos, 2, &zh)) return false;
        const bool colon = Accept(s, &pos, ':');
        if (pos < s.size() || colon) {
          if (!ReadDigits(s, &pos, 2, &zm)) return false;
        }
        if (zh > 14 || zm > 59) return false;
        zone = sign * (zh * 60 + zm);
      } else {
        return false;
      }
      if (hasZone != nullptr) *hasZone = true;
      if (zoneMinutes != nullptr) *zoneMinutes = zone;
    }
  }
  if (pos != s.size()) return false;
  return out->Set(y, mo, d, h, mi, sec, ms);
}

bool ShiftMinutes(MetaDateTime* value, int64_t minutes) {
  if (!value->present) return false;
  const int64_t days = DaysFromCivil(value->year, static_cast<unsigned>(value->month),
                                     static_cast<unsigned>(value->day));
  const int64_t total = (days * 24 + value->hour) * 60 + value->minute + minutes;
  const int64_t newDays = total >= 0 ? total / 1440 : (total - 1439) / 1440;
  const int64_t minuteOfDay = total - newDays * 1440;
  int64_t y = 0;
  unsigned m = 0, d = 0;
  CivilFromDays(newDays, &y, &m, &d);
  MetaDateTime shifted;
  if (y < 1601 || y > 9999) return false;
  if (!shifted.Set(static_cast<int>(y), static_cast<int>(m), static_cast<int>(d),
                   static_cast<int>(minuteOfDay / 60), static_cast<int>(minuteOfDay % 60),
                   value->second, value->millisecond))
    return false;
  *value = shifted;
  return true;
}

bool ParseRationalText(std::string_view text, double* out) {
  text = TrimAscii(text);
  const size_t slash = text.find('/');
  if (slash == std::string_view::npos) return ParseDouble(text, out);
  double num = 0, den = 0;
  if (!ParseDouble(text.substr(0, slash), &num) || !ParseDouble(text.substr(slash + 1), &den))
    return false;
  if (den == 0) return false;
  const double v = num / den;
  if (!std::isfinite(v)) return false;
  *out = v;
  return true;
}

bool ParseXmpGpsCoordinate(std::string_view text, double* out) {
  text = TrimAscii(text);
  if (text.empty()) return false;
  const char last = text.back();
  double sign = 1;
  const bool hasRef = last == 'N' || last == 'S' || last == 'E' || last == 'W' || last == 'n' ||
                      last == 's' || last == 'e' || last == 'w';
  if (!hasRef) {
    double v = 0;
    if (!ParseDouble(text, &v) || std::fabs(v) > 180) return false;
    *out = v;
    return true;
  }
  if (last == 'S' || last == 'W' || last == 's' || last == 'w') sign = -1;
  text.remove_suffix(1);
  double parts[3] = {0, 0, 0};
  size_t count = 0;
  while (true) {
    const size_t comma = text.find(',');
    if (count == 3) return false;
    if (!ParseDouble(text.substr(0, comma), &parts[count])) return false;
    ++count;
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  if (parts[0] < 0 || parts[1] < 0 || parts[1] >= 60 || parts[2] < 0 || parts[2] >= 60)
    return false;
  const double v = parts[0] + parts[1] / 60 + parts[2] / 3600;
  if (v > 180) return false;
  *out = sign * v;
  return true;
}

std::wstring IccProfileDescription(const uint8_t* data, size_t size) {
  if (data == nullptr || size < 132) return {};
  if (Be32(data) > size || std::memcmp(data + 36, "acsp", 4) != 0) return {};
  const uint64_t count = Be32(data + 128);
  if (count > (size - 132) / 12) return {};
  for (uint64_t i = 0; i < count; ++i) {
    const uint8_t* entry = data + 132 + i * 12;
    if (std::memcmp(entry, "desc", 4) != 0) continue;
    const uint64_t offset = Be32(entry + 4);
    const uint64_t length = Be32(entry + 8);
    if (offset > size || length > size - offset || length < 12) return {};
    const uint8_t* tag = data + offset;
    if (std::memcmp(tag, "desc", 4) == 0) {
      const uint64_t chars = Be32(tag + 8);
      if (chars > length - 12) return {};
      const std::string_view ascii(reinterpret_cast<const char*>(tag + 12),
                                   static_cast<size_t>(chars));
      return DecodeMetadataText(ascii.substr(0, ascii.find('\0')));
    }
    if (std::memcmp(tag, "mluc", 4) == 0 && length >= 16) {
      const uint64_t records = Be32(tag + 8);
      const uint64_t recordSize = Be32(tag + 12);
      if (records == 0 || recordSize < 12 || records > (length - 16) / recordSize) return {};
      // English when the profile has it, else its first language.
      uint64_t chosen = 0;
      for (uint64_t r = 0; r < records; ++r) {
        if (std::memcmp(tag + 16 + r * recordSize, "en", 2) == 0) {
          chosen = r;
          break;
        }
      }
      const uint8_t* record = tag + 16 + chosen * recordSize;
      const uint64_t textLength = Be32(record + 4);
      const uint64_t textOffset = Be32(record + 8);
      if (textOffset > length || textLength > length - textOffset) return {};
      return TrimWide(Utf16BeText(tag + textOffset, static_cast<size_t>(textLength)));
    }
    return {};
  }
  return {};
}

}  // namespace lmk
