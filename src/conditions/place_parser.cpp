// Reading a place from pasted text: a coordinate pair or a map web page's address.
#include "conditions/place_parser.h"

#include <charconv>
#include <string>
#include <vector>

#include "com/com_error.h"
#include "templates/bounded_regex.h"

namespace lmk {
namespace {

struct PlacePattern {
  const wchar_t* expression;
  int latitudeGroup;
  int longitudeGroup;
};

// The first pattern that matches wins: the plain pair is the most specific, the last two are
// catch-alls for addresses that put the pair after a comma or an equals sign.
constexpr PlacePattern kPatterns[] = {
    {LR"(^\s*(-?[0-9]{1,2}\.[0-9]+)\s*[,~;]\s*(-?[0-9]{1,3}\.[0-9]+)\s*$)", 1, 2},
    {LR"(.*[&\?]cp=(-?[0-9]{1,2}\.[0-9]+)~(-?[0-9]{1,3}\.[0-9]+).*)", 1, 2},
    {LR"(.*[&\?](ll|q)=(-?[0-9]{1,2}\.[0-9]+),(-?[0-9]{1,3}\.[0-9]+).*)", 2, 3},
    {LR"(.*[&\?]lat=(-?[0-9]{1,2}\.[0-9]+).*[&\?]lon=(-?[0-9]{1,3}\.[0-9]+).*)", 1, 2},
    {LR"(.*,(-?[0-9]{1,2}\.[0-9]+),(-?[0-9]{1,3}\.[0-9]+).*)", 1, 2},
    {LR"(.*=(-?[0-9]{1,2}\.[0-9]+),(-?[0-9]{1,3}\.[0-9]+),.*)", 1, 2},
};

const BoundedRegex& Compiled(std::size_t index) {
  // Compiled once for the process; matching a const expression is safe from any thread.
  static const std::vector<std::unique_ptr<BoundedRegex>> compiled = [] {
    std::vector<std::unique_ptr<BoundedRegex>> out;
    for (const PlacePattern& pattern : kPatterns) {
      out.push_back(BoundedRegex::Compile(pattern.expression));
    }
    return out;
  }();
  return *compiled[index];
}

// The captured number, read with a dot as decimal point whatever the locale.
double ParseDecimal(const std::wstring& digits) {
  // Only '-', digits and '.' were captured: each fits in one narrow character.
  std::string narrow(digits.begin(), digits.end());
  double value = 0;
  std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
  return value;
}

}  // namespace

std::optional<GeoPlace> ParseClipboardPlace(std::wstring_view text) {
  // ECMAScript's "." stops at line ends; a pasted address may carry a trailing one.
  std::wstring line(text);
  while (!line.empty() && (line.back() == L'\n' || line.back() == L'\r')) line.pop_back();
  for (std::size_t i = 0; i < std::size(kPatterns); ++i) {
    std::vector<std::wstring> match;
    try {
      if (!Compiled(i).Match(line, &match)) continue;
    } catch (const ComError&) {
      continue;  // pasted text this pattern cannot decide in time is no place of its kind
    }
    GeoPlace place;
    place.latitude = ParseDecimal(match[kPatterns[i].latitudeGroup]);
    place.longitude = ParseDecimal(match[kPatterns[i].longitudeGroup]);
    if (place.latitude < -90 || place.latitude > 90 || place.longitude < -180 ||
        place.longitude > 180) {
      continue;
    }
    return place;
  }
  return std::nullopt;
}

}  // namespace lmk
