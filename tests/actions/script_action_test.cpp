// The Script action over real script files: what the script's value makes of the action, and
// the one message at a time when scripts fail.
#include "actions/script_action.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/variant.h"
#include "scripts/element_script.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

struct ResultCase {
  const char* name;
  const wchar_t* engine;
  const char* fileName;
  const char* script;
  HRESULT expected;
};

class ScriptActionResultTest : public testing::TestWithParam<ResultCase> {};

HRESULT RunAction(const test::ScopedTempDir& dir, const wchar_t* engine, const char* fileName) {
  ComPtr<IDictionary> record = MakeDictionary();
  record->put_Value(Bstr(L"File.Name").get(), Variant::String(L"/p/a.jpg").ref());
  record->put_Value(Bstr(L"App.ImagesFolder").get(), Variant::String(dir.path().wstring()).ref());
  CScriptAction action;
  // A relative path is found in the pictures' folder.
  action.SetScript(std::wstring(fileName, fileName + std::strlen(fileName)), engine);
  return action.Execute(record.Get());
}

TEST_P(ScriptActionResultTest, ValueDecides) {
  test::ScopedTempDir dir;
  std::ofstream(dir / GetParam().fileName) << GetParam().script;
  EXPECT_EQ(RunAction(dir, GetParam().engine, GetParam().fileName), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, ScriptActionResultTest,
    testing::ValuesIn(std::vector<ResultCase>{
        {"js_zero_done", L"JScript", "a.js", "function Execute(c) { return 0; }", S_OK},
        {"js_positive_nothing_done", L"JScript", "a.js", "function Execute(c) { return 3; }",
         S_FALSE},
        {"js_negative_stops_run", L"JScript", "a.js", "function Execute(c) { return -1; }",
         E_ABORT},
        // A value's first 32 bits, unconverted: 0.5 has none set, so it counts as 0.
        {"js_fraction_reads_raw_bits", L"JScript", "a.js", "function Execute(c) { return 0.5; }",
         S_OK},
        {"py_nothing_returned_is_zero", L"Python", "a.py", "def Execute(c):\n    pass\n", S_OK},
        {"py_negative_stops_run", L"Python", "a.py", "def Execute(c):\n    return -2\n", E_ABORT},
    }),
    [](const testing::TestParamInfo<ResultCase>& i) { return std::string(i.param.name); });

struct MessageCase {
  const char* name;
  ScriptMessageAnswer answer;
  HRESULT first;
  int shownAfterSecond;  // messages shown after a second failure
};

class ScriptMessageTest : public testing::TestWithParam<MessageCase> {
 protected:
  static ScriptMessageAnswer Answer(std::wstring_view) {
    ++shown_;
    return answer_;
  }
  void SetUp() override {
    ResetScriptMessages();
    shown_ = 0;
    answer_ = GetParam().answer;
    previous_ = SetScriptMessagePresenter(&Answer);
  }
  void TearDown() override {
    SetScriptMessagePresenter(previous_);
    ResetScriptMessages();
  }
  static inline int shown_ = 0;
  static inline ScriptMessageAnswer answer_ = ScriptMessageAnswer::GoOn;
  ScriptMessagePresenter previous_ = nullptr;
};

TEST_P(ScriptMessageTest, OneMessageAtATime) {
  test::ScopedTempDir dir;
  std::ofstream(dir / "a.js") << "function Execute(c) { throw new Error('no'); }";
  EXPECT_EQ(RunAction(dir, L"JScript", "a.js"), GetParam().first);
  EXPECT_NE(TakeErrorDescription().find(L"Error: no."), std::wstring::npos);
  EXPECT_EQ(RunAction(dir, L"JScript", "a.js"), E_FAIL);
  EXPECT_EQ(shown_, GetParam().shownAfterSecond);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, ScriptMessageTest,
    testing::ValuesIn(std::vector<MessageCase>{
        {"go_on_asks_again", ScriptMessageAnswer::GoOn, E_FAIL, 2},
        {"cancel_stops_run_and_messages", ScriptMessageAnswer::Cancel, E_ABORT, 1},
        {"no_terminal_prints_once", ScriptMessageAnswer::GoOnWithoutAsking, E_FAIL, 1},
    }),
    [](const testing::TestParamInfo<MessageCase>& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace lmk
