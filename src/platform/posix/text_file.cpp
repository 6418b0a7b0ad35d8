// Whole-file text saves on POSIX: a temporary file beside the target, synced, then renamed.
#include "platform/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>

#include "platform/posix/error_map.h"
#include "platform/text_encoding.h"

namespace lmk {

namespace {

DWORD WriteAll(int fd, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n < 0 ? Win32FromWriteErrno(errno) : ERROR_DISK_FULL;
    done += static_cast<size_t>(n);
  }
  return ERROR_SUCCESS;
}

}  // namespace

DWORD WriteTextFile(std::wstring_view path, std::wstring_view text) {
  try {
    if (path.empty()) return ERROR_PATH_NOT_FOUND;
    const std::string target = ToUtf8(path);
    std::string temp = target + ".XXXXXX";
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) return Win32FromWriteErrno(errno);
    // mkstemp makes the file private; an exported log is an ordinary document. (Reading the
    // umask would change it for every thread for a moment.)
    (void)::fchmod(fd, 0644);
    DWORD result = WriteAll(fd, ToUtf8(text));
    if (result == ERROR_SUCCESS && ::fsync(fd) != 0) result = Win32FromWriteErrno(errno);
    if (::close(fd) != 0 && result == ERROR_SUCCESS) result = Win32FromWriteErrno(errno);
    if (result == ERROR_SUCCESS && ::rename(temp.c_str(), target.c_str()) != 0) {
      result = Win32FromWriteErrno(errno);
    }
    if (result != ERROR_SUCCESS) ::unlink(temp.c_str());
    return result;
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

}  // namespace lmk
