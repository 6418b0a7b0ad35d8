// Parts of the program that are built as shared objects of their own, because the libraries
// they need (an interpreter, an image library, a network library) take tens of milliseconds to
// load: only the runs that use them pay for it.
#pragma once

#include <string>

#include "com/com.h"

namespace lmk {

/// One such part: its file and the one function it exports.
struct CompanionModule {
  const wchar_t* fileName;  ///< "lumarko-python.so"
  const char* entry;        ///< the exported function's name
  /// Whether the libraries it needs must be visible to libraries they load in turn.
  bool shareSymbols = false;
};

/// The address of the part's function. The file is looked for beside the module that holds
/// this code (the program or the plug-in), then in the build's own output folder; it is loaded
/// once per process and never unloaded. S_OK; HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND) when it
/// cannot be loaded or lacks the function, with *error saying which file, why, and what to do.
HRESULT LoadCompanion(const CompanionModule& module, void** entry, std::wstring* error);

}  // namespace lmk
