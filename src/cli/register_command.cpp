// lumarko register / unregister: enter the plug-in's classes into the settings store, or remove
// exactly what registering entered. Both load the plug-in and call its DllInstall, as an
// installer would.
#include <cstdio>
#include <memory>

#include "cli/plugin_module.h"
#include "cli/subcommands.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct RegistrationOptions {
  bool install = true;
  bool perUser = false;
  std::string plugin;
};

int RunRegistration(const RegistrationOptions& options) {
  PluginModule module;
  const std::wstring path = PluginModule::Locate(options.plugin);
  std::wstring why;
  if (FAILED(module.Load(path, &why))) {
    PrintError("cannot load " + ToUtf8(path), ToUtf8(why));
    return kExitFailure;
  }
  const HRESULT hr = module.Install(options.install, options.perUser);
  if (FAILED(hr)) {
    PrintError((options.install ? "cannot register " : "cannot unregister ") + ToUtf8(path),
               DescribeFailure(hr));
    return kExitFailure;
  }
  std::printf("%s %s %s.\n", options.install ? "Registered" : "Unregistered",
              ToUtf8(path).c_str(), options.perUser ? "for the current user" : "for all users");
  return kExitSuccess;
}

Runner SetupRegistration(CLI::App& app, bool install, const char* name, const char* summary) {
  auto options = std::make_shared<RegistrationOptions>();
  options->install = install;
  CLI::App* command = app.add_subcommand(name, summary);
  command->add_flag("--user", options->perUser,
                    "for the current user only (default: for all users of the machine)");
  PluginModule::AddOption(*command, &options->plugin);
  return [options] { return RunRegistration(*options); };
}

}  // namespace

Runner SetupRegister(CLI::App& app) {
  return SetupRegistration(app, true, "register", "register the plug-in with the hosts");
}

Runner SetupUnregister(CLI::App& app) {
  return SetupRegistration(app, false, "unregister", "remove the plug-in's registration");
}

}  // namespace lmk::cli
