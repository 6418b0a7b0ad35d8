// File types: JPEG extensions, custom lists and the name parts they are tested on.
#include "conditions/file_type_choice.h"

#include "conditions/pattern_match.h"
#include "rules/element_key.h"

namespace lmk {
namespace {

constexpr std::wstring_view kJpegExtensions[] = {L"jpg", L"jpeg", L"jpe", L"jfif", L"exif"};

constexpr ParamWord kTypeWords[] = {
    {L"jpeg", kFileTypeJpeg}, {L"not-jpeg", kFileTypeNotJpeg}, {L"custom", kFileTypeCustom},
    {L"jpg", kFileTypeJpeg},  {L"not jpeg", kFileTypeNotJpeg},
};

}  // namespace

bool IsJpegExtension(std::wstring_view ext) noexcept {
  for (std::wstring_view jpeg : kJpegExtensions) {
    if (EqualsNoCase(ext, jpeg)) return true;
  }
  return false;
}

HRESULT ExtensionIsOfType(DWORD mode, std::wstring_view customList, std::wstring_view ext,
                          bool* is) {
  switch (mode) {
    case kFileTypeJpeg:
      *is = IsJpegExtension(ext);
      return S_OK;
    case kFileTypeNotJpeg:
      *is = !IsJpegExtension(ext);
      return S_OK;
    case kFileTypeCustom:
      *is = MatchesWildcardList(customList, ext);
      return S_OK;
    default:
      *is = false;
      return E_UNEXPECTED;
  }
}

bool IsUsableFileType(DWORD mode, std::wstring_view customList, std::wstring* why) {
  if (mode == kFileTypeJpeg || mode == kFileTypeNotJpeg) return true;
  if (mode != kFileTypeCustom) {
    if (why != nullptr) *why = L"the file type (" + std::to_wstring(mode) + L") is unknown";
    return false;
  }
  if (!AnyToken(customList, [](std::wstring_view) { return true; })) {
    if (why != nullptr) *why = L"the custom list of extensions is empty";
    return false;
  }
  std::wstring_view dotted;
  AnyToken(customList, [&dotted](std::wstring_view token) {
    if (token != L"*.*" && token.find(L'.') != std::wstring_view::npos) dotted = token;
    return !dotted.empty();
  });
  if (!dotted.empty()) {
    if (why != nullptr) {
      *why = L"\"" + std::wstring(dotted) +
             L"\" can never match: extensions are tested without their dot (write \"cr2\" or "
             L"\"n?f\", not \"*.cr2\")";
    }
    return false;
  }
  return true;
}

std::wstring FileTypeWords(DWORD mode, std::wstring_view customList) {
  switch (mode) {
    case kFileTypeJpeg:
      return L"JPEG";
    case kFileTypeNotJpeg:
      return L"not JPEG";
    case kFileTypeCustom:
      return L"one of \"" + std::wstring(customList) + L"\"";
    default:
      return L"(unknown type)";
  }
}

std::span<const ParamWord> FileTypeParamWords() { return kTypeWords; }

std::wstring_view FileNamePart(std::wstring_view path) noexcept {
  const std::size_t slash = path.find_last_of(L"/\\");
  return slash == std::wstring_view::npos ? path : path.substr(slash + 1);
}

std::wstring_view ExtensionOf(std::wstring_view path) noexcept {
  const std::wstring_view name = FileNamePart(path);
  const std::size_t dot = name.rfind(L'.');
  return dot == std::wstring_view::npos ? std::wstring_view() : name.substr(dot + 1);
}

std::wstring_view StemOf(std::wstring_view path) noexcept {
  const std::wstring_view name = FileNamePart(path);
  return name.substr(0, name.rfind(L'.'));
}

}  // namespace lmk
