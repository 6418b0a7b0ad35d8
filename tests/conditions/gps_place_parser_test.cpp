// Reading a place from pasted text: the accepted forms and the refused ones (cases in
// tests/data/cases/places.tsv).
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "conditions/place_parser.h"
#include "support/data_table.h"

namespace lmk {
namespace {

class PlaceParserTest : public testing::TestWithParam<test::CaseRow> {};

TEST_P(PlaceParserTest, ParsesOrRefuses) {
  const test::CaseRow& c = GetParam();
  const std::optional<GeoPlace> place = ParseClipboardPlace(test::Wide(c[0]));
  ASSERT_EQ(place.has_value(), !c[1].empty());
  if (place) {
    EXPECT_DOUBLE_EQ(place->latitude, std::stod(c[1]));
    EXPECT_DOUBLE_EQ(place->longitude, std::stod(c[2]));
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, PlaceParserTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/places.tsv")),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
