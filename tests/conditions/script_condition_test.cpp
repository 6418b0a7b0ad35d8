// The Script condition over real script files: which values hold, and what a rule check says
// about a script that cannot run.
#include "conditions/script_condition.h"

#include <gtest/gtest.h>

#include <fstream>

#include "com/bstr.h"
#include "com/variant.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

struct HoldCase {
  const char* name;
  const wchar_t* engine;
  const char* script;
  HRESULT expected;
};

class ScriptConditionTest : public testing::TestWithParam<HoldCase> {};

TEST_P(ScriptConditionTest, NonZeroHolds) {
  test::ScopedTempDir dir;
  const auto path = dir / "s";
  std::ofstream(path) << GetParam().script;
  ComPtr<IDictionary> record = MakeDictionary();
  record->put_Value(Bstr(L"File.Name").get(), Variant::String(L"/p/harbour.jpg").ref());
  CScriptCondition condition;
  condition.SetScript(path.wstring(), GetParam().engine);
  EXPECT_EQ(condition.Evaluate(record.Get()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, ScriptConditionTest,
    testing::ValuesIn(std::vector<HoldCase>{
        {"js_true", L"JScript",
         "function Evaluate(c) { return c.Value('File.Name').indexOf('harbour') > 0; }", S_OK},
        {"js_false", L"JScript", "function Evaluate(c) { return false; }", S_FALSE},
        {"js_nothing", L"JScript", "function Evaluate(c) { }", S_FALSE},
        {"py_true", L"Python", "def Evaluate(c):\n    return 'harbour' in c['File.Name']\n", S_OK},
        {"py_zero", L"Python", "def Evaluate(c):\n    return 0\n", S_FALSE},
    }),
    [](const testing::TestParamInfo<HoldCase>& i) { return std::string(i.param.name); });

struct CheckCase {
  const char* name;
  const wchar_t* engine;
  const char* script;  // null: no file at all
  const wchar_t* reason;
};

class ScriptConditionCheckTest : public testing::TestWithParam<CheckCase> {};

TEST_P(ScriptConditionCheckTest, SaysWhatIsWrong) {
  test::ScopedTempDir dir;
  const auto path = dir / "s";
  if (GetParam().script != nullptr) std::ofstream(path) << GetParam().script;
  CScriptCondition condition;
  condition.SetScript(path.wstring(), GetParam().engine);
  std::wstring reason;
  EXPECT_EQ(condition.IsValid(&reason), GetParam().reason == nullptr);
  if (GetParam().reason != nullptr) {
    EXPECT_NE(reason.find(GetParam().reason), std::wstring::npos) << testing::PrintToString(reason);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Checks, ScriptConditionCheckTest,
    testing::ValuesIn(std::vector<CheckCase>{
        {"fine", L"JScript", "function Evaluate(c) { return 1; }", nullptr},
        {"syntax_error_line", L"JScript", "\n\nfunction Evaluate(c) { return ]; }", L"See line 3"},
        {"action_script", L"Python", "def Execute(c):\n    return 0\n", L"\"Evaluate\""},
        {"missing_file", L"JScript", nullptr, L"there is no such file"},
        {"unknown_engine", L"Perl", "sub Evaluate { 1 }", L"engine: there is no script engine"},
    }),
    [](const testing::TestParamInfo<CheckCase>& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace lmk
