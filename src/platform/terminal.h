// Whether an output stream is a terminal, so that a command can redraw a progress line there and
// write plain lines to files and pipes.
#pragma once

#include <cstdio>

namespace lmk {

/// True when stream is attached to a terminal (a console on Windows).
bool IsTerminal(std::FILE* stream);

}  // namespace lmk
