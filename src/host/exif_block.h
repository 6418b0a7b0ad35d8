// The entries of a JPEG's EXIF block, read straight from its TIFF structure. Building the
// metadata library's whole EXIF tree costs more than the rest of reading a small picture;
// a plain block is read here instead, and anything unusual is left to the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace lmk {

/// TIFF field types, numbered as stored (the metadata library numbers its types alike).
enum class TiffType : uint16_t {
  kByte = 1,
  kAscii = 2,
  kShort = 3,
  kLong = 4,
  kRational = 5,
  kSByte = 6,
  kUndefined = 7,
  kSShort = 8,
  kSLong = 9,
  kSRational = 10,
  kFloat = 11,
  kDouble = 12,
};

/// The bytes of one value of a type.
std::size_t TiffTypeSize(TiffType type) noexcept;

/// The directory an entry was found in.
enum class ExifDirectory : uint8_t { kImage, kPhoto, kGps };

/// One entry as stored: its type, its count and its bytes in the block's byte order.
struct ExifEntry {
  ExifDirectory directory = ExifDirectory::kImage;
  uint16_t tag = 0;
  TiffType type = TiffType::kUndefined;
  uint32_t count = 0;
  std::string_view bytes;  // count values of the type
  bool bigEndian = false;

  /// The n-th value of an integer type as the metadata library gives it (bytes of either
  /// sign read as unsigned, as the library does); false for other types or n out of range.
  bool IntegerAt(uint32_t n, long long* out) const noexcept;
  /// The n-th value as a number: integers, rationals (false for a zero denominator) and
  /// floating point, the latter narrowed to float as the library does.
  bool RealAt(uint32_t n, double* out) const noexcept;
};

/// The tags that point to the sub-directories and to maker notes.
inline constexpr uint16_t kExifSubIfdTag = 0x8769;
inline constexpr uint16_t kGpsSubIfdTag = 0x8825;
inline constexpr uint16_t kInteropSubIfdTag = 0xA005;
inline constexpr uint16_t kMakerNoteTag = 0x927C;
inline constexpr uint16_t kUserCommentTag = 0x9286;

/// Reads the entries of the image, EXIF and GPS directories of a TIFF structure (what
/// follows "Exif\0\0" in a JPEG's APP1 segment), in file order. The interoperability and
/// thumbnail directories are checked but not returned. False, with *out emptied, for
/// anything but a plain block: a bad header or offset, a value out of bounds, an unknown
/// type, an empty or oversized directory, a directory reached twice, sub-images, a chain of
/// more than two image directories, maker notes or a user comment in Unicode. Such blocks
/// are for the metadata library, which knows how to read past damage and says what it found.
bool ParseExifBlock(std::string_view tiff, std::vector<ExifEntry>* out);

}  // namespace lmk
