// The last resort when the process cannot go on (the main result buffer cannot be allocated).
#pragma once

#include <string_view>

namespace lmk {

/// Tells the user why (a message box on Windows, standard error elsewhere) and ends the process
/// at once with `exit_code`. Allocates nothing, so it works when memory is exhausted.
[[noreturn]] void FatalExit(std::wstring_view caption, std::wstring_view text, int exit_code);

}  // namespace lmk
