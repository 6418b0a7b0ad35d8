// A rule set's own renaming templates: read from YAML with faulty names refused at their place,
// written back by both forms, and combined by a merge.
#include <gtest/gtest.h>

#include <fstream>

#include "rules/rule_engine.h"
#include "rules/rule_set_error.h"
#include "rules/rule_set_stream.h"
#include "rules/rule_set_template.h"
#include "rules/rule_set_yaml.h"
#include "support/fake_elements.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

constexpr const char* kDatedYaml =
    "templates:\n"
    "  Dated: \"{DateTaken:Year}-{DateTaken:Month0}-{DateTaken:Day0} {FileName}\"\n"
    "  'yes': \"{{literal}} braces\"\n"
    "rules:\n"
    "  - name: r\n"
    "    actions: [ Action.FakeA ]\n";

const RuleSetTemplates kDated = {
    {L"Dated", L"{DateTaken:Year}-{DateTaken:Month0}-{DateTaken:Day0} {FileName}"},
    {L"yes", L"{{literal}} braces"},
};

TEST(RuleSetTemplatesTest, YamlRoundTripKeepsNamesThatLookLikeOtherValues) {
  const auto registry = test::MakeFakeRegistry(true);
  RuleSetTemplates read;
  const auto rules = ParseRuleSetYaml(kDatedYaml, L"t.yaml", *registry, &read);
  const std::string written = RuleSetToYaml(rules, read);
  RuleSetTemplates again;
  ParseRuleSetYaml(written, L"again.yaml", *registry, &again);
  EXPECT_EQ(again, kDated) << written;
  EXPECT_EQ(RuleSetToYaml(rules).find("templates"), std::string::npos)
      << "no empty map is written for a rule set without templates";
}

TEST(RuleSetTemplatesTest, BinaryFormRefusesADuplicateOrFaultyName) {
  const auto registry = test::MakeFakeRegistry(true);
  for (const RuleSetTemplates& bad :
       {RuleSetTemplates{{L"a", L"1"}, {L"A", L"2"}}, RuleSetTemplates{{L"", L"1"}},
        RuleSetTemplates{{L"a/b", L"1"}}}) {
    const std::vector<std::byte> bytes = RuleSetToBytes({}, bad);
    EXPECT_THROW(RuleSetFromBytes(bytes, *registry), CRuleSetError) << bad.back().name;
  }
}

class RuleSetTemplatesEngineTest : public ::testing::Test {
 protected:
  RuleSetTemplatesEngineTest() : registry_(test::MakeFakeRegistry(true)), engine_(*registry_) {}

  std::filesystem::path Write(const char* name, const std::string& text) {
    const auto path = dir_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

  std::unique_ptr<CElementRegistry> registry_;
  CRuleEngine engine_;
  test::ScopedTempDir dir_;
};

TEST_F(RuleSetTemplatesEngineTest, MergeAppendsAndTheMergedFileWinsANameBothDefine) {
  engine_.Open(Write("first.yaml", kDatedYaml));
  engine_.Merge(Write("second.yaml",
                      "templates:\n"
                      "  DATED: \"{FileName} later\"\n"
                      "  Plain: \"{FileName}\"\n"
                      "rules:\n"
                      "  - name: s\n"));
  const RuleSetTemplates expected = {
      {L"DATED", L"{FileName} later"}, {L"yes", L"{{literal}} braces"}, {L"Plain", L"{FileName}"}};
  EXPECT_EQ(engine_.Templates(), expected);
  EXPECT_EQ(engine_.Count(), 2u);
}

}  // namespace
}  // namespace lmk
