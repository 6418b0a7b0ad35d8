// The written forms of parameters: what people may write, what is refused, and that what is
// written reads back unchanged.
#include "rules/param_codec.h"

#include <gtest/gtest.h>

#include "support/data_table.h"

namespace lmk {
namespace {

// The rows of tests/data/param_forms.txt of one kind; f[0] is the text read.
std::vector<test::NamedRow> Forms(const char* kind) {
  return test::NamedRows("param_forms.txt", kind, 5);
}

const auto kName = [](const auto& i) { return i.param.name; };

class CompareOpTest : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(CompareOpTest, ReadsTheOperatorCode) {
  const int expected = std::stoi(GetParam().f[2]);
  const auto parsed = ParseCompareOp(test::Widen(GetParam().f[0]), GetParam().f[1] == "1");
  if (expected == 0) {
    EXPECT_FALSE(parsed);
    EXPECT_NE(parsed.why.find(L"<>"), std::wstring::npos) << "the reason lists the operators";
  } else {
    ASSERT_TRUE(parsed);
    EXPECT_EQ(static_cast<int>(*parsed.value), expected);
    EXPECT_EQ(ParseCompareOp(FormatCompareOp(*parsed.value), true).value, parsed.value);
  }
}

INSTANTIATE_TEST_SUITE_P(Operators, CompareOpTest, ::testing::ValuesIn(Forms("compare")), kName);

class IsoDateTest : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(IsoDateTest, ReadsCalendarTimeAsFileTime) {
  const bool ok = !GetParam().f[1].empty();
  const auto parsed = ParseIsoDate(test::Widen(GetParam().f[0]));
  ASSERT_EQ(parsed.value.has_value(), ok) << std::string(parsed.why.begin(), parsed.why.end());
  if (!ok) return;
  EXPECT_EQ(*parsed.value, std::stoll(GetParam().f[1]));
  EXPECT_EQ(FormatIsoDate(*parsed.value), test::Widen(GetParam().f[2]));
}

INSTANTIATE_TEST_SUITE_P(Dates, IsoDateTest, ::testing::ValuesIn(Forms("date")), kName);

class SizeTest : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(SizeTest, ReadsBytesAndUnit) {
  const bool ok = !GetParam().f[1].empty();
  const auto parsed = ParseSize(test::Widen(GetParam().f[0]));
  ASSERT_EQ(parsed.value.has_value(), ok);
  if (!ok) {
    EXPECT_NE(parsed.why.find(L"MB"), std::wstring::npos) << "the reason names the units";
    return;
  }
  const std::uint64_t bytes = std::stoull(GetParam().f[1]);
  const auto unit = static_cast<std::uint32_t>(std::stoul(GetParam().f[2]));
  EXPECT_EQ(parsed.value->bytes, bytes);
  EXPECT_EQ(parsed.value->unit, unit);
  const std::wstring written = FormatSize(*parsed.value);
  EXPECT_EQ(written, test::Widen(GetParam().f[3]));
  const auto again = ParseSize(written);
  ASSERT_TRUE(again);
  EXPECT_EQ(again.value->bytes, bytes);
  EXPECT_EQ(again.value->unit, unit);
}

INSTANTIATE_TEST_SUITE_P(Sizes, SizeTest, ::testing::ValuesIn(Forms("size")), kName);

const ParamUnit kDistance[] = {{L"m", 1}, {L"km", 1000}, {L"naut. mi", 1852, L"nmi"}};

struct ScalarCase {
  const char* name;
  std::function<bool()> check;
};

const ScalarCase kScalarCases[] = {
    {"BoolWords", [] { return *ParseBool(L"Yes").value && !*ParseBool(L"off").value; }},
    {"BoolRefusesNumbers", [] { return !ParseBool(L"1"); }},
    {"IntegerInRange", [] { return *ParseInteger(L"+42", 0, 100).value == 42; }},
    {"IntegerOutOfRange", [] { return !ParseInteger(L"101", 0, 100); }},
    {"IntegerRefusesFraction", [] { return !ParseInteger(L"4.5", 0, 100); }},
    {"IntegerRefusesNonAscii", [] { return !ParseInteger(L"\u0664\u0662", 0, 100); }},
    {"NumberShortestForm", [] { return FormatNumber(0.1) == L"0.1"; }},
    {"NumberRefusesNaN", [] { return !ParseNumber(L"nan", -1e9, 1e9); }},
    {"QuantityWithUnitOfTwoWords",
     [] {
       const auto q = ParseQuantity(L"2.5 naut. mi", kDistance);
       return q && q.value->amount == 2.5 && q.value->unit == 2;
     }},
    {"QuantityAlias",
     [] {
       const auto q = ParseQuantity(L"3NMI", kDistance);
       return q && q.value->unit == 2 && FormatQuantity(*q.value, kDistance) == L"3 naut. mi";
     }},
    {"QuantityNeedsUnit", [] { return !ParseQuantity(L"500", kDistance); }},
    {"QuantityExponent",
     [] {
       const auto q = ParseQuantity(L"1e3 m", kDistance);
       return q && q.value->amount == 1000;
     }},
    {"PlaceDecimalDegrees",
     [] {
       const auto p = ParsePlace(L"-33.8568, 151.2153");
       return p && p.value->latitude == -33.8568 && p.value->longitude == 151.2153;
     }},
    {"PlaceLatitudeOutOfRange", [] { return !ParsePlace(L"91, 0"); }},
    {"PlaceNeedsTwoNumbers", [] { return !ParsePlace(L"48.8584"); }},
    {"TimeOfDayWithoutSeconds",
     [] { return *ParseTimeOfDay(L"06:30").value == 23400 * kTicksPerSecond; }},
    {"TimeOfDayIgnoresDate",
     [] { return FormatTimeOfDay(3 * kTicksPerDay + 61 * kTicksPerSecond) == L"00:01:01"; }},
};

class ScalarTest : public ::testing::TestWithParam<ScalarCase> {};

TEST_P(ScalarTest, Holds) { EXPECT_TRUE(GetParam().check()); }

INSTANTIATE_TEST_SUITE_P(Scalars, ScalarTest, ::testing::ValuesIn(kScalarCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(FlagWordsTest, ReadsAndWritesBitsByName) {
  constexpr ParamWord kBits[] = {{L"latitude", 1}, {L"longitude", 2}, {L"lat", 1}, {L"both", 3}};
  const std::vector<std::wstring> words = {L"LAT", L" longitude"};
  const auto mask = ParseFlagWords(words, kBits);
  ASSERT_TRUE(mask);
  EXPECT_EQ(*mask.value, 3u);
  // Each bit is written once, by its first word, and a combined word adds nothing new.
  EXPECT_EQ(FormatFlagWords(3, kBits), (std::vector<std::wstring>{L"latitude", L"longitude"}));
  const std::vector<std::wstring> none = {L"none"};
  EXPECT_EQ(*ParseFlagWords(none, kBits).value, 0u);
  const std::vector<std::wstring> bad = {L"height"};
  const auto refused = ParseFlagWords(bad, kBits);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.why, L"unknown word 'height'; write a list of latitude, longitude, both");
}

}  // namespace
}  // namespace lmk
