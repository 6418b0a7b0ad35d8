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
  // Puts the value of the name that text holds from `from` to `to` in place of text from i to
  // `next`; a name without a value leaves the text as it is.
  auto substitute = [&](size_t from, size_t to, size_t next) {
    if (to == std::wstring_view::npos) return false;
    const auto value = Lookup(text.substr(from, to - from));
    if (!value) return false;
    out += *value;
    i = next;
    return true;
  };
  while (i < text.size()) {
    const wchar_t c = text[i];
    if (c == L'%') {
      const size_t close = text.find(L'%', i + 1);
      if (substitute(i + 1, close, close + 1)) continue;
    } else if (c == L'$' && i + 1 < text.size()) {
      if (text[i + 1] == L'{') {
        const size_t close = text.find(L'}', i + 2);
        if (substitute(i + 2, close, close + 1)) continue;
      } else {
        size_t end = i + 1;
        while (end < text.size() && IsNameChar(text[end])) ++end;
        if (substitute(i + 1, end, end)) continue;
      }
    }
    out += c;
    ++i;
  }
  return out;
}

}  // namespace lmk
