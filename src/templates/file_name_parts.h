// The pieces of a file's path that the name variables show.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lmk {

/// Path pieces; both '\' and '/' separate folders, so Windows paths kept in records and
/// POSIX paths are read alike.
class FileNamePieces {
 public:
  static bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

  /// The part after the last separator.
  static std::wstring_view NamePart(std::wstring_view path);
  /// Everything up to and including the last separator (empty when there is none).
  static std::wstring_view FolderPart(std::wstring_view path);

  /// The name templates use: the override when given, else the name part of the path.
  static std::wstring_view FileName(std::wstring_view path_no_ext,
                                    const std::optional<std::wstring>& name_override);

  /// The path `{RegEx*:...}` matches against: an override with a separator is the path itself,
  /// any other override replaces the name part.
  static std::wstring FullPath(std::wstring_view path_no_ext,
                               const std::optional<std::wstring>& name_override);

  /// The name of the folder `levels` above the file (0 = the folder holding it); at the root
  /// the drive letter without its colon (nothing on POSIX); above the root nothing.
  static std::wstring FolderName(std::wstring_view path_no_ext, unsigned levels);

  /// Leading characters of the set "`~!@#$%^&_+-=,.;'" removed (the last character stays if
  /// all are), then a leading "{d}" counter removed when more follows.
  static std::wstring Trimmed(std::wstring_view name);
};

}  // namespace lmk
