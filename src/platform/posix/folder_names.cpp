// Reading a folder's names with opendir/readdir. Only generic POSIX code here.
#include "platform/folder_names.h"

#include <dirent.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "platform/posix/error_map.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

struct DirCloser {
  void operator()(DIR* dir) const { ::closedir(dir); }
};

HRESULT Unreadable(int error, std::wstring_view folder) {
  return HresultFromErrno(error, L"Cannot read the folder '" + std::wstring(folder) + L"'");
}

}  // namespace

HRESULT ListFolderNames(std::wstring_view folder, std::vector<std::wstring>* names) {
  if (names == nullptr) return E_INVALIDARG;
  names->clear();
  const std::string path = folder.empty() ? std::string(".") : ToUtf8(folder);
  std::unique_ptr<DIR, DirCloser> dir(::opendir(path.c_str()));
  if (!dir) return Unreadable(errno, folder);
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(dir.get());
    if (entry == nullptr) break;
    if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
    names->push_back(FromUtf8(entry->d_name));
  }
  if (errno != 0) {
    const int error = errno;
    names->clear();
    return Unreadable(error, folder);
  }
  return S_OK;
}

}  // namespace lmk
