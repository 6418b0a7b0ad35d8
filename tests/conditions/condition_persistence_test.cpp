// Every condition class in both rule-set forms: the binary element stream (version byte and
// fields) and the named parameters of the YAML files; and the registration of the classes.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "condition_fixture.h"
#include "conditions/aperture_condition.h"
#include "conditions/audio_annotation_condition.h"
#include "conditions/bookmarked_condition.h"
#include "conditions/bw_preview_condition.h"
#include "conditions/camera_make_match_condition.h"
#include "conditions/camera_model_match_condition.h"
#include "conditions/camera_serial_number_condition.h"
#include "conditions/camera_serial_number_match_condition.h"
#include "conditions/condition_registration.h"
#include "conditions/copied_condition.h"
#include "conditions/date_taken_condition.h"
#include "conditions/file_date_condition.h"
#include "conditions/file_name_condition.h"
#include "conditions/file_size_condition.h"
#include "conditions/file_type_condition.h"
#include "conditions/focal_length_condition.h"
#include "conditions/image_dimension_condition.h"
#include "conditions/image_megapixels_condition.h"
#include "conditions/iso_speed_condition.h"
#include "conditions/label_condition.h"
#include "conditions/marked_for_deletion_condition.h"
#include "conditions/marked_for_publishing_condition.h"
#include "conditions/portrait_condition.h"
#include "conditions/rating_condition.h"
#include "conditions/shutter_speed_condition.h"
#include "conditions/sibling_condition.h"
#include "conditions/sidecar_condition.h"
#include "conditions/time_taken_condition.h"
#include "conditions/time_taken_time_span_condition.h"
#include "conditions/urgency_condition.h"
#include "rules/rule_set_error.h"
#include "rules/rule_set_yaml.h"

namespace lmk {
namespace {

using test::Ticks;
using test::TimeOfDay;

/// A condition with every parameter away from its default, as the rule editor would leave it.
struct ConfiguredCase {
  const char* name;
  std::function<std::unique_ptr<CCondition>()> make;
};

template <class T, class F>
auto Configured(F configure) {
  return test::Make<CCondition, T>(configure);
}
template <class T>
auto Flag() {
  return Configured<T>([](T& c) { c.SetSense(false); });
}
template <class T>
auto Packed(CompareOp op, DWORD operand) {
  return Configured<T>([=](T& c) { c.SetComparison(op, operand); });
}
template <class T>
auto Pattern(const wchar_t* pattern, bool regex) {
  return Configured<T>([=](T& c) { c.SetPattern(pattern, regex); });
}

const ConfiguredCase kConfigured[] = {
    {"Copied", Flag<CCopiedCondition>()},
    {"Bookmarked", Flag<CBookmarkedCondition>()},
    {"MarkedForDeletion", Flag<CMarkedForDeletionCondition>()},
    {"MarkedForPublishing", Flag<CMarkedForPublishingCondition>()},
    {"BWPreview", Flag<CBWPreviewCondition>()},
    {"Portrait", Flag<CPortraitCondition>()},
    {"AudioAnnotation", Flag<CAudioAnnotationCondition>()},
    {"Sidecar", Flag<CSidecarCondition>()},
    {"CameraSerialNumber", Flag<CCameraSerialNumberCondition>()},
    {"Rating", Packed<CRatingCondition>(CompareOp::NotSet, 0)},
    {"Label", Packed<CLabelCondition>(CompareOp::NotEqual, 3)},
    {"Urgency", Packed<CUrgencyCondition>(CompareOp::Less, 5)},
    {"ISOSpeed", Packed<CISOSpeedCondition>(CompareOp::Greater, 3200)},
    {"ImageDimension", Packed<CImageDimensionCondition>(CompareOp::LessOrEqual, 1024)},
    {"FocalLength", Packed<CFocalLengthCondition>(CompareOp::Equal, 35)},
    {"ImageMegapixels", Packed<CImageMegapixelsCondition>(CompareOp::Less, 114)},
    {"Aperture", Packed<CApertureCondition>(CompareOp::Less, 22)},
    {"ShutterSpeed", Packed<CShutterSpeedCondition>(CompareOp::GreaterOrEqual, 19)},
    {"FileSize", Configured<CFileSizeCondition>(
                     [](auto& c) { c.Set(PackComparison(CompareOp::Less, 3), 3ull << 29); })},
    {"FileType",
     Configured<CFileTypeCondition>([](auto& c) { c.Set(kFileTypeCustom, L"cr2|n?f"); })},
    {"Sibling", Configured<CSiblingCondition>(
                    [](auto& c) { c.Set(false, kFileTypeCustom, L"arw|\u00e9t\u00e9"); })},
    {"FileName", Pattern<CFileNameCondition>(L"img_[0-9]+|\"quoted\": #x", true)},
    {"CameraMakeMatch", Pattern<CCameraMakeMatchCondition>(L"acme*", false)},
    {"CameraModelMatch", Pattern<CCameraModelMatchCondition>(L" x-t?", false)},
    {"CameraSerialNumberMatch", Pattern<CCameraSerialNumberMatchCondition>(L"^0+1$", true)},
    {"FileDate", Configured<CFileDateCondition>([](auto& c) {
       c.Set(CFileDateCondition::kAccessed, kDateBefore, Ticks(2023, 12, 31, 18, 45, 10), true);
     })},
    {"DateTaken", Configured<CDateTakenCondition>([](auto& c) {
       c.Set(kDateOn, Ticks(2024, 2, 29), false);
       c.SetFlags(kUseGpsTimeFlag | kLastWriteFallbackFlag);
     })},
    {"TimeTaken", Configured<CTimeTakenCondition>([](auto& c) {
       c.Set(kDateOnOrAfter, TimeOfDay(7, 15, 30));
       c.SetFlags(kLastWriteFallbackFlag);
     })},
    {"TimeTakenTimeSpan", Configured<CTimeTakenTimeSpanCondition>([](auto& c) {
       c.Set(TimeOfDay(20, 0), TimeOfDay(4, 30), CTimeTakenTimeSpanCondition::kOutside);
       c.SetFlags(kUseGpsTimeFlag | kExceptionFlag);
     })},
};

std::vector<std::byte> SaveBytes(const CRuleElement& element) {
  CRuleStreamWriter writer;
  element.Save(writer);
  return writer.TakeBytes();
}

CElementRegistry& Registry() {
  static CElementRegistry registry = [] {
    CElementRegistry r(CElementRegistry::Product());
    RegisterConditions(r);
    return r;
  }();
  return registry;
}

class ConditionPersistenceTest : public ::testing::TestWithParam<ConfiguredCase> {};

TEST_P(ConditionPersistenceTest, BinaryStreamRoundTrip) {
  const auto original = GetParam().make();
  std::vector<std::byte> bytes = SaveBytes(*original);
  ASSERT_GE(bytes.size(), 5u);
  // The flags word, then the version byte.
  EXPECT_EQ(static_cast<int>(bytes[4]), GetParam().name == std::string("FileSize") ? 2 : 1);
  const auto copy = Registry().Create(original->Key());
  ASSERT_TRUE(copy);
  CRuleStreamReader reader(bytes);
  copy->Load(reader);
  EXPECT_TRUE(reader.AtEnd());
  EXPECT_EQ(SaveBytes(*copy), bytes);
  EXPECT_EQ(copy->Description(), original->Description());
  bytes.pop_back();
  CRuleStreamReader truncated(bytes);
  EXPECT_THROW(copy->Load(truncated), CRuleSetError);
}

TEST_P(ConditionPersistenceTest, NamedParametersRoundTrip) {
  const auto original = GetParam().make();
  const auto copy = Registry().Create(original->Key());
  ASSERT_TRUE(copy);
  CParamArchive archive = CParamArchive::ForLoad(original->NamedParameters());
  copy->ExchangeNamedParameters(archive);
  archive.Finish();
  // The exception bit comes from the key, not from the parameters.
  EXPECT_EQ(SaveBytes(*copy), SaveBytes(*original));
}

TEST_P(ConditionPersistenceTest, ConfiguredConditionIsValidAndDescribed) {
  const auto condition = GetParam().make();
  std::wstring why;
  EXPECT_TRUE(condition->IsValid(&why)) << std::string(why.begin(), why.end());
  EXPECT_TRUE(
      condition->Description().starts_with(condition->IsException() ? L"Except when " : L"When "));
  // Every parameter is described for the help texts.
  EXPECT_EQ(condition->DescribeParameters().size(), condition->NamedParameters().size());
}

INSTANTIATE_TEST_SUITE_P(Classes, ConditionPersistenceTest, ::testing::ValuesIn(kConfigured),
                         test::kCaseName);

TEST(FileSizePersistenceTest, VersionOneStreamIsRefusedWithAMessage) {
  CRuleStreamWriter writer;
  writer.U32(0);
  writer.U8(1);
  writer.U32(PackComparison(CompareOp::Less, 0));
  writer.U32(1000);
  CFileSizeCondition size;
  CRuleStreamReader reader(writer.bytes());
  try {
    size.Load(reader);
    FAIL() << "loaded";
  } catch (const CRuleSetError& error) {
    EXPECT_NE(std::wstring(error.message()).find(L"Condition.FileSize"), std::wstring::npos);
  }
}

TEST(ConditionYamlTest, ReadsTheDocumentedParameters) {
  const char* yaml = R"(rules:
  - name: Keepers
    conditions:
      - Condition.FileType: { type: custom, patterns: "cr2|nef" }
      - Condition.Xmp.Rating: { compare: ">=", rating: 4 }
      - Condition.DateTaken: { when: on-or-after, date: 2024-05-17, source: gps, fallback-to-modified: true }
      - Condition.FileSize: { compare: "<", size: 1.5 GB }
      - Condition.Aperture: { compare: ">", aperture: f/4 }
      - Condition.ShutterSpeed: { compare: "<=", shutter-speed: 1/250 }
      - Condition.ImageMegapixels: { compare: ">=", megapixels: 11.4 }
      - Condition.TimeTakenTimeSpan: { start: "22:00", end: "06:00", mode: inside }
    exceptions:
      - Exception.FileName: { pattern: "img_[0-9]+", syntax: regex }
      - Exception.Sidecar: { exists: false }
)";
  const auto rules = ParseRuleSetYaml(yaml, L"test.yaml", Registry());
  ASSERT_EQ(rules.size(), 1u);
  const std::string again = RuleSetToYaml(rules);
  const auto reread = ParseRuleSetYaml(again, L"again.yaml", Registry());
  EXPECT_EQ(RuleSetToYaml(reread), again);
  EXPECT_NE(again.find("aperture: f/4"), std::string::npos) << again;
  EXPECT_NE(again.find("shutter-speed: 1/250s"), std::string::npos) << again;
  EXPECT_NE(again.find("megapixels: 11.4"), std::string::npos) << again;
  EXPECT_NE(again.find("source: gps"), std::string::npos) << again;
}

TEST(ConditionYamlTest, UnknownWordsAreRefused) {
  EXPECT_THROW(
      ParseRuleSetYaml("rules:\n  - name: Bad\n    conditions:\n      - Condition.Aperture: "
                       "{ compare: \">\", aperture: f/4.1 }\n",
                       L"bad.yaml", Registry()),
      CRuleSetError);
}

TEST(ConditionRegistrationTest, EveryKindButGpsIsAvailableUnderBothPrefixes) {
  int registered = 0;
  for (const ElementKind& kind : ProductConditionKinds()) {
    const std::wstring name(kind.name);
    if (name.starts_with(L"Gps")) continue;
    for (const bool exception : {false, true}) {
      const std::wstring key = (exception ? L"Exception." : L"Condition.") + name;
      const auto element = Registry().Create(key);
      ASSERT_TRUE(element) << std::string(key.begin(), key.end());
      EXPECT_EQ(element->Key(), key);
      EXPECT_EQ(element->ClassName(), kind.className);
      EXPECT_EQ(element->Role(), exception ? ElementRole::Exception : ElementRole::Condition);
    }
    ++registered;
  }
  EXPECT_EQ(registered, 30);
}

}  // namespace
}  // namespace lmk
