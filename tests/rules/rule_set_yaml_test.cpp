// The YAML rule-set form: what people write loads as they mean it, and every mistake is
// reported at its file, line and column with what to do.
#include "rules/rule_set_yaml.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

#include "rules/rule_set_error.h"
#include "rules/rule_set_stream.h"
#include "rules/rule_set_template.h"
#include "support/fake_elements.h"

namespace lmk {
namespace {

std::vector<std::shared_ptr<CRule>> Parse(const std::string& text,
                                          const CElementRegistry& registry) {
  return ParseRuleSetYaml(text, L"rules.yaml", registry);
}

struct ErrorCase {
  std::string name;
  std::string yaml;
  std::wstring expected;  // the whole error text, or its beginning when prefixOnly
  bool prefixOnly;
};

// Each file of a data file: "=== name", its lines, then "--- error" (or "--> " and the
// error's beginning) where loading it must fail.
std::vector<ErrorCase> Files(const std::string& name) {
  std::ifstream in(LMK_TEST_DATA_DIR "/" + name);
  if (!in) throw std::runtime_error("cannot read " LMK_TEST_DATA_DIR "/" + name);
  std::vector<ErrorCase> cases;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("=== ")) {
      cases.push_back({line.substr(4), "", L"", false});
    } else if (line.starts_with("--- ") || line.starts_with("--> ")) {
      cases.back().expected = std::wstring(line.begin() + 4, line.end());  // ASCII
      cases.back().prefixOnly = line[2] == '>';
    } else if (!cases.empty()) {
      cases.back().yaml += line + "\n";
    }
  }
  return cases;
}

std::string RuleSetFile(const std::string& name) {
  for (const ErrorCase& file : Files("rule_sets.txt")) {
    if (file.name == name) return file.yaml;
  }
  throw std::runtime_error("no rule set " + name + " in rule_sets.txt");
}

class YamlErrorTest : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(YamlErrorTest, NamesFileLineAndColumn) {
  const ErrorCase& c = GetParam();
  const auto registry = test::MakeFakeRegistry(true);
  RuleSetTemplates templates;
  try {
    ParseRuleSetYaml(c.yaml, L"rules.yaml", *registry, &templates);
    FAIL() << "accepted";
  } catch (const CRuleSetError& error) {
    if (c.prefixOnly) {
      EXPECT_TRUE(error.Text().starts_with(c.expected)) << error.what();
    } else {
      EXPECT_EQ(error.Text(), c.expected);
    }
  }
  // Without a place to put them the templates are still checked.
  EXPECT_THROW(Parse(c.yaml, *registry), CRuleSetError);
}

INSTANTIATE_TEST_SUITE_P(Errors, YamlErrorTest, ::testing::ValuesIn(Files("rule_set_errors.txt")),
                         [](const auto& i) { return i.param.name; });

TEST(YamlRuleSetTest, ReadsRulesWithDefaultsAndParameters) {
  const auto registry = test::MakeFakeRegistry(false);
  const auto rules = Parse(RuleSetFile("TwoRules"), *registry);
  ASSERT_EQ(rules.size(), 2u);
  const CRule& first = *rules[0];
  EXPECT_EQ(first.Name(), L"Best of 2024");
  EXPECT_TRUE(first.IsChecked());
  EXPECT_EQ(first.ConditionMode(), kModeAny);
  EXPECT_EQ(first.ExceptionMode(), kModeAll);
  ASSERT_EQ(first.Conditions().size(), 2u);
  EXPECT_EQ(first.Conditions()[0]->Evaluate(nullptr), S_FALSE);
  EXPECT_EQ(first.Conditions()[1]->Evaluate(nullptr), S_OK) << "defaults where nothing is given";
  ASSERT_EQ(first.Exceptions().size(), 1u);
  EXPECT_EQ(first.Exceptions()[0]->Key(), L"Exception.FakeA");
  EXPECT_EQ(first.Exceptions()[0]->Evaluate(nullptr), static_cast<HRESULT>(0x80070005));
  ASSERT_EQ(first.Actions().size(), 1u);
  EXPECT_EQ(first.Actions()[0]->OnFailure(), CActionErrorMode::SkipActionsAndRules);

  const CRule& second = *rules[1];
  EXPECT_EQ(second.Name(), L"\u00DCn\u00EFcode \"quoted\"");
  EXPECT_FALSE(second.IsChecked());
  EXPECT_EQ(second.ConditionMode(), kModeAll);
  EXPECT_EQ(second.ExceptionMode(), kModeAny);
  EXPECT_TRUE(second.Conditions().empty());
}

TEST(YamlRuleSetTest, EmptyFilesHoldNoRules) {
  const auto registry = test::MakeFakeRegistry(false);
  EXPECT_TRUE(Parse("", *registry).empty());
  EXPECT_TRUE(Parse("# nothing yet\n", *registry).empty());
  EXPECT_TRUE(Parse("rules:\n", *registry).empty());
}

TEST(YamlRuleSetTest, EveryParameterTypeReadsAsWritten) {
  const auto registry = test::MakeFakeRegistry(false);
  const auto rules = Parse(RuleSetFile("EveryParameterType"), *registry);
  const auto& rich = dynamic_cast<const test::CFakeRichCondition&>(*rules[0]->Conditions()[0]);
  EXPECT_EQ(rich.text, L"");
  EXPECT_EQ(rich.count, -12);
  EXPECT_EQ(rich.ratio, 0.25);
  EXPECT_EQ(rich.mode, 1u);
  EXPECT_EQ(rich.compare, CompareOp::NotSet);
  EXPECT_EQ(rich.date, 125962560000000000);
  EXPECT_EQ(rich.time, 23400 * kTicksPerSecond);
  EXPECT_EQ(rich.distance, 3.0);
  EXPECT_EQ(rich.distanceUnit, 2u);
  EXPECT_EQ(rich.sizeBytes, 1610612736u);
  EXPECT_EQ(rich.sizeUnit, 3u);
  EXPECT_EQ(rich.place.latitude, -33.8568);
  EXPECT_EQ(rich.place.longitude, 151.2153);
  EXPECT_EQ(rich.parts, 0x5u);
  EXPECT_FALSE(rich.enabled);
  EXPECT_EQ(rich.Flags(), 0x400000u);
}

TEST(YamlRuleSetTest, WrittenTextReadsBackToTheSameRuleSet) {
  const auto registry = test::MakeFakeRegistry(false);
  const auto rules = Parse(RuleSetFile("RoundTrip"), *registry);
  const std::string written = RuleSetToYaml(rules);
  const auto again = Parse(written, *registry);
  EXPECT_EQ(RuleSetToBytes(again), RuleSetToBytes(rules)) << written;
  EXPECT_EQ(RuleSetToYaml(again), written);
  EXPECT_EQ(again[0]->Name(), L"yes");
  const auto& rich = dynamic_cast<const test::CFakeRichCondition&>(*again[0]->Exceptions()[0]);
  EXPECT_EQ(rich.text, L"null");
}

TEST(YamlRuleSetTest, WritesElementsOnOneLineEachWithTheirParameters) {
  const auto registry = test::MakeFakeRegistry(false);
  auto rule = std::make_shared<CRule>(L"Best of 2024");
  rule->AddCondition(std::make_shared<test::CFakeCondition>(test::FakeConditionKind(0), S_FALSE));
  auto action = std::make_shared<test::CFakeAction>(test::FakeActionKind(1));
  action->SetOnFailure(CActionErrorMode::SkipActions);
  rule->AddAction(action);
  EXPECT_EQ(RuleSetToYaml(std::vector{rule}), RuleSetFile("WrittenOneLinePerElement"));
}

TEST(YamlRuleSetTest, DescribesElementsAndTheirParameters) {
  test::CFakeAction action(test::FakeActionKind(0));
  action.SetOnFailure(CActionErrorMode::Abort);
  EXPECT_EQ(action.Description(), L"Action.FakeA (result: done, on-failure: abort)");
  const std::vector<ParamSpec> described = action.DescribeParameters();
  ASSERT_EQ(described.size(), 2u);
  EXPECT_EQ(described[1].name, L"on-failure");
  EXPECT_EQ(described[1].type, ParamType::Choice);
  EXPECT_EQ(described[1].values, L"one of ignore, skip-actions, skip-rules, abort");
}

}  // namespace
}  // namespace lmk
