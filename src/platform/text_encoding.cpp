// UTF-8 codec for the wide text used throughout the code.
#include "platform/text_encoding.h"

#include <algorithm>
#include <cstdint>

namespace lmk {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

void AppendWide(std::wstring& out, char32_t c) {
  if constexpr (sizeof(wchar_t) == 2) {
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<wchar_t>(0xD800 + (c >> 10));
      out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
      return;
    }
  }
  out += static_cast<wchar_t>(c);
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = static_cast<char32_t>(text[i]);
    if constexpr (sizeof(wchar_t) == 2) {
      if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size()) {
        const char32_t low = static_cast<char32_t>(text[i + 1]);
        if (low >= 0xDC00 && low <= 0xDFFF) {
          c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
          ++i;
        }
      }
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::wstring FromUtf8(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<uint8_t>(text[i]);
    int extra = 0;
    char32_t c = 0;
    char32_t min = 0;
    if (lead < 0x80) {
      c = lead;
    } else if ((lead & 0xE0) == 0xC0) {
      extra = 1, c = lead & 0x1F, min = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      extra = 2, c = lead & 0x0F, min = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      extra = 3, c = lead & 0x07, min = 0x10000;
    } else {
      AppendWide(out, kReplacement);
      ++i;
      continue;
    }
    size_t j = i + 1;
    bool ok = true;
    for (int k = 0; k < extra; ++k, ++j) {
      if (j >= text.size() || (static_cast<uint8_t>(text[j]) & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      c = (c << 6) | (static_cast<uint8_t>(text[j]) & 0x3F);
    }
    if (!ok || c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      AppendWide(out, kReplacement);
      i = ok ? j : std::max(j, i + 1);
      continue;
    }
    AppendWide(out, c);
    i = j;
  }
  return out;
}

}  // namespace lmk
