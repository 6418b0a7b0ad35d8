// Tests of the settings store: registry rules, transactions, damage handling and a counter shared
// by threads. Faults of a store that another program holds or replaced are command-line cases.
#include "platform/settings_store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "com/com_error.h"
#include "platform/posix/sqlite_settings_store.h"
#include "platform/text_encoding.h"
#include "platform_test_files.h"
#include "support/data_table.h"

namespace lmk {

void PrintTo(const RegValue& v, std::ostream* os) {
  *os << "{type " << static_cast<DWORD>(v.type) << ", text \"" << ToUtf8(v.text) << "\", number "
      << v.number << ", " << v.bytes.size() << " bytes}";
}

namespace {

using namespace test;

const HRESULT kNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
const RegValue kMissing = RegValue::Dword(0xDEAD0000u | ERROR_FILE_NOT_FOUND);
constexpr wchar_t kCounterKey[] = L"SOFTWARE\\QELN\\Lumarko";
constexpr wchar_t kCounterName[] = L"AutoIncrementValue";

// Advances the shared counter once; returns the value handed out, or nullopt on failure.
std::optional<uint32_t> Advance(SettingsStore& store) {
  uint32_t handedOut = 0;
  const HRESULT hr = store.Update(kCounterKey, kCounterName, [&](const std::optional<RegValue>& v) {
    handedOut = v ? static_cast<uint32_t>(v->number) : 0;
    return RegValue::Dword(handedOut + 1);
  });
  if (FAILED(hr)) return std::nullopt;
  return handedOut;
}

// Points the stores at a fresh folder for each test and restores the environment after.
class SettingsStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(S_OK, SettingsStore::Open(SettingsScope::CurrentUser, &store_));
  }
  // Opening the damaged or unreadable store fails with code and names the file.
  void ExpectOpenFails(HRESULT code, const char* advice = "") {
    std::shared_ptr<SettingsStore> store;
    TakeErrorDescription();
    EXPECT_EQ(code, SettingsStore::Open(SettingsScope::CurrentUser, &store));
    EXPECT_EQ(nullptr, store);
    const std::string description = ToUtf8(TakeErrorDescription());
    EXPECT_NE(std::string::npos, description.find(DatabaseFile().string())) << description;
    EXPECT_NE(std::string::npos, description.find(advice)) << description;
  }
  // Closes and opens again, so that reads come from the file.
  void Reopen() {
    store_.reset();
    ASSERT_EQ(S_OK, SettingsStore::Open(SettingsScope::CurrentUser, &store_));
  }
  fs::path DatabaseFile() const { return dir_ / "settings.db"; }
  // The value, or the failure code as a DWORD value of 0xDEAD0000 | low word.
  RegValue Get(const std::wstring& key, const std::wstring& name) {
    RegValue read;
    const HRESULT hr = store_->GetValue(key, name, &read);
    return SUCCEEDED(hr) ? read : RegValue::Dword(0xDEAD0000u | (hr & 0xFFFF));
  }
  std::vector<std::wstring> Subkeys(const std::wstring& key) {
    std::vector<std::wstring> names{L"stale"};
    EXPECT_EQ(S_OK, store_->EnumSubkeys(key, &names)) << ToUtf8(key);
    return names;
  }
  std::vector<std::pair<std::wstring, RegValue>> Values(const std::wstring& key) {
    std::vector<std::pair<std::wstring, RegValue>> values;
    EXPECT_EQ(S_OK, store_->EnumValues(key, &values)) << ToUtf8(key);
    return values;
  }

  ScopedTempDir dir_;
  ScopedEnv env_{"LUMARKO_CONFIG_DIR", dir_.path().string()};
  std::shared_ptr<SettingsStore> store_;
};

class SettingsNameTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(SettingsNameTest, FoldsAndSplits) {
  const test::CaseRow& c = GetParam();
  if (c[0] == "fold") {
    EXPECT_EQ(test::Wide(c[2]), FoldSettingsName(test::Wide(c[1])));
    return;
  }
  std::vector<std::wstring> names{L"stale"};
  const HRESULT hr = SplitSettingsKeyPath(test::Wide(c[1]), &names);
  EXPECT_EQ(hr, c[2] == "refused" ? E_INVALIDARG : S_OK);
  std::wstring joined;
  for (const std::wstring& name : names) joined += (joined.empty() ? L"" : L"|") + name;
  EXPECT_EQ(SUCCEEDED(hr) ? test::Wide(c[2]) : joined, joined);
}

INSTANTIATE_TEST_SUITE_P(Names, SettingsNameTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/settings_names.tsv")),
                         [](const auto& i) { return i.param.name; });

// A value as tests/data/cases/settings_values.tsv writes it.
RegValue ValueOf(const std::string& type, const std::string& text) {
  if (type == "string" || type == "expand") {
    return type == "string" ? RegValue::String(Wide(text)) : RegValue::ExpandString(Wide(text));
  }
  if (type == "dword" || type == "qword") {
    const uint64_t number = std::stoull(text, nullptr, 0);
    return type == "dword" ? RegValue::Dword(static_cast<uint32_t>(number))
                           : RegValue::Qword(number);
  }
  RegValue v = RegValue::Binary({});
  v.type = static_cast<RegType>(std::stoul(type));
  std::istringstream in(text);
  for (unsigned byte = 0; in >> std::hex >> byte;) v.bytes.push_back(static_cast<uint8_t>(byte));
  return v;
}

class SettingsRoundTripTest : public SettingsStoreTest,
                              public ::testing::WithParamInterface<CaseRow> {};

TEST_P(SettingsRoundTripTest, ValueSurvivesReopen) {
  const RegValue value = ValueOf(GetParam()[0], GetParam()[1]);
  const std::wstring key = L"Software\\QELN\\Lumarko\\UserDefined";
  ASSERT_EQ(S_OK, store_->SetValue(key, L"v", value));
  Reopen();
  EXPECT_EQ(value, Get(key, L"v"));
  EXPECT_EQ((std::vector<std::pair<std::wstring, RegValue>>{{L"v", value}}), Values(key));
}

INSTANTIATE_TEST_SUITE_P(Types, SettingsRoundTripTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/settings_values.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST_F(SettingsStoreTest, DwordAbove32BitsIsRefusedAndNothingStored) {
  RegValue wide = RegValue::Dword(1);
  wide.number = 0x100000000ull;
  EXPECT_EQ(E_INVALIDARG, store_->SetValue(L"K", L"v", wide));
  EXPECT_EQ(S_FALSE, store_->KeyExists(L"K"));
}

TEST_F(SettingsStoreTest, MissingKeysAndValuesAreNotFound) {
  EXPECT_EQ(kMissing, Get(L"Nowhere", L"v"));
  ASSERT_EQ(S_OK, store_->SetValue(L"Here", L"v", RegValue::Dword(1)));
  EXPECT_EQ(kMissing, Get(L"Here", L"w"));
  EXPECT_EQ(kMissing, Get(L"Here", L""));
  EXPECT_EQ(kNotFound, store_->DeleteValue(L"Here", L"w"));
  EXPECT_EQ(S_OK, store_->DeleteValue(L"HERE", L"V"));
  EXPECT_EQ(kMissing, Get(L"Here", L"v"));
  EXPECT_EQ(S_OK, store_->KeyExists(L"Here"));  // deleting the last value keeps the key
  EXPECT_EQ(kNotFound, store_->DeleteTree(L"Nowhere"));
  EXPECT_EQ(E_INVALIDARG, store_->DeleteTree(L""));
  RegValue read;
  EXPECT_EQ(E_INVALIDARG, store_->GetValue(L"A\\\\B", L"v", &read));
}

// Names compare without case and keep their first spelling.
TEST_F(SettingsStoreTest, DeleteTreeRemovesExactlyTheSubtree) {
  // Siblings whose folded paths sort right before and after the subtree's range.
  const std::vector<std::wstring> kept = {L"A", L"A\\BC", L"A\\B[", L"A\\B]", L"AB", L"A\\C\\B"};
  const std::vector<std::wstring> removed = {L"A\\B", L"A\\B\\C", L"A\\b\\c\\d"};
  for (const auto& key : kept) ASSERT_EQ(S_OK, store_->SetValue(key, L"v", RegValue::Dword(1)));
  for (const auto& key : removed) ASSERT_EQ(S_OK, store_->SetValue(key, L"v", RegValue::Dword(2)));
  ASSERT_EQ(S_OK, store_->DeleteTree(L"a\\b"));
  for (const auto& key : kept) EXPECT_EQ(RegValue::Dword(1), Get(key, L"v")) << ToUtf8(key);
  for (const auto& key : removed) EXPECT_EQ(S_FALSE, store_->KeyExists(key)) << ToUtf8(key);
  // Values must go with their keys, not come back when the key is made again.
  ASSERT_EQ(S_OK, store_->CreateKey(L"A\\B\\C"));
  EXPECT_EQ(kMissing, Get(L"A\\B\\C", L"v"));
  EXPECT_EQ((std::vector<std::wstring>{L"B", L"BC", L"B[", L"B]", L"C"}), Subkeys(L"A"));
}

struct RollbackCase {
  const char* name;
  std::function<HRESULT()> fail;
  HRESULT expected;
};

class SettingsRollbackTest : public SettingsStoreTest,
                             public ::testing::WithParamInterface<RollbackCase> {};

TEST_P(SettingsRollbackTest, FailedTransactionLeavesNothing) {
  ASSERT_EQ(S_OK, store_->SetValue(L"Keep", L"v", RegValue::String(L"before")));
  ASSERT_EQ(S_OK, store_->SetValue(L"Tree\\Leaf", L"v", RegValue::Dword(7)));
  const HRESULT hr = store_->Transact([&](SettingsStore& tx) {
    EXPECT_EQ(S_OK, tx.SetValue(L"Keep", L"v", RegValue::String(L"after")));
    EXPECT_EQ(S_OK, tx.SetValue(L"New\\Key", L"v", RegValue::Dword(1)));
    EXPECT_EQ(S_OK, tx.DeleteTree(L"Tree"));
    EXPECT_EQ(S_OK, Advance(tx).has_value() ? S_OK : E_FAIL);
    return GetParam().fail();
  });
  EXPECT_EQ(GetParam().expected, hr);
  EXPECT_EQ(RegValue::String(L"before"), Get(L"Keep", L"v"));
  EXPECT_EQ(S_FALSE, store_->KeyExists(L"New"));
  EXPECT_EQ(RegValue::Dword(7), Get(L"Tree\\Leaf", L"v"));
  EXPECT_EQ(kMissing, Get(kCounterKey, kCounterName));
}

INSTANTIATE_TEST_SUITE_P(
    Failures, SettingsRollbackTest,
    ::testing::ValuesIn(std::vector<RollbackCase>{
        {"ReturnsFailure", [] { return E_FAIL; }, E_FAIL},
        {"ThrowsComError", []() -> HRESULT { throw ComError(E_ABORT); }, E_ABORT},
        {"ThrowsOther", []() -> HRESULT { throw std::runtime_error("x"); }, E_UNEXPECTED},
    }),
    [](const auto& i) { return std::string(i.param.name); });

TEST_F(SettingsStoreTest, NestedFailureRollsBackOnlyTheInnerPart) {
  const HRESULT hr = store_->Transact([](SettingsStore& tx) {
    EXPECT_EQ(S_OK, tx.SetValue(L"K", L"outer", RegValue::Dword(1)));
    EXPECT_EQ(E_ABORT, tx.Transact([](SettingsStore& inner) {
      EXPECT_EQ(S_OK, inner.SetValue(L"K", L"inner", RegValue::Dword(2)));
      return E_ABORT;
    }));
    // A failing updater inside the transaction must not undo the outer writes either.
    EXPECT_EQ(E_UNEXPECTED, tx.Update(L"K", L"outer", [](const auto&) -> std::optional<RegValue> {
      throw std::runtime_error("x");
    }));
    return S_OK;
  });
  ASSERT_EQ(S_OK, hr);
  EXPECT_EQ(RegValue::Dword(1), Get(L"K", L"outer"));
  EXPECT_EQ(kMissing, Get(L"K", L"inner"));
}

TEST_F(SettingsStoreTest, UpdaterSeesAbsenceAndMayLeaveValueAlone) {
  std::optional<RegValue> seen = RegValue::Dword(99);
  const auto look = [&](const auto& current) {
    seen = current;
    return std::optional<RegValue>();
  };
  ASSERT_EQ(S_OK, store_->Update(L"U", L"v", look));
  EXPECT_FALSE(seen.has_value());
  EXPECT_EQ(S_FALSE, store_->KeyExists(L"U"));
  ASSERT_EQ(S_OK, store_->SetValue(L"U", L"v", RegValue::Qword(5)));
  ASSERT_EQ(S_OK, store_->Update(L"u", L"V", look));
  EXPECT_EQ(RegValue::Qword(5), seen);
}

class SettingsDamageTest : public SettingsStoreTest,
                           public ::testing::WithParamInterface<CaseRow> {};

TEST_P(SettingsDamageTest, DamagedFileIsReportedAndLeftAsItIs) {
  const CaseRow& c = GetParam();
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(S_OK, store_->SetValue(L"Keys\\K" + std::to_wstring(i), L"value",
                                     RegValue::String(std::wstring(100, L'x'))));
  }
  store_.reset();
  std::string bytes = ReadBytes(DatabaseFile());
  const size_t at = std::stoul(c[0]);
  const std::string piece = Unescape(c[1]);
  std::string put;
  for (size_t n = c[2] == "end" ? bytes.size() - at : std::stoul(c[2]); n > 0; --n) put += piece;
  ASSERT_LE(at + put.size(), c[3] == "cut" ? SIZE_MAX : bytes.size());
  WriteBytes(DatabaseFile(),
             c[3] == "cut" ? bytes.substr(0, at) + put : bytes.replace(at, put.size(), put));
  const std::string before = ReadBytes(DatabaseFile());
  const auto filesBefore = std::distance(fs::directory_iterator(dir_.path()), {});

  ExpectOpenFails(HRESULT_FROM_WIN32(ERROR_BADDB), "move it aside");
  EXPECT_EQ(before, ReadBytes(DatabaseFile()));
  EXPECT_EQ(filesBefore, std::distance(fs::directory_iterator(dir_.path()), {}));
}

INSTANTIATE_TEST_SUITE_P(Damage, SettingsDamageTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/settings_damage.tsv")),
                         [](const auto& i) { return i.param.name; });

// Threads advance the shared counter at once: no value is handed out twice.
TEST_F(SettingsStoreTest, ThreadsNeverShareACounterValue) {
  constexpr int kRounds = 1000;
  std::vector<std::vector<uint32_t>> handedOut(4);
  {
    std::vector<std::jthread> threads;
    for (auto& values : handedOut) {
      threads.emplace_back([&] {
        for (int i = 0; i < kRounds; ++i) values.push_back(Advance(*store_).value_or(UINT32_MAX));
      });
    }
  }
  std::set<uint32_t> all;
  for (const auto& values : handedOut) all.insert(values.begin(), values.end());
  EXPECT_EQ(4u * kRounds, all.size());
  EXPECT_EQ(0u, all.count(UINT32_MAX));
  EXPECT_EQ(RegValue::Dword(4 * kRounds), Get(kCounterKey, kCounterName));
}

class SqliteCodeTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(SqliteCodeTest, MapsToHresult) {
  EXPECT_EQ(static_cast<HRESULT>(std::stoul(GetParam()[1], nullptr, 16)),
            HresultFromSqlite(std::stoi(GetParam()[0])));
}

INSTANTIATE_TEST_SUITE_P(Codes, SqliteCodeTest,
                         ::testing::ValuesIn(ReadCaseTable("cases/sqlite_codes.tsv")),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
