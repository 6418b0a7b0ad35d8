// The product tables of element kinds as the registry knows them.
#include <gtest/gtest.h>

#include "rules/element_kind.h"
#include "rules/element_registry.h"

namespace lmk {
namespace {

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
