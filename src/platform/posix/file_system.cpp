// Only POSIX code here: file existence through stat().
#include "platform/file_system.h"

#include <sys/stat.h>

#include <string>

#include "platform/text_encoding.h"

namespace lmk {

bool FileExists(std::wstring_view path) {
  if (path.empty()) return false;
  const std::string native = ToUtf8(path);
  struct stat info {};
  // stat follows links: a dangling link is a file that no longer exists.
  if (::stat(native.c_str(), &info) != 0) return false;
  return !S_ISDIR(info.st_mode);
}

}  // namespace lmk
