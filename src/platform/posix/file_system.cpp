// Only POSIX code here: file existence through stat().
#include "platform/file_system.h"

#include <sys/stat.h>

#include <optional>
#include <string>

#include "platform/text_encoding.h"

namespace lmk {

namespace {

// The kind of what `path` names, links followed (a dangling link is a file that no longer
// exists); nullopt when there is nothing there or it cannot be looked at.
std::optional<mode_t> KindOf(std::wstring_view path) {
  if (path.empty()) return std::nullopt;
  struct stat info {};
  if (::stat(ToUtf8(path).c_str(), &info) != 0) return std::nullopt;
  return info.st_mode & S_IFMT;
}

}  // namespace

bool FileExists(std::wstring_view path) {
  const std::optional<mode_t> kind = KindOf(path);
  return kind && !S_ISDIR(*kind);
}

bool IsRegularFile(std::wstring_view path) noexcept {
  try {
    const std::optional<mode_t> kind = KindOf(path);
    return kind && S_ISREG(*kind);
  } catch (...) {
    return false;
  }
}

}  // namespace lmk
