// Walks the first structures of common picture formats to find size and pixel layout.
#include "host/picture_header_probe.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exiv2/exiv2.hpp>
#include <string_view>

namespace lmk {

namespace {

// A JPEG may carry megabytes of APPn segments before its frame header; past this many
// segments the file is treated as damaged rather than walked for ever.
constexpr int kMaxJpegSegments = 4096;
constexpr int kMaxPngChunks = 4096;

class Reader {
 public:
  explicit Reader(Exiv2::BasicIo& io) : io_(io), size_(static_cast<uint64_t>(io.size())) {}

  uint64_t size() const { return size_; }

  /// Reads exactly n bytes at offset, or fails.
  bool ReadAt(uint64_t offset, uint8_t* dest, size_t n) {
    if (offset > size_ || n > size_ - offset) return false;
    if (io_.seek(static_cast<long>(offset), Exiv2::BasicIo::beg) != 0) return false;
    return io_.read(dest, static_cast<long>(n)) == static_cast<long>(n);
  }

 private:
  Exiv2::BasicIo& io_;
  uint64_t size_;
};

uint16_t Be16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
uint32_t Be32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
         static_cast<uint32_t>(p[2]) << 8 | p[3];
}
uint16_t Le16(const uint8_t* p) { return static_cast<uint16_t>(p[1] << 8 | p[0]); }
uint32_t Le24(const uint8_t* p) {
  return static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[1]) << 8 | p[0];
}
uint32_t Le32(const uint8_t* p) { return Le24(p) | static_cast<uint32_t>(p[3]) << 24; }

uint8_t ClampBits(unsigned bits) { return bits > 255 ? 255 : static_cast<uint8_t>(bits); }

void SetSize(PictureHeaderInfo* out, uint32_t w, uint32_t h) {
  out->width = w;
  out->height = h;
  out->known = w != 0 && h != 0;
}

bool ProbeJpeg(Reader& r, PictureHeaderInfo* out) {
  uint64_t pos = 2;
  for (int i = 0; i < kMaxJpegSegments; ++i) {
    uint8_t marker[2];
    if (!r.ReadAt(pos, marker, 2) || marker[0] != 0xFF) return false;
    if (marker[1] == 0xFF) {  // fill byte before a marker
      ++pos;
      continue;
    }
    const uint8_t m = marker[1];
    pos += 2;
    if (m == 0x01 || (m >= 0xD0 && m <= 0xD8)) continue;  // markers without a length
    if (m == 0xD9 || m == 0xDA) return false;  // end of image or scan before any frame header
    uint8_t len[2];
    if (!r.ReadAt(pos, len, 2)) return false;
    const uint16_t length = Be16(len);
    if (length < 2) return false;
    const bool frame = m >= 0xC0 && m <= 0xCF && m != 0xC4 && m != 0xC8 && m != 0xCC;
    if (frame) {
      uint8_t sof[6];
      if (length < 8 || !r.ReadAt(pos + 2, sof, sizeof sof)) return false;
      const unsigned precision = sof[0];
      const unsigned components = sof[5];
      SetSize(out, Be16(sof + 3), Be16(sof + 1));
      out->bitsPerPixel = ClampBits(precision * components);
      if (components == 1) {
        out->pixelFormat = precision > 8 ? L"16bppGray" : L"8bppGray";
      } else if (components == 3) {
        out->pixelFormat = precision > 8 ? L"48bppRGB" : L"24bppBGR";
      } else if (components == 4) {
        out->pixelFormat = precision > 8 ? L"64bppCMYK" : L"32bppCMYK";
      }
      return out->known;
    }
    pos += length;
  }
  return false;
}

// The PNG colour types: gray and indexed pictures are named by their depth ("4bppGray"), the
// others by whether a channel holds more than 8 bits.
struct PngColour {
  unsigned colourType;
  unsigned channels;
  std::wstring_view afterDepth;
  std::wstring_view deep;
  std::wstring_view shallow;
};
constexpr PngColour kPngColours[] = {
    {0, 1, L"bppGray", {}, {}},
    {2, 3, {}, L"48bppRGB", L"24bppBGR"},
    {3, 1, L"bppIndexed", {}, {}},
    {4, 2, {}, L"64bppRGBA", L"32bppBGRA"},
    {6, 4, {}, L"64bppRGBA", L"32bppBGRA"},
};

bool ProbePng(Reader& r, PictureHeaderInfo* out) {
  uint8_t ihdr[25];
  if (!r.ReadAt(0, ihdr, sizeof ihdr) || std::memcmp(ihdr + 12, "IHDR", 4) != 0) return false;
  const uint32_t w = Be32(ihdr + 16);
  const uint32_t h = Be32(ihdr + 20);
  if (w > 0x7FFFFFFF || h > 0x7FFFFFFF) return false;
  uint8_t tail[2];
  if (!r.ReadAt(24, tail, 2)) return false;
  const unsigned depth = tail[0];
  const unsigned colourType = tail[1];
  const auto colour =
      std::find_if(std::begin(kPngColours), std::end(kPngColours),
                   [&](const PngColour& entry) { return entry.colourType == colourType; });
  if (colour == std::end(kPngColours)) return false;
  const unsigned channels = colour->channels;
  if (!colour->afterDepth.empty()) {
    out->pixelFormat = std::to_wstring(depth) + std::wstring(colour->afterDepth);
  } else {
    out->pixelFormat = depth > 8 ? colour->deep : colour->shallow;
  }
  if (depth == 0 || depth > 16) return false;
  SetSize(out, w, h);
  out->bitsPerPixel = ClampBits(depth * channels);
  out->supportsTransparency = true;
  return out->known;
}

bool ProbeGif(Reader& r, PictureHeaderInfo* out) {
  uint8_t lsd[7];
  if (!r.ReadAt(6, lsd, sizeof lsd)) return false;
  SetSize(out, Le16(lsd), Le16(lsd + 2));
  // Decoders hand every GIF frame over as 8-bit palette indices.
  out->bitsPerPixel = 8;
  out->pixelFormat = L"8bppIndexed";
  out->supportsTransparency = true;
  return out->known;
}

bool ProbeWebp(Reader& r, PictureHeaderInfo* out) {
  // A lossless header ends at byte 25, the others at 30.
  uint8_t chunk[30] = {};
  const size_t available = static_cast<size_t>(std::min<uint64_t>(r.size(), sizeof chunk));
  if (available < 25 || !r.ReadAt(0, chunk, available)) return false;
  bool alpha = false;
  if (std::memcmp(chunk + 12, "VP8L", 4) != 0 && available < sizeof chunk) return false;
  if (std::memcmp(chunk + 12, "VP8X", 4) == 0) {
    alpha = (chunk[20] & 0x10) != 0;
    SetSize(out, Le24(chunk + 24) + 1, Le24(chunk + 27) + 1);
  } else if (std::memcmp(chunk + 12, "VP8L", 4) == 0) {
    if (chunk[20] != 0x2F) return false;
    const uint32_t bits = Le32(chunk + 21);
    alpha = ((bits >> 28) & 1) != 0;
    SetSize(out, (bits & 0x3FFF) + 1, ((bits >> 14) & 0x3FFF) + 1);
  } else if (std::memcmp(chunk + 12, "VP8 ", 4) == 0) {
    // Key frame: three tag bytes, start code 9D 01 2A, then 14-bit width and height.
    if (chunk[23] != 0x9D || chunk[24] != 0x01 || chunk[25] != 0x2A) return false;
    SetSize(out, Le16(chunk + 26) & 0x3FFF, Le16(chunk + 28) & 0x3FFF);
  } else {
    return false;
  }
  out->bitsPerPixel = alpha ? 32 : 24;
  out->pixelFormat = alpha ? L"32bppBGRA" : L"24bppBGR";
  out->supportsTransparency = alpha;
  return out->known;
}

bool ProbeBmp(Reader& r, PictureHeaderInfo* out) {
  uint8_t dib[16];
  if (!r.ReadAt(14, dib, sizeof dib)) return false;
  const uint32_t headerSize = Le32(dib);
  uint32_t w = 0;
  uint32_t h = 0;
  unsigned bits = 0;
  if (headerSize == 12) {  // the old core header: 16-bit sizes
    w = Le16(dib + 4);
    h = Le16(dib + 6);
    bits = Le16(dib + 10);
  } else if (headerSize >= 40) {
    const int32_t sw = static_cast<int32_t>(Le32(dib + 4));
    const int32_t sh = static_cast<int32_t>(Le32(dib + 8));
    // A negative height means rows stored top-down; the size is its magnitude.
    if (sw <= 0 || sh == 0 || sh == INT32_MIN) return false;
    w = static_cast<uint32_t>(sw);
    h = static_cast<uint32_t>(sh < 0 ? -sh : sh);
    bits = Le16(dib + 14);
  } else {
    return false;
  }
  switch (bits) {
    case 1:
    case 4:
    case 8:
      out->pixelFormat = std::to_wstring(bits) + L"bppIndexed";
      break;
    case 16:
      out->pixelFormat = L"16bppBGR555";
      break;
    case 24:
      out->pixelFormat = L"24bppBGR";
      break;
    case 32:
      out->pixelFormat = L"32bppBGR";
      break;
    default:
      return false;
  }
  SetSize(out, w, h);
  out->bitsPerPixel = ClampBits(bits);
  return out->known;
}

}  // namespace

void ProbePictureHeader(Exiv2::BasicIo& io, PictureHeaderInfo* out) noexcept {
  *out = PictureHeaderInfo{};
  try {
    if (io.open() != 0) return;
    Reader r(io);
    std::array<uint8_t, 16> head{};
    const size_t n = static_cast<size_t>(std::min<uint64_t>(r.size(), head.size()));
    bool ok = false;
    if (n >= 4 && r.ReadAt(0, head.data(), n)) {
      if (head[0] == 0xFF && head[1] == 0xD8) {
        ok = ProbeJpeg(r, out);
      } else if (n >= 8 && std::memcmp(head.data(), "\x89PNG\r\n\x1a\n", 8) == 0) {
        ok = ProbePng(r, out);
      } else if (n >= 6 && (std::memcmp(head.data(), "GIF87a", 6) == 0 ||
                            std::memcmp(head.data(), "GIF89a", 6) == 0)) {
        ok = ProbeGif(r, out);
      } else if (n >= 12 && std::memcmp(head.data(), "RIFF", 4) == 0 &&
                 std::memcmp(head.data() + 8, "WEBP", 4) == 0) {
        ok = ProbeWebp(r, out);
      } else if (head[0] == 'B' && head[1] == 'M') {
        ok = ProbeBmp(r, out);
      }
    }
    io.close();
    if (!ok) *out = PictureHeaderInfo{};
  } catch (...) {
    *out = PictureHeaderInfo{};
  }
}

}  // namespace lmk
