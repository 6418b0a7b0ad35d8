// The script engine against both languages: values both ways, failures with their texts, the
// watchdog, a script that cannot take the process down, and scripts on several threads at once.
#include "scripts/script_engine.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/variant.h"
#include "scripts/script_source.h"
#include "scripts/script_watchdog.h"
#include "support/data_table.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

ComPtr<IDictionary> Record() {
  ComPtr<IDictionary> record = MakeDictionary();
  SYSTEMTIME taken{};
  taken.wYear = 2024;
  taken.wMonth = 5;
  taken.wDay = 17;
  taken.wHour = 13;
  DATE date = 0;
  SystemTimeToDate(taken, &date);
  const std::pair<const wchar_t*, Variant> values[] = {
      {L"File.Name", Variant::String(L"/p/a.jpg")},
      {L"Meta.ISOSpeed", Variant::I4(1600)},
      {L"Meta.DateTaken", Variant::Date(date)},
  };
  for (const auto& [name, value] : values) record->put_Value(Bstr(name).get(), value.ref());
  return record;
}

struct Outcome {
  HRESULT hr;
  std::wstring value;  // the result as text, or the error description
};

Outcome RunScript(std::wstring_view progId, std::wstring_view source, std::wstring_view function,
                  LONG timeout = 30) {
  ComPtr<CScriptEngine> engine = MakeComObject<CScriptEngine>();
  engine->put_ScriptEngineProgID(Bstr(progId).get());
  engine->put_ScriptText(Bstr(source).get());
  engine->put_Timeout(timeout);
  Variant result;
  const HRESULT hr = engine->Execute(Bstr(function).get(), Record().Get(), result.get());
  if (FAILED(hr)) return {hr, TakeErrorDescription()};
  if (result.vt() == VT_EMPTY) return {hr, L"(empty)"};
  EXPECT_TRUE(SUCCEEDED(result.ChangeType(VT_BSTR)));
  return {hr, std::wstring(result.get()->bstrVal, SysStringLen(result.get()->bstrVal))};
}

class ScriptRunTest : public testing::TestWithParam<test::CaseRow> {};

// Fields: engine, script, HRESULT, the whole result or a part of the error description.
TEST_P(ScriptRunTest, GivesValueOrError) {
  const test::CaseRow& c = GetParam();
  const auto hr = static_cast<HRESULT>(std::stoul(c[2], nullptr, 16));
  const Outcome run = RunScript(test::Wide(c[0]), test::Wide(c[1]), L"Evaluate");
  EXPECT_EQ(run.hr, hr) << testing::PrintToString(run.value);
  if (SUCCEEDED(hr)) {
    EXPECT_EQ(run.value, test::Wide(c[3]));
  } else {
    EXPECT_NE(run.value.find(test::Wide(c[3])), std::wstring::npos)
        << testing::PrintToString(run.value);
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, ScriptRunTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/script_runs.tsv")),
                         [](const auto& i) { return i.param.name; });

struct LoopCase {
  const char* name;
  const wchar_t* progId;
  const wchar_t* source;
};

class EndlessLoopTest : public testing::TestWithParam<LoopCase> {};

TEST_P(EndlessLoopTest, IsStoppedByTheWatchdog) {
  const auto started = std::chrono::steady_clock::now();
  const Outcome run = RunScript(GetParam().progId, GetParam().source, L"Evaluate", 1);
  EXPECT_EQ(run.hr, kScriptErrorReported);
  EXPECT_EQ(run.value, kScriptTimeoutText);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
  // The interpreter is left fit for the next script on this thread.
  EXPECT_EQ(RunScript(GetParam().progId, GetParam().source, L"Missing").hr, DISP_E_UNKNOWNNAME);
}

INSTANTIATE_TEST_SUITE_P(
    Languages, EndlessLoopTest,
    testing::ValuesIn(std::vector<LoopCase>{
        {"js", L"JScript", L"function Evaluate(c) { for (;;) { try { } catch (e) { } } }"},
        {"py", L"Python", L"def Evaluate(c):\n    while True:\n        pass\n"},
    }),
    [](const testing::TestParamInfo<LoopCase>& i) { return std::string(i.param.name); });

class WatchdogDueTimeTest : public testing::TestWithParam<test::CaseRow> {};

// Fields: seconds, due time.
TEST_P(WatchdogDueTimeTest, WrapsIn32Bits) {
  EXPECT_EQ(WatchdogDueTime(std::stol(GetParam()[0])), std::stoll(GetParam()[1]));
}

INSTANTIATE_TEST_SUITE_P(Range, WatchdogDueTimeTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/watchdog_due_times.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(WatchdogDelayTest, NonNegativeDueTimeFiresAtOnceAndActionGets170s) {
  EXPECT_EQ(WatchdogDelay(WatchdogDueTime(215)), std::chrono::nanoseconds::zero());
  EXPECT_EQ(WatchdogDelay(WatchdogDueTime(600)), std::chrono::nanoseconds(170'503'270'400));
}

struct FileCase {
  const char* name;
  std::string bytes;  // empty: no file at all
  HRESULT hr;
};

class ScriptFileTest : public testing::TestWithParam<FileCase> {};

TEST_P(ScriptFileTest, ReadsTextOrSaysWhy) {
  test::ScopedTempDir dir;
  const auto path = dir / "s.js";
  if (!GetParam().bytes.empty()) std::ofstream(path, std::ios::binary) << GetParam().bytes;
  std::wstring text;
  EXPECT_EQ(ReadScriptFile(path.wstring(), &text), GetParam().hr);
  if (FAILED(GetParam().hr)) {
    EXPECT_NE(TakeErrorDescription().find(path.wstring()), std::wstring::npos);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Files, ScriptFileTest,
    testing::ValuesIn(std::vector<FileCase>{
        {"utf8_text", "// caf\xC3\xA9\n", S_OK},
        {"missing", "", HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {"latin1_bytes", "// caf\xE9\n", HRESULT_FROM_WIN32(kErrorNoUnicodeTranslation)},
        {"binary_with_nul",
         std::string("\x7F"
                     "ELF\0\0",
                     6),
         HRESULT_FROM_WIN32(kErrorNoUnicodeTranslation)},
    }),
    [](const testing::TestParamInfo<FileCase>& i) { return std::string(i.param.name); });

TEST(ScriptEngineStreamTest, RoundTripsAndRefusesNewerOrShort) {
  ComPtr<CScriptEngine> saved = MakeComObject<CScriptEngine>();
  saved->put_ScriptEngineProgID(Bstr(L"Python").get());
  saved->put_ScriptPath(Bstr(L"/s/\U0001F4F7.py").get());
  saved->put_ScriptType(LMK_SCRIPT_PATH);
  saved->put_Timeout(600);
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(nullptr, 0));
  ASSERT_EQ(saved->Save(stream.Get()), S_OK);
  STATSTG stat{};
  stream->Stat(&stat, STATFLAG_NONAME);
  std::vector<BYTE> bytes(stat.cbSize.QuadPart);
  stream->Seek({}, STREAM_SEEK_SET, nullptr);
  stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);

  auto load = [](std::vector<BYTE> data, CScriptEngine& into) {
    ComPtr<IStream> in;
    in.Attach(SHCreateMemStream(data.data(), static_cast<UINT>(data.size())));
    return into.Load(in.Get());
  };
  ComPtr<CScriptEngine> loaded = MakeComObject<CScriptEngine>();
  ASSERT_EQ(load(bytes, *loaded.Get()), S_OK);
  Bstr path, progId, text;
  LONG timeout = 0;
  loaded->get_ScriptPath(&path);
  loaded->get_ScriptEngineProgID(&progId);
  loaded->get_ScriptText(&text);
  loaded->get_Timeout(&timeout);
  EXPECT_EQ(path.str(), L"/s/\U0001F4F7.py");
  EXPECT_EQ(progId.str(), L"Python");
  EXPECT_EQ(text.str(), kDefaultScriptText);
  EXPECT_EQ(timeout, 600);

  std::vector<BYTE> newer = bytes;
  newer[0] = kScriptEngineStreamVersion + 1;
  EXPECT_EQ(load(newer, *loaded.Get()), E_FAIL);
  EXPECT_EQ(load(std::vector<BYTE>(bytes.begin(), bytes.end() - 1), *loaded.Get()), E_FAIL);
}

struct PathCase {
  const char* name;
  const wchar_t* given;
  std::wstring stored;
};

class ScriptPathTest : public testing::TestWithParam<PathCase> {};

TEST_P(ScriptPathTest, ExpandsTheEnvironmentOnPut) {
  ComPtr<CScriptEngine> engine = MakeComObject<CScriptEngine>();
  const Bstr given = GetParam().given == nullptr ? Bstr() : Bstr(GetParam().given);
  ASSERT_EQ(engine->put_ScriptPath(given.get()), S_OK);
  Bstr stored;
  engine->get_ScriptPath(&stored);
  EXPECT_EQ(stored.str(), GetParam().stored);
}

const std::wstring kHome = ExpandScriptPath(L"${HOME}");

INSTANTIATE_TEST_SUITE_P(
    Forms, ScriptPathTest,
    testing::ValuesIn(std::vector<PathCase>{
        {"windows_form", L"%HOME%/s.js", kHome + L"/s.js"},
        {"leading_tilde", L"~/s.js", kHome + L"/s.js"},
        {"tilde_inside_stays", L"/a/~/s.js", L"/a/~/s.js"},
        {"unset_variable_stays", L"$LMK_UNSET_VARIABLE/s.js", L"$LMK_UNSET_VARIABLE/s.js"},
        {"null_clears", nullptr, L""},
    }),
    [](const testing::TestParamInfo<PathCase>& i) { return std::string(i.param.name); });

class ParallelScriptTest : public testing::TestWithParam<LoopCase> {};

// Eight threads sharing 2,000 runs give what one thread gives, and each call what the first gives.
TEST_P(ParallelScriptTest, EightThreadsAgreeWithOne) {
  const Outcome one = RunScript(GetParam().progId, GetParam().source, L"Evaluate");
  ASSERT_EQ(one.hr, S_OK);
  std::vector<Outcome> runs(2000);
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = t; i < static_cast<int>(runs.size()); i += 8) {
        runs[i] = RunScript(GetParam().progId, GetParam().source, L"Evaluate");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Outcome& run : runs) EXPECT_EQ(run.value, one.value);
}

INSTANTIATE_TEST_SUITE_P(
    Languages, ParallelScriptTest,
    testing::ValuesIn(std::vector<LoopCase>{
        // A thread's heap serves its next call: the top level runs again, so "calls" is 1 each
        // time.
        {"js", L"JScript",
         L"var calls = 0;\nfunction Evaluate(c) { calls++; return c.Value('File.Name') + c.Count + "
         L"calls; }"},
        {"py", L"Python", L"def Evaluate(c):\n    return c['File.Name'] + str(c.Count)\n"},
    }),
    [](const testing::TestParamInfo<LoopCase>& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace lmk
