// The first bytes of a picture file, read with one open and one read, so that the metadata
// reader can parse them from memory instead of opening the file several times.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace lmk {

/// True when the bytes of a JPEG hold every segment up to the start of the first scan: all
/// that a metadata reader looks at (APPn, COM, frame headers). False for anything else,
/// including a segment that runs past the end of the bytes.
bool JpegHeadIsComplete(const uint8_t* bytes, std::size_t size) noexcept;

class PictureFileHead {
 public:
  /// Enough for the metadata segments of camera JPEGs; the rest of a picture is not read.
  static constexpr std::size_t kDefaultLimit = 128 * 1024;

  /// Reads up to `limit` bytes from the start of the file. False when the file cannot be
  /// opened or read; the head is then empty. `knownSize`, the file's size as just asked of the
  /// file system, spares the read that would find the end of a small file.
  bool Read(std::wstring_view path, std::size_t limit = kDefaultLimit,
            std::optional<std::uintmax_t> knownSize = std::nullopt);

  const uint8_t* data() const noexcept { return bytes_.data(); }
  std::size_t size() const noexcept { return bytes_.size(); }
  /// True when the bytes read are the whole file.
  bool whole() const noexcept { return whole_; }
  /// True when the bytes hold everything the metadata reader needs: the whole file, or a JPEG
  /// whose header ends within them. Otherwise the file itself must be read.
  bool Sufficient() const noexcept;

  /// For a JPEG whose header lies within the head and holds one XMP packet: hides the packet
  /// from the metadata library (which then skips its segment as an unknown one) and returns
  /// it, so that it can be read without the library's XMP tree. nullopt otherwise, and the
  /// head is left as it was. The view lives as long as the head.
  std::optional<std::string_view> DetachJpegXmp() noexcept;

  /// For a JPEG whose header lies within the head and holds nothing that the metadata
  /// library reads but one EXIF block and the packet DetachJpegXmp took: the TIFF structure
  /// of that block, empty when there is none. nullopt for anything else: ICC profiles,
  /// IPTC, comments, a second EXIF or XMP segment, or a picture of another kind.
  std::optional<std::string_view> PlainJpegExif() const noexcept;

 private:
  // What one walk of a JPEG header found, taken when the head is read.
  struct JpegLayout {
    bool complete = false;  // the header up to the scan lies within the head
    int xmpPackets = 0;     // APP1 segments with the XMP signature
    std::size_t xmpAt = 0;  // payload offset and size of the last of them
    std::size_t xmpSize = 0;
    int exifBlocks = 0;      // APP1 segments with the EXIF signature
    std::size_t exifAt = 0;  // offset and size of the TIFF structure of the last of them
    std::size_t exifSize = 0;
    bool otherMetadata = false;  // ICC profile, IPTC or comment segments
  };
  void ReadJpegLayout() noexcept;

  std::vector<uint8_t> bytes_;
  bool whole_ = false;
  JpegLayout jpeg_;
  std::size_t detachedXmp_ = 0;  // payload offset of the packet DetachJpegXmp took, or 0
};

}  // namespace lmk
