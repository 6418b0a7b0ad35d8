// Tests of the server's registration: DllInstall's command line, every entry written, and
// unregistration leaving the settings store exactly as it was.
#include "shell/registration.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "platform/module_path.h"
#include "shell/lumarko_plugin.h"
#include "shell/module_exports.h"
#include "shell/server_classes.h"
#include "support/data_table.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

// ---- The store as a whole ----------------------------------------------------------------

// Every value of a store, keyed by "key path|value name", keys in folded form; empty keys as
// "key path|<key>" so that they count too.
using Snapshot = std::map<std::wstring, std::wstring>;

void Collect(SettingsStore& store, const std::wstring& key, Snapshot* out) {
  std::vector<std::pair<std::wstring, RegValue>> values;
  ASSERT_EQ(store.EnumValues(key, &values), S_OK);
  std::vector<std::wstring> subkeys;
  ASSERT_EQ(store.EnumSubkeys(key, &subkeys), S_OK);
  (*out)[FoldSettingsName(key) + L"|<key>"] = L"";
  for (const auto& [name, value] : values) {
    (*out)[FoldSettingsName(key) + L"|" + FoldSettingsName(name)] =
        value.IsText() ? value.text : std::to_wstring(value.number);
  }
  for (const std::wstring& subkey : subkeys) {
    Collect(store, key.empty() ? subkey : key + L"\\" + subkey, out);
  }
}

Snapshot Take(SettingsScope scope) {
  std::shared_ptr<SettingsStore> store;
  EXPECT_EQ(SettingsStore::Open(scope, &store), S_OK);
  Snapshot snapshot;
  if (store) Collect(*store, L"", &snapshot);
  return snapshot;
}

std::wstring GuidText(REFGUID guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, 40);
  return text;
}

const std::wstring kOtherPlugin = L"{0F0F0F0F-1111-2222-3333-444455556666}";

class RegistrationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(GetModulePath(reinterpret_cast<const void*>(&DllInstall), &module_), S_OK);
    // Entries that are not ours and must survive: an unrelated class and another plug-in in
    // the shared category, in both stores.
    for (SettingsScope scope : {SettingsScope::CurrentUser, SettingsScope::Machine}) {
      std::shared_ptr<SettingsStore> store;
      ASSERT_EQ(SettingsStore::Open(scope, &store), S_OK);
      ASSERT_EQ(store->SetValue(L"Software\\Classes\\.jpg", L"", RegValue::String(L"jpegfile")),
                S_OK);
      ASSERT_EQ(store->CreateKey(L"Software\\Classes\\CLSID\\" + kOtherPlugin +
                                 L"\\Implemented Categories\\" + GuidText(CATID_LumarkoPlugins)),
                S_OK);
      ASSERT_EQ(store->SetValue(
                    L"Software\\Classes\\Component Categories\\" + GuidText(CATID_LumarkoPlugins),
                    L"0", RegValue::String(L"Lumarko Plugins")),
                S_OK);
    }
    userBefore_ = Take(SettingsScope::CurrentUser);
    machineBefore_ = Take(SettingsScope::Machine);
  }
  test::ScopedTempDir dir_;
  test::ScopedEnv env_{"LUMARKO_CONFIG_DIR", dir_.path().string()};
  std::wstring module_;
  Snapshot userBefore_;
  Snapshot machineBefore_;
};

// Checks every entry of tests/data/registration_entries.txt, its placeholders filled in.
void ExpectEntries(const Snapshot& snapshot, const std::wstring& module) {
  const std::map<std::wstring, std::wstring> fills = {
      {L"{CATID}", GuidText(CATID_LumarkoPlugins)},
      {L"{APPID}", GuidText(APPID_FileUtilities)},
      {L"{PLUGIN}", GuidText(CLSID_FileUtilities)},
      {L"{ENGINE}", GuidText(CLSID_ScriptEngine)},
      {L"{TYPELIB}", GuidText(LIBID_LmkFileUtilities)},
      {L"{MODULE}", module},
      {L"{MODULEFILE}", module.substr(module.find_last_of(L'/') + 1)}};
  auto fill = [&](const std::string& text) {
    std::wstring out = test::Widen(text);
    for (const auto& [name, value] : fills) {
      for (size_t at; (at = out.find(name)) != std::wstring::npos;)
        out.replace(at, name.size(), value);
    }
    return out;
  };
  for (const test::DataRow& row : test::DataRows("registration_entries.txt", "", 3)) {
    const std::wstring name = fill(row[1]);
    const std::wstring key = FoldSettingsName(L"Software\\Classes\\" + fill(row[0])) + L"|" +
                             (name == L"<key>" ? name : FoldSettingsName(name));
    auto found = snapshot.find(key);
    if (found == snapshot.end()) {
      ADD_FAILURE() << "missing " << testing::PrintToString(key);
      continue;
    }
    EXPECT_EQ(found->second, fill(row[2])) << testing::PrintToString(key);
  }
}

// Rows: DllInstall's command line ("-": DllRegisterServer, "(null)": none) and the scope written.
class RegistrationRoundTrip : public RegistrationTest,
                              public ::testing::WithParamInterface<test::CaseRow> {};

TEST_P(RegistrationRoundTrip, WritesEveryEntryThenLeavesTheStoresAsTheyWere) {
  const std::wstring line = test::Widen(GetParam()[0]);
  const wchar_t* commandLine = GetParam()[0] == "(null)" ? nullptr : line.c_str();
  const bool server = line == L"-";
  const bool perUser = GetParam()[1] == "user";
  ASSERT_EQ(server ? DllRegisterServer() : DllInstall(TRUE, commandLine), S_OK);
  const Snapshot user = Take(SettingsScope::CurrentUser);
  const Snapshot machine = Take(SettingsScope::Machine);
  ExpectEntries(perUser ? user : machine, module_);
  EXPECT_EQ(perUser ? machine : user, perUser ? machineBefore_ : userBefore_)
      << "the other scope is not touched";
  ASSERT_EQ(server ? DllUnregisterServer() : DllInstall(FALSE, commandLine), S_OK);
  EXPECT_EQ(Take(SettingsScope::CurrentUser), userBefore_);
  EXPECT_EQ(Take(SettingsScope::Machine), machineBefore_);
}

INSTANTIATE_TEST_SUITE_P(Scopes, RegistrationRoundTrip,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/registration_scopes.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST_F(RegistrationTest, UnregisteringWhatIsNotThereOrAnEmptyPathChangesNothing) {
  ASSERT_EQ(DllInstall(FALSE, L"user"), S_OK);
  EXPECT_EQ(RegisterServer(SettingsScope::CurrentUser, L""), E_INVALIDARG);
  EXPECT_EQ(Take(SettingsScope::CurrentUser), userBefore_);
}

}  // namespace
}  // namespace lmk
