// Parsers of untrusted metadata texts and ICC blocks: what they accept and what they refuse.
#include "host/metadata_parsing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace lmk {
namespace {

struct DateCase {
  std::string name;
  std::string text;
  bool ok;
  MetaDateTime want;  // compared when ok
  bool hasZone = false;
  int zone = 0;
};

MetaDateTime D(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
  MetaDateTime t;
  t.Set(y, mo, d, h, mi, s, ms);
  return t;
}

class ParseDate : public ::testing::TestWithParam<DateCase> {};

TEST_P(ParseDate, MatchesTable) {
  const DateCase& c = GetParam();
  MetaDateTime got;
  bool hasZone = true;
  int zone = -1;
  EXPECT_EQ(ParseMetaDateTime(c.text, &got, &hasZone, &zone), c.ok);
  EXPECT_EQ(got.present, c.ok);
  if (!c.ok) return;
  EXPECT_EQ(got.year, c.want.year);
  EXPECT_EQ(got.month, c.want.month);
  EXPECT_EQ(got.day, c.want.day);
  EXPECT_EQ(got.hour, c.want.hour);
  EXPECT_EQ(got.minute, c.want.minute);
  EXPECT_EQ(got.second, c.want.second);
  EXPECT_EQ(got.millisecond, c.want.millisecond);
  EXPECT_EQ(hasZone, c.hasZone);
  EXPECT_EQ(zone, c.zone);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseDate,
    ::testing::ValuesIn(std::vector<DateCase>{
        {"Exif", "2023:03:14 08:15:30", true, D(2023, 3, 14, 8, 15, 30)},
        {"ExifPaddedWithSpaces", "  2023:03:14 08:15:30 ", true, D(2023, 3, 14, 8, 15, 30)},
        {"IsoWithZone", "2024-05-01T10:20:30+02:00", true, D(2024, 5, 1, 10, 20, 30), true, 120},
        {"IsoNegativeZoneNoColon", "2024-05-01T10:20:30-0530", true, D(2024, 5, 1, 10, 20, 30),
         true, -330},
        {"IsoUtc", "2024-05-01T10:20:30Z", true, D(2024, 5, 1, 10, 20, 30), true, 0},
        {"IsoFraction", "2024-05-01T10:20:30.25", true, D(2024, 5, 1, 10, 20, 30, 250)},
        {"IsoLongFraction", "2024-05-01T10:20:30.123456", true, D(2024, 5, 1, 10, 20, 30, 123)},
        {"IsoNoSeconds", "2024-05-01T10:20", true, D(2024, 5, 1, 10, 20, 0)},
        {"DateOnly", "2024-05-01", true, D(2024, 5, 1)},
        {"IimCompactDate", "20240501", true, D(2024, 5, 1)},
        {"LeapDay", "2024:02:29 00:00:00", true, D(2024, 2, 29)},
        {"LeapSecondKeptInRange", "2016:12:31 23:59:60", true, D(2016, 12, 31, 23, 59, 59)},
        {"AllZeros", "0000:00:00 00:00:00", false, {}},
        {"NoLeapDay", "2023:02:29 10:00:00", false, {}},
        {"Month13", "2024:13:01 10:00:00", false, {}},
        {"Hour24", "2024:01:01 24:00:00", false, {}},
        {"BeforeFileTimes", "1600:12:31 00:00:00", false, {}},
        {"Empty", "", false, {}},
        {"Blanks", "    :  :     :  :  ", false, {}},
        {"TrailingGarbage", "2024:01:01 10:00:00abc", false, {}},
        {"MixedSeparatorsMissing", "2024:0101", false, {}},
        {"ZoneTooLarge", "2024-01-01T10:00:00+15:00", false, {}},
        {"YearOnly", "2024", false, {}},
    }),
    [](const auto& info) { return info.param.name; });

struct ShiftCase {
  std::string name;
  MetaDateTime from;
  int64_t minutes;
  bool ok;
  MetaDateTime want;
};

class Shift : public ::testing::TestWithParam<ShiftCase> {};

TEST_P(Shift, CrossesDayMonthAndYearEnds) {
  MetaDateTime v = GetParam().from;
  EXPECT_EQ(ShiftMinutes(&v, GetParam().minutes), GetParam().ok);
  const MetaDateTime& w = GetParam().ok ? GetParam().want : GetParam().from;
  EXPECT_EQ(std::tie(v.year, v.month, v.day, v.hour, v.minute, v.second),
            std::tie(w.year, w.month, w.day, w.hour, w.minute, w.second));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Shift,
    ::testing::ValuesIn(std::vector<ShiftCase>{
        {"BackOverNewYear", D(2024, 1, 1, 0, 30, 15), -120, true, D(2023, 12, 31, 22, 30, 15)},
        {"ForwardIntoLeapDay", D(2024, 2, 28, 23, 0), 90, true, D(2024, 2, 29, 0, 30)},
        {"ForwardOverMarch", D(2023, 2, 28, 23, 0), 90, true, D(2023, 3, 1, 0, 30)},
        {"Zero", D(2025, 7, 4, 10, 11, 12), 0, true, D(2025, 7, 4, 10, 11, 12)},
        {"PastFirstYear", D(1601, 1, 1, 0, 10), -60, false, {}},
        {"PastLastYear", D(9999, 12, 31, 23, 30), 60, false, {}},
    }),
    [](const auto& info) { return info.param.name; });

struct NumberCase {
  std::string name;
  std::string text;
  bool ok;
  double want;
};

class Rational : public ::testing::TestWithParam<NumberCase> {};

TEST_P(Rational, MatchesTable) {
  double v = -12345;
  EXPECT_EQ(ParseRationalText(GetParam().text, &v), GetParam().ok);
  if (GetParam().ok) {
    EXPECT_DOUBLE_EQ(v, GetParam().want);
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, Rational,
                         ::testing::ValuesIn(std::vector<NumberCase>{
                             {"Fraction", "28/10", true, 2.8},
                             {"NegativeFraction", "-7/10", true, -0.7},
                             {"Decimal", "0.004", true, 0.004},
                             {"Plus", "+3", true, 3},
                             {"Spaces", " 5 ", true, 5},
                             {"ZeroDenominator", "1/0", false, 0},
                             {"ZeroOverZero", "0/0", false, 0},
                             {"NotANumber", "nan", false, 0},
                             {"Infinite", "inf", false, 0},
                             {"Overflow", "1e999", false, 0},
                             {"Words", "five", false, 0},
                             {"Empty", "", false, 0},
                             {"TwoSlashes", "1/2/3", false, 0},
                         }),
                         [](const auto& info) { return info.param.name; });

class XmpCoordinate : public ::testing::TestWithParam<NumberCase> {};

TEST_P(XmpCoordinate, MatchesTable) {
  double v = -12345;
  EXPECT_EQ(ParseXmpGpsCoordinate(GetParam().text, &v), GetParam().ok);
  if (GetParam().ok) {
    EXPECT_NEAR(v, GetParam().want, 1e-9);
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, XmpCoordinate,
                         ::testing::ValuesIn(std::vector<NumberCase>{
                             {"DecimalMinutesNorth", "48,51.504N", true, 48 + 51.504 / 60},
                             {"SecondsWest", "74,2,40.2W", true, -(74 + 2.0 / 60 + 40.2 / 3600)},
                             {"South", "33,51.408S", true, -(33 + 51.408 / 60)},
                             {"SignedDecimal", "-74.0445", true, -74.0445},
                             {"MinutesOver60", "10,75.0E", false, 0},
                             {"NegativeMinutes", "10,-5E", false, 0},
                             {"BeyondHalfCircle", "181,0E", false, 0},
                             {"FourParts", "1,2,3,4N", false, 0},
                             {"OnlyReference", "N", false, 0},
                             {"UnknownReference", "10,5X", false, 0},
                         }),
                         [](const auto& info) { return info.param.name; });

struct TextCase {
  std::string name;
  std::string raw;
  std::wstring want;
};

class DecodeText : public ::testing::TestWithParam<TextCase> {};

TEST_P(DecodeText, MatchesTable) { EXPECT_EQ(DecodeMetadataText(GetParam().raw), GetParam().want); }

INSTANTIATE_TEST_SUITE_P(Texts, DecodeText,
                         ::testing::ValuesIn(std::vector<TextCase>{
                             {"Ascii", "Corvid", L"Corvid"},
                             {"TrailingNulsAndSpaces", std::string("Corvid \0\0 ", 10), L"Corvid"},
                             {"Utf8",
                              "K\xC3\xB8"
                              "benhavn",
                              L"K\u00F8benhavn"},
                             {"Latin1WhenNotUtf8",
                              "K\xF8"
                              "benhavn",
                              L"K\u00F8benhavn"},
                             {"OverlongIsNotUtf8", "\xC0\xAF", L"\u00C0\u00AF"},
                             {"InnerNulSeparatesNames", std::string("Photographer\0Editor", 19),
                              L"Photographer; Editor"},
                             {"OnlyNuls", std::string("\0\0\0", 3), L""},
                         }),
                         [](const auto& info) { return info.param.name; });

TEST(DecodeMetadataTextTest, CutsHugeTexts) {
  const std::string huge(kMaxMetadataTextLength * 3, 'a');
  EXPECT_EQ(DecodeMetadataText(huge).size(), kMaxMetadataTextLength);
}

// ICC profiles built byte by byte: a header of 128 bytes, the tag table, one 'desc' tag.
std::vector<uint8_t> IccWithTag(const std::vector<uint8_t>& tag, uint32_t declaredLength = 0) {
  std::vector<uint8_t> p(132 + 12, 0);
  auto put32 = [&](size_t at, uint32_t v) {
    p[at] = static_cast<uint8_t>(v >> 24);
    p[at + 1] = static_cast<uint8_t>(v >> 16);
    p[at + 2] = static_cast<uint8_t>(v >> 8);
    p[at + 3] = static_cast<uint8_t>(v);
  };
  p[36] = 'a';
  p[37] = 'c';
  p[38] = 's';
  p[39] = 'p';
  put32(128, 1);
  p[132] = 'd';
  p[133] = 'e';
  p[134] = 's';
  p[135] = 'c';
  put32(136, static_cast<uint32_t>(p.size()));
  put32(140, declaredLength != 0 ? declaredLength : static_cast<uint32_t>(tag.size()));
  p.insert(p.end(), tag.begin(), tag.end());
  put32(0, static_cast<uint32_t>(p.size()));
  return p;
}

std::vector<uint8_t> Bytes(std::string_view s) { return {s.begin(), s.end()}; }

struct IccCase {
  std::string name;
  std::vector<uint8_t> profile;
  std::wstring want;
};

class IccDescription : public ::testing::TestWithParam<IccCase> {};

TEST_P(IccDescription, MatchesTable) {
  const auto& p = GetParam().profile;
  EXPECT_EQ(IccProfileDescription(p.data(), p.size()), GetParam().want);
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, IccDescription,
    ::testing::ValuesIn(std::vector<IccCase>{
        {"Version2", IccWithTag(Bytes(std::string("desc\0\0\0\0\0\0\0\x0Dsmall sRGB 1\0", 25))),
         L"small sRGB 1"},
        {"Version4English",
         IccWithTag(Bytes(std::string("mluc\0\0\0\0\0\0\0\x01\0\0\0\x0C"
                                      "enUS\0\0\0\x08\0\0\0\x1C"
                                      "\0W\0i\0d\0e",
                                      36))),
         L"Wide"},
        {"Version2CountBeyondTag",
         IccWithTag(Bytes(std::string("desc\0\0\0\0\0\0\xFF\xFFsmall", 17))), L""},
        {"TagBeyondProfile",
         IccWithTag(Bytes(std::string("desc\0\0\0\0\0\0\0\x01"
                                      "a",
                                      13)),
                    4000),
         L""},
        {"Version4RecordOutside",
         IccWithTag(Bytes(std::string("mluc\0\0\0\0\0\0\0\x01\0\0\0\x0C"
                                      "enUS\0\0\0\x08\0\0\x10\0",
                                      28))),
         L""},
        {"NotAProfile", std::vector<uint8_t>(200, 0), L""},
        {"TooShort", std::vector<uint8_t>(20, 0), L""},
    }),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
