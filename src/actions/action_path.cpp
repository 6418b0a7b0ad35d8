// Path text rules of the file actions.
#include "actions/action_path.h"

#include <cwctype>
#include <vector>

#include "rules/element_key.h"

namespace lmk {
namespace {

bool IsControl(wchar_t c) { return c < 0x20 || c == 0x7F; }

bool IsWindowsReserved(wchar_t c) {
  return c == L'<' || c == L'>' || c == L':' || c == L'"' || c == L'|' || c == L'?' || c == L'*';
}

bool HasDrive(std::wstring_view path) {
  return path.size() >= 2 && path[1] == L':' &&
         ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z'));
}

// The length of the root of an absolute path ("/", "C:\", "\\server\share\"), 0 for a
// relative one.
std::size_t RootLength(std::wstring_view path, PathStyle style) {
  if (style == PathStyle::Posix) return !path.empty() && path[0] == L'/' ? 1 : 0;
  if (HasDrive(path)) return path.size() >= 3 && IsSeparator(path[2], style) ? 3 : 2;
  if (path.size() >= 2 && IsSeparator(path[0], style) && IsSeparator(path[1], style)) {
    // A network path: its root is the server and the share.
    std::size_t at = 2;
    for (int part = 0; part < 2 && at < path.size(); ++part) {
      while (at < path.size() && !IsSeparator(path[at], style)) ++at;
      if (at < path.size()) ++at;
    }
    return at;
  }
  return !path.empty() && IsSeparator(path[0], style) ? 1 : 0;
}

// The folder names of path after its root.
std::vector<std::wstring_view> Names(std::wstring_view path, PathStyle style) {
  std::vector<std::wstring_view> names;
  std::size_t at = RootLength(path, style);
  while (at < path.size()) {
    std::size_t end = at;
    while (end < path.size() && !IsSeparator(path[end], style)) ++end;
    if (end > at) names.push_back(path.substr(at, end - at));
    at = end + 1;
  }
  return names;
}

std::wstring_view WithoutTrailingSeparators(std::wstring_view path, PathStyle style) {
  const std::size_t root = RootLength(path, style);
  while (path.size() > root && IsSeparator(path.back(), style)) path.remove_suffix(1);
  return path;
}

}  // namespace

std::wstring ReplaceInvalidNameCharacters(std::wstring_view name) {
  std::wstring out(name);
  for (wchar_t& c : out) {
    if (IsControl(c) || IsWindowsReserved(c) || c == L'/' || c == L'\\') c = L'~';
  }
  return out;
}

std::wstring SafeComponent(std::wstring_view name, bool keepDots) {
  if (!name.empty() && name.find_first_not_of(L'.') == std::wstring_view::npos) {
    return keepDots ? std::wstring(name) : std::wstring(L"~");
  }
  std::wstring out = ReplaceInvalidNameCharacters(name);
  if (!out.empty() && out.front() == L'.') out.front() = L'~';
  return out;
}

std::wstring SafeFileName(std::wstring_view name) {
  const std::wstring_view trimmed = TrimWhiteSpace(name);
  return trimmed.empty() ? std::wstring() : SafeComponent(trimmed, false);
}

std::wstring SafeFolderPath(std::wstring_view path, PathStyle style) {
  const auto separates = [](wchar_t c) { return c == L'/' || c == L'\\'; };
  const wchar_t separator = PreferredSeparator(style);
  std::size_t at = 0;
  std::wstring out;
  if (style == PathStyle::Windows) {
    // The root is the template's own text: a value's ':' and separators were made '~' when
    // it was expanded.
    at = HasDrive(path) ? 2 : RootLength(path, style);
    out.assign(path.substr(0, at));
    for (wchar_t& c : out) {
      if (separates(c)) c = separator;
    }
  }
  while (at < path.size()) {
    if (separates(path[at])) {
      out += separator;
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < path.size() && !separates(path[end])) ++end;
    out += SafeComponent(path.substr(at, end - at), true);
    at = end;
  }
  return out;
}

std::wstring_view TrimWhiteSpace(std::wstring_view text) {
  while (!text.empty() && std::iswspace(static_cast<wint_t>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::iswspace(static_cast<wint_t>(text.back()))) text.remove_suffix(1);
  return text;
}

bool IsAbsolutePath(std::wstring_view path, PathStyle style) {
  if (style == PathStyle::Posix) return !path.empty() && path[0] == L'/';
  return (HasDrive(path) && path.size() >= 3 && IsSeparator(path[2], style)) ||
         (path.size() >= 2 && IsSeparator(path[0], style) && IsSeparator(path[1], style));
}

std::wstring_view FolderOf(std::wstring_view path, PathStyle style) {
  std::size_t at = path.size();
  while (at > 0 && !IsSeparator(path[at - 1], style)) --at;
  if (at == 0) return {};
  const std::size_t root = RootLength(path, style);
  // The separator that ends a root belongs to the folder ("/a" lies in "/").
  return path.substr(0, at - 1 < root ? root : at - 1);
}

std::wstring_view NameOf(std::wstring_view path, PathStyle style) {
  std::size_t at = path.size();
  while (at > 0 && !IsSeparator(path[at - 1], style)) --at;
  return path.substr(at);
}

std::wstring_view ExtensionOf(std::wstring_view path, PathStyle style) {
  const std::wstring_view name = NameOf(path, style);
  const std::size_t dot = name.rfind(L'.');
  if (dot == std::wstring_view::npos || dot == 0) return {};
  return name.substr(dot);
}

std::wstring JoinPaths(std::wstring_view folder, std::wstring_view relative, PathStyle style) {
  // Rule sets use '\' on every system: a backslash separates folders in both styles here.
  const auto separates = [](wchar_t c) { return c == L'/' || c == L'\\'; };
  std::wstring out(WithoutTrailingSeparators(folder, style));
  const wchar_t separator = PreferredSeparator(style);
  std::size_t at = 0;
  while (at < relative.size()) {
    while (at < relative.size() && separates(relative[at])) ++at;
    std::size_t end = at;
    while (end < relative.size() && !separates(relative[end])) ++end;
    if (end > at) {
      if (out.empty() || !IsSeparator(out.back(), style)) out += separator;
      out.append(relative.substr(at, end - at));
    }
    at = end;
  }
  return out;
}

std::wstring ResolveDestinationFolder(std::wstring_view destination, std::wstring_view imageFolder,
                                      std::wstring_view imagesFolder, PathStyle style) {
  if (destination.starts_with(L"...")) return JoinPaths(imageFolder, destination.substr(3), style);
  if (IsAbsolutePath(destination, style)) {
    const std::size_t root = RootLength(destination, style);
    std::wstring rootText(destination.substr(0, root));
    if (style == PathStyle::Windows) {
      for (wchar_t& c : rootText) {
        if (c == L'/') c = L'\\';
      }
    }
    if (root == destination.size()) return rootText;
    return JoinPaths(rootText, destination.substr(root), style);
  }
  return JoinPaths(imagesFolder.empty() ? imageFolder : imagesFolder, destination, style);
}

std::wstring HierarchyBelow(std::wstring_view imageFolder, std::wstring_view imagesFolder,
                            PathStyle style) {
  const std::vector<std::wstring_view> image = Names(imageFolder, style);
  const std::vector<std::wstring_view> images = Names(imagesFolder, style);
  std::size_t shared = 0;
  // Different roots (two drives, a network path and a local one) share nothing.
  const bool sameRoot = EqualsNoCase(imageFolder.substr(0, RootLength(imageFolder, style)),
                                     imagesFolder.substr(0, RootLength(imagesFolder, style)));
  while (sameRoot && shared < image.size() && shared < images.size() &&
         (style == PathStyle::Windows ? EqualsNoCase(image[shared], images[shared])
                                      : image[shared] == images[shared])) {
    ++shared;
  }
  std::wstring below;
  for (std::size_t i = shared; i < image.size(); ++i) {
    if (!below.empty()) below += PreferredSeparator(style);
    below += SafeComponent(image[i], false);
  }
  return below;
}

bool SameFolderText(std::wstring_view a, std::wstring_view b, PathStyle style) {
  return EqualsNoCase(WithoutTrailingSeparators(a, style), WithoutTrailingSeparators(b, style));
}

bool FolderHolds(std::wstring_view folder, std::wstring_view path, PathStyle style) {
  if (!IsAbsolutePath(folder, style) || !IsAbsolutePath(path, style)) return false;
  const auto same = [style](std::wstring_view a, std::wstring_view b) {
    return style == PathStyle::Windows ? EqualsNoCase(a, b) : a == b;
  };
  const std::size_t folderRoot = RootLength(folder, style);
  const std::size_t pathRoot = RootLength(path, style);
  std::wstring folderRootText(folder.substr(0, folderRoot));
  std::wstring pathRootText(path.substr(0, pathRoot));
  // "C:/" and "C:\" are one root.
  for (wchar_t& c : folderRootText) c = IsSeparator(c, style) ? PreferredSeparator(style) : c;
  for (wchar_t& c : pathRootText) c = IsSeparator(c, style) ? PreferredSeparator(style) : c;
  if (!same(folderRootText, pathRootText)) return false;
  const std::vector<std::wstring_view> outer = Names(folder, style);
  const std::vector<std::wstring_view> inner = Names(path, style);
  const auto dotted = [](std::wstring_view name) { return name == L"." || name == L".."; };
  for (std::wstring_view name : outer) {
    if (dotted(name)) return false;
  }
  for (std::wstring_view name : inner) {
    if (dotted(name)) return false;
  }
  if (inner.size() < outer.size()) return false;
  for (std::size_t i = 0; i < outer.size(); ++i) {
    if (!same(outer[i], inner[i])) return false;
  }
  return true;
}

}  // namespace lmk
