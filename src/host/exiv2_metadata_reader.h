// Reads a picture's EXIF, IPTC, XMP and GPS values (and its ".xmp" sidecar) with Exiv2.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/image_metadata.h"

namespace lmk {

/// The outcome of one read. A picture that cannot be parsed is not an exception: the caller
/// keeps what the file system tells and logs the message.
struct MetadataReadStatus {
  bool ok = false;                     // the picture itself was opened and parsed
  std::wstring message;                // when !ok: which file and why, ready to log
  std::vector<std::wstring> warnings;  // problems the parser reported but read past
};

/// The groups of values a read fills (ORed). A read of some groups leaves the values of the
/// others at their defaults and skips what only they need: the sidecar lookup, the XMP
/// packet, IPTC, the ICC profile, the pixel header. Each group it fills holds exactly what a
/// read of every group gives, fallbacks and precedence included.
enum MetadataValues : uint32_t {
  kMetadataDates = 1u << 0,    // dateTaken
  kMetadataCamera = 1u << 1,   // exposure, aperture, focal length, modes, orientation, ISO, ...
  kMetadataStrings = 1u << 2,  // make, model, lens, comment, artist, copyright, ids, serial
  kMetadataMarks = 1u << 3,    // rating, label, urgency
  kMetadataGps = 1u << 4,
  kMetadataIptc = 1u << 5,
  kMetadataIcc = 1u << 6,     // the ICC profile's name
  kMetadataPixels = 1u << 7,  // sizes, rotation, bits per pixel, pixel format, transparency
  kMetadataAll = (1u << 8) - 1,
  // The groups whose values may come from XMP whatever EXIF holds.
  kMetadataXmpFirst =
      kMetadataCamera | kMetadataStrings | kMetadataMarks | kMetadataGps | kMetadataIptc,
};

/// Reads pictures into ImageMetadata. Stateless apart from the process-wide initialisation,
/// so one instance may be used from any number of threads at once.
class CExiv2MetadataReader {
 public:
  /// Makes the library ready for concurrent use: starts the XMP toolkit (with a lock for its
  /// namespace registry), enables the HEIF/CR3 reader where the library has one, and routes
  /// the library's warnings to the thread that caused them. Safe to call any number of times
  /// from any thread; the constructor calls it, but a host should call it at start-up,
  /// before its worker threads exist. Returns false when the XMP toolkit failed to start
  /// (pictures are then read without XMP).
  static bool Initialize();

  CExiv2MetadataReader();

  /// Reads the picture at path (and "<stem>.xmp" or "<stem>.XMP" beside it) into *out, which
  /// is reset first. When the picture cannot be parsed, *out still receives the sidecar's
  /// values and the status says why the picture failed. `knownSize` is the picture's size
  /// when the caller has just asked for it; `values` the groups to fill (MetadataValues). A
  /// read of no group opens nothing and is ok. Never throws.
  MetadataReadStatus Read(std::wstring_view path, ImageMetadata* out,
                          std::optional<std::uintmax_t> knownSize = std::nullopt,
                          uint32_t values = kMetadataAll) const noexcept;

  /// The sidecar that belongs to a picture, or an empty string when there is none.
  static std::wstring FindSidecar(std::wstring_view picturePath);
};

}  // namespace lmk
