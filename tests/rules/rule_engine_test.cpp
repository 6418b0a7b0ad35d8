// Rule-set files through the engine: save and open in both forms, merge, and failures that
// name the file and leave the rules as they were.
#include "rules/rule_engine.h"

#include <gtest/gtest.h>

#include <fstream>

#include "rules/rule_set_error.h"
#include "rules/rule_set_stream.h"
#include "support/data_table.h"
#include "support/fake_elements.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

class RuleEngineFileTest : public ::testing::Test {
 protected:
  RuleEngineFileTest() : registry_(test::MakeFakeRegistry(true)), engine_(*registry_) {
    auto rule = std::make_shared<CRule>(L"first");
    rule->AddCondition(std::make_shared<test::CFakeRichCondition>());
    auto action = std::make_shared<test::CFakeAction>(test::FakeActionKind(2));
    action->SetOnFailure(CActionErrorMode::Abort);
    rule->AddAction(action);
    engine_.Add(rule);
    auto second = std::make_shared<CRule>(L"second");
    second->SetChecked(false);
    second->AddException(std::make_shared<test::CFakeCondition>(test::FakeConditionKind(1)));
    engine_.Add(second);
  }

  void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }

  std::vector<std::byte> Bytes(const CRuleEngine& engine) { return RuleSetToBytes(engine.Rules()); }

  std::unique_ptr<CElementRegistry> registry_;
  CRuleEngine engine_;
  test::ScopedTempDir dir_;
};

class RuleEngineFormatTest : public RuleEngineFileTest,
                             public ::testing::WithParamInterface<test::CaseRow> {};

// Fields: file name, yaml or binary.
TEST_P(RuleEngineFormatTest, SavedFileOpensToTheSameRules) {
  const auto path = dir_ / GetParam()[0];
  const bool binary = GetParam()[1] == "binary";
  EXPECT_EQ(RuleSetFormatForPath(path), binary ? RuleSetFormat::Binary : RuleSetFormat::Yaml);
  engine_.Save(path);
  std::ifstream in(path, std::ios::binary);
  char head[4] = {};
  in.read(head, 4);
  EXPECT_EQ(std::string(head, 4) == "LMKR", binary);

  CRuleEngine opened(*registry_);
  opened.Add(std::make_shared<CRule>(L"replaced"));
  opened.Open(path);
  EXPECT_EQ(Bytes(opened), Bytes(engine_));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.path()),
                          std::filesystem::directory_iterator()),
            1)
      << "no temporary file is left behind";
}

INSTANTIATE_TEST_SUITE_P(Formats, RuleEngineFormatTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/rule_set_formats.tsv")),
                         [](const auto& i) { return i.param.name; });

class RuleEngineBadFileTest : public RuleEngineFileTest,
                              public ::testing::WithParamInterface<test::CaseRow> {};

// Fields: whether the file exists, its content, what the error says after the file's name.
TEST_P(RuleEngineBadFileTest, NamesTheFileAndKeepsTheRules) {
  const auto path = dir_ / "bad.rules";
  if (GetParam()[0] == "yes") WriteFile(path, test::Unescape(GetParam()[1]));
  const std::vector<std::byte> before = Bytes(engine_);
  for (bool merge : {false, true}) {
    try {
      merge ? engine_.Merge(path) : engine_.Open(path);
      FAIL() << "accepted";
    } catch (const CRuleSetError& error) {
      const std::wstring text = error.Text();
      EXPECT_TRUE(text.starts_with(DisplayPath(path))) << error.what();
      EXPECT_NE(text.find(test::Wide(GetParam()[2])), std::wstring::npos) << error.what();
    }
    EXPECT_EQ(Bytes(engine_), before);
  }
}

INSTANTIATE_TEST_SUITE_P(
    BadFiles, RuleEngineBadFileTest,
    ::testing::ValuesIn(test::ReadCaseTable("cases/rule_set_files_refused.tsv")),
    [](const auto& i) { return i.param.name; });

TEST_F(RuleEngineFileTest, SaveIntoAMissingFolderFailsAndNamesTheFile) {
  const auto path = dir_ / "no" / "such.yaml";
  try {
    engine_.Save(path);
    FAIL() << "saved";
  } catch (const CRuleSetError& error) {
    EXPECT_TRUE(error.Text().starts_with(DisplayPath(path))) << error.what();
  }
}

}  // namespace
}  // namespace lmk
