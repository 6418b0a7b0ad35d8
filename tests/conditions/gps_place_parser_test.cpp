// Tests of reading a place from pasted text: the accepted forms and the refused ones.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "conditions/place_parser.h"

namespace lmk {
namespace {

struct PlaceCase {
  const char* name;
  const wchar_t* text;
  std::optional<GeoPlace> expected;
};

const PlaceCase kPlaceCases[] = {
    {"PlainComma", L"46.207388,6.15589", GeoPlace{46.207388, 6.15589}},
    {"PlainSemicolonWithSpaces", L"  48.8584 ; 2.2945  ", GeoPlace{48.8584, 2.2945}},
    {"PlainTilde", L"-33.8568~151.2153", GeoPlace{-33.8568, 151.2153}},
    {"PlainNegativeLongitude", L"40.6892,-74.0445", GeoPlace{40.6892, -74.0445}},
    {"PlainWithTrailingNewline", L"46.2,6.1\r\n", GeoPlace{46.2, 6.1}},
    {"CpTilde", L"https://maps.example/?cp=47.6097~-122.3331&lvl=15", GeoPlace{47.6097, -122.3331}},
    {"LlComma", L"https://maps.example/maps?ll=35.6586,139.7454&z=17", GeoPlace{35.6586, 139.7454}},
    {"QComma", L"https://maps.example/?hl=en&q=51.5007,-0.1246", GeoPlace{51.5007, -0.1246}},
    {"LatThenLon", L"https://maps.example/map?lat=64.1466&zoom=3&lon=-21.9426",
     GeoPlace{64.1466, -21.9426}},
    {"AtCommaPair", L"https://maps.example/place/@,41.8902,12.4922,17z",
     GeoPlace{41.8902, 12.4922}},
    {"EqualsPairComma", L"https://maps.example/?c=27.1751,78.0421,15", GeoPlace{27.1751, 78.0421}},
    {"UpperCaseQuery", L"HTTPS://MAPS.EXAMPLE/?LL=35.5,139.5", GeoPlace{35.5, 139.5}},
    {"Empty", L"", std::nullopt},
    {"Words", L"Paris, France", std::nullopt},
    {"IntegersOnly", L"46,6", std::nullopt},
    {"DecimalComma", L"46,207388;6,15589", std::nullopt},
    {"ThreeDigitLatitude", L"146.2,6.1", std::nullopt},
    {"LatitudeBeyondPole", L"95.0,6.1", std::nullopt},
    {"LongitudeBeyondDateLine", L"45.0,181.0", std::nullopt},
    {"SpaceSeparated", L"46.2 6.1", std::nullopt},
    {"UrlWithoutCoordinates", L"https://maps.example/?q=eiffel+tower", std::nullopt},
};

class PlaceParserTest : public testing::TestWithParam<PlaceCase> {};

TEST_P(PlaceParserTest, ParsesOrRefuses) {
  const PlaceCase& c = GetParam();
  const std::optional<GeoPlace> place = ParseClipboardPlace(c.text);
  ASSERT_EQ(place.has_value(), c.expected.has_value());
  if (place) {
    EXPECT_DOUBLE_EQ(place->latitude, c.expected->latitude);
    EXPECT_DOUBLE_EQ(place->longitude, c.expected->longitude);
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, PlaceParserTest, testing::ValuesIn(kPlaceCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(PlaceParserMessage, NamesTheExampleAndTheSeparators) {
  const std::wstring message(kPlaceNotRecognizedMessage);
  EXPECT_TRUE(
      message.starts_with(L"There is no recognizable map URL or text on the clipboard.\n\n"));
  EXPECT_NE(message.find(L"e.g. 46.207388,6.15589\r\n\r\n"), std::wstring::npos);
  EXPECT_TRUE(message.ends_with(L"so we can add support for it if possible."));
}

}  // namespace
}  // namespace lmk
