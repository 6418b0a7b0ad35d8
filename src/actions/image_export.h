// Reading a picture and writing a converted or resized copy of it: the one unit that uses the
// image library, so that the export actions see only this interface.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "rules/param_codec.h"

namespace lmk {

/// The formats a copy can be written in; the values are stored in rule sets.
enum class ExportFormat : std::uint32_t { kJpeg, kPng, kTiff, kWebp, kAvif, kHeic, kJxl };

/// The words of the formats in rule sets ("jpeg", "png", ...).
std::span<const ParamWord> ExportFormatWords();

/// Which metadata the copy carries.
enum class ExportMetadata : std::uint32_t {
  kKeep,           ///< EXIF, XMP, IPTC and the ICC profile as the picture has them
  kStrip,          ///< none at all
  kCopyrightOnly,  ///< only the EXIF copyright and artist
};

/// The words of the metadata choices in rule sets ("keep", "strip", "copyright").
std::span<const ParamWord> ExportMetadataWords();

/// How a copy is made.
struct ExportSettings {
  ExportFormat format = ExportFormat::kJpeg;
  int quality = 90;          ///< 1 to 100, for the lossy formats
  unsigned longEdge = 0;     ///< the copy's long edge at most this; 0 with no box: full size
  unsigned boxWidth = 0;     ///< with boxHeight: the copy fits this box instead
  unsigned boxHeight = 0;    ///<
  bool toSrgb = false;       ///< colours converted to sRGB (from the embedded profile)
  bool sharpen = false;      ///< a light sharpening after the resize, for screens
  bool progressive = false;  ///< a JPEG that shows coarse first while it loads
  ExportMetadata metadata = ExportMetadata::kKeep;
};

/// The extension of a file in format, with its dot (".jpg").
std::wstring_view ExportExtension(ExportFormat format);

/// Whether the image library of this system has an encoder for format (AVIF, HEIC and JPEG XL
/// depend on how it was built). Asked once per format.
bool CanWriteFormat(ExportFormat format);

/// Why an export failed, for the log.
struct ExportFailure {
  HRESULT hr = S_OK;
  std::wstring reason;  ///< the library's words, ending with what to do
};

/// Reads `source` (its orientation applied), makes the copy settings describe, and writes it
/// from the start of the open file `descriptor`, streaming, so that memory stays bounded on
/// large pictures. A picture cut short or damaged is refused, not written grey. S_OK;
/// HRESULT_FROM_WIN32(ERROR_BAD_FORMAT) when the source cannot be read as a picture;
/// HRESULT_FROM_WIN32(ERROR_INVALID_DATA) when it is damaged or the copy cannot be written
/// (full device, say); ERROR_NOT_SUPPORTED for a format without an encoder. *failure says why.
[[nodiscard]] HRESULT ExportImage(std::wstring_view source, int descriptor,
                                  const ExportSettings& settings, ExportFailure* failure);

/// The image library's part is built as a companion module (its libraries are loaded only by
/// runs that export); this is the table of functions it exports.
struct ImageExportFunctions {
  bool (*canWrite)(ExportFormat format);
  HRESULT (*exportImage)
  (std::wstring_view source, int descriptor, const ExportSettings& settings,
   ExportFailure* failure);
};
using ImageExportEntry = const ImageExportFunctions* (*)();
inline constexpr char kImageExportEntry[] = "lmk_companion_image_export";

}  // namespace lmk
