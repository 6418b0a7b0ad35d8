// Known folders on POSIX, after the XDG base directory rules. Only generic POSIX code here.
#include "platform/known_folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/event_trace_sink.h"
#include "platform/text_encoding.h"

namespace lmk {

namespace {

std::wstring AbsoluteFromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || value[0] != '/') return {};
  return FromUtf8(value);
}

std::wstring HomeFolder() {
  std::wstring home = AbsoluteFromEnvironment("HOME");
  if (!home.empty()) return home;
  const passwd* entry = ::getpwuid(::getuid());  // start-up only; not called from workers
  if (entry != nullptr && entry->pw_dir != nullptr && entry->pw_dir[0] == '/') {
    return FromUtf8(entry->pw_dir);
  }
  return {};
}

std::wstring WithoutTrailingSeparators(std::wstring path) {
  while (path.size() > 1 && path.back() == L'/') path.pop_back();
  return path;
}

}  // namespace

std::wstring KnownFolderPath(KnownFolder folder) {
  switch (folder) {
    case KnownFolder::kLocalAppData: {
      std::wstring data = AbsoluteFromEnvironment("XDG_DATA_HOME");
      if (!data.empty()) return WithoutTrailingSeparators(data);
      const std::wstring home = HomeFolder();
      if (home.empty()) return {};
      return JoinPath(WithoutTrailingSeparators(home), L".local/share");
    }
    case KnownFolder::kTemp: {
      std::wstring temp = AbsoluteFromEnvironment("TMPDIR");
      return temp.empty() ? L"/tmp" : WithoutTrailingSeparators(temp);
    }
  }
  return {};
}

std::wstring JoinPath(std::wstring_view folder, std::wstring_view name) {
  std::wstring result(folder);
  if (!result.empty() && result.back() != L'/' && !name.empty()) result += L'/';
  result += name;
  return result;
}

std::wstring ParentFolderPath(std::wstring_view path) {
  const size_t slash = path.rfind(L'/');
  if (slash == std::wstring_view::npos) return {};
  return std::wstring(slash == 0 ? path.substr(0, 1) : path.substr(0, slash));
}

DWORD CreateFolderPath(std::wstring_view path) {
  if (path.empty()) return ERROR_PATH_NOT_FOUND;
  const std::string native = ToUtf8(path);
  // Create each component in turn; one that exists already is fine.
  for (size_t end = 1; end <= native.size(); ++end) {
    if (end != native.size() && native[end] != '/') continue;
    const std::string part = native.substr(0, end);
    if (::mkdir(part.c_str(), 0700) == 0 || errno == EEXIST) continue;
    switch (errno) {
      case EACCES:
      case EPERM:
      case EROFS:
        return ERROR_ACCESS_DENIED;
      case ENOSPC:
        return ERROR_DISK_FULL;
      case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
      default:
        return ERROR_PATH_NOT_FOUND;
    }
  }
  struct stat info {};
  if (::stat(native.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return ERROR_PATH_NOT_FOUND;
  return ERROR_SUCCESS;
}

std::wstring LogFolderPath() {
  const std::wstring data = KnownFolderPath(KnownFolder::kLocalAppData);
  if (!data.empty()) {
    const std::wstring logs = JoinPath(data, L"Lumarko/Logs");
    if (logs.size() <= kMaxLogFilePathLength && CreateFolderPath(logs) == ERROR_SUCCESS) {
      return logs;
    }
  }
  return KnownFolderPath(KnownFolder::kTemp);
}

}  // namespace lmk
