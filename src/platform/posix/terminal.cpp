// Only generic POSIX code here.
#include "platform/terminal.h"

#include <unistd.h>

namespace lmk {

bool IsTerminal(std::FILE* stream) { return stream != nullptr && ::isatty(::fileno(stream)) != 0; }

}  // namespace lmk
