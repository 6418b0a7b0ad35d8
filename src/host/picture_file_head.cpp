// Reads the head of a picture file and decides whether it holds all of the file's metadata.
#include "host/picture_file_head.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/read_only_file.h"

namespace lmk {
namespace {

// The first read of a head; most small pictures end within it.
constexpr std::size_t kFirstRead = 16 * 1024;

// A header of more segments than this is treated as damaged rather than walked for ever.
constexpr int kMaxJpegSegments = 4096;

// The signature that opens the APP1 segment of a JPEG's XMP packet.
constexpr std::string_view kXmpSignature("http://ns.adobe.com/xap/1.0/\0", 29);
// The signature that opens the APP1 segment of a JPEG's EXIF block.
constexpr std::string_view kExifSignature("Exif\0\0", 6);

// Walks the segments of a JPEG header up to the start of the scan, calling visit(marker,
// offset of the payload, payload size) for each segment with a length. True when the walk
// reached the scan (or the end of the image) within the bytes.
template <class Visit>
bool WalkJpegHeader(const uint8_t* bytes, std::size_t size, Visit&& visit) noexcept {
  if (bytes == nullptr || size < 4 || bytes[0] != 0xFF || bytes[1] != 0xD8) return false;
  std::size_t pos = 2;
  for (int i = 0; i < kMaxJpegSegments; ++i) {
    if (pos + 2 > size || bytes[pos] != 0xFF) return false;
    const uint8_t marker = bytes[pos + 1];
    if (marker == 0xFF) {  // fill byte before a marker
      ++pos;
      continue;
    }
    pos += 2;
    // The scan starts: a reader stops here, and its length must be in reach too.
    if (marker == 0xDA) return pos + 2 <= size;
    if (marker == 0xD9) return true;  // end of image: nothing further to read
    if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) continue;  // no length
    if (pos + 2 > size) return false;
    const std::size_t length = static_cast<std::size_t>(bytes[pos] << 8 | bytes[pos + 1]);
    if (length < 2 || pos + length > size) return false;
    visit(marker, pos + 2, length - 2);
    pos += length;
  }
  return false;
}

}  // namespace

bool JpegHeadIsComplete(const uint8_t* bytes, std::size_t size) noexcept {
  return WalkJpegHeader(bytes, size, [](uint8_t, std::size_t, std::size_t) {});
}

bool PictureFileHead::Read(std::wstring_view path, std::size_t limit,
                           std::optional<std::uintmax_t> knownSize) {
  bytes_.clear();
  whole_ = false;
  jpeg_ = JpegLayout{};
  detachedXmp_ = 0;
  ReadOnlyFile file;
  if (!file.Open(path)) return false;
  // A small picture ends within the first read, which then needs no size asked first. One
  // byte past the limit tells whether the file goes on.
  std::size_t want = limit + 1;
  if (knownSize && *knownSize < want) want = static_cast<std::size_t>(*knownSize);
  bytes_.resize(std::min(want, kFirstRead));
  std::ptrdiff_t got = file.Read(bytes_.data(), bytes_.size());
  if (got == static_cast<std::ptrdiff_t>(bytes_.size()) && bytes_.size() < want) {
    const auto first = static_cast<std::size_t>(got);
    bytes_.resize(want);
    const std::ptrdiff_t more = file.Read(bytes_.data() + first, want - first);
    got = more < 0 ? -1 : got + more;
  }
  if (got < 0) {
    bytes_.clear();
    return false;
  }
  const auto count = static_cast<std::size_t>(got);
  whole_ = count <= limit;
  bytes_.resize(std::min(count, limit));
  ReadJpegLayout();
  return true;
}

void PictureFileHead::ReadJpegLayout() noexcept {
  jpeg_ = JpegLayout{};
  jpeg_.complete = WalkJpegHeader(
      bytes_.data(), bytes_.size(), [this](uint8_t marker, std::size_t at, std::size_t size) {
        const std::string_view payload(reinterpret_cast<const char*>(bytes_.data()) + at, size);
        switch (marker) {
          case 0xE1:
            if (payload.starts_with(kExifSignature)) {
              ++jpeg_.exifBlocks;
              jpeg_.exifAt = at + kExifSignature.size();
              jpeg_.exifSize = size - kExifSignature.size();
            } else if (payload.starts_with(kXmpSignature)) {
              ++jpeg_.xmpPackets;
              jpeg_.xmpAt = at;
              jpeg_.xmpSize = size;
            }
            break;
          case 0xE2:  // ICC profile
          case 0xED:  // IPTC in image resources
          case 0xFE:  // comment
            jpeg_.otherMetadata = true;
            break;
          default:
            break;
        }
      });
}

std::optional<std::string_view> PictureFileHead::DetachJpegXmp() noexcept {
  // Several packets are left to the metadata library, which knows which of them counts.
  if (!jpeg_.complete || jpeg_.xmpPackets != 1 || detachedXmp_ != 0) return std::nullopt;
  // A changed signature makes the library pass the segment by as an unknown one.
  bytes_[jpeg_.xmpAt] = 'X';
  detachedXmp_ = jpeg_.xmpAt;
  return std::string_view(
      reinterpret_cast<const char*>(bytes_.data()) + jpeg_.xmpAt + kXmpSignature.size(),
      jpeg_.xmpSize - kXmpSignature.size());
}

std::optional<std::string_view> PictureFileHead::PlainJpegExif() const noexcept {
  const bool xmpDetached = jpeg_.xmpPackets == 0 || detachedXmp_ != 0;
  if (!jpeg_.complete || jpeg_.otherMetadata || jpeg_.exifBlocks > 1 || !xmpDetached)
    return std::nullopt;
  return std::string_view(reinterpret_cast<const char*>(bytes_.data()) + jpeg_.exifAt,
                          jpeg_.exifSize);
}

bool PictureFileHead::Sufficient() const noexcept { return whole_ || jpeg_.complete; }

}  // namespace lmk
