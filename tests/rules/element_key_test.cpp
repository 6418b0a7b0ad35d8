// Element keys: recognition without regard to case, the exception bit, and the product tables.
#include <gtest/gtest.h>

#include <algorithm>

#include "rules/element_kind.h"
#include "rules/element_registry.h"
#include "support/fake_elements.h"

namespace lmk {
namespace {

using test::CFakeAction;
using test::CFakeCondition;

struct KeyCase {
  const char* name;
  ElementFamily family;
  const wchar_t* kind;
  bool exceptionBit;
  const wchar_t* key;
  bool recognised;
};

const KeyCase kKeyCases[] = {
    {"ConditionExact", ElementFamily::Condition, L"FileType", false, L"Condition.FileType", true},
    {"ConditionLowerCase", ElementFamily::Condition, L"FileType", false, L"condition.filetype",
     true},
    {"ConditionUpperCase", ElementFamily::Condition, L"FileType", false, L"CONDITION.FILETYPE",
     true},
    {"ConditionRefusesExceptionKey", ElementFamily::Condition, L"FileType", false,
     L"Exception.FileType", false},
    {"ExceptionBitTakesExceptionKey", ElementFamily::Condition, L"FileType", true,
     L"exception.FILETYPE", true},
    {"ExceptionBitRefusesConditionKey", ElementFamily::Condition, L"FileType", true,
     L"Condition.FileType", false},
    {"PrefixOfKindIsNotTheKey", ElementFamily::Condition, L"CameraSerialNumberMatch", false,
     L"Condition.CameraSerialNumber", false},
    {"TrailingBlankIsNotTheKey", ElementFamily::Condition, L"FileType", false,
     L"Condition.FileType ", false},
    {"DottedKindName", ElementFamily::Condition, L"Xmp.Rating", true, L"Exception.xmp.rating",
     true},
    {"KindWithoutPrefix", ElementFamily::Condition, L"FileType", false, L"FileType", false},
    {"ActionKey", ElementFamily::Action, L"Copy", false, L"action.copy", true},
    {"ActionIgnoresExceptionBit", ElementFamily::Action, L"Copy", true, L"Action.Copy", true},
    {"ActionIsNoCondition", ElementFamily::Action, L"Script", false, L"Condition.Script", false},
};

class ElementKeyTest : public ::testing::TestWithParam<KeyCase> {};

TEST_P(ElementKeyTest, RecognisesItsWholeKeyWithoutRegardToCase) {
  const KeyCase& c = GetParam();
  const ElementKind& kind = ProductKind(c.family, c.kind);
  std::unique_ptr<CRuleElement> element;
  if (c.family == ElementFamily::Condition) {
    element = std::make_unique<CFakeCondition>(kind);
  } else {
    element = std::make_unique<CFakeAction>(kind);
  }
  if (c.exceptionBit) element->SetFlags(element->Flags() | kExceptionFlag);
  EXPECT_EQ(element->IsKey(c.key), c.recognised);
}

INSTANTIATE_TEST_SUITE_P(Keys, ElementKeyTest, ::testing::ValuesIn(kKeyCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(ElementKeyTest, ExceptionBitIsBit27AndSelectsTheRole) {
  CFakeCondition condition(ProductKind(ElementFamily::Condition, L"Portrait"));
  condition.SetFlags(0x3000000);
  EXPECT_EQ(condition.Key(), L"Condition.Portrait");
  EXPECT_EQ(condition.Role(), ElementRole::Condition);
  condition.SetFlags(0x3000000 | (1u << 27));
  EXPECT_EQ(condition.Key(), L"Exception.Portrait");
  EXPECT_EQ(condition.Role(), ElementRole::Exception);
  EXPECT_EQ(condition.UsageEventName(), L"Condition:PortraitOrientation");
}

struct KindCase {
  const char* name;
  ElementFamily family;
  const wchar_t* kind;
  const wchar_t* className;
  const wchar_t* usageEvent;
};

// The kinds whose class or usage event does not simply follow from the kind name.
const KindCase kKindCases[] = {
    {"Urgency", ElementFamily::Condition, L"Photoshop.Urgency", L"CUrgencyCondition",
     L"Condition:PhotoshopUrgency"},
    {"Portrait", ElementFamily::Condition, L"Portrait", L"CPortraitCondition",
     L"Condition:PortraitOrientation"},
    {"XmpLabel", ElementFamily::Condition, L"Xmp.Label", L"CLabelCondition", L"Condition:XMPLabel"},
    {"XmpRating", ElementFamily::Condition, L"Xmp.Rating", L"CRatingCondition",
     L"Condition:XMPRating"},
    {"ISOSpeed", ElementFamily::Condition, L"ISOSpeed", L"CISOSpeedCondition",
     L"Condition:ISOSpeed"},
    {"FTPUpload", ElementFamily::Action, L"FTPUpload", L"CFTPAction", L"Action:FTPUpload"},
    {"FileDateTimeCountsNothing", ElementFamily::Action, L"FileDateTime", L"CFileDateAction", L""},
    {"Link", ElementFamily::Action, L"Link", L"CLinkAction", L"Action:HardLink"},
    {"SetPhotoshopUrgency", ElementFamily::Action, L"SetPhotoshopUrgency", L"CUrgencyAction",
     L"Action:PhotoshopUrgency"},
    {"SetXMPLabel", ElementFamily::Action, L"SetXMPLabel", L"CLabelAction", L"Action:XMPLabel"},
    {"SetXMPRating", ElementFamily::Action, L"SetXMPRating", L"CRatingAction", L"Action:XMPRating"},
};

class ElementKindTest : public ::testing::TestWithParam<KindCase> {};

TEST_P(ElementKindTest, HasItsClassAndUsageEvent) {
  const KindCase& c = GetParam();
  const ElementKind* kind = FindProductKind(c.family, c.kind);
  ASSERT_NE(kind, nullptr);
  EXPECT_EQ(kind->className, c.className);
  EXPECT_EQ(kind->usageEvent, c.usageEvent);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ElementKindTest, ::testing::ValuesIn(kKindCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(ElementKindTest, TablesHoldEveryKindOnceWithConsistentNames) {
  ASSERT_EQ(ProductConditionKinds().size(), 35u);
  ASSERT_EQ(ProductActionKinds().size(), 13u);
  std::vector<int> slots;
  for (const ElementKind& kind : ProductConditionKinds()) {
    SCOPED_TRACE(std::string(kind.name.begin(), kind.name.end()));
    EXPECT_EQ(FindProductKind(ElementFamily::Condition, kind.name), &kind);
    EXPECT_TRUE(kind.className.starts_with(L"C") && kind.className.ends_with(L"Condition"));
    EXPECT_TRUE(kind.usageEvent.starts_with(L"Condition:"));
    slots.push_back(kind.slot);
  }
  std::sort(slots.begin(), slots.end());
  for (int k = 0; k < 35; ++k) EXPECT_EQ(slots[k], k) << "sentence slots are 0..34";
  for (const ElementKind& kind : ProductActionKinds()) {
    EXPECT_TRUE(kind.className.ends_with(L"Action"));
    EXPECT_TRUE(kind.usageEvent.empty() || kind.usageEvent.starts_with(L"Action:"));
  }
}

TEST(ElementKindTest, EveryProductKeyIsKnownButNotYetAvailable) {
  // The product registry knows every key of both tables under its prefixes; no factory is
  // registered by the rule model itself.
  const CElementRegistry registry(CElementRegistry::Product());
  for (const ElementKind& kind : ProductConditionKinds()) {
    for (ElementRole role : {ElementRole::Condition, ElementRole::Exception}) {
      const auto lookup = registry.Find(MakeElementKey(role, kind.name));
      EXPECT_EQ(lookup.kind, &kind);
      EXPECT_EQ(lookup.role, role);
      EXPECT_FALSE(lookup.available);
    }
    EXPECT_EQ(registry.Find(MakeElementKey(ElementRole::Action, kind.name)).kind,
              FindProductKind(ElementFamily::Action, kind.name));
  }
  for (const ElementKind& kind : ProductActionKinds()) {
    EXPECT_EQ(registry.Find(L"ACTION." + std::wstring(kind.name)).kind, &kind);
  }
}

}  // namespace
}  // namespace lmk
