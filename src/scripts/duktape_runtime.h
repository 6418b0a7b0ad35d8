// DuktapeRuntime: JavaScript (the ES5 dialect that rule scripts are written in) on Duktape.
#pragma once

#include <memory>

#include "scripts/script_runtime.h"

namespace lmk {

/// A fresh Duktape heap for one script. Its memory is bounded (kDuktapeHeapLimit), so a script
/// that asks for too much gets a RangeError instead of taking the process down; deep recursion
/// gives a RangeError from Duktape's own call stack limits.
std::unique_ptr<ScriptRuntime> MakeDuktapeRuntime();

/// The most memory one script's heap may take.
inline constexpr std::size_t kDuktapeHeapLimit = 256u << 20;

}  // namespace lmk
