// lumarko register: enters the plug-in's classes into the settings store.
#include <cstdio>
#include <memory>

#include "cli/plugin_module.h"
#include "cli/subcommands.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct RegisterOptions {
  bool perUser = false;
  std::string plugin;
};

int RunRegister(const RegisterOptions& options) {
  PluginModule module;
  const std::wstring path = PluginModule::Locate(options.plugin);
  std::wstring why;
  if (FAILED(module.Load(path, &why))) {
    PrintError("cannot load " + ToUtf8(path), ToUtf8(why));
    return kExitFailure;
  }
  const HRESULT hr = module.Install(true, options.perUser);
  if (FAILED(hr)) {
    PrintError("cannot register " + ToUtf8(path), DescribeFailure(hr));
    return kExitFailure;
  }
  std::printf("Registered %s %s.\n", ToUtf8(path).c_str(),
              options.perUser ? "for the current user" : "for all users");
  return kExitSuccess;
}

}  // namespace

Runner SetupRegister(CLI::App& app) {
  auto options = std::make_shared<RegisterOptions>();
  CLI::App* command = app.add_subcommand("register", "register the plug-in with the hosts");
  command->add_flag("--user", options->perUser,
                    "for the current user only (default: for all users of the machine)");
  PluginModule::AddOption(*command, &options->plugin);
  return [options] { return RunRegister(*options); };
}

}  // namespace lmk::cli
