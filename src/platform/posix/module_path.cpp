// Module and program paths on POSIX: dladdr for modules, /proc/self/exe for the program.
// Only generic UNIX code here (plus the Linux /proc file system).
#include "platform/module_path.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "platform/text_encoding.h"

namespace lmk {
namespace {

// The absolute, symlink-free form of path; the path as given when that cannot be had.
std::string Resolve(const char* path) {
  std::unique_ptr<char, decltype(&::free)> resolved(::realpath(path, nullptr), &::free);
  return resolved ? std::string(resolved.get()) : std::string(path);
}

}  // namespace

HRESULT GetModulePath(const void* address, std::wstring* path) {
  if (address == nullptr || path == nullptr) return E_INVALIDARG;
  Dl_info info{};
  if (::dladdr(address, &info) == 0 || info.dli_fname == nullptr || info.dli_fname[0] == '\0') {
    return E_FAIL;
  }
  *path = FromUtf8(Resolve(info.dli_fname));
  return S_OK;
}

HRESULT GetExecutablePath(std::wstring* path) {
  if (path == nullptr) return E_INVALIDARG;
  std::vector<char> buffer(PATH_MAX);
  for (;;) {
    ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length < 0) return E_FAIL;
    if (static_cast<std::size_t>(length) < buffer.size()) {
      *path = FromUtf8(std::string_view(buffer.data(), static_cast<std::size_t>(length)));
      return S_OK;
    }
    buffer.resize(buffer.size() * 2);
  }
}

}  // namespace lmk
