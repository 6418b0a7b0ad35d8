// Mount points and the home folder on POSIX, from stat(2) and the password database. Only
// generic POSIX code here.
#include "platform/protected_folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/text_encoding.h"

namespace lmk {
namespace {

std::string WithoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string ParentOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {};
  return slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') {
    return WithoutTrailingSlashes(home);
  }
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && found->pw_dir != nullptr && found->pw_dir[0] == '/') {
    return WithoutTrailingSlashes(found->pw_dir);
  }
  return {};
}

// Whether ancestor is path or one of its parents, by text.
bool TextHolds(const std::string& ancestor, const std::string& path) {
  if (ancestor == "/" || ancestor == path) return true;
  return path.size() > ancestor.size() && path.compare(0, ancestor.size(), ancestor) == 0 &&
         path[ancestor.size()] == '/';
}

}  // namespace

bool IsMountPoint(std::wstring_view folder) {
  const std::string path = WithoutTrailingSlashes(ToUtf8(folder));
  struct stat self {};
  struct stat parent {};
  if (path.empty() || ::stat(path.c_str(), &self) != 0) return true;
  const std::string up = (path + "/..");
  if (::stat(up.c_str(), &parent) != 0) return true;
  // The root is its own parent; a mount point's parent lies on the device below it.
  return self.st_dev != parent.st_dev || self.st_ino == parent.st_ino;
}

bool HoldsHomeFolder(std::wstring_view folder) {
  const std::string home = HomeFolder();
  if (home.empty()) return false;
  const std::string path = WithoutTrailingSlashes(ToUtf8(folder));
  if (path.empty()) return false;
  if (TextHolds(path, home)) return true;
  struct stat self {};
  if (::stat(path.c_str(), &self) != 0) return false;
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(home.c_str(), nullptr),
                                                             &std::free);
  std::string step = resolved ? std::string(resolved.get()) : home;
  for (; !step.empty(); step = step == "/" ? std::string() : ParentOf(step)) {
    struct stat other {};
    if (::stat(step.c_str(), &other) == 0 && other.st_dev == self.st_dev &&
        other.st_ino == self.st_ino) {
      return true;
    }
  }
  return false;
}

}  // namespace lmk
