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

constexpr ElementFamily kC = ElementFamily::Condition;
constexpr ElementFamily kA = ElementFamily::Action;

const KeyCase kKeyCases[] = {
    {"ConditionExact", kC, L"FileType", false, L"Condition.FileType", true},
    {"ConditionLowerCase", kC, L"FileType", false, L"condition.filetype", true},
    {"ConditionUpperCase", kC, L"FileType", false, L"CONDITION.FILETYPE", true},
    {"ConditionRefusesExceptionKey", kC, L"FileType", false, L"Exception.FileType", false},
    {"ExceptionBitTakesExceptionKey", kC, L"FileType", true, L"exception.FILETYPE", true},
    {"ExceptionBitRefusesConditionKey", kC, L"FileType", true, L"Condition.FileType", false},
    {"PrefixOfKindIsNotTheKey", kC, L"CameraSerialNumberMatch", false,
     L"Condition.CameraSerialNumber", false},
    {"TrailingBlankIsNotTheKey", kC, L"FileType", false, L"Condition.FileType ", false},
    {"DottedKindName", kC, L"Xmp.Rating", true, L"Exception.xmp.rating", true},
    {"KindWithoutPrefix", kC, L"FileType", false, L"FileType", false},
    {"ActionKey", kA, L"Copy", false, L"action.copy", true},
    {"ActionIgnoresExceptionBit", kA, L"Copy", true, L"Action.Copy", true},
    {"ActionIsNoCondition", kA, L"Script", false, L"Condition.Script", false},
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
  CFakeCondition condition(ProductKind(kC, L"Portrait"));
  condition.SetFlags(0x3000000);
  EXPECT_EQ(condition.Key(), L"Condition.Portrait");
  EXPECT_EQ(condition.Role(), ElementRole::Condition);
  condition.SetFlags(0x3000000 | (1u << 27));
  EXPECT_EQ(condition.Key(), L"Exception.Portrait");
  EXPECT_EQ(condition.Role(), ElementRole::Exception);
  EXPECT_EQ(condition.UsageEventName(), L"Condition:PortraitOrientation");
}

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
