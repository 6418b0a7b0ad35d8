// A file opened for reading with plain system calls: one open, the reads asked for, one close,
// for readers that look at the first bytes of thousands of files and need no stream buffering.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace lmk {

class ReadOnlyFile {
 public:
  ReadOnlyFile() = default;
  ~ReadOnlyFile();
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

  /// Opens the file at path (links followed) for reading, closing what was open before. False
  /// when it cannot be opened. A folder opens, but its first read fails.
  bool Open(std::wstring_view path) noexcept;
  /// Reads up to count bytes from where the last read ended, going on after short reads until
  /// count bytes or the end of the file. The number of bytes read, or -1 on a read error.
  std::ptrdiff_t Read(void* buffer, std::size_t count) noexcept;
  void Close() noexcept;
  bool IsOpen() const noexcept { return handle_ >= 0; }

 private:
  std::intptr_t handle_ = -1;
};

}  // namespace lmk
