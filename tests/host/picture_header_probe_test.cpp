// Pixel size and layout read from crafted picture headers, including damaged ones; checked dates
// and the label vocabulary shared by the reader and the label writer.
#include "host/picture_header_probe.h"

#include <gtest/gtest.h>

#include <exiv2/exiv2.hpp>
#include <map>
#include <string>
#include <vector>

#include "host/image_metadata.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using Bytes = std::string;

Bytes Be32(uint32_t v) {
  return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
          static_cast<char>(v)};
}
Bytes Le16(uint32_t v) { return {static_cast<char>(v), static_cast<char>(v >> 8)}; }
Bytes Le32(uint32_t v) { return Le16(v & 0xFFFF) + Le16(v >> 16); }

Bytes Png(uint32_t w, uint32_t h, int depth, int colourType) {
  return Bytes("\x89PNG\r\n\x1a\n", 8) + Be32(13) + "IHDR" + Be32(w) + Be32(h) +
         static_cast<char>(depth) + static_cast<char>(colourType) + Bytes(3, '\0') + Be32(0);
}

Bytes Jpeg(const Bytes& segmentsBeforeFrame, int precision, int components, uint16_t w,
           uint16_t h) {
  Bytes sof = Bytes("\xFF\xC0", 2) + Bytes{0, 11} + static_cast<char>(precision) +
              static_cast<char>(h >> 8) + static_cast<char>(h) + static_cast<char>(w >> 8) +
              static_cast<char>(w) + static_cast<char>(components) + Bytes(3, '\x11');
  return Bytes("\xFF\xD8", 2) + segmentsBeforeFrame + sof + Bytes("\xFF\xD9", 2);
}

Bytes App1(size_t payload) {
  const size_t length = payload + 2;
  return Bytes("\xFF\xE1", 2) + static_cast<char>(length >> 8) + static_cast<char>(length) +
         Bytes(payload, 'x');
}

Bytes Riff(const Bytes& chunk) {
  return "RIFF" + Le32(static_cast<uint32_t>(chunk.size() + 4)) + "WEBP" + chunk;
}

Bytes Bmp(int32_t w, int32_t h, int bits) {
  return "BM" + Bytes(12, '\0') + Le32(40) + Le32(static_cast<uint32_t>(w)) +
         Le32(static_cast<uint32_t>(h)) + Le16(1) + Le16(static_cast<uint32_t>(bits)) +
         Bytes(24, '\0');
}

struct ProbeCase {
  std::string name;
  Bytes file;
  bool known;
  uint32_t width = 0;
  uint32_t height = 0;
  int bpp = 0;
  std::wstring format = {};
  bool transparency = false;
};

class Probe : public ::testing::TestWithParam<ProbeCase> {};

TEST_P(Probe, MatchesTable) {
  const ProbeCase& c = GetParam();
  Exiv2::MemIo io(reinterpret_cast<const Exiv2::byte*>(c.file.data()),
                  static_cast<long>(c.file.size()));
  PictureHeaderInfo info;
  info.width = 999;
  ProbePictureHeader(io, &info);
  ASSERT_EQ(info.known, c.known);
  EXPECT_EQ(info.width, c.width);
  EXPECT_EQ(info.height, c.height);
  EXPECT_EQ(info.bitsPerPixel, c.bpp);
  EXPECT_EQ(info.pixelFormat, c.format);
  EXPECT_EQ(info.supportsTransparency, c.transparency);
}

INSTANTIATE_TEST_SUITE_P(
    Headers, Probe,
    ::testing::ValuesIn(std::vector<ProbeCase>{
        {"JpegColour", Jpeg("", 8, 3, 640, 480), true, 640, 480, 24, L"24bppBGR"},
        {"JpegGray", Jpeg("", 8, 1, 64, 48), true, 64, 48, 8, L"8bppGray"},
        {"JpegCmyk", Jpeg("", 8, 4, 10, 20), true, 10, 20, 32, L"32bppCMYK"},
        {"JpegFrameAfterBigSegment", Jpeg(App1(60000), 8, 3, 4000, 3000), true, 4000, 3000, 24,
         L"24bppBGR"},
        {"JpegFillBytesBeforeMarker", Jpeg(Bytes("\xFF\xFF\xFF", 3) + App1(4), 8, 3, 5, 6), true, 5,
         6, 24, L"24bppBGR"},
        {"JpegSegmentRunsPastEnd", Bytes("\xFF\xD8\xFF\xE1\xFF\xF0xx", 8), false},
        {"JpegZeroLengthSegment", Bytes("\xFF\xD8\xFF\xE1\x00\x00", 6) + Jpeg("", 8, 3, 1, 1),
         false},
        {"JpegScanBeforeFrame", Bytes("\xFF\xD8\xFF\xDA\x00\x02", 6), false},
        {"JpegZeroSize", Jpeg("", 8, 3, 0, 0), false},
        {"PngRgba", Png(64, 48, 8, 6), true, 64, 48, 32, L"32bppBGRA", true},
        {"PngRgb16", Png(3, 2, 16, 2), true, 3, 2, 48, L"48bppRGB", true},
        {"PngPalette", Png(3, 2, 4, 3), true, 3, 2, 4, L"4bppIndexed", true},
        {"PngBadColourType", Png(3, 2, 8, 5), false},
        {"PngHugeWidth", Png(0x80000000u, 2, 8, 2), false},
        {"PngCutInHeader", Png(3, 2, 8, 2).substr(0, 20), false},
        {"Gif", "GIF89a" + Le16(300) + Le16(200) + Bytes("\xF7\0\0", 3), true, 300, 200, 8,
         L"8bppIndexed", true},
        {"WebpExtendedAlpha",
         Riff("VP8X" + Le32(10) + Bytes("\x10\0\0\0", 4) + Bytes("\x3F\x01\0", 3) +
              Bytes("\xC7\0\0", 3)),
         true, 320, 200, 32, L"32bppBGRA", true},
        {"WebpLossless", Riff("VP8L" + Le32(5) + "\x2F" + Le32((99u) | (49u << 14) | (1u << 28))),
         true, 100, 50, 32, L"32bppBGRA", true},
        {"WebpLossy",
         Riff("VP8 " + Le32(10) + Bytes("\0\0\0\x9D\x01\x2A", 6) + Le16(640) + Le16(480)), true,
         640, 480, 24, L"24bppBGR"},
        {"WebpLossyWithoutStartCode",
         Riff("VP8 " + Le32(10) + Bytes("\0\0\0\0\0\0", 6) + Le16(640) + Le16(480)), false},
        {"BmpBottomUp", Bmp(8, 6, 24), true, 8, 6, 24, L"24bppBGR"},
        {"BmpTopDown", Bmp(8, -6, 8), true, 8, 6, 8, L"8bppIndexed"},
        {"BmpNegativeWidth", Bmp(-8, 6, 24), false},
        {"BmpOddBitCount", Bmp(8, 6, 7), false},
        {"Empty", "", false},
        {"Text", "just some words in a file", false},
    }),
    [](const auto& info) { return info.param.name; });

class Label : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(Label, TextToNumberAndBack) {
  const test::CaseRow& c = GetParam();
  const std::map<std::string, int16_t> conventions = {{"five", kLabelConventionFive},
                                                      {"nine", kLabelConventionNine}};
  const auto label = static_cast<int16_t>(std::stoi(c[1]));
  int16_t convention = -7;
  EXPECT_EQ(LabelFromText(test::Wide(c[0]), &convention), label);
  EXPECT_EQ(convention, conventions.at(c[2]));
  if (label != 0) {
    // The name the host writes for the number reads back as the same label.
    int16_t again = 0;
    EXPECT_EQ(LabelFromText(ConventionLabelNames(convention)[label - 1], &again), label);
    EXPECT_EQ(again, conventions.at(c[2]));
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, Label,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/label_texts.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(MetaDateTimeTest, RefusalLeavesTheValueAbsent) {
  MetaDateTime d;
  ASSERT_TRUE(d.Set(2024, 2, 29, 23, 59, 59, 999));
  EXPECT_FALSE(d.Set(2024, 4, 31, 0, 0, 0));
  EXPECT_FALSE(d.present);
  EXPECT_EQ(d.year, 0);
  EXPECT_FALSE(d.Set(2024, 1, 1, 0, 0, 0, 1000));
  EXPECT_FALSE(d.Set(10000, 1, 1, 0, 0, 0));
}

}  // namespace
}  // namespace lmk
