// PluginModule: the plug-in's shared object loaded into the lumarko command, and the module
// entry points called through it.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "com/com.h"
#include "platform/dynamic_library.h"

namespace lmk::cli {

class PluginModule {
 public:
  /// Adds "--plugin PATH" to a subcommand that loads the plug-in.
  static void AddOption(CLI::App& command, std::string* path);

  /// The plug-in's file: explicitPath when given, else $LUMARKO_PLUGIN, else the plug-in's file
  /// name next to the running program.
  static std::wstring Locate(const std::string& explicitPath);

  /// Loads the module at path and checks that it exports the entry points. S_OK; a failure with
  /// *error saying why.
  HRESULT Load(const std::wstring& path, std::wstring* error);

  /// Registers (install) or unregisters, for the current user or machine-wide, through the
  /// module's own entry points. The module's HRESULT.
  HRESULT Install(bool install, bool perUser) const;

  /// The module's class object of clsid queried for riid, through DllGetClassObject, as a host
  /// creates a plug-in. The module's HRESULT; E_UNEXPECTED when nothing is loaded.
  HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const;

  const std::wstring& path() const noexcept { return path_; }

 private:
  std::wstring path_;
  std::unique_ptr<DynamicLibrary> library_;
};

}  // namespace lmk::cli
