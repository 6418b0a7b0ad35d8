// Conditions driven by the packed comparison word: rating, label, urgency, ISO speed, image
// dimension, focal length and megapixels.
#include <gtest/gtest.h>

#include <string>

#include "condition_fixture.h"
#include "conditions/focal_length_condition.h"
#include "conditions/image_dimension_condition.h"
#include "conditions/image_megapixels_condition.h"
#include "conditions/iso_speed_condition.h"
#include "conditions/label_condition.h"
#include "conditions/rating_condition.h"
#include "conditions/urgency_condition.h"

namespace lmk {
namespace {

using test::kCaseName;
using Factory = std::function<std::unique_ptr<CPackedCondition>()>;
template <class T>
Factory Make() {
  return test::Make<CPackedCondition, T>();
}

constexpr DWORD Word(CompareOp op, DWORD operand) { return PackComparison(op, operand); }
constexpr CompareOp kEq = CompareOp::Equal, kNe = CompareOp::NotEqual, kLt = CompareOp::Less,
                    kLe = CompareOp::LessOrEqual, kGt = CompareOp::Greater,
                    kGe = CompareOp::GreaterOrEqual, kNotSet = CompareOp::NotSet;

struct PackedCase {
  const char* name;
  Factory make;
  DWORD word;
  std::vector<test::RecordField> record;
  HRESULT expected;
};

std::vector<test::RecordField> One(const wchar_t* key, Variant value) { return {{key, value}}; }
std::vector<test::RecordField> Rating(std::int16_t v) {
  return One(L"Meta.XMP.Rating", Variant::I2(v));
}
std::vector<test::RecordField> Size(std::uint32_t width, std::uint32_t height) {
  return {{L"Image.NativeWidth", Variant::UI4(width)},
          {L"Image.NativeHeight", Variant::UI4(height)}};
}

const PackedCase kPackedCases[] = {
    {"Equal", Make<CRatingCondition>(), Word(kEq, 3), Rating(3), S_OK},
    {"NotEqual", Make<CRatingCondition>(), Word(kNe, 3), Rating(3), S_FALSE},
    {"GreaterOrEqual", Make<CRatingCondition>(), Word(kGe, 4), Rating(5), S_OK},
    {"Greater", Make<CRatingCondition>(), Word(kGt, 4), Rating(4), S_FALSE},
    {"LessWithOperandOneNeverHolds", Make<CRatingCondition>(), Word(kLt, 1), Rating(0), S_FALSE},
    {"LessWithOperandOneNegativeRating", Make<CRatingCondition>(), Word(kLt, 1), Rating(-1),
     S_FALSE},
    {"LessWithOperandTwoHoldsForUnrated", Make<CRatingCondition>(), Word(kLt, 2), Rating(0), S_OK},
    {"LessOrEqualSkipsUnrated", Make<CRatingCondition>(), Word(kLe, 2), Rating(0), S_FALSE},
    {"LessOrEqualRatedOne", Make<CRatingCondition>(), Word(kLe, 2), Rating(1), S_OK},
    {"LessOrEqualRejected", Make<CRatingCondition>(), Word(kLe, 2), Rating(-1), S_FALSE},
    {"NotSetHoldsForZero", Make<CRatingCondition>(), Word(kNotSet, 0), Rating(0), S_OK},
    {"NotSetHoldsForAllOnes", Make<CRatingCondition>(), Word(kNotSet, 0), Rating(-1), S_OK},
    {"NotSetFailsForRated", Make<CRatingCondition>(), Word(kNotSet, 0), Rating(2), S_FALSE},
    {"CodeZeroIsUnexpected", Make<CRatingCondition>(), 0x00000003, Rating(3), E_UNEXPECTED},
    {"CodeSevenIsUnexpected", Make<CRatingCondition>(), 0x70000003, Rating(3), E_UNEXPECTED},
    {"MissingRatingFails", Make<CRatingCondition>(), Word(kEq, 3), {}, E_FAIL},
    {"LabelEqual", Make<CLabelCondition>(), Word(kEq, 2), One(L"Meta.XMP.Label", Variant::I2(2)),
     S_OK},
    {"LabelNotSetAllOnes",
     Make<CLabelCondition>(),
     Word(kNotSet, 0),
     {{L"Meta.XMP.Label", Variant::I2(-1)}},
     S_OK},
    {"LabelNotSetZeroIsALabel", Make<CLabelCondition>(), Word(kNotSet, 0),
     One(L"Meta.XMP.Label", Variant::I2(0)), S_FALSE},
    {"LabelCodeZero", Make<CLabelCondition>(), 2, One(L"Meta.XMP.Label", Variant::I2(2)),
     E_UNEXPECTED},
    {"UrgencyLess", Make<CUrgencyCondition>(), Word(kLt, 3),
     One(L"Meta.Photoshop.Urgency", Variant::I2(1)), S_OK},
    {"UrgencyNotSet",
     Make<CUrgencyCondition>(),
     Word(kNotSet, 0),
     {{L"Meta.Photoshop.Urgency", Variant::I2(-1)}},
     S_OK},
    {"IsoAtLeast", Make<CISOSpeedCondition>(), Word(kGe, 800),
     One(L"Meta.ISOSpeed", Variant::UI4(800)), S_OK},
    {"IsoTooLargeOverflows", Make<CISOSpeedCondition>(), Word(kGe, 800),
     One(L"Meta.ISOSpeed", Variant::UI4(3000000000u)), DISP_E_OVERFLOW},
    {"IsoNotSetIsNoOperatorHere", Make<CISOSpeedCondition>(), Word(kNotSet, 0),
     One(L"Meta.ISOSpeed", Variant::UI4(0)), E_UNEXPECTED},
    {"FocalLengthRoundsToWholeMillimetres", Make<CFocalLengthCondition>(), Word(kEq, 50),
     One(L"Meta.FocalLength", Variant::R4(49.6f)), S_OK},
    {"FocalLengthHalfRoundsToEven", Make<CFocalLengthCondition>(), Word(kEq, 50),
     One(L"Meta.FocalLength", Variant::R4(50.5f)), S_OK},
    {"FocalLengthGreater",
     Make<CFocalLengthCondition>(),
     Word(kGt, 50),
     {{L"Meta.FocalLength", Variant::R4(50.4f)}},
     S_FALSE},
    {"DimensionUsesTheLongerSide", Make<CImageDimensionCondition>(), Word(kGe, 4000),
     Size(3000, 4000), S_OK},
    {"DimensionLongerSideBelow", Make<CImageDimensionCondition>(), Word(kGt, 4000),
     Size(4000, 3000), S_FALSE},
    {"TwelveMegapixelsAre114Tenths", Make<CImageMegapixelsCondition>(), Word(kEq, 114),
     Size(4000, 3000), S_OK},
    {"MegapixelsSmall", Make<CImageMegapixelsCondition>(), Word(kLt, 10), Size(640, 480), S_OK},
    {"MegapixelsNotRounded", Make<CImageMegapixelsCondition>(), Word(kEq, 115), Size(4000, 3000),
     S_FALSE},
};

class PackedConditionTest : public ::testing::TestWithParam<PackedCase> {};

TEST_P(PackedConditionTest, Answers) {
  const PackedCase& c = GetParam();
  auto condition = c.make();
  condition->SetWord(c.word);
  EXPECT_EQ(condition->Evaluate(test::MakeRecord(c.record).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, PackedConditionTest, ::testing::ValuesIn(kPackedCases), kCaseName);

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

}  // namespace
}  // namespace lmk
