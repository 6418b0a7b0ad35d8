// Pixel geometry and pixel format read from a picture's own header (JPEG, PNG, GIF, WebP, BMP),
// the values that metadata does not give reliably.
#pragma once

#include <cstdint>
#include <string>

namespace Exiv2 {
class BasicIo;
}

namespace lmk {

struct PictureHeaderInfo {
  bool known = false;  // the header was recognised and its values below are valid
  uint32_t width = 0;
  uint32_t height = 0;
  uint8_t bitsPerPixel = 0;
  std::wstring pixelFormat;  // WIC-style name, e.g. "24bppBGR"
  bool supportsTransparency = false;
};

/// Reads the header of the picture behind io (opened and closed here). Every length and
/// offset in the file is checked against the file's size; a header that does not parse
/// leaves out->known false. Never throws.
void ProbePictureHeader(Exiv2::BasicIo& io, PictureHeaderInfo* out) noexcept;

}  // namespace lmk
