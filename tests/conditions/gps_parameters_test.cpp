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

namespace lmk {
namespace {

std::vector<std::uint8_t> Saved(const CRuleElement& element) {
  CRuleStreamWriter writer;
  element.Save(writer);
  std::vector<std::uint8_t> out;
  for (std::byte b : writer.bytes()) out.push_back(static_cast<std::uint8_t>(b));
  return out;
}

std::vector<NamedParam> Params(
    std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> list) {
  std::vector<NamedParam> params;
  for (const auto& [name, text] : list) {
    NamedParam p;
    p.name = name;
    p.value.text = text;
    params.push_back(p);
  }
  return params;
}

void LoadNamed(CRuleElement& element, std::vector<NamedParam> params) {
  CParamArchive archive = CParamArchive::ForLoad(std::move(params));
  element.ExchangeNamedParameters(archive);
  archive.Finish();
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

TEST(GpsStream, RefusesANewerVersion) {
  CGpsSpeedCondition speed;
  std::vector<std::byte> raw = {std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0},
                                std::byte{2}};
  CRuleStreamReader reader(raw);
  EXPECT_THROW(speed.Load(reader), CRuleSetError);
}

// ---- named parameters ----

struct NamedCase {
  const char* name;
  Factory make;
  std::vector<NamedParam> input;
  const wchar_t* saved;  // nullptr: loading must be refused
};

std::vector<NamedCase> NamedCases() {
  return {
      {"AltitudeFeet", Make<CGpsAltitudeCondition>(),
       Params({{L"operator", L"<="}, {L"altitude", L"300 ft"}}), L"operator=<=;altitude=300 ft;"},
      {"AltitudeWords", Make<CGpsAltitudeCondition>(),
       Params({{L"operator", L"greater than"}, {L"altitude", L"1500m"}}),
       L"operator=>;altitude=1500 m;"},
      {"AltitudeFractionRefused", Make<CGpsAltitudeCondition>(),
       Params({{L"operator", L"="}, {L"altitude", L"10.5 m"}}), nullptr},
      {"AltitudeNegativeRefused", Make<CGpsAltitudeCondition>(),
       Params({{L"operator", L"="}, {L"altitude", L"-10 m"}}), nullptr},
      {"AltitudeUnknownUnitRefused", Make<CGpsAltitudeCondition>(),
       Params({{L"operator", L"="}, {L"altitude", L"10 furlongs"}}), nullptr},
      {"AltitudeNotSetRefused", Make<CGpsAltitudeCondition>(),
       Params({{L"operator", L"not set"}, {L"altitude", L"10 m"}}), nullptr},
      {"SpeedKnots", Make<CGpsSpeedCondition>(),
       Params({{L"operator", L"<>"}, {L"speed", L"12 kn"}}), L"operator=<>;speed=12 kn;"},
      {"SpeedUnknownParameterRefused", Make<CGpsSpeedCondition>(),
       Params({{L"operator", L"="}, {L"velocity", L"12 kn"}}), nullptr},
      {"DirectionMagnetic", Make<CGpsDirectionCondition>(),
       Params({{L"direction", L"270"}, {L"tolerance", L"15"}, {L"reference", L"magnetic"}}),
       L"direction=270;tolerance=15;reference=magnetic north;"},
      {"DirectionToleranceTooWideRefused", Make<CGpsDirectionCondition>(),
       Params({{L"tolerance", L"181"}}), nullptr},
      {"PositionMiles", Make<CGpsPositionCondition>(),
       Params({{L"place", L"48.8584, 2.2945"},
               {L"distance", L"3 mi"},
               {L"range", L"farther than"},
               {L"pointing", L"towards location"},
               {L"tolerance", L"20"}}),
       L"place=48.8584, 2.2945;distance=3 mi;range=farther than;pointing=towards "
       L"location;tolerance=20;"},
      {"PositionNauticalMiles", Make<CGpsPositionCondition>(),
       Params({{L"place", L"-33.8568, 151.2153"}, {L"distance", L"2 nmi"}}),
       L"place=-33.8568, 151.2153;distance=2 naut. mi;range=within;pointing=any "
       L"direction;tolerance=10;"},
      {"PositionLatitudeBeyondPoleRefused", Make<CGpsPositionCondition>(),
       Params({{L"place", L"91, 2"}}), nullptr},
      {"MetadataFields", Make<CGpsMetadataCondition>(),
       Params({{L"has", L"false"}, {L"fields", L"altitude, direction"}}),
       L"has=false;fields=altitude|direction|;"},
      {"MetadataUnknownFieldRefused", Make<CGpsMetadataCondition>(),
       Params({{L"fields", L"colour"}}), nullptr},
  };
}

class NamedParameterTest : public testing::TestWithParam<NamedCase> {};

TEST_P(NamedParameterTest, LoadsAndSaves) {
  const NamedCase& c = GetParam();
  const std::unique_ptr<CRuleElement> element = c.make();
  if (c.saved == nullptr) {
    EXPECT_THROW(LoadNamed(*element, c.input), CRuleSetError);
    return;
  }
  LoadNamed(*element, c.input);
  EXPECT_EQ(NamedText(*element), c.saved);
  std::wstring reason;
  EXPECT_TRUE(element->IsValid(&reason)) << std::string(reason.begin(), reason.end());
  // What was saved loads into a fresh element that saves the same.
  const std::unique_ptr<CRuleElement> again = c.make();
  LoadNamed(*again, element->NamedParameters());
  EXPECT_EQ(NamedText(*again), c.saved);
}

INSTANTIATE_TEST_SUITE_P(Forms, NamedParameterTest, testing::ValuesIn(NamedCases()),
                         test::kCaseName);

// ---- validity and sentences ----

struct SentenceCase {
  const char* name;
  Factory make;
  bool valid;
  const wchar_t* sentence;
};

std::vector<SentenceCase> SentenceCases() {
  using P = CGpsPositionCondition;
  return {
      {"NewAltitudeHasNoOperator", Make<CGpsAltitudeCondition>(), false, nullptr},
      {"Altitude", Make<CGpsAltitudeCondition>([](auto& c) {
         c.Set(0x30000064, CGpsAltitudeCondition::kMetres);
       }),
       true, L"When GPS altitude is less than 100 m"},
      {"SpeedException", Make<CGpsSpeedCondition>([](auto& c) {
         c.Set(0x1000003C, CGpsSpeedCondition::kMilesPerHour);
         c.SetException(true);
       }),
       true, L"Except when GPS speed is equal to 60 mph"},
      {"SpeedUnknownUnitInvalid",
       [] {
         auto c = std::make_unique<CGpsSpeedCondition>();
         c->Set(0x1000003C, 9);
         return c;
       },
       false, nullptr},
      {"MetadataWithoutFieldsInvalid", Make<CGpsMetadataCondition>(), false, nullptr},
      {"MetadataHasNot",
       Make<CGpsMetadataCondition>([](auto& c) { c.Set(false, LMKGPS_ALTITUDE | LMKGPS_SPEED); }),
       true, L"When the image has no GPS altitude nor speed"},
      {"Direction", Make<CGpsDirectionCondition>([](auto& c) {
         c.SetWord(CGpsDirectionCondition::Pack(90, 5, true));
       }),
       true, L"When the camera points at 90\u00B0 \u00B15\u00B0 (magnetic north reference)"},
      {"Position", Make<P>([](auto& c) {
         c.SetParameters(Place({48.8584, 2.2945}, 500, P::kMetres, false, false, 10));
       }),
       true,
       L"When the picture was taken within 500 m of 48.8584, 2.2945, camera pointing in any "
       L"direction"},
      {"DirectionBeyond360Invalid",
       [] {
         auto c = std::make_unique<CGpsDirectionCondition>();
         c->SetWord(CGpsDirectionCondition::Pack(400, 5, false));
         return c;
       },
       false, nullptr},
      {"PositionNegativeToleranceInvalid",
       Make<P>([](auto& c) { c.SetParameters(Place({}, 1, P::kKilometres, false, true, -1)); }),
       false, nullptr},
  };
}

class SentenceTest : public testing::TestWithParam<SentenceCase> {};

TEST_P(SentenceTest, ValidityAndDescription) {
  const SentenceCase& c = GetParam();
  const std::unique_ptr<CRuleElement> element = c.make();
  std::wstring reason;
  EXPECT_EQ(element->IsValid(&reason), c.valid);
  EXPECT_EQ(reason.empty(), c.valid);
  if (c.sentence != nullptr) {
    EXPECT_EQ(element->Description(), c.sentence);
  }
}

INSTANTIATE_TEST_SUITE_P(Classes, SentenceTest, testing::ValuesIn(SentenceCases()),
                         test::kCaseName);

}  // namespace
}  // namespace lmk
