// Tests of the GPS conditions' parameters: the binary stream layout and round trip, the named
// parameters of rule-set files (written forms, refused forms), validity and sentences.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "condition_fixture.h"
#include "conditions/gps_altitude_condition.h"
#include "conditions/gps_direction_condition.h"
#include "conditions/gps_metadata_condition.h"
#include "conditions/gps_position_condition.h"
#include "conditions/gps_speed_condition.h"
#include "rules/rule_set_error.h"
#include "rules/rule_stream_reader.h"
#include "rules/rule_stream_writer.h"
#include "support/data_table.h"
#include "support/named_params.h"

namespace lmk {
namespace {

std::vector<std::uint8_t> Saved(const CRuleElement& element) {
  CRuleStreamWriter writer;
  element.Save(writer);
  std::vector<std::uint8_t> out;
  for (std::byte b : writer.bytes()) out.push_back(static_cast<std::uint8_t>(b));
  return out;
}

std::wstring NamedText(const CRuleElement& element) {
  std::wstring text;
  for (const NamedParam& p : element.NamedParameters()) {
    text += p.name + L"=";
    if (p.value.isList) {
      for (const std::wstring& item : p.value.items) text += item + L"|";
    } else {
      text += p.value.text;
    }
    text += L";";
  }
  return text;
}

// ---- binary layout: flags word, version byte 1, then the fields ----

using Factory = std::function<std::unique_ptr<CRuleElement>()>;
template <class T, class... F>
Factory Make(F... configure) {
  return test::Make<CRuleElement, T>(configure...);
}

CGpsPositionCondition::Parameters Place(GeoPlace target, double distance, std::uint16_t unit,
                                        bool farther, bool pointing, std::int8_t tolerance) {
  return {target, distance, unit, farther, pointing, tolerance};
}

struct LayoutCase {
  const char* name;
  Factory make;
  std::vector<std::uint8_t> expected;
};

std::vector<LayoutCase> LayoutCases() {
  return {
      {"Metadata",
       Make<CGpsMetadataCondition>([](auto& c) { c.Set(true, 0x18); }),
       {0, 0, 0, 0, 1, 1, 0x18, 0}},
      {"AltitudeAsException",
       Make<CGpsAltitudeCondition>([](auto& c) {
         c.Set(0x30000064, CGpsAltitudeCondition::kFeet);
         c.SetException(true);
       }),
       {0, 0, 0, 0x08, 1, 0x64, 0, 0, 0x30, 1, 0, 0, 0}},
      {"Direction",
       Make<CGpsDirectionCondition>(
           [](auto& c) { c.SetWord(CGpsDirectionCondition::Pack(270, 15, true)); }),
       {0, 0, 0, 0, 1, 0x0E, 0x01, 0x0F, 0x08}},
      {"Position",
       Make<CGpsPositionCondition>([](auto& c) {
         c.SetParameters(Place({1.0, -2.0}, 0.5, CGpsPositionCondition::kMiles, true, true, -3));
       }),
       {0, 0, 0, 0, 1,                   //
        0, 0, 0, 0, 0,   0, 0xF0, 0x3F,  // 1.0
        0, 0, 0, 0, 0,   0, 0x00, 0xC0,  // -2.0
        0, 0, 0, 0, 0,   0, 0xE0, 0x3F,  // 0.5
        4, 0, 1, 1, 0xFD}},
  };
}

class LayoutTest : public testing::TestWithParam<LayoutCase> {};

TEST_P(LayoutTest, SavesAndLoadsBack) {
  const std::unique_ptr<CRuleElement> element = GetParam().make();
  const std::vector<std::uint8_t> bytes = Saved(*element);
  EXPECT_EQ(bytes, GetParam().expected);

  std::unique_ptr<CRuleElement> fresh = GetParam().make();
  // A default element of the same class, then loaded from the bytes, saves the same bytes.
  if (auto* m = dynamic_cast<CGpsMetadataCondition*>(fresh.get())) m->Set(false, 0);
  std::vector<std::byte> raw;
  for (std::uint8_t b : bytes) raw.push_back(static_cast<std::byte>(b));
  CRuleStreamReader reader(raw);
  fresh->Load(reader);
  EXPECT_TRUE(reader.AtEnd());
  EXPECT_EQ(Saved(*fresh), bytes);
}

INSTANTIATE_TEST_SUITE_P(Classes, LayoutTest, testing::ValuesIn(LayoutCases()), test::kCaseName);

// ---- named parameters, from tests/data/cases/gps_named_parameters.tsv ----

class NamedParameterTest : public testing::TestWithParam<test::CaseRow> {};

// Fields: element key, parameters, what is saved back or "refused", the sentence if any.
TEST_P(NamedParameterTest, LoadsAndSaves) {
  const test::CaseRow& c = GetParam();
  const auto element = test::ConditionRegistry().Create(test::Wide(c[0]));
  if (c[2] == "refused") {
    EXPECT_THROW(test::LoadNamed(*element, test::ParamsOf(c[1])), CRuleSetError);
    return;
  }
  test::LoadNamed(*element, test::ParamsOf(c[1]));
  EXPECT_EQ(NamedText(*element), test::Wide(c[2]));
  std::wstring reason;
  EXPECT_TRUE(element->IsValid(&reason)) << std::string(reason.begin(), reason.end());
  if (c.fields.size() > 3) EXPECT_EQ(element->Description(), test::Wide(c[3]));
  // What was saved loads into a fresh element that saves the same.
  const auto again = test::ConditionRegistry().Create(test::Wide(c[0]));
  test::LoadNamed(*again, element->NamedParameters());
  EXPECT_EQ(NamedText(*again), test::Wide(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Forms, NamedParameterTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/gps_named_parameters.tsv")),
                         [](const auto& i) { return i.param.name; });

// ---- validity of what rule-set files cannot write ----

struct SentenceCase {
  const char* name;
  Factory make;
};

std::vector<SentenceCase> SentenceCases() {
  using P = CGpsPositionCondition;
  return {
      {"NewAltitudeHasNoOperator", Make<CGpsAltitudeCondition>()},
      {"SpeedUnknownUnitInvalid", Make<CGpsSpeedCondition>([](auto& c) { c.Set(0x1000003C, 9); })},
      {"MetadataWithoutFieldsInvalid", Make<CGpsMetadataCondition>()},
      {"DirectionBeyond360Invalid", Make<CGpsDirectionCondition>([](auto& c) {
         c.SetWord(CGpsDirectionCondition::Pack(400, 5, false));
       })},
      {"PositionNegativeToleranceInvalid",
       Make<P>([](auto& c) { c.SetParameters(Place({}, 1, P::kKilometres, false, true, -1)); })},
  };
}

class SentenceTest : public testing::TestWithParam<SentenceCase> {};

TEST_P(SentenceTest, IsInvalidWithAReason) {
  std::wstring reason;
  EXPECT_FALSE(GetParam().make()->IsValid(&reason));
  EXPECT_FALSE(reason.empty());
}

INSTANTIATE_TEST_SUITE_P(Classes, SentenceTest, testing::ValuesIn(SentenceCases()),
                         test::kCaseName);

}  // namespace
}  // namespace lmk
