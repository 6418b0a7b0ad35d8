// The YAML rule-set form: what people write loads as they mean it, and every mistake is
// reported at its file, line and column with what to do.
#include "rules/rule_set_yaml.h"

#include <gtest/gtest.h>

#include "rules/rule_set_error.h"
#include "rules/rule_set_stream.h"
#include "support/fake_elements.h"

namespace lmk {
namespace {

std::vector<std::shared_ptr<CRule>> Parse(const std::string& text,
                                          const CElementRegistry& registry) {
  return ParseRuleSetYaml(text, L"rules.yaml", registry);
}

struct ErrorCase {
  const char* name;
  const char* yaml;
  const wchar_t* expected;  // the whole error text, or its beginning when prefixOnly
  bool prefixOnly = false;
};

const ErrorCase kErrorCases[] = {
    {"DuplicateElement",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeA: {}\n"
     "      - condition.fakea: { answer: holds }\n",
     L"rules.yaml:5:9: Duplicate rule element 'Condition.FakeA'"},
    {"DuplicateAction",
     "rules:\n"
     "  - name: r\n"
     "    actions:\n"
     "      - Action.FakeA\n"
     "      - Action.FakeB\n"
     "      - Action.FakeA: { result: fails }\n",
     L"rules.yaml:6:9: Duplicate rule element 'Action.FakeA'"},
    {"UnknownParameter",
     "rules:\n"
     "  - name: r\n"
     "    actions:\n"
     "      - Action.FakeA: { result: done, colour: red }\n",
     L"rules.yaml:4:39: Unknown rule parameter 'colour'"},
    {"UnknownParameterInBlockMap",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeA:\n"
     "          answer: holds\n"
     "          anwser: fails\n",
     L"rules.yaml:6:11: Unknown rule parameter 'anwser'"},
    {"UnknownElement",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.Colour: { colour: red }\n",
     L"rules.yaml:4:9: Unknown rule element 'Condition.Colour'"},
    {"UnavailableElement",
     "rules:\n"
     "  - name: Upload\n"
     "    actions:\n"
     "      - Action.FTPUpload: { server: example }\n",
     L"rules.yaml:4:9: the element 'Action.FTPUpload' is not available in this version"},
    {"ConditionKeyAmongExceptions",
     "rules:\n"
     "  - name: r\n"
     "    exceptions:\n"
     "      - Condition.FakeA\n",
     L"rules.yaml:4:9: 'Condition.FakeA' cannot stand among the exceptions of a rule; write "
     L"'Exception.FakeA'"},
    {"BadOperator",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeRich: { compare: \"=>\" }\n",
     L"rules.yaml:4:40: the parameter 'compare' cannot be '=>': write one of =, <>, <, <=, >, "
     L">=, not set"},
    {"BadSize",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeRich:\n"
     "          size: 10 parsecs\n",
     L"rules.yaml:5:17: the parameter 'size' cannot be '10 parsecs': unknown unit 'parsecs'; "
     L"write a number followed by a unit (bytes, KB, MB, GB, TB)"},
    {"BadChoice",
     "rules:\n"
     "  - name: r\n"
     "    actions:\n"
     "      - Action.FakeA: { on-failure: retry }\n",
     L"rules.yaml:4:37: the parameter 'on-failure' cannot be 'retry': write one of ignore, "
     L"skip-actions, skip-rules, abort"},
    {"ListForOneValue",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeA: { answer: [holds] }\n",
     L"rules.yaml:4:36: the parameter 'answer' takes one value, not a list or a map"},
    {"ParameterTwice",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeA: { answer: holds, ANSWER: fails }\n",
     L"rules.yaml:4:43: the parameter 'ANSWER' is given twice"},
    {"TwoKeysInOneEntry",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeA:\n"
     "        answer: holds\n",
     L"rules.yaml:4:9: write each element as its key followed by its parameters, for example "
     L"'- Condition.FileType: { type: jpeg }'"},
    {"UnknownRuleField",
     "rules:\n"
     "  - name: r\n"
     "    conditons: []\n",
     L"rules.yaml:3:5: unknown rule field 'conditons'; the fields are name, checked, match, "
     L"except, conditions, exceptions and actions"},
    {"RuleFieldTwice",
     "rules:\n"
     "  - name: r\n"
     "    name: s\n",
     L"rules.yaml:3:5: the rule field 'name' is given twice"},
    {"BadMatch",
     "rules:\n"
     "  - name: r\n"
     "    match: most\n",
     L"rules.yaml:3:12: 'match' must be 'all' or 'any', not 'most'"},
    {"BadChecked",
     "rules:\n"
     "  - name: r\n"
     "    checked: maybe\n",
     L"rules.yaml:3:14: 'checked' must be true or false, not 'maybe'"},
    {"Unnamed",
     "rules:\n"
     "  - match: any\n",
     L"rules.yaml:2:5: the rule has no name"},
    {"ElementsNotAList",
     "rules:\n"
     "  - name: r\n"
     "    actions: Action.FakeA\n",
     L"rules.yaml:3:14: 'actions' must be a list of elements, each beginning with '- '"},
    {"RulesNotAList",
     "rules:\n"
     "  name: r\n",
     L"rules.yaml:2:3: 'rules' must be a list of rules, each beginning with '- name: ...'"},
    {"UnknownTopLevelKey",
     "rule:\n"
     "  - name: r\n",
     L"rules.yaml:1:1: a rule-set file holds a map with the key 'rules', for example 'rules: "
     L"[ ... ]'"},
    {"NewerVersion",
     "version: 2\n"
     "rules: []\n",
     L"rules.yaml:1:10: this file was written for rule-set format 2; this version reads format 1"},
    {"SyntaxError",
     "rules:\n"
     "  - name: r\n"
     "    conditions:\n"
     "      - Condition.FakeA: { answer: holds\n",
     L"rules.yaml:5:", true},
};

class YamlErrorTest : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(YamlErrorTest, NamesFileLineAndColumn) {
  const ErrorCase& c = GetParam();
  const auto registry = test::MakeFakeRegistry(true);
  try {
    Parse(c.yaml, *registry);
    FAIL() << "accepted";
  } catch (const CRuleSetError& error) {
    if (c.prefixOnly) {
      EXPECT_TRUE(error.Text().starts_with(c.expected)) << error.what();
    } else {
      EXPECT_EQ(error.Text(), c.expected);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Errors, YamlErrorTest, ::testing::ValuesIn(kErrorCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(YamlRuleSetTest, ReadsRulesWithDefaultsAndParameters) {
  const auto registry = test::MakeFakeRegistry(false);
  const auto rules = Parse(
      "# Two rules\n"
      "rules:\n"
      "  - name: Best of 2024\n"
      "    match: any\n"
      "    except: all\n"
      "    conditions:\n"
      "      - Condition.FakeA: { ANSWER: does-not-hold }\n"
      "      - Condition.FakeB\n"
      "    exceptions:\n"
      "      - exception.fakea: { answer: fails, code: -2147024891 }\n"
      "    actions:\n"
      "      - Action.FakeA: { on-failure: skip-rules }\n"
      "  - name: \"Ünïcode \\\"quoted\\\"\"\n"
      "    checked: false\n",
      *registry);
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
  const auto rules = Parse(
      "rules:\n"
      "  - name: r\n"
      "    conditions:\n"
      "      - Condition.FakeRich:\n"
      "          text: null\n"
      "          count: -12\n"
      "          ratio: 0.25\n"
      "          mode: 2nd\n"
      "          compare: not set\n"
      "          date: 2000-02-29\n"
      "          time: \"06:30\"\n"
      "          distance: 3 miles\n"
      "          size: 1.5 GB\n"
      "          place: [-33.8568, 151.2153]\n"
      "          parts: latitude, altitude\n"
      "          enabled: no\n"
      "          use-gps-time: yes\n",
      *registry);
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
  const std::string source =
      "rules:\n"
      "  - name: \"yes\"\n"
      "    match: any\n"
      "    conditions:\n"
      "      - Condition.FakeRich: { text: \"  padded: {x} # not a comment\", parts: [] }\n"
      "      - Condition.FakeA: { answer: throws }\n"
      "    exceptions:\n"
      "      - Exception.FakeRich: { text: \"null\", compare: \"<>\", size: 0 }\n"
      "    actions:\n"
      "      - Action.FakeC: { result: aborts, on-failure: abort }\n"
      "  - name: \"日本語 — ünïcode\"\n"
      "    checked: false\n";
  const auto rules = Parse(source, *registry);
  const std::string written = RuleSetToYaml(rules);
  const auto again = Parse(written, *registry);
  EXPECT_EQ(RuleSetToBytes(again), RuleSetToBytes(rules)) << written;
  EXPECT_EQ(RuleSetToYaml(again), written);
  EXPECT_EQ(again[0]->Name(), L"yes");
  const auto& rich = dynamic_cast<const test::CFakeRichCondition&>(*again[0]->Exceptions()[0]);
  EXPECT_EQ(rich.text, L"null");
}

}  // namespace
}  // namespace lmk

namespace lmk {
namespace {

TEST(YamlRuleSetTest, WritesElementsOnOneLineEachWithTheirParameters) {
  const auto registry = test::MakeFakeRegistry(false);
  auto rule = std::make_shared<CRule>(L"Best of 2024");
  rule->AddCondition(std::make_shared<test::CFakeCondition>(test::FakeConditionKind(0), S_FALSE));
  auto action = std::make_shared<test::CFakeAction>(test::FakeActionKind(1));
  action->SetOnFailure(CActionErrorMode::SkipActions);
  rule->AddAction(action);
  EXPECT_EQ(RuleSetToYaml(std::vector{rule}),
            "version: 1\n"
            "rules:\n"
            "  - name: Best of 2024\n"
            "    checked: true\n"
            "    match: all\n"
            "    except: any\n"
            "    conditions:\n"
            "      - Condition.FakeA: {answer: does-not-hold, code: -2147467259, valid: true}\n"
            "    actions:\n"
            "      - Action.FakeB: {result: done, on-failure: skip-actions}\n");
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
