// What the conditions say of themselves: validity and sentences, the megapixel arithmetic and the
// value tables behind the shutter-speed and aperture conditions (their answers are rows of
// condition_evaluation_test.cpp).
#include <gtest/gtest.h>

#include <string>

#include "condition_fixture.h"
#include "conditions/aperture_condition.h"
#include "conditions/date_taken_condition.h"
#include "conditions/image_megapixels_condition.h"
#include "conditions/iso_speed_condition.h"
#include "conditions/rating_condition.h"
#include "conditions/shutter_speed_condition.h"
#include "conditions/time_taken_time_span_condition.h"
#include "conditions/value_tables.h"

namespace lmk {
namespace {

TEST(MegapixelArithmeticTest, SinglePrecisionTruncated) {
  // width, height, tenths of megapixels
  const std::int32_t cases[][3] = {
      {4000, 3000, 114},
      {1024, 1024, 10},
      {1024, 1023, 9},
      {0, 0, 0},
      // 60000 × 60000 wraps as a signed 32-bit product: 3,600,000,000 − 2^32 = −694,967,296;
      // divided by 1024 (towards zero) gives −678,678, times 0.009765625 in single precision
      // −6627.715, truncated.
      {60000, 60000, -6627},
      // Just below the wrap: 2,147,395,600 pixels.
      {46340, 46340, 20479}};
  for (const auto& c : cases) {
    EXPECT_EQ(CImageMegapixelsCondition::TenthsOfMegapixels(c[0], c[1]), c[2])
        << c[0] << "x" << c[1];
  }
}

TEST(PackedConditionTest, ValidityAndSentences) {
  CRatingCondition rating;
  rating.SetWord(4);
  std::wstring why;
  EXPECT_FALSE(rating.IsValid(&why));
  EXPECT_FALSE(why.empty());
  CISOSpeedCondition iso;
  iso.SetComparison(CompareOp::NotSet, 0);
  EXPECT_FALSE(iso.IsValid(nullptr));
  rating.SetComparison(CompareOp::GreaterOrEqual, 4);
  EXPECT_EQ(rating.Description(), L"When the XMP rating is greater than or equal to 4");
  rating.SetComparison(CompareOp::NotSet, 0);
  EXPECT_TRUE(rating.IsValid(nullptr));
  rating.SetException(true);
  EXPECT_EQ(rating.Description(), L"Except when the XMP rating is not set");
  CImageMegapixelsCondition megapixels;
  megapixels.SetComparison(CompareOp::Less, 114);
  EXPECT_EQ(megapixels.Description(), L"When the image size is less than 11.4 MP");
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
  EXPECT_EQ(aperture[19].label, L"f/4");
  for (std::size_t i = 0; i < aperture.size(); ++i) {
    EXPECT_DOUBLE_EQ(aperture[i].value, std::stod(std::wstring(aperture[i].label.substr(2)))) << i;
    EXPECT_TRUE(i == 0 || aperture[i].value > aperture[i - 1].value) << i;
  }
  EXPECT_EQ(TableValue(aperture, 53), 0.0);
  EXPECT_EQ(TableValue(shutter, -1), 0.0);
}

TEST(TableConditionTest, RowOutsideTheTableIsInvalid) {
  CShutterSpeedCondition shutter;
  shutter.SetComparison(CompareOp::Greater, 61);
  std::wstring why;
  EXPECT_FALSE(shutter.IsValid(&why));
  EXPECT_NE(why.find(L"61"), std::wstring::npos);
  CApertureCondition aperture;
  aperture.SetComparison(CompareOp::Greater, 19);
  EXPECT_EQ(aperture.Description(), L"When the aperture is greater than f/4");
}

constexpr DWORD kGps = kUseGpsTimeFlag, kFallback = kLastWriteFallbackFlag;
const std::int64_t kMay17 = test::Ticks(2024, 5, 17);

TEST(DateConditionTest, Sentences) {
  CDateTakenCondition taken;
  taken.Set(kDateOnOrAfter, kMay17, false);
  EXPECT_EQ(taken.Description(), L"When the EXIF date taken is on or after 2024-05-17");
  taken.SetFlags(kGps | kFallback | kExceptionFlag);
  EXPECT_EQ(taken.Description(),
            L"Except when the GPS timestamp (or the "
            L"last-modified date when none) is on or "
            L"after 2024-05-17");
  EXPECT_EQ(CTimeTakenTimeSpanCondition().Description(),
            L"When the time of day of the EXIF date taken is inside 22:00:00 "
            L"to 06:00:00");
}

}  // namespace
}  // namespace lmk
