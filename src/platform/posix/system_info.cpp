// Only POSIX code here: the host name and the effective user's account name.
#include "platform/system_info.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/text_encoding.h"

namespace lmk {

std::wstring ComputerName() {
  char name[256] = {};
  if (gethostname(name, sizeof(name) - 1) != 0) return {};
  std::string host(name);
  // The short name, as the one-word computer name of other systems.
  host = host.substr(0, host.find('.'));
  return FromUtf8(host);
}

std::wstring LogonUserName() {
  long size = sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && found->pw_name != nullptr && *found->pw_name != 0) {
    return FromUtf8(found->pw_name);
  }
  // Containers often run under ids the password database does not know.
  for (const char* variable : {"USER", "LOGNAME"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != 0) return FromUtf8(value);
  }
  return {};
}

std::wstring DomainUserName() {
  std::wstring computer = ComputerName();
  std::wstring user = LogonUserName();
  if (computer.empty() || user.empty()) return {};
  return computer + L"\\" + user;
}

}  // namespace lmk
