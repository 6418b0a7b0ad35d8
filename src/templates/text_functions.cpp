// Trimming, case and replacement of text for the template functions.
#include "templates/text_functions.h"

#include <algorithm>
#include <cwctype>

#include "templates/regex_cache.h"

namespace lmk {

bool TextFunctions::IsSpace(wchar_t c) { return std::iswspace(static_cast<wint_t>(c)) != 0; }

bool TextFunctions::IsTitleSeparator(wchar_t c) {
  static constexpr std::wstring_view kListed = L" !#$%&'()+,-./;=?@[\\]^_`{|}~";
  return IsSpace(c) || std::iswpunct(static_cast<wint_t>(c)) != 0 ||
         kListed.find(c) != std::wstring_view::npos;
}

std::wstring TextFunctions::Upper(std::wstring_view text) {
  std::wstring out(text);
  for (wchar_t& c : out) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  return out;
}

std::wstring TextFunctions::Lower(std::wstring_view text) {
  std::wstring out(text);
  for (wchar_t& c : out) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return out;
}

std::wstring TextFunctions::TitleCase(std::wstring_view text) {
  std::wstring out = Lower(text);
  bool capital = true;
  for (size_t i = 0; i < out.size(); ++i) {
    if (IsTitleSeparator(text[i])) {
      capital = true;
    } else if (capital) {
      out[i] = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(text[i])));
      capital = false;
    }
  }
  // The first character is upper case even when it is itself a separator.
  if (!out.empty()) out[0] = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(text[0])));
  return out;
}

std::wstring TextFunctions::ApplyCase(std::wstring_view text, int modifier) {
  switch (modifier) {
    case 1:
      return Upper(text);
    case 2:
      return Lower(text);
    case 3:
      return TitleCase(text);
    default:
      return std::wstring(text);
  }
}

namespace {

size_t FirstNonBlank(std::wstring_view text) {
  size_t i = 0;
  while (i < text.size() && TextFunctions::IsSpace(text[i])) ++i;
  return i;
}

size_t EndOfNonBlank(std::wstring_view text) {
  size_t end = text.size();
  while (end > 0 && TextFunctions::IsSpace(text[end - 1])) --end;
  return end;
}

// Applies `keep_run` to each run of white space between the first and last non-blank character.
template <class KeepRun>
std::wstring SqueezeInner(std::wstring_view text, KeepRun keep_run) {
  size_t first = FirstNonBlank(text);
  size_t end = EndOfNonBlank(text);
  if (first >= end) return std::wstring(text);
  std::wstring out(text.substr(0, first));
  for (size_t i = first; i < end;) {
    if (!TextFunctions::IsSpace(text[i])) {
      out += text[i++];
      continue;
    }
    size_t run_end = i;
    while (run_end < end && TextFunctions::IsSpace(text[run_end])) ++run_end;
    keep_run(out, text.substr(i, run_end - i));
    i = run_end;
  }
  out += text.substr(end);
  return out;
}

}  // namespace

std::wstring TextFunctions::LTrim(std::wstring_view text, size_t drop) {
  text.remove_prefix(FirstNonBlank(text));
  return drop >= text.size() ? std::wstring() : std::wstring(text.substr(drop));
}

std::wstring TextFunctions::RTrim(std::wstring_view text, size_t drop) {
  text = text.substr(0, EndOfNonBlank(text));
  return drop >= text.size() ? std::wstring() : std::wstring(text.substr(0, text.size() - drop));
}

std::wstring TextFunctions::LRTrim(std::wstring_view text) {
  text = text.substr(0, EndOfNonBlank(text));
  return std::wstring(text.substr(FirstNonBlank(text)));
}

std::wstring TextFunctions::InnerTrim(std::wstring_view text) {
  return SqueezeInner(text, [](std::wstring&, std::wstring_view) {});
}

std::wstring TextFunctions::AllTrim(std::wstring_view text) {
  std::wstring out;
  for (wchar_t c : LRTrim(text)) {
    if (!IsSpace(c)) out += c;
  }
  return out;
}

std::wstring TextFunctions::SingleSpace(std::wstring_view text) {
  return SqueezeInner(text, [](std::wstring& out, std::wstring_view run) { out += run[0]; });
}

std::wstring TextFunctions::Left(std::wstring_view text, size_t count) {
  return std::wstring(text.substr(0, count));
}

std::wstring TextFunctions::Right(std::wstring_view text, size_t count) {
  return count >= text.size() ? std::wstring(text) : std::wstring(text.substr(text.size() - count));
}

std::wstring TextFunctions::Mid(std::wstring_view text, size_t start, size_t count) {
  if (start >= text.size()) return {};
  return std::wstring(text.substr(start, count));
}

std::wstring TextFunctions::Reverse(std::wstring_view text) {
  return std::wstring(text.rbegin(), text.rend());
}

std::wstring TextFunctions::Replace(std::wstring_view text, std::wstring_view pattern,
                                    std::wstring_view replacement) {
  const BoundedRegex* regex = RegexCache::Get(pattern);
  if (regex == nullptr) return std::wstring(text);
  return regex->ReplaceAll(text, replacement);
}

}  // namespace lmk
