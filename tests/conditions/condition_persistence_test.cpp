// Every condition class in both rule-set forms: the binary element stream (version byte and
// fields) and the named parameters of the YAML files (the configured conditions are
// tests/data/cases/configured_conditions.tsv).
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "condition_fixture.h"
#include "conditions/file_size_condition.h"
#include "rules/rule_set_error.h"
#include "rules/rule_set_yaml.h"
#include "rules/rule_stream_reader.h"
#include "rules/rule_stream_writer.h"
#include "support/data_table.h"
#include "support/named_params.h"

namespace lmk {
namespace {

std::vector<std::byte> SaveBytes(const CRuleElement& element) {
  CRuleStreamWriter writer;
  element.Save(writer);
  return writer.TakeBytes();
}

/// The condition of a row of configured_conditions.tsv, read as a rule-set file reads it.
std::shared_ptr<const CCondition> Configured(const test::CaseRow& row) {
  const std::string element = test::Unescape(row[0]);
  const bool exception = element.starts_with("Exception.");
  const auto rules = ParseRuleSetYaml("rules:\n  - name: r\n    " +
                                          std::string(exception ? "exceptions" : "conditions") +
                                          ":\n      - " + element + "\n",
                                      L"configured.yaml", test::ConditionRegistry());
  return exception ? rules.at(0)->Exceptions().at(0) : rules.at(0)->Conditions().at(0);
}

class ConditionPersistenceTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(ConditionPersistenceTest, BinaryStreamRoundTrip) {
  const auto original = Configured(GetParam());
  std::vector<std::byte> bytes = SaveBytes(*original);
  ASSERT_GE(bytes.size(), 5u);
  // The flags word, then the version byte.
  EXPECT_EQ(static_cast<int>(bytes[4]), GetParam().name == std::string("FileSize") ? 2 : 1);
  const auto copy = test::ConditionRegistry().Create(original->Key());
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
  const auto original = Configured(GetParam());
  const auto copy = test::ConditionRegistry().Create(original->Key());
  ASSERT_TRUE(copy);
  test::LoadNamed(*copy, original->NamedParameters());
  // The exception bit comes from the key, not from the parameters.
  EXPECT_EQ(SaveBytes(*copy), SaveBytes(*original));
}

TEST_P(ConditionPersistenceTest, ConfiguredConditionIsValidAndDescribed) {
  const auto condition = Configured(GetParam());
  std::wstring why;
  EXPECT_TRUE(condition->IsValid(&why)) << std::string(why.begin(), why.end());
  EXPECT_TRUE(
      condition->Description().starts_with(condition->IsException() ? L"Except when " : L"When "));
  // Every parameter is described for the help texts.
  EXPECT_EQ(condition->DescribeParameters().size(), condition->NamedParameters().size());
}

INSTANTIATE_TEST_SUITE_P(
    Classes, ConditionPersistenceTest,
    ::testing::ValuesIn(test::ReadCaseTable("cases/configured_conditions.tsv")), test::kCaseName);

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

}  // namespace
}  // namespace lmk
