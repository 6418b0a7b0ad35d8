// The outer scan of templates.
#include "templates/template_scanner.h"

#include <algorithm>
#include <cwctype>

#include "templates/expansion_call.h"
#include "templates/variable_dispatcher.h"

namespace lmk {
namespace {

bool IsUserDefined(std::wstring_view token) {
  constexpr std::wstring_view kPrefix = L"{UserDefined:";
  if (token.size() < kPrefix.size()) return false;
  for (size_t i = 0; i < kPrefix.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(token[i])) !=
        std::towlower(static_cast<wint_t>(kPrefix[i]))) {
      return false;
    }
  }
  return true;
}

}  // namespace

size_t TemplateScanner::TokenLength(std::wstring_view text) {
  size_t depth = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'{') {
      ++depth;
    } else if (text[i] == L'}') {
      if (--depth == 0) return i + 1;
    }
  }
  return std::wstring_view::npos;
}

void TemplateScanner::Append(std::wstring* out, std::wstring_view piece) {
  size_t needed = out->size() + piece.size();
  // Only result buffers grow in fixed steps; the small buffers of inner templates grow as
  // strings do, so nesting costs no large allocations.
  if (needed > out->capacity() && out->capacity() >= kGrowth) {
    out->reserve(out->capacity() + std::max(kGrowth, needed - out->capacity()));
  }
  out->append(piece);
}

void TemplateScanner::ConfineValue(std::wstring* text, size_t from) {
  bool onlyDots = from < text->size();
  for (size_t i = from; i < text->size(); ++i) {
    wchar_t& c = (*text)[i];
    if (c == L'/' || c == L'\\' || c == L':') c = L'~';
    onlyDots = onlyDots && c == L'.';
  }
  if (onlyDots) text->replace(from, std::wstring::npos, L"~");
}

void TemplateScanner::Expand(std::wstring_view text, ExpansionCall& call, std::wstring* out) {
  size_t i = 0;
  while (i < text.size()) {
    // Copy the run of plain text up to the next brace at once.
    size_t brace = text.find_first_of(L"{}", i);
    if (brace == std::wstring_view::npos) brace = text.size();
    if (brace > i) {
      Append(out, text.substr(i, brace - i));
      i = brace;
      continue;
    }
    wchar_t c = text[i];
    bool doubled = i + 1 < text.size() && text[i + 1] == c;
    if (c == L'}' || doubled) {
      // "}}" and "{{" give one brace; a single '}' is plain text.
      Append(out, text.substr(i, 1));
      i += doubled ? 2 : 1;
      continue;
    }
    size_t length = TokenLength(text.substr(i));
    if (length == std::wstring_view::npos) return;
    std::wstring_view token = text.substr(i, length);
    // Values are written straight into the result (no buffer per token).
    const size_t start = out->size();
    if (!VariableDispatcher::Expand(token, call, out)) {
      Append(out, token);
    } else if (call.depth() == 0 && call.context().confine_values() && !IsUserDefined(token)) {
      // Only the outermost value: text functions work on what the picture holds. A user-defined
      // value is the user's own template text, so it may name folders; the picture's values
      // inside it were confined one by one as it was expanded.
      ConfineValue(out, start);
    }
    i += length;
  }
}

}  // namespace lmk
