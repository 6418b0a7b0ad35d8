// The written forms of parameters: what people may write, what is refused, and that what is
// written reads back unchanged.
#include "rules/param_codec.h"

#include <gtest/gtest.h>

namespace lmk {
namespace {

struct CompareCase {
  const char* name;
  const wchar_t* text;
  bool allowNotSet;
  int expected;  // 0 = refused
};

const CompareCase kCompareCases[] = {
    {"Equal", L"=", false, 1},
    {"DoubleEqual", L"==", false, 1},
    {"NotEqual", L"<>", false, 2},
    {"BangEqual", L"!=", false, 2},
    {"Less", L" < ", false, 3},
    {"LessOrEqual", L"<=", false, 4},
    {"Greater", L">", false, 5},
    {"GreaterOrEqual", L">=", false, 6},
    {"Words", L"Greater Than Or Equal To", false, 6},
    {"NotSet", L"not set", true, 15},
    {"NotSetRefusedWhereNotAllowed", L"not set", false, 0},
    {"Reversed", L"=>", false, 0},
    {"Empty", L"", true, 0},
};

class CompareOpTest : public ::testing::TestWithParam<CompareCase> {};

TEST_P(CompareOpTest, ReadsTheOperatorCode) {
  const CompareCase& c = GetParam();
  const auto parsed = ParseCompareOp(c.text, c.allowNotSet);
  if (c.expected == 0) {
    EXPECT_FALSE(parsed);
    EXPECT_NE(parsed.why.find(L"<>"), std::wstring::npos) << "the reason lists the operators";
  } else {
    ASSERT_TRUE(parsed);
    EXPECT_EQ(static_cast<int>(*parsed.value), c.expected);
    EXPECT_EQ(ParseCompareOp(FormatCompareOp(*parsed.value), true).value, parsed.value);
  }
}

INSTANTIATE_TEST_SUITE_P(Operators, CompareOpTest, ::testing::ValuesIn(kCompareCases),
                         [](const auto& i) { return std::string(i.param.name); });

struct DateCase {
  const char* name;
  const wchar_t* text;
  bool ok;
  std::int64_t fileTime;
  const wchar_t* written;
};

const DateCase kDateCases[] = {
    {"Epoch", L"1601-01-01", true, 0, L"1601-01-01"},
    {"UnixEpoch", L"1970-01-01", true, 116444736000000000, L"1970-01-01"},
    {"LeapDayWithTime", L"2024-02-29T13:45:30", true, 133536879300000000, L"2024-02-29T13:45:30"},
    {"BlankSeparatorAndNoSeconds", L"2024-02-29 13:45", true, 133536879000000000,
     L"2024-02-29T13:45:00"},
    {"NoLeapDay", L"2023-02-29", false, 0, nullptr},
    {"Century1900NotLeap", L"1900-02-29", false, 0, nullptr},
    {"Year2000Leap", L"2000-02-29", true, 125962560000000000, L"2000-02-29"},
    {"BeforeFileTimes", L"1600-12-31", false, 0, nullptr},
    {"Month13", L"2024-13-01", false, 0, nullptr},
    {"Hour24", L"2024-01-01T24:00:00", false, 0, nullptr},
    {"TimeZoneNotAccepted", L"2024-01-01T10:00:00Z", false, 0, nullptr},
    {"DayFirst", L"17.05.2024", false, 0, nullptr},
};

class IsoDateTest : public ::testing::TestWithParam<DateCase> {};

TEST_P(IsoDateTest, ReadsCalendarTimeAsFileTime) {
  const DateCase& c = GetParam();
  const auto parsed = ParseIsoDate(c.text);
  ASSERT_EQ(parsed.value.has_value(), c.ok) << std::string(parsed.why.begin(), parsed.why.end());
  if (!c.ok) return;
  EXPECT_EQ(*parsed.value, c.fileTime);
  EXPECT_EQ(FormatIsoDate(*parsed.value), c.written);
}

INSTANTIATE_TEST_SUITE_P(Dates, IsoDateTest, ::testing::ValuesIn(kDateCases),
                         [](const auto& i) { return std::string(i.param.name); });

struct SizeCase {
  const char* name;
  const wchar_t* text;
  bool ok;
  std::uint64_t bytes;
  std::uint32_t unit;
  const wchar_t* written;
};

const SizeCase kSizeCases[] = {
    {"PlainBytes", L"123", true, 123, 0, L"123 bytes"},
    {"Megabytes", L"10 MB", true, 10485760, 2, L"10 MB"},
    {"NoBlankLowerCase", L"1.5gb", true, 1610612736, 3, L"1.5 GB"},
    {"Kibibytes", L"2 KiB", true, 2048, 1, L"2 KB"},
    {"Terabyte", L"1 TB", true, 1099511627776ull, 4, L"1 TB"},
    {"FractionOfAByteRounds", L"0.1 KB", true, 102, 1, L"0.099609375 KB"},
    {"Negative", L"-1 MB", false, 0, 0, nullptr},
    {"UnknownUnit", L"5 parsecs", false, 0, 0, nullptr},
    {"NoNumber", L"MB", false, 0, 0, nullptr},
};

class SizeTest : public ::testing::TestWithParam<SizeCase> {};

TEST_P(SizeTest, ReadsBytesAndUnit) {
  const SizeCase& c = GetParam();
  const auto parsed = ParseSize(c.text);
  ASSERT_EQ(parsed.value.has_value(), c.ok);
  if (!c.ok) {
    EXPECT_NE(parsed.why.find(L"MB"), std::wstring::npos) << "the reason names the units";
    return;
  }
  EXPECT_EQ(parsed.value->bytes, c.bytes);
  EXPECT_EQ(parsed.value->unit, c.unit);
  const std::wstring written = FormatSize(*parsed.value);
  EXPECT_EQ(written, c.written);
  const auto again = ParseSize(written);
  ASSERT_TRUE(again);
  EXPECT_EQ(again.value->bytes, c.bytes);
  EXPECT_EQ(again.value->unit, c.unit);
}

INSTANTIATE_TEST_SUITE_P(Sizes, SizeTest, ::testing::ValuesIn(kSizeCases),
                         [](const auto& i) { return std::string(i.param.name); });

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
