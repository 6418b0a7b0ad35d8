// The EXIF block reader: what it refuses and leaves to the metadata library, the values it
// reads, and pictures read through it against the same pictures read by the library alone.
#include "host/exif_block.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/exiftool_report.h"
#include "host/exiv2_metadata_reader.h"
#include "host/picture_file_head.h"
#include "platform/text_encoding.h"
#include "support/data_table.h"
#include "support/file_bytes.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

// One directory entry to lay out: its value bytes (already in the block's byte order), or,
// when `offset` is set, that raw offset in place of a value.
struct Entry {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  std::string value;
  std::optional<uint32_t> offset = std::nullopt;
};

class BlockBuilder {
 public:
  explicit BlockBuilder(bool bigEndian) : big_(bigEndian) {}

  std::string U16(uint32_t v) const {
    return big_ ? std::string{char(v >> 8), char(v)} : std::string{char(v), char(v >> 8)};
  }
  std::string U32(uint32_t v) const {
    return big_ ? std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)}
                : std::string{char(v), char(v >> 8), char(v >> 16), char(v >> 24)};
  }

  // An image directory at offset 8 and, when `photo` is given, an EXIF directory after it;
  // values longer than four bytes follow the directories.
  std::string Build(std::vector<Entry> image, const std::vector<Entry>& photo = {},
                    uint32_t next = 0) const {
    const auto size = [](std::size_t n) { return static_cast<uint32_t>(2 + 12 * n + 4); };
    if (!photo.empty()) image.push_back({0x8769, 4, 1, ""});
    const uint32_t photoAt = 8 + size(image.size());
    uint32_t dataAt = photoAt + (photo.empty() ? 0 : size(photo.size()));
    std::string data;
    const auto directory = [&](const std::vector<Entry>& entries, uint32_t nextOffset) {
      std::string out = U16(static_cast<uint32_t>(entries.size()));
      for (const Entry& e : entries) {
        out += U16(e.tag) + U16(e.type) + U32(e.count);
        if (e.tag == 0x8769 && e.value.empty() && !e.offset) {
          out += U32(photoAt);
        } else if (e.offset) {
          out += U32(*e.offset);
        } else if (e.value.size() <= 4) {
          out += e.value + std::string(4 - e.value.size(), '\0');
        } else {
          out += U32(dataAt + static_cast<uint32_t>(data.size()));
          data += e.value;
        }
      }
      return out + U32(nextOffset);
    };
    std::string block = (big_ ? "MM"s : "II"s) + U16(42) + U32(8);
    block += directory(image, next);
    if (!photo.empty()) block += directory(photo, 0);
    return block + data;
  }

 private:
  bool big_;
};

TEST(ExifBlockTest, ReadsValuesInEitherByteOrderAsTheLibraryGivesThem) {
  for (const bool big : {false, true}) {
    const BlockBuilder b(big);
    const std::string block = b.Build({{0x010F, 2, 7, "Corvid\0"s}, {0x0112, 3, 1, b.U16(6)}},
                                      {{0x829A, 5, 1, b.U32(1) + b.U32(250)},
                                       {0x9204, 10, 1, b.U32(static_cast<uint32_t>(-2)) + b.U32(3)},
                                       {0x9209, 6, 1, "\xF0"s},
                                       {0x920A, 5, 1, b.U32(7) + b.U32(0)}});
    std::vector<ExifEntry> entries;
    ASSERT_TRUE(ParseExifBlock(block, &entries)) << big;
    ASSERT_EQ(entries.size(), 6u);
    EXPECT_EQ(entries[0].bytes, "Corvid\0"s);
    long long integer = 0;
    double real = 0;
    EXPECT_TRUE(entries[1].IntegerAt(0, &integer));
    EXPECT_EQ(integer, 6);
    EXPECT_FALSE(entries[1].IntegerAt(1, &integer)) << "past the count";
    EXPECT_EQ(entries[2].directory, ExifDirectory::kPhoto);
    EXPECT_TRUE(entries[2].RealAt(0, &real));
    EXPECT_DOUBLE_EQ(real, 1.0 / 250);
    EXPECT_TRUE(entries[3].RealAt(0, &real));
    EXPECT_DOUBLE_EQ(real, -2.0 / 3);
    EXPECT_TRUE(entries[4].IntegerAt(0, &integer));
    EXPECT_EQ(integer, 0xF0) << "signed bytes read unsigned, as the library reads them";
    EXPECT_FALSE(entries[5].RealAt(0, &real)) << "a zero denominator is no value";
    EXPECT_FALSE(entries[0].RealAt(0, &real)) << "text is no number";
  }
}

class RefusedBlock : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(RefusedBlock, IsLeftToTheLibrary) {
  std::string block = test::Unescape(GetParam()[0]);
  if (const std::size_t at = block.find("(zeros "); at != std::string::npos) {
    block = block.substr(0, at) + std::string(std::stoul(block.substr(at + 7)), '\0');
  }
  std::vector<ExifEntry> entries;
  EXPECT_FALSE(ParseExifBlock(block, &entries));
  EXPECT_TRUE(entries.empty());
}

INSTANTIATE_TEST_SUITE_P(Blocks, RefusedBlock,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/refused_exif_blocks.tsv")),
                         [](const auto& info) { return info.param.name; });

// Damaged blocks: every truncation and many random byte changes of a real block are either
// refused or read with every value inside the block (the sanitizers watch the reads).
TEST(ExifBlockTest, DamagedBlocksAreRefusedOrReadWithinBounds) {
  const BlockBuilder b(true);
  const std::string block = b.Build({{0x010F, 2, 7, "Corvid\0"s}, {0x0112, 3, 1, b.U16(6)}},
                                    {{0x829A, 5, 1, b.U32(1) + b.U32(250)},
                                     {0x9003, 2, 20, "2024:05:17 04:40:40\0"s},
                                     {0x9286, 7, 12, "ASCII\0\0\0text"s}});
  const auto check = [](const std::string& damaged) {
    std::vector<ExifEntry> entries;
    if (!ParseExifBlock(damaged, &entries)) return;
    for (const ExifEntry& e : entries) {
      ASSERT_GE(e.bytes.data(), damaged.data());
      ASSERT_LE(e.bytes.data() + e.bytes.size(), damaged.data() + damaged.size());
      long long integer = 0;
      double real = 0;
      for (uint32_t n = 0; n < e.count && n < 64; ++n) {
        e.IntegerAt(n, &integer);
        e.RealAt(n, &real);
      }
    }
  };
  for (std::size_t size = 0; size < block.size(); ++size) check(block.substr(0, size));
  uint32_t seed = 12345;
  const auto next = [&seed] { return seed = seed * 1664525u + 1013904223u; };
  for (int round = 0; round < 20000; ++round) {
    std::string damaged = block;
    for (int flips = 1 + static_cast<int>(next() % 4); flips > 0; --flips)
      damaged[next() % damaged.size()] = static_cast<char>(next() >> 24);
    check(damaged);
  }
}

using test::ReadBytes;
using test::WriteBytes;

// True when the picture's EXIF is read without the library.
bool ReadPlain(const fs::path& path) {
  PictureFileHead head;
  if (!head.Read(path.wstring()) || !head.Sufficient()) return false;
  head.DetachJpegXmp();
  const std::optional<std::string_view> tiff = head.PlainJpegExif();
  std::vector<ExifEntry> entries;
  return tiff && (tiff->empty() || ParseExifBlock(*tiff, &entries));
}

// Pictures read through the block reader must read exactly as the library reads them. An
// APP2 segment that is no ICC profile changes nothing for the library but makes the picture
// one that only the library reads.
TEST(ExifBlockTest, PlainPicturesReadAsTheLibraryReadsThem) {
  if (!test::ExifToolAvailable()) GTEST_SKIP() << "exiftool is not installed";
  const fs::path samples = LMK_SAMPLES_DIR;
  struct Case {
    std::string name;
    fs::path sample;
    std::string write;  // exiftool arguments, or empty for the sample as it is
  };
  std::vector<Case> cases;
  for (const test::CaseRow& row : test::ReadCaseTable("cases/plain_exif_writes.tsv")) {
    cases.push_back({row.name, samples / "plain_nometa.jpg", row[0]});
  }
  // Every sample as it is, too: the library reads those with IPTC itself.
  for (const auto& file : fs::directory_iterator(samples)) {
    const fs::path& p = file.path();
    if (p.extension() == ".jpg" && p.filename() != "truncated.jpg")
      cases.push_back({p.filename().string(), p, ""});
  }
  for (const Case& c : cases) {
    test::ScopedTempDir dir;
    const fs::path plain = dir / "plain.jpg";
    fs::copy_file(c.sample, plain);
    if (!c.write.empty()) {
      ASSERT_EQ(test::ExifToolWrite(c.write, plain), 0) << c.name;
      EXPECT_TRUE(ReadPlain(plain)) << c.name;
    }
    const std::string bytes = ReadBytes(plain);
    const fs::path library = dir / "library.jpg";
    WriteBytes(library, bytes.substr(0, 2) + "\xFF\xE2\x00\x06"s + "ABCD" + bytes.substr(2));
    EXPECT_FALSE(ReadPlain(library)) << c.name;

    ImageMetadata fast, slow;
    ASSERT_TRUE(CExiv2MetadataReader().Read(FromUtf8(plain.string()), &fast).ok) << c.name;
    ASSERT_TRUE(CExiv2MetadataReader().Read(FromUtf8(library.string()), &slow).ok) << c.name;
    fast.sidecarPath = slow.sidecarPath;
    EXPECT_TRUE(fast == slow) << c.name;
  }
}

}  // namespace
}  // namespace lmk
