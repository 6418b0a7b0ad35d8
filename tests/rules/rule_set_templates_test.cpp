// A rule set's own renaming templates: read from YAML with faulty names refused at their place,
// written back by both forms, and combined by a merge.
#include <gtest/gtest.h>

#include <cstring>
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

TEST(RuleSetTemplatesTest, YamlTemplatesAreReadInFileOrderBesideTheRules) {
  const auto registry = test::MakeFakeRegistry(true);
  RuleSetTemplates templates = {{L"stale", L"from before"}};
  const auto rules = ParseRuleSetYaml(kDatedYaml, L"t.yaml", *registry, &templates);
  ASSERT_EQ(rules.size(), 1u);
  EXPECT_EQ(templates, kDated);
  ParseRuleSetYaml("rules: []\n", L"t.yaml", *registry, &templates);
  EXPECT_TRUE(templates.empty()) << "a file without templates leaves none";
}

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

TEST(RuleSetTemplatesTest, BinaryFormIsUnchangedWithoutTemplatesAndNewerWithThem) {
  const auto registry = test::MakeFakeRegistry(true);
  const auto rules = ParseRuleSetYaml(kDatedYaml, L"t.yaml", *registry);
  const std::vector<std::byte> plain = RuleSetToBytes(rules);
  const std::vector<std::byte> withTemplates = RuleSetToBytes(rules, kDated);
  // Versions that read only format 1 keep reading every rule set that has no templates.
  EXPECT_EQ(std::to_integer<int>(plain.at(4)), 1);
  EXPECT_EQ(std::to_integer<int>(withTemplates.at(4)), 2);
  ASSERT_GT(withTemplates.size(), plain.size());
  EXPECT_EQ(std::memcmp(withTemplates.data() + 8, plain.data() + 8, plain.size() - 8), 0)
      << "the rules are laid out as before; the templates follow them";

  RuleSetTemplates again = {{L"stale", L"x"}};
  EXPECT_EQ(RuleSetFromBytes(withTemplates, *registry, &again).size(), 1u);
  EXPECT_EQ(again, kDated);
  RuleSetFromBytes(plain, *registry, &again);
  EXPECT_TRUE(again.empty());
  for (std::size_t size = plain.size(); size < withTemplates.size(); ++size) {
    EXPECT_THROW(RuleSetFromBytes(std::span(withTemplates.data(), size), *registry), CRuleSetError)
        << size;
  }
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

TEST_F(RuleSetTemplatesEngineTest, SavedFilesOfBothFormsOpenToTheSameTemplates) {
  engine_.Open(Write("in.yaml", kDatedYaml));
  ASSERT_EQ(engine_.Templates(), kDated);
  for (const char* name : {"out.yaml", "out.rules"}) {
    engine_.Save(dir_ / name);
    CRuleEngine opened(*registry_);
    opened.SetTemplates({{L"stale", L"x"}});
    opened.Open(dir_ / name);
    EXPECT_EQ(opened.Templates(), kDated) << name;
    EXPECT_EQ(opened.Count(), 1u) << name;
  }
}

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

TEST_F(RuleSetTemplatesEngineTest, AFailedMergeOrOpenKeepsTheTemplates) {
  engine_.Open(Write("first.yaml", kDatedYaml));
  const auto bad = Write("bad.yaml",
                         "templates:\n"
                         "  Other: x\n"
                         "rules:\n"
                         "  - name: s\n"
                         "    actions: [ Action.NoSuch ]\n");
  EXPECT_THROW(engine_.Merge(bad), CRuleSetError);
  EXPECT_THROW(engine_.Open(bad), CRuleSetError);
  EXPECT_EQ(engine_.Templates(), kDated);
  EXPECT_EQ(engine_.Count(), 1u);
}

}  // namespace
}  // namespace lmk
