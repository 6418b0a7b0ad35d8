// Only POSIX code here: environment variables read through getenv.
#include "platform/environment.h"

#include <cstdlib>
#include <optional>

#include "platform/text_encoding.h"

namespace lmk {
namespace {

bool IsNameChar(wchar_t c) {
  return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9') ||
         c == L'_';
}

std::optional<std::wstring> Lookup(std::wstring_view name) {
  if (name.empty()) return std::nullopt;
  const char* value = std::getenv(ToUtf8(name).c_str());
  if (value == nullptr) return std::nullopt;
  return FromUtf8(value);
}

}  // namespace

std::wstring ExpandEnvironmentText(std::wstring_view text) {
  std::wstring out;
  size_t i = 0;
  while (i < text.size()) {
    wchar_t c = text[i];
    if (c == L'%') {
      size_t close = text.find(L'%', i + 1);
      if (close != std::wstring_view::npos) {
        if (auto value = Lookup(text.substr(i + 1, close - i - 1))) {
          out += *value;
          i = close + 1;
          continue;
        }
      }
    } else if (c == L'$' && i + 1 < text.size()) {
      if (text[i + 1] == L'{') {
        size_t close = text.find(L'}', i + 2);
        if (close != std::wstring_view::npos) {
          if (auto value = Lookup(text.substr(i + 2, close - i - 2))) {
            out += *value;
            i = close + 1;
            continue;
          }
        }
      } else {
        size_t end = i + 1;
        while (end < text.size() && IsNameChar(text[end])) ++end;
        if (auto value = Lookup(text.substr(i + 1, end - i - 1))) {
          out += *value;
          i = end;
          continue;
        }
      }
    }
    out += c;
    ++i;
  }
  return out;
}

}  // namespace lmk
