// Checked dates and the label vocabulary shared by the reader and the label writer.
#include "host/image_metadata.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lmk {
namespace {

struct LabelCase {
  std::string name;
  std::wstring text;
  int16_t label;
  int16_t convention;
};

class Label : public ::testing::TestWithParam<LabelCase> {};

TEST_P(Label, TextToNumberAndBack) {
  const LabelCase& c = GetParam();
  int16_t convention = -7;
  EXPECT_EQ(LabelFromText(c.text, &convention), c.label);
  EXPECT_EQ(convention, c.convention);
  if (c.label != 0) {
    // Writing the number back under the same convention gives the canonical spelling.
    int16_t again = 0;
    EXPECT_EQ(LabelFromText(LabelText(c.label, convention), &again), c.label);
    EXPECT_EQ(again, c.convention);
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, Label,
                         ::testing::ValuesIn(std::vector<LabelCase>{
                             {"Red", L"Red", 1, kLabelConventionColors},
                             {"YellowLowerCase", L"yellow", 2, kLabelConventionColors},
                             {"GreenPadded", L"  Green ", 3, kLabelConventionColors},
                             {"Blue", L"BLUE", 4, kLabelConventionColors},
                             {"Purple", L"Purple", 5, kLabelConventionColors},
                             {"Select", L"Select", 1, kLabelConventionWorkflow},
                             {"Second", L"Second", 2, kLabelConventionWorkflow},
                             {"Approved", L"Approved", 3, kLabelConventionWorkflow},
                             {"Review", L"Review", 4, kLabelConventionWorkflow},
                             {"ToDo", L"To Do", 5, kLabelConventionWorkflow},
                             {"Empty", L"", 0, kLabelConventionNone},
                             {"Blank", L"   ", 0, kLabelConventionNone},
                             {"Other", L"Orange", 0, kLabelConventionOther},
                             {"PrefixIsNotALabel", L"Redish", 0, kLabelConventionOther},
                         }),
                         [](const auto& info) { return info.param.name; });

TEST(LabelTextTest, OutOfRangeNumbersHaveNoText) {
  EXPECT_TRUE(LabelText(0, kLabelConventionColors).empty());
  EXPECT_TRUE(LabelText(6, kLabelConventionColors).empty());
  EXPECT_TRUE(LabelText(-1, kLabelConventionWorkflow).empty());
  EXPECT_EQ(LabelText(3, kLabelConventionOther), L"Green");
}

TEST(MetaDateTimeTest, RefusalLeavesTheValueAbsent) {
  MetaDateTime d;
  ASSERT_TRUE(d.Set(2024, 2, 29, 23, 59, 59, 999));
  EXPECT_FALSE(d.Set(2024, 4, 31, 0, 0, 0));
  EXPECT_FALSE(d.present);
  EXPECT_EQ(d.year, 0);
  EXPECT_FALSE(d.Set(2024, 1, 1, 0, 0, 0, 1000));
  EXPECT_FALSE(d.Set(10000, 1, 1, 0, 0, 0));
}

}  // namespace
}  // namespace lmk
