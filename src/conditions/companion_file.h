// The lookup of a file that accompanies an image: the same path without extension, followed by
// another extension (".xmp" sidecars, ".wav" audio annotations).
#pragma once

#include <string_view>

#include "com/bstr.h"
#include "dictionary/idictionary.h"

namespace lmk {

/// Reads "File.PathNoExt" (as text) and looks for that path followed by extension. S_OK with
/// *exists set, or the failure of the read.
HRESULT CompanionFileExists(IDictionary& record, std::wstring_view extension, bool* exists);

}  // namespace lmk
