// The files that travel with an image: its XMP sidecar and its WAV audio annotation, found in
// the image's folder under the image's base name.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

/// Flag bits of the actions that say which companions go along.
inline constexpr DWORD kCompanionWav = 0x100000;
inline constexpr DWORD kCompanionXmp = 0x800000;

/// One companion that exists.
struct CompanionFile {
  std::wstring path;
  /// What follows the image's base name in the companion's name (".xmp", ".XMP", or ".CR2.xmp"
  /// for the form that keeps the image's extension); the companion's new name is the image's new
  /// base name followed by it.
  std::wstring suffix;
};

/// Whether companion is named after the image's base name ("a.xmp"), so that other pictures of
/// that name ("a.dng" beside "a.jpg") may use it too; false for one named after the image's
/// whole name ("a.jpg.xmp"), which only that image uses.
bool ServesBaseName(const CompanionFile& companion);

/// The companion of extension (".xmp", ".wav") of the image at imagePath whose path without
/// extension is pathNoExt. Looked for as pathNoExt + extension, the same with the extension in
/// upper case (cameras write ".WAV"), and imagePath + extension; the first that exists as a
/// file is taken.
std::optional<CompanionFile> FindCompanion(std::wstring_view imagePath, std::wstring_view pathNoExt,
                                           std::wstring_view extension);

/// The companions selected by flags (kCompanionXmp, kCompanionWav) that exist, XMP first.
std::vector<CompanionFile> FindCompanions(std::wstring_view imagePath, std::wstring_view pathNoExt,
                                          DWORD flags);

}  // namespace lmk
