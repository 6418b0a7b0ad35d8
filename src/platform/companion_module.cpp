// Loading the program's companion modules once per process.
#include "platform/companion_module.h"

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/dynamic_library.h"
#include "platform/module_path.h"

namespace lmk {
namespace {

struct Loaded {
  HRESULT hr = S_OK;
  void* entry = nullptr;
  std::wstring error;
  std::unique_ptr<DynamicLibrary> library;
};

std::wstring FolderOf(const std::wstring& path) {
  const std::size_t slash = path.find_last_of(L"/\\");
  return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1);
}

std::vector<std::wstring> Candidates(const wchar_t* fileName) {
  std::vector<std::wstring> paths;
  std::wstring self;
  if (SUCCEEDED(GetModulePath(reinterpret_cast<const void*>(&LoadCompanion), &self))) {
    paths.push_back(FolderOf(self) + fileName);
  }
#ifdef LMK_COMPANION_BUILD_DIR
  // Tests run from their own folders; the build puts every module in one.
  paths.push_back(std::wstring(LMK_COMPANION_BUILD_DIR L"/") + fileName);
#endif
  return paths;
}

Loaded Load(const CompanionModule& module) {
  Loaded loaded;
  std::wstring tried;
  const unsigned options =
      DynamicLibrary::kKeepLoaded | (module.shareSymbols ? DynamicLibrary::kShareSymbols : 0u);
  for (const std::wstring& path : Candidates(module.fileName)) {
    std::wstring why;
    const HRESULT hr = DynamicLibrary::Load(path, &loaded.library, &why, options);
    if (SUCCEEDED(hr)) {
      loaded.entry = loaded.library->Symbol(module.entry);
      if (loaded.entry != nullptr) return loaded;
      why = L"it has no function " +
            std::wstring(module.entry, module.entry + std::strlen(module.entry));
    }
    tried += (tried.empty() ? L"" : L"; ") + path + L": " + why;
    // A file that exists but cannot be loaded is the answer; a later candidate would hide it.
    if (hr != HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) break;
  }
  loaded.library.reset();
  loaded.hr = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
  loaded.error = L"The module " + std::wstring(module.fileName) + L" cannot be loaded (" + tried +
                 L"). It is built and installed with lumarko: rebuild or reinstall it.";
  return loaded;
}

}  // namespace

HRESULT LoadCompanion(const CompanionModule& module, void** entry, std::wstring* error) {
  if (entry == nullptr || error == nullptr || module.fileName == nullptr ||
      module.entry == nullptr) {
    return E_INVALIDARG;
  }
  static std::mutex mutex;
  static std::map<std::wstring, Loaded> modules;
  std::lock_guard<std::mutex> lock(mutex);
  auto found = modules.find(module.fileName);
  if (found == modules.end()) found = modules.emplace(module.fileName, Load(module)).first;
  *entry = found->second.entry;
  *error = found->second.error;
  return found->second.hr;
}

}  // namespace lmk
