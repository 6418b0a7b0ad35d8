// The shutter-speed and aperture conditions: their tables and the floating comparisons, with the
// order of the aperture turned round.
#include <gtest/gtest.h>

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

// Every row is the number its label states ("1/250s", "60s", "f/4"), in order.
TEST(ValueTableTest, RowsAreTheNumbersTheirLabelsState) {
  const auto shutter = ShutterSpeedTable();
  ASSERT_EQ(shutter.size(), 61u);
  EXPECT_EQ(shutter[0].label, L"60s");
  EXPECT_EQ(shutter[60].label, L"1/16000s");
  for (std::size_t i = 0; i < shutter.size(); ++i) {
    std::wstring label(shutter[i].label.substr(0, shutter[i].label.size() - 1));
    const bool fraction = label.starts_with(L"1/");
    const double n = std::stod(fraction ? label.substr(2) : label);
    EXPECT_DOUBLE_EQ(shutter[i].value, fraction ? 1 / n : n) << i;
    EXPECT_TRUE(i == 0 || shutter[i].value < shutter[i - 1].value) << i;
  }
  const auto aperture = ApertureTable();
  ASSERT_EQ(aperture.size(), 53u);
  EXPECT_EQ(aperture[0].label, L"f/0.7");
  EXPECT_EQ(aperture[52].label, L"f/256");
  EXPECT_EQ(IndexOf(aperture, L"f/4"), 19);
  for (std::size_t i = 0; i < aperture.size(); ++i) {
    EXPECT_DOUBLE_EQ(aperture[i].value, std::stod(std::wstring(aperture[i].label.substr(2)))) << i;
    EXPECT_TRUE(i == 0 || aperture[i].value > aperture[i - 1].value) << i;
  }
  EXPECT_EQ(TableValue(aperture, 53), 0.0);
  EXPECT_EQ(TableValue(shutter, -1), 0.0);
}

struct FloatingCase {
  const char* name;
  bool aperture;
  CompareOp op;
  const wchar_t* row;
  float value;
  HRESULT expected;
};

const FloatingCase kFloatingCases[] = {
    {"GreaterMeansWiderOpening", true, CompareOp::Greater, L"f/4", 2.8f, S_OK},
    {"GreaterIsNotEqual", true, CompareOp::Greater, L"f/4", 4.0f, S_FALSE},
    {"GreaterOrEqualAcceptsEqual", true, CompareOp::GreaterOrEqual, L"f/4", 4.0f, S_OK},
    {"LessMeansSmallerOpening", true, CompareOp::Less, L"f/4", 5.6f, S_OK},
    {"EqualWithinTolerance", true, CompareOp::Equal, L"f/5.6", 5.6f, S_OK},
    {"EqualOutsideTolerance", true, CompareOp::Equal, L"f/5.6", 5.6001f, S_FALSE},
    {"NotEqual", true, CompareOp::NotEqual, L"f/5.6", 5.0f, S_OK},
    {"NotSetIsNoOperatorHere", true, CompareOp::NotSet, L"f/4", 4.0f, E_UNEXPECTED},
    {"LongerExposureIsGreater", false, CompareOp::Greater, L"1/250s", 1 / 125.0f, S_OK},
    {"SinglePrecisionStillEqual", false, CompareOp::Equal, L"1/1.3s", static_cast<float>(1 / 1.3),
     S_OK},
    {"ShortestRowEqual", false, CompareOp::Equal, L"1/16000s", 1 / 16000.0f, S_OK},
    {"LessOrEqualOnEqual", false, CompareOp::LessOrEqual, L"1/60s", 1 / 60.0f, S_OK},
    {"LessIsNotEqual", false, CompareOp::Less, L"1/60s", 1 / 60.0f, S_FALSE},
};

class FloatingTest : public ::testing::TestWithParam<FloatingCase> {};

TEST_P(FloatingTest, Compares) {
  const FloatingCase& c = GetParam();
  CApertureCondition aperture;
  CShutterSpeedCondition shutter;
  CTableCondition& condition = c.aperture ? static_cast<CTableCondition&>(aperture) : shutter;
  const auto row = IndexOf(c.aperture ? ApertureTable() : ShutterSpeedTable(), c.row);
  condition.SetComparison(c.op, static_cast<DWORD>(row));
  const wchar_t* key = c.aperture ? L"Meta.FNumber" : L"Meta.ExposureTime";
  EXPECT_EQ(condition.Evaluate(MakeRecord({{key, Variant::R4(c.value)}}).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, FloatingTest, ::testing::ValuesIn(kFloatingCases), test::kCaseName);

TEST(TableConditionTest, RowOutsideTheTableComparesWithZeroAndIsInvalid) {
  CShutterSpeedCondition shutter;
  shutter.SetComparison(CompareOp::Greater, 61);
  EXPECT_EQ(shutter.Evaluate(MakeRecord({{L"Meta.ExposureTime", Variant::R4(0.001f)}}).Get()),
            S_OK);
  std::wstring why;
  EXPECT_FALSE(shutter.IsValid(&why));
  EXPECT_NE(why.find(L"61"), std::wstring::npos);
  CApertureCondition aperture;
  aperture.SetComparison(CompareOp::Greater, 19);
  EXPECT_EQ(aperture.Description(), L"When the aperture is greater than f/4");
}

}  // namespace
}  // namespace lmk
