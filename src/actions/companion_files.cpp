// Finding the sidecar and audio files of an image.
#include "actions/companion_files.h"

#include <cwctype>

#include "platform/folder_listing.h"

namespace lmk {

std::optional<CompanionFile> FindCompanion(std::wstring_view imagePath, std::wstring_view pathNoExt,
                                           std::wstring_view extension) {
  if (pathNoExt.empty() || extension.empty()) return std::nullopt;
  std::wstring upper(extension);
  for (wchar_t& c : upper) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  const std::wstring_view imageExtension =
      imagePath.starts_with(pathNoExt) ? imagePath.substr(pathNoExt.size()) : std::wstring_view();
  std::wstring suffixes[] = {std::wstring(extension), upper,
                             std::wstring(imageExtension) + std::wstring(extension)};
  // The image itself is never its own companion (an ".xmp" image with an XMP suffix).
  for (std::wstring& suffix : suffixes) {
    if (suffix == imageExtension) suffix.clear();
  }
  // Most images have no companion: a listing of the folder answers without a lookup each, and
  // the image's path is converted once for every spelling.
  if (const int found = FirstListedFile(pathNoExt, suffixes); found >= 0) {
    std::wstring path(pathNoExt);
    path += suffixes[found];
    return CompanionFile{std::move(path), std::move(suffixes[found])};
  }
  return std::nullopt;
}

bool ServesBaseName(const CompanionFile& companion) {
  return companion.suffix.find(L'.', 1) == std::wstring::npos;
}

std::vector<CompanionFile> FindCompanions(std::wstring_view imagePath, std::wstring_view pathNoExt,
                                          DWORD flags) {
  std::vector<CompanionFile> found;
  if ((flags & kCompanionXmp) != 0) {
    if (auto xmp = FindCompanion(imagePath, pathNoExt, L".xmp")) found.push_back(std::move(*xmp));
  }
  if ((flags & kCompanionWav) != 0) {
    if (auto wav = FindCompanion(imagePath, pathNoExt, L".wav")) found.push_back(std::move(*wav));
  }
  return found;
}

}  // namespace lmk
