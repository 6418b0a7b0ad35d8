// Path pieces for {FileName}, {TrimmedFileName}, {FilePath[n]} and {RegEx*:...}.
#include "templates/file_name_parts.h"

#include <vector>

namespace lmk {

std::wstring_view FileNamePieces::NamePart(std::wstring_view path) {
  for (size_t i = path.size(); i > 0; --i) {
    if (IsSeparator(path[i - 1])) return path.substr(i);
  }
  return path;
}

std::wstring_view FileNamePieces::FolderPart(std::wstring_view path) {
  return path.substr(0, path.size() - NamePart(path).size());
}

std::wstring_view FileNamePieces::FileName(std::wstring_view path_no_ext,
                                           const std::optional<std::wstring>& name_override) {
  return name_override ? std::wstring_view(*name_override) : NamePart(path_no_ext);
}

std::wstring FileNamePieces::FullPath(std::wstring_view path_no_ext,
                                      const std::optional<std::wstring>& name_override) {
  if (!name_override) return std::wstring(path_no_ext);
  for (wchar_t c : *name_override) {
    if (IsSeparator(c)) return *name_override;
  }
  return std::wstring(FolderPart(path_no_ext)) + *name_override;
}

std::wstring FileNamePieces::FolderName(std::wstring_view path_no_ext, unsigned levels) {
  std::wstring_view folder = FolderPart(path_no_ext);
  // Folder names from the root down; the first entry is the root's own name ("C:", or empty
  // for an absolute POSIX path), empty components of "\\server" or "a//b" are skipped.
  std::vector<std::wstring_view> names;
  size_t start = 0;
  bool first = true;
  for (size_t i = 0; i <= folder.size(); ++i) {
    if (i == folder.size() || IsSeparator(folder[i])) {
      std::wstring_view name = folder.substr(start, i - start);
      if (first || !name.empty()) names.push_back(name);
      first = false;
      start = i + 1;
    }
  }
  if (folder.empty()) names.clear();  // a bare name has no folder at all
  if (levels >= names.size()) return {};
  std::wstring_view name = names[names.size() - 1 - levels];
  if (levels == names.size() - 1 && name.size() == 2 && name[1] == L':') {
    return std::wstring(name.substr(0, 1));
  }
  return std::wstring(name);
}

std::wstring FileNamePieces::Trimmed(std::wstring_view name) {
  static constexpr std::wstring_view kLeading = L"`~!@#$%^&_+-=,.;'";
  size_t skip = 0;
  while (skip + 1 < name.size() && kLeading.find(name[skip]) != std::wstring_view::npos) ++skip;
  name.remove_prefix(skip);
  if (name.size() > 3 && name[0] == L'{' && name[1] >= L'0' && name[1] <= L'9' && name[2] == L'}') {
    name.remove_prefix(3);
  }
  return std::wstring(name);
}

}  // namespace lmk
