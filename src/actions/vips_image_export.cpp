// Converted and resized copies through libvips: the picture streams from the source to the
// copy in strips, so memory stays bounded even for pictures of hundreds of megapixels. Built as
// a companion module: the image library and the dozens of libraries it needs are loaded only by
// runs that export.
#include <vips/vips.h>

#include <array>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "actions/image_export.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

struct Unref {
  void operator()(VipsObject* object) const noexcept { g_object_unref(object); }
  void operator()(VipsImage* image) const noexcept { g_object_unref(image); }
  void operator()(VipsTarget* target) const noexcept { g_object_unref(target); }
};
using Image = std::unique_ptr<VipsImage, Unref>;
using Target = std::unique_ptr<VipsTarget, Unref>;

void StartLibrary() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (VIPS_INIT("lumarko") != 0) throw std::runtime_error("the image library cannot start");
    // Every picture is read once: a cache of operations would only keep files open.
    vips_cache_set_max(0);
  });
}

// The library's error text, taken (so that the next failure starts afresh), on one line.
std::wstring TakeLibraryError() {
  char* text = vips_error_buffer_copy();
  std::string line = text != nullptr ? text : "";
  g_free(text);
  while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.pop_back();
  for (std::size_t at = line.find('\n'); at != std::string::npos; at = line.find('\n', at)) {
    line.replace(at, 1, "; ");
  }
  return line.empty() ? L"the image library gives no reason" : FromUtf8(line);
}

HRESULT Fail(HRESULT hr, std::wstring reason, ExportFailure* failure) {
  failure->hr = hr;
  failure->reason = std::move(reason);
  return hr;
}

// Replaces image by *result, the output of an operation that returned `status` (read only after
// the operation ran: argument order is unspecified).
bool Step(int status, Image& image, VipsImage** result) {
  if (status != 0) return false;
  image.reset(*result);
  *result = nullptr;
  return true;
}

// A light sharpening for screens, as a radius-0.5 unsharp mask gives: a 3x3 integer kernel on
// the 8-bit pixels. A sharpening in Lab costs five times as much and doubled the time of a copy.
bool Sharpen(Image& image, VipsImage** result) {
  static constexpr double kKernel[] = {0, -1, 0, -1, 12, -1, 0, -1, 0};
  const Image mask(vips_image_new_matrix_from_array(3, 3, kKernel, 9));
  if (!mask) return false;
  vips_image_set_double(mask.get(), "scale", 8);
  if (vips_image_get_format(image.get()) != VIPS_FORMAT_UCHAR &&
      !Step(vips_cast_uchar(image.get(), result, nullptr), image, result)) {
    return false;
  }
  return Step(
      vips_conv(image.get(), result, mask.get(), "precision", VIPS_PRECISION_INTEGER, nullptr),
      image, result);
}

// Whether a metadata field survives ExportMetadata::kCopyrightOnly: the EXIF block itself (the
// library writes only the tags that still have fields) and its copyright and artist.
bool KeptForCopyright(std::string_view name) {
  return name == VIPS_META_EXIF_NAME || name == "exif-ifd0-Copyright" || name == "exif-ifd0-Artist";
}

void* CollectField(VipsImage* /*image*/, const char* name, GValue* /*value*/, void* names) {
  static_cast<std::vector<std::string>*>(names)->emplace_back(name);
  return nullptr;
}

void KeepCopyrightOnly(VipsImage* image) {
  std::vector<std::string> names;
  vips_image_map(image, CollectField, &names);
  for (const std::string& name : names) {
    const bool metadata = name.starts_with("exif-") || name == VIPS_META_XMP_NAME ||
                          name == VIPS_META_IPTC_NAME || name == VIPS_META_ICC_NAME ||
                          name == "jpeg-thumbnail-data";
    if (metadata && !KeptForCopyright(name)) vips_image_remove(image, name.c_str());
  }
}

// Writes image to target in settings' format.
int Save(VipsImage* image, VipsTarget* target, const ExportSettings& settings) {
  const gboolean strip = settings.metadata == ExportMetadata::kStrip;
  const int q = settings.quality;
  switch (settings.format) {
    case ExportFormat::kJpeg: {
      // Progressive and optimised coding hold every coefficient of the picture in memory
      // (2 bytes a sample): fine for a copy of screen size, not for a full-size 100-megapixel
      // one, which is written in one plain pass instead.
      constexpr guint64 kBufferedPixels = 16'000'000;
      const gboolean small = static_cast<guint64>(vips_image_get_width(image)) *
                                 static_cast<guint64>(vips_image_get_height(image)) <=
                             kBufferedPixels;
      return vips_jpegsave_target(image, target, "Q", q, "interlace",
                                  static_cast<gboolean>(settings.progressive && small),
                                  "optimize_coding", small, "strip", strip, nullptr);
    }
    case ExportFormat::kPng:
      return vips_pngsave_target(image, target, "strip", strip, nullptr);
    case ExportFormat::kTiff:
      return vips_tiffsave_target(image, target, "compression",
                                  VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE, "strip", strip, nullptr);
    case ExportFormat::kWebp:
      return vips_webpsave_target(image, target, "Q", q, "strip", strip, nullptr);
    case ExportFormat::kAvif:
      return vips_heifsave_target(image, target, "Q", q, "compression",
                                  VIPS_FOREIGN_HEIF_COMPRESSION_AV1, "strip", strip, nullptr);
    case ExportFormat::kHeic:
      return vips_heifsave_target(image, target, "Q", q, "compression",
                                  VIPS_FOREIGN_HEIF_COMPRESSION_HEVC, "strip", strip, nullptr);
    case ExportFormat::kJxl:
      return vips_jxlsave_target(image, target, "Q", q, "strip", strip, nullptr);
  }
  return -1;
}

// Whether a 2x2 picture can be written in format: an encoder that is missing or broken says so.
bool ProbeEncoder(ExportFormat format) {
  StartLibrary();
  VipsImage* black = nullptr;
  if (vips_black(&black, 8, 8, "bands", 3, nullptr) != 0) return false;
  Image image(black);
  Image pixels;
  if (VipsImage* cast = nullptr; !Step(vips_cast_uchar(image.get(), &cast, nullptr), pixels, &cast))
    return false;
  const Target target(vips_target_new_to_memory());
  const bool written = target && Save(pixels.get(), target.get(), {.format = format}) == 0;
  if (!written) vips_error_clear();
  return written;
}

bool VipsCanWriteFormat(ExportFormat format) {
  // Each encoder is tried only when its format is asked for: some keep memory for good once
  // started.
  static std::array<std::once_flag, 7> asked;
  static std::array<bool, 7> available{};
  const auto index = static_cast<std::size_t>(format);
  std::call_once(asked.at(index), [&] { available[index] = ProbeEncoder(format); });
  return available[index];
}

HRESULT VipsExportImage(std::wstring_view source, int descriptor, const ExportSettings& settings,
                        ExportFailure* failure) {
  StartLibrary();
  if (!VipsCanWriteFormat(settings.format)) {
    return Fail(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED),
                L"the image library of this system has no " +
                    std::wstring(FormatChoice(static_cast<std::uint32_t>(settings.format),
                                              ExportFormatWords())) +
                    L" encoder; choose jpeg, png, tiff or webp",
                failure);
  }
  const std::string path = ToUtf8(source);
  // Asked first, so that a file the library cannot read at all is told apart from one that is
  // damaged inside.
  if (vips_foreign_find_load(path.c_str()) == nullptr) {
    vips_error_clear();
    return Fail(HRESULT_FROM_WIN32(ERROR_BAD_FORMAT),
                L"it is not a picture this system can read (camera RAW files other than DNG are "
                L"not read: export them from a RAW developer first)",
                failure);
  }

  Image image;
  VipsImage* result = nullptr;
  const bool box = settings.boxWidth > 0 && settings.boxHeight > 0;
  const bool resize = box || settings.longEdge > 0;
  bool loaded = false;
  if (resize) {
    const auto width = static_cast<int>(box ? settings.boxWidth : settings.longEdge);
    const auto height = static_cast<int>(box ? settings.boxHeight : settings.longEdge);
    // Shrinks while it decodes where the format allows (JPEG by 2, 4 or 8), never enlarges, and
    // applies the orientation.
    loaded = Step(vips_thumbnail(path.c_str(), &result, width, "height", height, "size",
                                 VIPS_SIZE_DOWN, "fail_on", VIPS_FAIL_ON_TRUNCATED, nullptr),
                  image, &result);
  } else {
    image.reset(vips_image_new_from_file(path.c_str(), "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
                                         VIPS_FAIL_ON_TRUNCATED, nullptr));
    loaded = image && Step(vips_autorot(image.get(), &result, nullptr), image, &result);
  }
  if (!loaded) {
    return Fail(HRESULT_FROM_WIN32(ERROR_BAD_FORMAT),
                L"it cannot be read as a picture (" + TakeLibraryError() +
                    L"); check that it opens in a viewer",
                failure);
  }
  // Colours are converted from an embedded profile only: a picture without one is taken as
  // sRGB already, and a round trip through profiles would shift its saturated colours.
  if (settings.toSrgb && vips_image_get_typeof(image.get(), VIPS_META_ICC_NAME) != 0 &&
      !Step(vips_icc_transform(image.get(), &result, "srgb", "embedded", TRUE, nullptr), image,
            &result)) {
    return Fail(HRESULT_FROM_WIN32(ERROR_INVALID_DATA),
                L"its colour profile cannot be converted to sRGB (" + TakeLibraryError() + L")",
                failure);
  }
  if (settings.toSrgb && vips_image_get_interpretation(image.get()) != VIPS_INTERPRETATION_sRGB &&
      !Step(vips_colourspace(image.get(), &result, VIPS_INTERPRETATION_sRGB, nullptr), image,
            &result)) {
    return Fail(HRESULT_FROM_WIN32(ERROR_INVALID_DATA),
                L"its colours cannot be converted to sRGB (" + TakeLibraryError() + L")", failure);
  }
  if (settings.sharpen && !Sharpen(image, &result)) {
    return Fail(HRESULT_FROM_WIN32(ERROR_INVALID_DATA),
                L"it cannot be sharpened (" + TakeLibraryError() + L")", failure);
  }
  if (settings.format == ExportFormat::kJpeg && vips_image_hasalpha(image.get()) &&
      !Step(vips_flatten(image.get(), &result, nullptr), image, &result)) {
    return Fail(HRESULT_FROM_WIN32(ERROR_INVALID_DATA),
                L"its transparency cannot be flattened (" + TakeLibraryError() + L")", failure);
  }
  if (settings.metadata == ExportMetadata::kCopyrightOnly) {
    // The fields belong to the image object, which may be shared with the loader: a copy
    // carries its own.
    if (!Step(vips_copy(image.get(), &result, nullptr), image, &result)) {
      return Fail(HRESULT_FROM_WIN32(ERROR_INVALID_DATA), TakeLibraryError(), failure);
    }
    KeepCopyrightOnly(image.get());
  }

  const Target target(vips_target_new_to_descriptor(descriptor));
  if (!target || Save(image.get(), target.get(), settings) != 0) {
    return Fail(HRESULT_FROM_WIN32(ERROR_INVALID_DATA),
                L"the copy cannot be made (" + TakeLibraryError() +
                    L"); the picture may be damaged, or the destination full",
                failure);
  }
  return S_OK;
}

}  // namespace
}  // namespace lmk

extern "C" const lmk::ImageExportFunctions* lmk_companion_image_export() noexcept {
  static constexpr lmk::ImageExportFunctions kFunctions{&lmk::VipsCanWriteFormat,
                                                        &lmk::VipsExportImage};
  return &kFunctions;
}
