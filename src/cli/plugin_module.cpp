// PluginModule: finding, loading and calling the plug-in's shared object.
#include "cli/plugin_module.h"

#include <cstdlib>

#include "platform/module_path.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

using RegisterFunction = HRESULT(STDAPICALLTYPE*)();
using InstallFunction = HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR);
using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);

constexpr const char* kEntryPoints[] = {"DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer",
                                        "DllUnregisterServer", "DllInstall"};

}  // namespace

void PluginModule::AddOption(CLI::App& command, std::string* path) {
  command.add_option(
      "--plugin", *path,
      "the plug-in's shared object (default: $LUMARKO_PLUGIN, else " LMK_PLUGIN_FILE_NAME
      " next to this program)");
}

std::wstring PluginModule::Locate(const std::string& explicitPath) {
  if (!explicitPath.empty()) return FromUtf8(explicitPath);
  if (const char* fromEnvironment = std::getenv("LUMARKO_PLUGIN");
      fromEnvironment != nullptr && *fromEnvironment != '\0') {
    return FromUtf8(fromEnvironment);
  }
  std::wstring program;
  if (FAILED(GetExecutablePath(&program))) return FromUtf8(LMK_PLUGIN_FILE_NAME);
  const std::size_t slash = program.find_last_of(L'/');
  return program.substr(0, slash == std::wstring::npos ? 0 : slash + 1) +
         FromUtf8(LMK_PLUGIN_FILE_NAME);
}

HRESULT PluginModule::Load(const std::wstring& path, std::wstring* error) {
  path_ = path;
  LMK_RETURN_IF_FAILED(DynamicLibrary::Load(path, &library_, error));
  for (const char* name : kEntryPoints) {
    if (library_->Symbol(name) == nullptr) {
      *error = L"it does not export " + FromUtf8(name) + L"; is it a Lumarko plug-in?";
      library_.reset();
      return E_FAIL;
    }
  }
  return S_OK;
}

HRESULT PluginModule::Install(bool install, bool perUser) const {
  if (!library_) return E_UNEXPECTED;
  if (perUser) {
    return library_->Function<InstallFunction>("DllInstall")(install ? TRUE : FALSE, L"user");
  }
  return library_->Function<RegisterFunction>(install ? "DllRegisterServer"
                                                      : "DllUnregisterServer")();
}

HRESULT PluginModule::GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const {
  if (!library_) return E_UNEXPECTED;
  return library_->Function<GetClassObjectFunction>("DllGetClassObject")(clsid, riid, ppv);
}

}  // namespace lmk::cli
