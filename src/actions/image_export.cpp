// The export formats' words and extensions, and the image library's functions, which live in a
// companion module loaded by the first export of a run.
#include "actions/image_export.h"

#include <array>

#include "platform/companion_module.h"

namespace lmk {
namespace {

constexpr ParamWord kFormatWords[] = {
    {L"jpeg", static_cast<std::uint32_t>(ExportFormat::kJpeg)},
    {L"png", static_cast<std::uint32_t>(ExportFormat::kPng)},
    {L"tiff", static_cast<std::uint32_t>(ExportFormat::kTiff)},
    {L"webp", static_cast<std::uint32_t>(ExportFormat::kWebp)},
    {L"avif", static_cast<std::uint32_t>(ExportFormat::kAvif)},
    {L"heic", static_cast<std::uint32_t>(ExportFormat::kHeic)},
    {L"jxl", static_cast<std::uint32_t>(ExportFormat::kJxl)},
};

constexpr ParamWord kMetadataWords[] = {
    {L"keep", static_cast<std::uint32_t>(ExportMetadata::kKeep)},
    {L"strip", static_cast<std::uint32_t>(ExportMetadata::kStrip)},
    {L"copyright", static_cast<std::uint32_t>(ExportMetadata::kCopyrightOnly)},
};

/// The companion's functions, or null (with *error saying why) when it cannot be loaded.
const ImageExportFunctions* Library(std::wstring* error) {
  static constexpr CompanionModule kModule{LMK_IMAGE_EXPORT_MODULE_FILE, kImageExportEntry};
  void* entry = nullptr;
  if (FAILED(LoadCompanion(kModule, &entry, error))) return nullptr;
  return reinterpret_cast<ImageExportEntry>(entry)();
}

}  // namespace

std::span<const ParamWord> ExportFormatWords() { return kFormatWords; }
std::span<const ParamWord> ExportMetadataWords() { return kMetadataWords; }

std::wstring_view ExportExtension(ExportFormat format) {
  static constexpr std::array<std::wstring_view, 7> kExtensions = {
      L".jpg", L".png", L".tif", L".webp", L".avif", L".heic", L".jxl"};
  return kExtensions.at(static_cast<std::size_t>(format));
}

bool CanWriteFormat(ExportFormat format) {
  std::wstring error;
  const ImageExportFunctions* library = Library(&error);
  return library != nullptr && library->canWrite(format);
}

HRESULT ExportImage(std::wstring_view source, int descriptor, const ExportSettings& settings,
                    ExportFailure* failure) {
  std::wstring error;
  const ImageExportFunctions* library = Library(&error);
  if (library == nullptr) {
    failure->hr = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    failure->reason = error;
    return failure->hr;
  }
  return library->exportImage(source, descriptor, settings, failure);
}

}  // namespace lmk
