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
#include "support/data_table.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

HRESULT RunAction(const test::ScopedTempDir& dir, const wchar_t* engine, const char* fileName) {
  ComPtr<IDictionary> record = MakeDictionary();
  record->put_Value(Bstr(L"File.Name").get(), Variant::String(L"/p/a.jpg").ref());
  record->put_Value(Bstr(L"App.ImagesFolder").get(), Variant::String(dir.path().wstring()).ref());
  CScriptAction action;
  // A relative path is found in the pictures' folder.
  action.SetScript(std::wstring(fileName, fileName + std::strlen(fileName)), engine);
  return action.Execute(record.Get());
}

class ScriptActionResultTest : public testing::TestWithParam<test::CaseRow> {};

// Fields: engine, file name, script, result.
TEST_P(ScriptActionResultTest, ValueDecides) {
  const test::CaseRow& c = GetParam();
  test::ScopedTempDir dir;
  std::ofstream(dir / c[1]) << test::Unescape(c[2]);
  const HRESULT expected = c[3] == "S_OK" ? S_OK : c[3] == "S_FALSE" ? S_FALSE : E_ABORT;
  EXPECT_EQ(RunAction(dir, test::Wide(c[0]).c_str(), c[1].c_str()), expected);
}

INSTANTIATE_TEST_SUITE_P(Values, ScriptActionResultTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/script_action_results.tsv")),
                         [](const auto& i) { return i.param.name; });

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
