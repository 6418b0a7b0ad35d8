// Element keys: recognition without regard to case, the exception bit, and the product tables.
#include <gtest/gtest.h>

#include <algorithm>

#include "rules/element_kind.h"
#include "rules/element_registry.h"
#include "support/data_table.h"
#include "support/fake_elements.h"

namespace lmk {
namespace {

using test::CFakeAction;
using test::CFakeCondition;

constexpr ElementFamily kC = ElementFamily::Condition;

class ElementKeyTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(ElementKeyTest, RecognisesItsWholeKeyWithoutRegardToCase) {
  const test::CaseRow& c = GetParam();
  const bool action = c[0].starts_with("action");
  const ElementKind& kind = ProductKind(action ? ElementFamily::Action : kC, test::Wide(c[1]));
  std::unique_ptr<CRuleElement> element;
  if (action) {
    element = std::make_unique<CFakeAction>(kind);
  } else {
    element = std::make_unique<CFakeCondition>(kind);
  }
  if (c[0].ends_with("exception")) element->SetFlags(element->Flags() | kExceptionFlag);
  EXPECT_EQ(element->IsKey(test::Wide(c[2])), c[3] == "yes");
}

INSTANTIATE_TEST_SUITE_P(Keys, ElementKeyTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/element_keys.tsv")),
                         [](const auto& i) { return i.param.name; });

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
