// The file-type choice shared by the file-type and sibling conditions: JPEG, not JPEG, or a
// custom list of extensions and wildcard masks; and the parts of a file name they look at.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "rules/param_codec.h"

namespace lmk {

enum FileTypeMode : DWORD {
  kFileTypeJpeg = 0,
  kFileTypeNotJpeg = 1,
  kFileTypeCustom = 2,
};

/// Whether ext (without its dot) is one of "jpg", "jpeg", "jpe", "jfif", "exif", in any case.
bool IsJpegExtension(std::wstring_view ext) noexcept;

/// Whether ext (without its dot) is of the chosen type; a custom list is matched by the wildcard
/// rule ("|"-separated, case-insensitive "*" and "?"). S_OK with *is set; E_UNEXPECTED for an
/// unknown mode.
HRESULT ExtensionIsOfType(DWORD mode, std::wstring_view customList, std::wstring_view ext,
                          bool* is);

/// Whether the choice can be used; a custom list needs at least one token, and a token with a
/// dot (other than "*.*") is refused since extensions are tested without their dot.
bool IsUsableFileType(DWORD mode, std::wstring_view customList, std::wstring* why);

/// "JPEG", "not JPEG" or "one of "cr2|nef"".
std::wstring FileTypeWords(DWORD mode, std::wstring_view customList);

/// The written forms of the mode for rule-set files: jpeg, not-jpeg, custom.
std::span<const ParamWord> FileTypeParamWords();

/// The name part of a path: what follows its last "/" or "\" (both separate folders, so the
/// same record reads alike on both systems).
std::wstring_view FileNamePart(std::wstring_view path) noexcept;
/// The extension of a path's name part, after its last dot and without it; empty when none.
std::wstring_view ExtensionOf(std::wstring_view path) noexcept;
/// The name part without its extension (and without the dot).
std::wstring_view StemOf(std::wstring_view path) noexcept;

}  // namespace lmk
