// The shutter-speed and aperture conditions: their tables and the floating comparisons, with the
// order of the aperture turned round.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "condition_fixture.h"
#include "conditions/aperture_condition.h"
#include "conditions/shutter_speed_condition.h"
#include "conditions/value_tables.h"

namespace lmk {
namespace {

using test::MakeRecord;

int IndexOf(std::span<const ValueRow> table, std::wstring_view label) {
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].label == label) return static_cast<int>(i);
  }
  ADD_FAILURE() << "no row";
  return -1;
}

TEST(ValueTableTest, ShutterSpeedRowsAreTheSixtyOneStops) {
  const auto table = ShutterSpeedTable();
  ASSERT_EQ(table.size(), 61u);
  EXPECT_EQ(table[0].label, L"60s");
  EXPECT_EQ(table[0].value, 60.0);
  EXPECT_EQ(table[18].label, L"1s");
  EXPECT_EQ(table[18].value, 1.0);
  EXPECT_EQ(table[19].label, L"1/1.3s");
  EXPECT_DOUBLE_EQ(table[19].value, 1 / 1.3);
  EXPECT_EQ(table[60].label, L"1/16000s");
  EXPECT_DOUBLE_EQ(table[60].value, 0.0000625);
  // Every row is the number its label states, and the exposures get shorter row by row.
  for (std::size_t i = 0; i < table.size(); ++i) {
    std::wstring label(table[i].label);
    label.pop_back();
    const bool fraction = label.starts_with(L"1/");
    const double n = std::stod(fraction ? label.substr(2) : label);
    EXPECT_DOUBLE_EQ(table[i].value, fraction ? 1 / n : n) << i;
    if (i > 0) {
      EXPECT_LT(table[i].value, table[i - 1].value) << i;
    }
  }
}

TEST(ValueTableTest, ApertureRowsAreTheFiftyThreeStops) {
  const auto table = ApertureTable();
  ASSERT_EQ(table.size(), 53u);
  EXPECT_EQ(table[0].label, L"f/0.7");
  EXPECT_EQ(table[52].label, L"f/256");
  EXPECT_EQ(IndexOf(table, L"f/4"), 19);
  for (std::size_t i = 0; i < table.size(); ++i) {
    EXPECT_DOUBLE_EQ(table[i].value, std::stod(std::wstring(table[i].label.substr(2)))) << i;
    if (i > 0) {
      EXPECT_GT(table[i].value, table[i - 1].value) << i;
    }
  }
}

TEST(ValueTableTest, UnknownRowIsZero) {
  EXPECT_EQ(TableValue(ApertureTable(), 53), 0.0);
  EXPECT_EQ(TableValue(ShutterSpeedTable(), -1), 0.0);
}

struct FloatingCase {
  const char* name;
  CompareOp op;
  const wchar_t* row;
  float value;
  HRESULT expected;
};

class ApertureTest : public ::testing::TestWithParam<FloatingCase> {};

TEST_P(ApertureTest, ComparesTheOpening) {
  const FloatingCase& c = GetParam();
  CApertureCondition aperture;
  aperture.SetComparison(c.op, static_cast<DWORD>(IndexOf(ApertureTable(), c.row)));
  const auto record = MakeRecord({{L"Meta.FNumber", Variant::R4(c.value)}});
  EXPECT_EQ(aperture.Evaluate(record.Get()), c.expected);
}

const FloatingCase kApertureCases[] = {
    {"GreaterMeansWiderOpening", CompareOp::Greater, L"f/4", 2.8f, S_OK},
    {"GreaterIsNotASmallerOpening", CompareOp::Greater, L"f/4", 5.6f, S_FALSE},
    {"GreaterIsNotEqual", CompareOp::Greater, L"f/4", 4.0f, S_FALSE},
    {"GreaterOrEqualAcceptsEqual", CompareOp::GreaterOrEqual, L"f/4", 4.0f, S_OK},
    {"LessMeansSmallerOpening", CompareOp::Less, L"f/4", 5.6f, S_OK},
    {"LessIsNotAWiderOpening", CompareOp::Less, L"f/4", 2.8f, S_FALSE},
    {"LessOrEqualAcceptsEqual", CompareOp::LessOrEqual, L"f/4", 4.0f, S_OK},
    {"EqualWithinTolerance", CompareOp::Equal, L"f/5.6", 5.6f, S_OK},
    {"EqualOutsideTolerance", CompareOp::Equal, L"f/5.6", 5.6001f, S_FALSE},
    {"NotEqual", CompareOp::NotEqual, L"f/5.6", 5.0f, S_OK},
};
INSTANTIATE_TEST_SUITE_P(Cases, ApertureTest, ::testing::ValuesIn(kApertureCases),
                         [](const auto& i) { return std::string(i.param.name); });

class ShutterSpeedTest : public ::testing::TestWithParam<FloatingCase> {};

TEST_P(ShutterSpeedTest, ComparesTheExposureTime) {
  const FloatingCase& c = GetParam();
  CShutterSpeedCondition shutter;
  shutter.SetComparison(c.op, static_cast<DWORD>(IndexOf(ShutterSpeedTable(), c.row)));
  const auto record = MakeRecord({{L"Meta.ExposureTime", Variant::R4(c.value)}});
  EXPECT_EQ(shutter.Evaluate(record.Get()), c.expected);
}

const FloatingCase kShutterCases[] = {
    {"LongerExposureIsGreater", CompareOp::Greater, L"1/250s", 1 / 125.0f, S_OK},
    {"ShorterExposureIsNotGreater", CompareOp::Greater, L"1/250s", 1 / 500.0f, S_FALSE},
    {"SinglePrecisionStillEqual", CompareOp::Equal, L"1/1.3s", static_cast<float>(1 / 1.3), S_OK},
    {"ShortestRowEqual", CompareOp::Equal, L"1/16000s", 1 / 16000.0f, S_OK},
    {"LessOrEqualOnEqual", CompareOp::LessOrEqual, L"1/60s", 1 / 60.0f, S_OK},
    {"LessIsNotEqual", CompareOp::Less, L"1/60s", 1 / 60.0f, S_FALSE},
    {"LongExposure", CompareOp::GreaterOrEqual, L"30s", 30.0f, S_OK},
};
INSTANTIATE_TEST_SUITE_P(Cases, ShutterSpeedTest, ::testing::ValuesIn(kShutterCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(TableConditionTest, RowOutsideTheTableComparesWithZeroAndIsInvalid) {
  CShutterSpeedCondition shutter;
  shutter.SetComparison(CompareOp::Greater, 61);
  EXPECT_EQ(shutter.Evaluate(MakeRecord({{L"Meta.ExposureTime", Variant::R4(0.001f)}}).Get()),
            S_OK);
  std::wstring why;
  EXPECT_FALSE(shutter.IsValid(&why));
  EXPECT_NE(why.find(L"61"), std::wstring::npos);
}

TEST(TableConditionTest, NotSetIsNoOperatorHere) {
  CApertureCondition aperture;
  aperture.SetComparison(CompareOp::NotSet, 19);
  EXPECT_EQ(aperture.Evaluate(MakeRecord({{L"Meta.FNumber", Variant::R4(4.0f)}}).Get()),
            E_UNEXPECTED);
}

TEST(TableConditionTest, SentenceShowsTheRowLabel) {
  CApertureCondition aperture;
  aperture.SetComparison(CompareOp::Greater, 19);
  EXPECT_EQ(aperture.Description(), L"When the aperture is greater than f/4");
}

}  // namespace
}  // namespace lmk
