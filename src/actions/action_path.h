// Path text rules of the file actions, pure and testable for both systems on one host: which
// characters may stand in a path or a name, where a destination folder template leads, and the
// part of an image's folder that "preserve folder hierarchy" re-creates.
#pragma once

#include <string>
#include <string_view>

namespace lmk {

/// Whose path rules apply: '/' only, case-sensitive names; or '\' and '/', drive letters and
/// names compared without regard to case.
enum class PathStyle { Posix, Windows };

#if defined(_WIN32)
inline constexpr PathStyle kNativePathStyle = PathStyle::Windows;
#else
inline constexpr PathStyle kNativePathStyle = PathStyle::Posix;
#endif

/// The character that separates folders.
constexpr wchar_t PreferredSeparator(PathStyle style) {
  return style == PathStyle::Windows ? L'\\' : L'/';
}
constexpr bool IsSeparator(wchar_t c, PathStyle style) {
  return c == L'/' || (style == PathStyle::Windows && c == L'\\');
}

/// Replaces with '~' every character that may not stand in one file name on some system that
/// the made names may reach (memory cards, network shares, Windows), whatever the system this
/// runs on: control characters, < > : " | ? * and both separators.
std::wstring ReplaceInvalidNameCharacters(std::wstring_view name);

/// One folder or file name made safe: invalid characters become '~' and so does a leading '.',
/// so that no made name is hidden from later runs. A name made only of dots becomes "~" unless
/// keepDots, where it is the template's own ".." or "..." and means a folder, not a name.
std::wstring SafeComponent(std::wstring_view name, bool keepDots);

/// A file name made by a template: white space trimmed from both ends, then SafeComponent
/// (without keeping dots). Empty when nothing but white space was made.
std::wstring SafeFileName(std::wstring_view name);

/// An expanded destination folder template made safe name by name. Both '/' and '\' separate
/// folders (rule sets are written on every system) and become the preferred separator; each
/// name goes through SafeComponent keeping the template's own dot names ("...", ".."); on
/// Windows a leading drive ("C:") or network root stays.
std::wstring SafeFolderPath(std::wstring_view path, PathStyle style);

/// text without leading and trailing white space.
std::wstring_view TrimWhiteSpace(std::wstring_view text);

/// Whether path is absolute: "/..." on POSIX; "C:\...", "C:/..." or "\\server\..." on Windows.
bool IsAbsolutePath(std::wstring_view path, PathStyle style);

/// The folder part of path (before its last separator; the root itself for a file in the
/// root: "/", "C:\"); empty when path holds no separator.
std::wstring_view FolderOf(std::wstring_view path, PathStyle style);
/// The name part of path (after its last separator).
std::wstring_view NameOf(std::wstring_view path, PathStyle style);
/// The extension of path's name, from its last '.', dot included; empty when there is none
/// (a name that only begins with '.' has none).
std::wstring_view ExtensionOf(std::wstring_view path, PathStyle style);

/// folder and relative joined by one separator; separators of relative become the preferred
/// one, repeated separators collapse and a trailing one is dropped.
std::wstring JoinPaths(std::wstring_view folder, std::wstring_view relative, PathStyle style);

/// Where the expanded destination folder template leads. "..." followed by a path is relative
/// to imageFolder ("...\Best" is the folder Best beside the image); another relative path is
/// relative to imagesFolder (to imageFolder when the host names no images folder); an absolute
/// path stands as it is. '\' separates folders in templates on every system, so rule sets
/// written on Windows keep their meaning. Repeated and trailing separators are dropped.
std::wstring ResolveDestinationFolder(std::wstring_view destination, std::wstring_view imageFolder,
                                      std::wstring_view imagesFolder, PathStyle style);

/// The part of imageFolder below the longest folder prefix it shares with imagesFolder (whole
/// names compared, without regard to case on Windows), without leading separator; empty when
/// the image lies in imagesFolder itself. Each name goes through SafeComponent: a POSIX folder
/// named "..\x" is re-created as one folder, never as a way up.
std::wstring HierarchyBelow(std::wstring_view imageFolder, std::wstring_view imagesFolder,
                            PathStyle style);

/// Whether two folder paths name the same folder by their text: trailing separators ignored,
/// compared without regard to case on both systems (it decides where folder removal stops, and
/// stopping once too often is the safe side).
bool SameFolderText(std::wstring_view a, std::wstring_view b, PathStyle style);

/// Whether path is folder or lies below it: whole names compared, without regard to case on
/// Windows only; a path with a "." or ".." name is never taken as inside (its text does not say
/// where it leads). Both must be absolute.
bool FolderHolds(std::wstring_view folder, std::wstring_view path, PathStyle style);

}  // namespace lmk
