// Only POSIX code here: a fatal message on standard error, then the end of the process.
#include "platform/fatal_exit.h"

#include <unistd.h>

#include <cstdlib>

namespace lmk {
namespace {

// Writes ASCII text without allocating (non-ASCII characters become '?').
void WriteAscii(std::wstring_view text) {
  char buffer[256];
  size_t n = 0;
  for (wchar_t c : text) {
    buffer[n++] = c > 0 && c < 0x80 ? static_cast<char>(c) : '?';
    if (n == sizeof(buffer)) {
      (void)!write(STDERR_FILENO, buffer, n);
      n = 0;
    }
  }
  if (n != 0) (void)!write(STDERR_FILENO, buffer, n);
}

}  // namespace

void FatalExit(std::wstring_view caption, std::wstring_view text, int exit_code) {
  WriteAscii(caption);
  WriteAscii(L": ");
  WriteAscii(text);
  WriteAscii(L"\n");
  std::_Exit(exit_code);
}

}  // namespace lmk
