// The Script condition over real script files: which values hold, and what a rule check says
// about a script that cannot run.
#include "conditions/script_condition.h"

#include <gtest/gtest.h>

#include <fstream>

#include "com/bstr.h"
#include "com/variant.h"
#include "condition_fixture.h"
#include "support/data_table.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

class ScriptConditionTest : public testing::TestWithParam<test::CaseRow> {};

// Fields: engine, the script (-: no file), what it answers or "invalid" and the reason.
TEST_P(ScriptConditionTest, AnswersOrSaysWhatIsWrong) {
  const test::CaseRow& c = GetParam();
  test::ScopedTempDir dir;
  const auto path = dir / "s";
  if (c[1] != "-") std::ofstream(path) << test::Unescape(c[1]);
  CScriptCondition condition;
  condition.SetScript(path.wstring(), test::Wide(c[0]));
  std::wstring reason;
  EXPECT_EQ(condition.IsValid(&reason), c[2] != "invalid") << testing::PrintToString(reason);
  if (c[2] == "invalid") {
    EXPECT_NE(reason.find(test::Wide(c[3])), std::wstring::npos) << testing::PrintToString(reason);
    return;
  }
  ComPtr<IDictionary> record = MakeDictionary();
  record->put_Value(Bstr(L"File.Name").get(), Variant::String(L"/p/harbour.jpg").ref());
  EXPECT_EQ(condition.Evaluate(record.Get()), test::Result(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Scripts, ScriptConditionTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/script_conditions.tsv")),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
