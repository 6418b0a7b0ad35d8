// PythonRuntime: Python 3 scripts on the embedded CPython interpreter.
#pragma once

#include <memory>

#include "scripts/script_runtime.h"

namespace lmk {

/// A fresh module namespace for one script in the process's one interpreter. What runs in
/// parallel: workers call scripts at the same time, but Python code runs under the interpreter's
/// global lock, taken for the whole of each Load and Call and let go by the interpreter every few
/// milliseconds; the dictionary's own calls (reads, writes) are made with the lock held and are
/// short. So several workers' scripts interleave rather than run at once, while everything
/// around them (reading pictures, moving files) runs in parallel.
std::unique_ptr<ScriptRuntime> MakePythonRuntime();

/// The Python runtime is built as a companion module (the interpreter's libraries are loaded
/// only by runs that use it); this is the function it exports. S_OK with *runtime owned by the
/// caller, or a failure with *error saying why.
using MakePythonRuntimeEntry = HRESULT (*)(ScriptRuntime** runtime, std::wstring* error);
inline constexpr char kMakePythonRuntimeEntry[] = "lmk_companion_make_python_runtime";

}  // namespace lmk
