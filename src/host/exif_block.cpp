// Reads a plain EXIF block's directories, with the bounds checks that the metadata library
// makes; where the library would warn, truncate or guess, the block is refused instead.
#include "host/exif_block.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

namespace lmk {
namespace {

// The library refuses a directory of more entries than this.
constexpr uint32_t kMaxEntries = 256;
// The library skips an entry of this many values or more.
constexpr uint32_t kMaxCount = 0x10000000;

// Tags whose values the library reads as data areas, sub-images or embedded packets: rare in
// a JPEG's EXIF block, and left to the library.
constexpr std::array<uint16_t, 7> kSpecialImageTags = {0x0111, 0x0117, 0x0144, 0x0145,
                                                       0x014A, 0x02BC, 0x83BB};
constexpr uint16_t kPhotoshopTag = 0x8649;
constexpr uint16_t kThumbnailOffsetTag = 0x0201;
constexpr uint16_t kThumbnailLengthTag = 0x0202;

enum class Walk : uint8_t { kImage, kPhoto, kGps, kInterop, kThumbnail };

class BlockReader {
 public:
  explicit BlockReader(std::string_view tiff) : tiff_(tiff) {}

  bool Header() {
    if (tiff_.size() < 8) return false;
    if (tiff_[0] == 'I' && tiff_[1] == 'I') {
      bigEndian_ = false;
    } else if (tiff_[0] == 'M' && tiff_[1] == 'M') {
      bigEndian_ = true;
    } else {
      return false;
    }
    return U16(2) == 42;
  }

  bool Read(std::vector<ExifEntry>* out) {
    out_ = out;
    return Directory(U32(4), Walk::kImage);
  }

 private:
  uint16_t U16(std::size_t at) const {
    const auto* p = reinterpret_cast<const uint8_t*>(tiff_.data()) + at;
    return bigEndian_ ? static_cast<uint16_t>(p[0] << 8 | p[1])
                      : static_cast<uint16_t>(p[1] << 8 | p[0]);
  }
  uint32_t U32(std::size_t at) const {
    const auto* p = reinterpret_cast<const uint8_t*>(tiff_.data()) + at;
    return bigEndian_ ? static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
                            static_cast<uint32_t>(p[2]) << 8 | p[3]
                      : static_cast<uint32_t>(p[3]) << 24 | static_cast<uint32_t>(p[2]) << 16 |
                            static_cast<uint32_t>(p[1]) << 8 | p[0];
  }

  bool Visit(uint32_t offset) {
    if (visitedCount_ == visited_.size()) return false;
    for (std::size_t i = 0; i < visitedCount_; ++i) {
      if (visited_[i] == offset) return false;
    }
    visited_[visitedCount_++] = offset;
    return true;
  }

  // The bytes of an entry's value: in the entry when they fit in four, else at its offset.
  bool Value(std::size_t entry, TiffType type, uint32_t count, std::string_view* bytes) const {
    const uint64_t size = static_cast<uint64_t>(TiffTypeSize(type)) * count;
    if (size <= 4) {
      *bytes = tiff_.substr(entry + 8, static_cast<std::size_t>(size));
      return true;
    }
    const uint32_t offset = U32(entry + 8);
    if (offset == 0 || offset >= tiff_.size() || size > tiff_.size() - offset) return false;
    *bytes = tiff_.substr(offset, static_cast<std::size_t>(size));
    return true;
  }

  // A sub-directory pointer: one offset, as a long or an IFD.
  bool SubDirectory(uint16_t type, uint32_t count, std::size_t entry, Walk walk) {
    if ((type != 4 && type != 13) || count != 1) return false;
    return Directory(U32(entry + 8), walk);
  }

  bool Directory(uint32_t offset, Walk walk) {
    if (offset == 0 || offset > tiff_.size() - 2 || !Visit(offset)) return false;
    const uint32_t n = U16(offset);
    const uint64_t end = static_cast<uint64_t>(offset) + 2 + 12ull * n + 4;
    if (n > kMaxEntries || end > tiff_.size()) return false;
    uint32_t thumbnailOffset = 0;
    uint32_t thumbnailLength = 0;
    for (uint32_t i = 0; i < n; ++i) {
      const std::size_t entry = offset + 2 + 12 * i;
      const uint16_t tag = U16(entry);
      const uint16_t rawType = U16(entry + 2);
      const uint32_t count = U32(entry + 4);
      if (walk == Walk::kImage && tag == kExifSubIfdTag) {
        if (!SubDirectory(rawType, count, entry, Walk::kPhoto)) return false;
        continue;
      }
      if (walk == Walk::kImage && tag == kGpsSubIfdTag) {
        if (!SubDirectory(rawType, count, entry, Walk::kGps)) return false;
        continue;
      }
      if (walk == Walk::kPhoto && tag == kInteropSubIfdTag) {
        if (!SubDirectory(rawType, count, entry, Walk::kInterop)) return false;
        continue;
      }
      if (walk == Walk::kPhoto && tag == kMakerNoteTag) return false;
      if ((walk == Walk::kImage || walk == Walk::kThumbnail) &&
          (tag == kPhotoshopTag || std::find(kSpecialImageTags.begin(), kSpecialImageTags.end(),
                                             tag) != kSpecialImageTags.end()))
        return false;
      if (rawType < 1 || rawType > 12 || count == 0 || count >= kMaxCount) return false;
      const auto type = static_cast<TiffType>(rawType);
      std::string_view bytes;
      if (!Value(entry, type, count, &bytes)) return false;
      if (walk == Walk::kThumbnail && (tag == kThumbnailOffsetTag || tag == kThumbnailLengthTag)) {
        if (type != TiffType::kLong || count != 1) return false;
        (tag == kThumbnailOffsetTag ? thumbnailOffset : thumbnailLength) = U32(entry + 8);
        continue;
      }
      if (walk == Walk::kPhoto && tag == kUserCommentTag && type == TiffType::kUndefined &&
          bytes.substr(0, 8) == std::string_view("UNICODE\0", 8))
        return false;
      if (walk == Walk::kImage || walk == Walk::kPhoto || walk == Walk::kGps) {
        const ExifDirectory directory = walk == Walk::kImage   ? ExifDirectory::kImage
                                        : walk == Walk::kPhoto ? ExifDirectory::kPhoto
                                                               : ExifDirectory::kGps;
        out_->push_back(ExifEntry{directory, tag, type, count, bytes, bigEndian_});
      }
    }
    // The embedded thumbnail lies within the block, or the library would have to say it does not.
    if (thumbnailOffset != 0 || thumbnailLength != 0) {
      if (thumbnailOffset == 0 || thumbnailOffset > tiff_.size() ||
          thumbnailLength > tiff_.size() - thumbnailOffset)
        return false;
    }
    const uint32_t next = U32(static_cast<std::size_t>(end - 4));
    if (next == 0) return true;
    // The image directory is followed by the thumbnail's; any further chain is unusual.
    return walk == Walk::kImage && Directory(next, Walk::kThumbnail);
  }

  std::string_view tiff_;
  bool bigEndian_ = false;
  std::vector<ExifEntry>* out_ = nullptr;
  std::array<uint32_t, 8> visited_{};
  std::size_t visitedCount_ = 0;
};

template <class T>
T Load(std::string_view bytes, std::size_t at, bool bigEndian) {
  std::array<uint8_t, sizeof(T)> raw{};
  std::memcpy(raw.data(), bytes.data() + at, sizeof(T));
  if (bigEndian != (std::endian::native == std::endian::big)) {
    for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(raw[i], raw[sizeof(T) - 1 - i]);
  }
  T value;
  std::memcpy(&value, raw.data(), sizeof(T));
  return value;
}

}  // namespace

std::size_t TiffTypeSize(TiffType type) noexcept {
  switch (type) {
    case TiffType::kByte:
    case TiffType::kAscii:
    case TiffType::kSByte:
    case TiffType::kUndefined:
      return 1;
    case TiffType::kShort:
    case TiffType::kSShort:
      return 2;
    case TiffType::kLong:
    case TiffType::kSLong:
    case TiffType::kFloat:
      return 4;
    case TiffType::kRational:
    case TiffType::kSRational:
    case TiffType::kDouble:
      return 8;
  }
  return 0;
}

bool ExifEntry::IntegerAt(uint32_t n, long long* out) const noexcept {
  const std::size_t size = TiffTypeSize(type);
  if (n >= count || (static_cast<std::size_t>(n) + 1) * size > bytes.size()) return false;
  const std::size_t at = static_cast<std::size_t>(n) * size;
  switch (type) {
    case TiffType::kByte:
    case TiffType::kSByte:
      *out = static_cast<uint8_t>(bytes[at]);
      return true;
    case TiffType::kShort:
      *out = Load<uint16_t>(bytes, at, bigEndian);
      return true;
    case TiffType::kSShort:
      *out = Load<int16_t>(bytes, at, bigEndian);
      return true;
    case TiffType::kLong:
      *out = Load<uint32_t>(bytes, at, bigEndian);
      return true;
    case TiffType::kSLong:
      *out = Load<int32_t>(bytes, at, bigEndian);
      return true;
    default:
      return false;
  }
}

bool ExifEntry::RealAt(uint32_t n, double* out) const noexcept {
  const std::size_t size = TiffTypeSize(type);
  if (n >= count || (static_cast<std::size_t>(n) + 1) * size > bytes.size()) return false;
  const std::size_t at = static_cast<std::size_t>(n) * size;
  switch (type) {
    case TiffType::kRational: {
      const uint32_t den = Load<uint32_t>(bytes, at + 4, bigEndian);
      if (den == 0) return false;
      *out = static_cast<double>(Load<uint32_t>(bytes, at, bigEndian)) / den;
      return true;
    }
    case TiffType::kSRational: {
      const int32_t den = Load<int32_t>(bytes, at + 4, bigEndian);
      if (den == 0) return false;
      *out = static_cast<double>(Load<int32_t>(bytes, at, bigEndian)) / den;
      return true;
    }
    case TiffType::kFloat:
      *out = Load<float>(bytes, at, bigEndian);
      return true;
    case TiffType::kDouble:
      *out = static_cast<float>(Load<double>(bytes, at, bigEndian));
      return true;
    default: {
      long long integer = 0;
      if (!IntegerAt(n, &integer)) return false;
      *out = static_cast<double>(integer);
      return true;
    }
  }
}

bool ParseExifBlock(std::string_view tiff, std::vector<ExifEntry>* out) {
  out->clear();
  BlockReader reader(tiff);
  if (reader.Header() && reader.Read(out)) return true;
  out->clear();
  return false;
}

}  // namespace lmk
