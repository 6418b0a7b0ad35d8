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
