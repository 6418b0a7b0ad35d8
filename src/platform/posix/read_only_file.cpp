// Only generic POSIX code here: open, read and close.
#include "platform/read_only_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/text_encoding.h"

namespace lmk {

ReadOnlyFile::~ReadOnlyFile() { Close(); }

bool ReadOnlyFile::Open(std::wstring_view path) noexcept {
  Close();
  try {
    const std::string native = ToUtf8(path);
    const int fd = ::open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) return false;
    handle_ = fd;
    return true;
  } catch (...) {
    return false;
  }
}

std::ptrdiff_t ReadOnlyFile::Read(void* buffer, std::size_t count) noexcept {
  if (handle_ < 0) return -1;
  auto* at = static_cast<char*>(buffer);
  std::size_t got = 0;
  while (got < count) {
    const ssize_t n = ::read(static_cast<int>(handle_), at + got, count - got);
    if (n < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    if (n == 0) break;
    got += static_cast<std::size_t>(n);
  }
  return static_cast<std::ptrdiff_t>(got);
}

void ReadOnlyFile::Close() noexcept {
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
  handle_ = -1;
}

}  // namespace lmk
