// Run-time loading of shared libraries on POSIX with dlopen. Only generic UNIX code here.
#include "platform/dynamic_library.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include "platform/text_encoding.h"

namespace lmk {

HRESULT DynamicLibrary::Load(const std::wstring& path, std::unique_ptr<DynamicLibrary>* library,
                             std::wstring* error, unsigned options) {
  if (library == nullptr || error == nullptr) return E_INVALIDARG;
  library->reset();
  error->clear();
  const std::string file = ToUtf8(path);
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) {
    *error = L"no such file";
    return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
  }
  // RTLD_LOCAL keeps the library's symbols to itself, as a Windows module's are.
  int flags = RTLD_NOW | ((options & kShareSymbols) != 0 ? RTLD_GLOBAL : RTLD_LOCAL);
  if ((options & kKeepLoaded) != 0) flags |= RTLD_NODELETE;
  void* handle = ::dlopen(file.c_str(), flags);
  if (handle == nullptr) {
    const char* why = ::dlerror();
    *error = why != nullptr ? FromUtf8(why) : L"the library cannot be loaded";
    return E_FAIL;
  }
  *library = std::make_unique<DynamicLibrary>(Key{}, handle);
  return S_OK;
}

DynamicLibrary::~DynamicLibrary() { ::dlclose(handle_); }

void* DynamicLibrary::Symbol(const char* name) const noexcept {
  return name != nullptr ? ::dlsym(handle_, name) : nullptr;
}

}  // namespace lmk
