// lumarko plugins: lists the plug-ins registered in the host's plug-in category.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/subcommands.h"
#include "platform/settings_store.h"
#include "platform/text_encoding.h"
#include "shell/lumarko_plugin.h"
#include "shell/registration.h"

namespace lmk::cli {
namespace {

struct PluginsOptions {};

struct PluginEntry {
  std::wstring clsid;
  std::wstring progId;
  std::wstring module;
  const char* scope;
};

std::wstring GuidText(REFGUID guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, 40);
  return text;
}

// The default value of key, empty when absent.
std::wstring DefaultText(SettingsStore& store, const std::wstring& key) {
  RegValue value;
  if (FAILED(store.GetValue(key, L"", &value)) || !value.IsText()) return {};
  return value.text;
}

// Appends the classes of one store that implement the plug-in category.
HRESULT CollectPlugins(SettingsStore& store, const char* scope, std::vector<PluginEntry>* found) {
  const std::wstring classes = std::wstring(kClassesRoot) + L"\\CLSID";
  const std::wstring category = GuidText(CATID_LumarkoPlugins);
  std::vector<std::wstring> clsids;
  HRESULT hr = store.EnumSubkeys(classes, &clsids);
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return S_OK;
  LMK_RETURN_IF_FAILED(hr);
  for (const std::wstring& clsid : clsids) {
    const std::wstring key = classes + L"\\" + clsid;
    hr = store.KeyExists(key + L"\\Implemented Categories\\" + category);
    LMK_RETURN_IF_FAILED(hr);
    if (hr != S_OK) continue;
    found->push_back(PluginEntry{clsid, DefaultText(store, key + L"\\ProgID"),
                                 DefaultText(store, key + L"\\InprocServer32"), scope});
  }
  return S_OK;
}

int RunPlugins(const PluginsOptions& /*options*/) {
  struct Scope {
    SettingsScope scope;
    const char* name;
  };
  std::vector<PluginEntry> plugins;
  int storesRead = 0;
  for (const Scope& scope :
       {Scope{SettingsScope::CurrentUser, "user"}, Scope{SettingsScope::Machine, "machine"}}) {
    std::shared_ptr<SettingsStore> store;
    HRESULT hr = SettingsStore::Open(scope.scope, &store);
    if (SUCCEEDED(hr)) hr = CollectPlugins(*store, scope.name, &plugins);
    if (FAILED(hr)) {
      PrintError(std::string("cannot read the ") + scope.name + " settings", DescribeFailure(hr));
      continue;
    }
    ++storesRead;
  }
  if (plugins.empty()) {
    if (storesRead > 0) std::printf("No plug-ins are registered.\n");
  } else {
    std::printf("%-38s  %-7s  %-34s  %s\n", "CLSID", "SCOPE", "PROGID", "MODULE");
    for (const PluginEntry& plugin : plugins) {
      std::printf("%-38s  %-7s  %-34s  %s\n", ToUtf8(plugin.clsid).c_str(), plugin.scope,
                  ToUtf8(plugin.progId).c_str(), ToUtf8(plugin.module).c_str());
    }
  }
  // A store that cannot be read is only a failure when no store could be.
  return storesRead > 0 ? kExitSuccess : kExitFailure;
}

}  // namespace

Runner SetupPlugins(CLI::App& app) {
  auto options = std::make_shared<PluginsOptions>();
  app.add_subcommand("plugins", "list the registered plug-ins (CLSID, scope, ProgID, module)");
  return [options] { return RunPlugins(*options); };
}

}  // namespace lmk::cli
