// The record's pixel format: the reader's format name as the imaging component's GUID text.
#pragma once

#include <string>
#include <string_view>

namespace lmk {

/// "{6FDDC324-4E03-4BFE-B185-3D77768DC90C}" for "24bppBGR", and so on for the formats a reader
/// names; a name without a known GUID is returned as it is, and an empty name gives "".
std::wstring WicPixelFormatText(std::wstring_view name);

}  // namespace lmk
