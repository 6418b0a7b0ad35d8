// Registration entries of the server, written and removed as one transaction each.
#include "shell/registration.h"

#include <array>
#include <cwctype>
#include <string>

#include "shell/lumarko_plugin.h"
#include "shell/server_classes.h"

namespace lmk {
namespace {

std::wstring GuidText(REFGUID guid) {
  std::array<wchar_t, 40> text{};
  if (StringFromGUID2(guid, text.data(), static_cast<int>(text.size())) == 0) {
    throw ComError(E_UNEXPECTED);
  }
  return text.data();
}

// The key path root\a\b\...
std::wstring Key(std::initializer_list<std::wstring_view> parts) {
  std::wstring key(kClassesRoot);
  for (std::wstring_view part : parts) {
    key += L'\\';
    key += part;
  }
  return key;
}

std::wstring_view FileNameOf(std::wstring_view path) {
  const std::size_t slash = path.find_last_of(L"/\\");
  return slash == std::wstring_view::npos ? path : path.substr(slash + 1);
}

std::wstring_view FolderOf(std::wstring_view path) {
  const std::size_t slash = path.find_last_of(L"/\\");
  return slash == std::wstring_view::npos ? std::wstring_view() : path.substr(0, slash + 1);
}

void SetText(SettingsStore& store, const std::wstring& key, std::wstring_view name,
             std::wstring_view text) {
  ThrowIfFailed(store.SetValue(key, name, RegValue::String(text)));
}

// Removes a key this server owns; one that is already gone is fine.
void RemoveTree(SettingsStore& store, const std::wstring& key) {
  const HRESULT hr = store.DeleteTree(key);
  if (hr != HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) ThrowIfFailed(hr);
}

// Removes key when it holds neither values nor subkeys.
void RemoveIfEmpty(SettingsStore& store, const std::wstring& key) {
  std::vector<std::wstring> subkeys;
  HRESULT hr = store.EnumSubkeys(key, &subkeys);
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return;
  ThrowIfFailed(hr);
  std::vector<std::pair<std::wstring, RegValue>> values;
  ThrowIfFailed(store.EnumValues(key, &values));
  if (subkeys.empty() && values.empty()) RemoveTree(store, key);
}

// True when any class key other than those of this server names the plug-in category.
bool CategoryUsedByOthers(SettingsStore& store, const std::wstring& categoryText) {
  std::vector<std::wstring> classes;
  const HRESULT hr = store.EnumSubkeys(Key({L"CLSID"}), &classes);
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return false;
  ThrowIfFailed(hr);
  for (const std::wstring& clsid : classes) {
    const HRESULT exists =
        store.KeyExists(Key({L"CLSID", clsid, L"Implemented Categories", categoryText}));
    ThrowIfFailed(exists);
    if (exists == S_OK) return true;
  }
  return false;
}

void WriteEntries(SettingsStore& store, std::wstring_view modulePath) {
  const std::wstring category = GuidText(CATID_LumarkoPlugins);
  const std::wstring appId = GuidText(APPID_FileUtilities);
  const std::wstring typeLib = GuidText(LIBID_LmkFileUtilities);

  // The category under the description's locale, as the category manager writes it ("0").
  SetText(store, Key({L"Component Categories", category}), L"0", kPluginCategoryDescription);

  SetText(store, Key({L"AppID", appId}), L"", kAppIdName);
  SetText(store, Key({L"AppID", FileNameOf(modulePath)}), L"AppID", appId);

  for (const ServerClass& server_class : ServerClasses()) {
    const std::wstring clsid = GuidText(server_class.clsid);
    SetText(store, Key({L"CLSID", clsid}), L"", server_class.description);
    SetText(store, Key({L"CLSID", clsid, L"ProgID"}), L"", server_class.progId);
    SetText(store, Key({L"CLSID", clsid, L"VersionIndependentProgID"}), L"",
            server_class.versionIndependentProgId);
    SetText(store, Key({L"CLSID", clsid, L"InprocServer32"}), L"", modulePath);
    SetText(store, Key({L"CLSID", clsid, L"InprocServer32"}), L"ThreadingModel", L"Both");
    ThrowIfFailed(store.CreateKey(Key({L"CLSID", clsid, L"Programmable"})));
    SetText(store, Key({L"CLSID", clsid, L"TypeLib"}), L"", typeLib);
    if (server_class.isPlugin) {
      ThrowIfFailed(store.CreateKey(Key({L"CLSID", clsid, L"Implemented Categories", category})));
    }

    SetText(store, Key({server_class.progId}), L"", server_class.description);
    SetText(store, Key({server_class.progId, L"CLSID"}), L"", clsid);
    SetText(store, Key({server_class.versionIndependentProgId}), L"", server_class.description);
    SetText(store, Key({server_class.versionIndependentProgId, L"CLSID"}), L"", clsid);
    SetText(store, Key({server_class.versionIndependentProgId, L"CurVer"}), L"",
            server_class.progId);
  }

  // The module is its own type library; the keys follow the layout hosts look up.
  const std::wstring version = Key({L"TypeLib", typeLib, kTypeLibraryVersion});
  SetText(store, version, L"", kTypeLibraryHelpString);
  SetText(store, version + L"\\FLAGS", L"", L"0");
  SetText(store, version + L"\\HELPDIR", L"", FolderOf(modulePath));
  SetText(store, version + (sizeof(void*) == 8 ? L"\\0\\win64" : L"\\0\\win32"), L"", modulePath);
}

void RemoveEntries(SettingsStore& store, std::wstring_view modulePath) {
  const std::wstring category = GuidText(CATID_LumarkoPlugins);

  RemoveTree(store, Key({L"TypeLib", GuidText(LIBID_LmkFileUtilities)}));
  for (const ServerClass& server_class : ServerClasses()) {
    RemoveTree(store, Key({server_class.versionIndependentProgId}));
    RemoveTree(store, Key({server_class.progId}));
    RemoveTree(store, Key({L"CLSID", GuidText(server_class.clsid)}));
  }
  RemoveTree(store, Key({L"AppID", FileNameOf(modulePath)}));
  RemoveTree(store, Key({L"AppID", GuidText(APPID_FileUtilities)}));

  // The category is shared by every plug-in: it goes only with the last class implementing it.
  if (!CategoryUsedByOthers(store, category)) {
    RemoveTree(store, Key({L"Component Categories", category}));
  }

  for (const wchar_t* container : {L"TypeLib", L"CLSID", L"AppID", L"Component Categories"}) {
    RemoveIfEmpty(store, Key({container}));
  }
  RemoveIfEmpty(store, std::wstring(kClassesRoot));
  RemoveIfEmpty(store, L"Software");
}

HRESULT RunInStore(SettingsScope scope, const SettingsStore::TransactionBody& body) {
  std::shared_ptr<SettingsStore> store;
  LMK_RETURN_IF_FAILED(SettingsStore::Open(scope, &store));
  return store->Transact(body);
}

}  // namespace

HRESULT RegisterServer(SettingsScope scope, std::wstring_view modulePath) {
  try {
    if (modulePath.empty()) return E_INVALIDARG;
    return RunInStore(scope, [&](SettingsStore& store) {
      WriteEntries(store, modulePath);
      return S_OK;
    });
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT UnregisterServer(SettingsScope scope, std::wstring_view modulePath) {
  try {
    return RunInStore(scope, [&](SettingsStore& store) {
      RemoveEntries(store, modulePath);
      return S_OK;
    });
  } catch (...) {
    return HresultFromCurrentException();
  }
}

bool IsPerUserCommandLine(const wchar_t* commandLine) noexcept {
  if (commandLine == nullptr) return false;
  constexpr std::wstring_view kUser = L"user";
  std::size_t i = 0;
  for (; commandLine[i] != L'\0'; ++i) {
    if (i >= kUser.size() || static_cast<wchar_t>(std::towlower(commandLine[i])) != kUser[i]) {
      return false;
    }
  }
  return i == kUser.size();
}

}  // namespace lmk
