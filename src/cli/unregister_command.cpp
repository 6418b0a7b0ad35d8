// lumarko unregister: removes what "lumarko register" entered into the settings store.
#include <cstdio>
#include <memory>

#include "cli/plugin_module.h"
#include "cli/subcommands.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct UnregisterOptions {
  bool perUser = false;
  std::string plugin;
};

int RunUnregister(const UnregisterOptions& options) {
  PluginModule module;
  const std::wstring path = PluginModule::Locate(options.plugin);
  std::wstring why;
  if (FAILED(module.Load(path, &why))) {
    PrintError("cannot load " + ToUtf8(path), ToUtf8(why));
    return kExitFailure;
  }
  const HRESULT hr = module.Install(false, options.perUser);
  if (FAILED(hr)) {
    PrintError("cannot unregister " + ToUtf8(path), DescribeFailure(hr));
    return kExitFailure;
  }
  std::printf("Unregistered %s %s.\n", ToUtf8(path).c_str(),
              options.perUser ? "for the current user" : "for all users");
  return kExitSuccess;
}

}  // namespace

Runner SetupUnregister(CLI::App& app) {
  auto options = std::make_shared<UnregisterOptions>();
  CLI::App* command = app.add_subcommand("unregister", "remove the plug-in's registration");
  command->add_flag("--user", options->perUser,
                    "for the current user only (default: for all users of the machine)");
  PluginModule::AddOption(*command, &options->plugin);
  return [options] { return RunUnregister(*options); };
}

}  // namespace lmk::cli
