// Rules: selection by condition and exception modes, duplicates, validity of rules and of the
// rule set, and the on-failure policies of actions.
#include "rules/rule.h"

#include <gtest/gtest.h>

#include <map>

#include "rules/action_error_mode.h"
#include "rules/rule_engine.h"
#include "rules/rule_set_error.h"
#include "support/data_table.h"
#include "support/fake_elements.h"

namespace lmk {
namespace {

using test::CFakeAction;
using test::CFakeCondition;

/// Answers written one letter per element: T holds, F does not, E fails, X throws.
std::vector<std::shared_ptr<CFakeCondition>> MakeConditions(std::string_view answers) {
  std::vector<std::shared_ptr<CFakeCondition>> list;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    auto c = std::make_shared<CFakeCondition>(test::FakeConditionKind(static_cast<int>(i)));
    c->SetAnswer(answers[i] == 'T' ? S_OK : answers[i] == 'F' ? S_FALSE : E_FAIL);
    c->SetThrows(answers[i] == 'X');
    list.push_back(c);
  }
  return list;
}

std::string Calls(const std::vector<std::shared_ptr<CFakeCondition>>& list) {
  std::string calls;
  for (const auto& c : list) calls += static_cast<char>('0' + c->calls());
  return calls;
}

class SelectionTest : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(SelectionTest, ModesDecideAndStopAtTheDecidingElement) {
  const test::DataRow& f = GetParam().f;
  const std::map<std::string, HRESULT> results = {{"S_OK", S_OK},
                                                  {"S_FALSE", S_FALSE},
                                                  {"E_FAIL", E_FAIL},
                                                  {"E_POINTER", E_POINTER},
                                                  {"E_UNEXPECTED", E_UNEXPECTED}};
  CRule rule(L"rule");
  rule.SetConditionMode(static_cast<BYTE>(std::stoi(f[1])));
  rule.SetExceptionMode(static_cast<BYTE>(std::stoi(f[3])));
  const auto conditions = MakeConditions(f[0]);
  const auto exceptions = MakeConditions(f[2]);
  for (const auto& e : conditions) rule.AddCondition(e);
  for (const auto& e : exceptions) rule.AddException(e);
  EXPECT_EQ(rule.EvaluateSelection(nullptr), results.at(f[4]));
  EXPECT_EQ(Calls(conditions), f[5]);
  EXPECT_EQ(Calls(exceptions), f[6]);
}

INSTANTIATE_TEST_SUITE_P(Modes, SelectionTest,
                         ::testing::ValuesIn(test::NamedRows("rule_selections.txt", "", 8)),
                         [](const auto& i) { return i.param.name; });

TEST(RuleTest, RefusesAnElementKeyTwiceInOneRule) {
  CRule rule(L"r");
  rule.AddCondition(std::make_shared<CFakeCondition>(test::FakeConditionKind(0)));
  // The same kind as an exception has another key, so it is no duplicate.
  rule.AddException(std::make_shared<CFakeCondition>(test::FakeConditionKind(0)));
  rule.AddAction(std::make_shared<CFakeAction>(test::FakeActionKind(0)));
  try {
    rule.AddCondition(std::make_shared<CFakeCondition>(test::FakeConditionKind(0)));
    FAIL() << "duplicate accepted";
  } catch (const CRuleSetError& error) {
    EXPECT_EQ(error.Text(), L"Duplicate rule element 'Condition.FakeA'");
  }
  EXPECT_THROW(rule.AddAction(std::make_shared<CFakeAction>(test::FakeActionKind(0))),
               CRuleSetError);
  EXPECT_EQ(rule.Conditions().size(), 1u);
  EXPECT_EQ(rule.Actions().size(), 1u);
}

class PolicyTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: flags, the policy's bits, its link text.
TEST_P(PolicyTest, TakesTwoBitsOfTheFlagsAndHasItsLinkText) {
  const auto flags = static_cast<DWORD>(std::stoul(GetParam()[0], nullptr, 16));
  const auto mode = static_cast<CActionErrorMode>(std::stoul(GetParam()[1], nullptr, 16));
  CFakeAction action;
  action.SetFlags(flags);
  EXPECT_EQ(action.OnFailure(), mode);
  EXPECT_EQ(ActionErrorModeLinkText(action.OnFailure()), test::Wide(GetParam()[2]));
  action.SetOnFailure(CActionErrorMode::Ignore);
  EXPECT_EQ(action.Flags(), flags & ~kActionErrorModeMask) << "other bits are kept";
  action.SetOnFailure(mode);
  EXPECT_EQ(action.Flags(), flags);
}

INSTANTIATE_TEST_SUITE_P(Policies, PolicyTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/action_error_modes.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(RuleEngineValidityTest, ARuleWithAnUnknownModeIsInvalid) {
  CRule rule(L"r");
  rule.SetExceptionMode(0);
  std::vector<std::wstring> problems;
  EXPECT_FALSE(rule.IsValid(&problems));
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_EQ(problems[0], L"the exception mode 0 is neither all (1) nor any (2)");
}

TEST(RuleEngineTest, KeepsTheOrderTheUserGives) {
  CRuleEngine engine;
  for (const wchar_t* name : {L"a", L"b", L"c"}) engine.Add(std::make_shared<CRule>(name));
  engine.Move(0, 2);
  engine.Insert(0, std::make_shared<CRule>(L"z"));
  engine.Remove(1);
  std::wstring order;
  for (const auto& rule : engine.Rules()) order += rule->Name();
  EXPECT_EQ(order, L"zca");
  EXPECT_THROW(engine.Move(0, 3), std::out_of_range);
}

}  // namespace
}  // namespace lmk
