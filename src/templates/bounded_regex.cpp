// Users' regular expressions on Boost.Regex, whose matcher counts its steps and gives up.
#include "templates/bounded_regex.h"

#include <boost/regex.hpp>

#include "com/com_error.h"

namespace lmk {

struct BoundedRegex::Engine {
  boost::wregex regex;
};

namespace {

// Perl-style defaults that ECMAScript does not have are switched off: "^" and "$" are not line
// anchors (no_mod_m) and "." does not match a line end (no_mod_s).
constexpr auto kSyntax = boost::regex::ECMAScript | boost::regex::icase | boost::regex::no_mod_m |
                         boost::regex::no_mod_s;

[[noreturn]] void ThrowTooComplex(const std::wstring& pattern, std::wstring_view text) {
  throw ComError(BoundedRegex::kTooComplex,
                 L"the regular expression \"" + pattern + L"\" is too complex to match \"" +
                     std::wstring(text) +
                     L"\": it would try too many ways. Simplify it (a repeat inside a repeat, "
                     L"such as \"(a+)+\", is the usual cause).");
}

void AppendGroup(const boost::wcmatch& match, size_t index, std::wstring* out) {
  if (index < match.size() && match[static_cast<int>(index)].matched) {
    out->append(match[static_cast<int>(index)].first, match[static_cast<int>(index)].second);
  }
}

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// The ECMAScript replace rules, as the standard library's regex_replace applies them: "$" and
// one or two digits name a group (nothing when there is no such group), an unknown "$x" stays.
void AppendFormatted(const boost::wcmatch& match, std::wstring_view format, std::wstring* out) {
  size_t i = 0;
  while (i < format.size()) {
    const size_t dollar = format.find(L'$', i);
    if (dollar == std::wstring_view::npos) break;
    out->append(format.substr(i, dollar - i));
    i = dollar + 1;
    if (i == format.size()) {
      *out += L'$';
      break;
    }
    const wchar_t c = format[i];
    if (c == L'$') {
      *out += L'$';
      ++i;
    } else if (c == L'&') {
      AppendGroup(match, 0, out);
      ++i;
    } else if (c == L'`') {
      out->append(match.prefix().first, match.prefix().second);
      ++i;
    } else if (c == L'\'') {
      out->append(match.suffix().first, match.suffix().second);
      ++i;
    } else if (IsDigit(c)) {
      size_t index = static_cast<size_t>(c - L'0');
      ++i;
      if (i < format.size() && IsDigit(format[i])) index = index * 10 + (format[i++] - L'0');
      AppendGroup(match, index, out);
    } else {
      *out += L'$';
    }
  }
  if (i < format.size()) out->append(format.substr(i));
}

}  // namespace

BoundedRegex::BoundedRegex(std::wstring pattern, std::unique_ptr<Engine> engine)
    : pattern_(std::move(pattern)), engine_(std::move(engine)) {}

BoundedRegex::~BoundedRegex() = default;

std::unique_ptr<BoundedRegex> BoundedRegex::Compile(std::wstring_view pattern) {
  auto engine = std::make_unique<Engine>();
  try {
    engine->regex.assign(pattern.data(), pattern.data() + pattern.size(), kSyntax);
  } catch (const boost::regex_error&) {
    return nullptr;
  }
  return std::unique_ptr<BoundedRegex>(new BoundedRegex(std::wstring(pattern), std::move(engine)));
}

bool BoundedRegex::Match(std::wstring_view text, std::vector<std::wstring>* groups) const {
  boost::wcmatch match;
  bool matched = false;
  try {
    const wchar_t* begin = text.empty() ? L"" : text.data();
    matched = boost::regex_match(begin, begin + text.size(), match, engine_->regex);
  } catch (const std::runtime_error&) {
    ThrowTooComplex(pattern_, text);
  }
  if (matched && groups != nullptr) {
    for (size_t i = 0; i < match.size(); ++i) {
      groups->push_back(match[static_cast<int>(i)].matched ? match[static_cast<int>(i)].str()
                                                           : std::wstring());
    }
  }
  return matched;
}

std::wstring BoundedRegex::ReplaceAll(std::wstring_view text, std::wstring_view format) const {
  std::wstring out;
  const wchar_t* const begin = text.empty() ? L"" : text.data();
  const wchar_t* const end = begin + text.size();
  const wchar_t* rest = begin;
  try {
    boost::wcregex_iterator it(begin, end, engine_->regex);
    for (const boost::wcregex_iterator last; it != last; ++it) {
      const boost::wcmatch& match = *it;
      out.append(match.prefix().first, match.prefix().second);
      AppendFormatted(match, format, &out);
      rest = match[0].second;
    }
  } catch (const std::runtime_error&) {
    ThrowTooComplex(pattern_, text);
  }
  out.append(rest, end);
  return out;
}

}  // namespace lmk
