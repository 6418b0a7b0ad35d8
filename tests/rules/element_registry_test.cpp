// The element registry: creating elements by key for a list, refusing unknown, misplaced and
// unavailable kinds with texts that say what to do, and the factory slots.
#include "rules/element_registry.h"

#include <gtest/gtest.h>

#include <map>

#include "rules/rule_set_error.h"
#include "support/data_table.h"
#include "support/fake_elements.h"

namespace lmk {
namespace {

class RegistryRefusalTest : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(RegistryRefusalTest, RefusesWithAMessageNamingTheKey) {
  const test::DataRow& f = GetParam().f;
  const std::map<std::string, ElementRole> lists = {{"Condition", ElementRole::Condition},
                                                    {"Exception", ElementRole::Exception},
                                                    {"Action", ElementRole::Action}};
  const auto registry = test::MakeFakeRegistry(true);
  try {
    registry->CreateForList(test::Widen(f[0]), lists.at(f[1]));
    FAIL() << "accepted";
  } catch (const CRuleSetError& error) {
    EXPECT_EQ(error.message(), test::Widen(f[2]));
  }
}

INSTANTIATE_TEST_SUITE_P(Refusals, RegistryRefusalTest,
                         ::testing::ValuesIn(test::NamedRows("element_refusals.txt", "", 4)),
                         [](const auto& i) { return i.param.name; });

TEST(ElementRegistryTest, RegisteringAFactoryMakesAProductKindAvailable) {
  CElementRegistry registry(CElementRegistry::Product());
  EXPECT_EQ(registry.Create(L"Condition.Copied"), nullptr);
  const ElementKind& copied = ProductKind(ElementFamily::Condition, L"Copied");
  registry.Register(ElementFamily::Condition, L"copied",
                    [&copied] { return std::make_shared<test::CFakeCondition>(copied); });
  EXPECT_TRUE(registry.Find(L"Exception.Copied").available);
  const auto element = registry.Create(L"Exception.Copied");
  ASSERT_NE(element, nullptr);
  EXPECT_EQ(element->ClassName(), L"CCopiedCondition");
  // The product registry itself is untouched by a copy's registration.
  EXPECT_FALSE(CElementRegistry::Product().Find(L"Condition.Copied").available);
  EXPECT_THROW(registry.Register(ElementFamily::Action, L"Copied", [] { return nullptr; }),
               std::invalid_argument);
}

TEST(ElementRegistryTest, RefusesAFactoryThatMakesAnotherKind) {
  CElementRegistry registry;
  test::AddFakeKinds(registry);
  registry.Register(ElementFamily::Condition, L"FakeA", [] {
    return std::make_shared<test::CFakeCondition>(test::FakeConditionKind(1));
  });
  EXPECT_THROW(registry.Create(L"Condition.FakeA"), std::logic_error);
  registry.Register(ElementFamily::Action, L"FakeA", [] {
    return std::make_shared<test::CFakeCondition>(test::FakeConditionKind(0));
  });
  EXPECT_THROW(registry.Create(L"Action.FakeA"), std::logic_error);
}

TEST(ElementRegistryTest, RefusesAKindAddedTwice) {
  CElementRegistry registry;
  test::AddFakeKinds(registry);
  EXPECT_THROW(registry.AddKind(test::FakeConditionKind(0)), std::invalid_argument);
  // The same name in the other family is another kind.
  EXPECT_TRUE(registry.Find(L"Action.FakeA").available);
}

}  // namespace
}  // namespace lmk
