// The metadata reader against exiftool's report of the same sample pictures, and its
// behaviour on sidecars, damaged, hostile and missing files and under concurrent use.
#include "host/exiv2_metadata_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/exiftool_report.h"
#include "host/picture_file_head.h"
#include "platform/text_encoding.h"
#include "support/file_bytes.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;
using test::ExifToolReport;

const fs::path kSamples = LMK_SAMPLES_DIR;

std::wstring Wide(const fs::path& p) { return FromUtf8(p.string()); }

std::string Narrow(const std::wstring& s) { return ToUtf8(s); }

std::string FormatDate(const MetaDateTime& d) {
  char text[32];
  std::snprintf(text, sizeof text, "%04d:%02d:%02d %02d:%02d:%02d", d.year, d.month, d.day, d.hour,
                d.minute, d.second);
  return text;
}

std::optional<std::string> First(const ExifToolReport& r, std::initializer_list<const char*> keys) {
  for (const char* k : keys) {
    const auto it = r.find(k);
    if (it != r.end() && !it->second.empty()) return it->second;
  }
  return std::nullopt;
}

std::optional<std::string> Text(const std::wstring& s) {
  return s.empty() ? std::nullopt : std::optional<std::string>(Narrow(s));
}

template <class T>
std::optional<std::string> NonZero(T v) {
  return v == T{} ? std::nullopt : std::optional<std::string>(std::to_string(v));
}

std::optional<std::string> Number(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%.9g", v);
  return std::string(text);
}

enum class Kind { kText, kNumber };

// One value both tools know: what exiftool calls it (first key present wins, in the same
// precedence as the reader) and how the reader gives it (nullopt = not found).
struct Field {
  const char* name;
  Kind kind;
  double tolerance;
  std::function<std::optional<std::string>(const ExifToolReport&)> expected;
  std::function<std::optional<std::string>(const ImageMetadata&)> actual;
};

#define LMK_KEYS(...) [](const ExifToolReport& r) { return First(r, {__VA_ARGS__}); }

std::optional<std::string> GpsSpeedKmh(const ExifToolReport& r) {
  const auto speed = First(r, {"GPS:GPSSpeed"});
  if (!speed) return std::nullopt;
  const std::string ref = First(r, {"GPS:GPSSpeedRef"}).value_or("K");
  const double factor = ref == "M" ? 1.609344 : ref == "N" ? 1.852 : 1.0;
  return Number(std::stod(*speed) * factor);
}

std::optional<std::string> BitsPerPixel(const ExifToolReport& r) {
  if (const auto bits = First(r, {"File:BitsPerSample"})) {
    return std::to_string(std::stoi(*bits) *
                          std::stoi(First(r, {"File:ColorComponents"}).value_or("1")));
  }
  if (const auto depth = First(r, {"PNG:BitDepth"})) {
    static const int kChannels[] = {1, 0, 3, 1, 2, 0, 4};
    const int type = std::stoi(First(r, {"PNG:ColorType"}).value_or("0"));
    return std::to_string(std::stoi(*depth) * (type >= 0 && type <= 6 ? kChannels[type] : 0));
  }
  return std::nullopt;
}

bool SwapsAxes(const ExifToolReport& r) {
  const int o = std::stoi(First(r, {"IFD0:Orientation"}).value_or("1"));
  return o >= 5 && o <= 8;
}

const std::vector<Field>& Fields() {
  static const std::vector<Field> fields = {
      {"DateTaken", Kind::kText, 0,
       LMK_KEYS("ExifIFD:DateTimeOriginal", "ExifIFD:CreateDate", "IFD0:ModifyDate",
                "XMP-exif:DateTimeOriginal", "XMP-xmp:CreateDate"),
       [](const ImageMetadata& m) {
         return m.dateTaken.present ? std::optional(FormatDate(m.dateTaken)) : std::nullopt;
       }},
      {"Make", Kind::kText, 0, LMK_KEYS("IFD0:Make", "XMP-tiff:Make"),
       [](const ImageMetadata& m) { return Text(m.cameraMake); }},
      {"Model", Kind::kText, 0, LMK_KEYS("IFD0:Model", "XMP-tiff:Model"),
       [](const ImageMetadata& m) { return Text(m.cameraModel); }},
      {"Iso", Kind::kNumber, 0,
       LMK_KEYS("ExifIFD:ISO", "ExifIFD:RecommendedExposureIndex",
                "ExifIFD:StandardOutputSensitivity", "ExifIFD:ISOSpeed", "XMP-exif:ISO"),
       [](const ImageMetadata& m) { return NonZero(m.isoSpeed); }},
      {"FNumber", Kind::kNumber, 1e-3, LMK_KEYS("ExifIFD:FNumber", "XMP-exif:FNumber"),
       [](const ImageMetadata& m) { return m.fNumber ? Number(m.fNumber) : std::nullopt; }},
      {"ExposureTime", Kind::kNumber, 1e-6, LMK_KEYS("ExifIFD:ExposureTime"),
       [](const ImageMetadata& m) {
         return m.exposureTime ? Number(m.exposureTime) : std::nullopt;
       }},
      {"FocalLength", Kind::kNumber, 1e-3, LMK_KEYS("ExifIFD:FocalLength"),
       [](const ImageMetadata& m) { return m.focalLength ? Number(m.focalLength) : std::nullopt; }},
      {"ExposureBias", Kind::kNumber, 1e-3, LMK_KEYS("ExifIFD:ExposureCompensation"),
       [](const ImageMetadata& m) {
         return m.hasExposureBias ? Number(m.exposureBias) : std::nullopt;
       }},
      {"MaxAperture", Kind::kNumber, 1e-3, LMK_KEYS("ExifIFD:MaxApertureValue"),
       [](const ImageMetadata& m) {
         return m.maxApertureValue ? Number(m.maxApertureValue) : std::nullopt;
       }},
      {"Flash", Kind::kNumber, 0, LMK_KEYS("ExifIFD:Flash"),
       [](const ImageMetadata& m) {
         return m.hasFlash ? std::optional(std::to_string(m.flash)) : std::nullopt;
       }},
      {"MeteringMode", Kind::kNumber, 0, LMK_KEYS("ExifIFD:MeteringMode"),
       [](const ImageMetadata& m) { return NonZero(m.meteringMode); }},
      {"ExposureProgram", Kind::kNumber, 0, LMK_KEYS("ExifIFD:ExposureProgram"),
       [](const ImageMetadata& m) { return NonZero(m.programMode); }},
      {"Contrast", Kind::kNumber, 0, LMK_KEYS("ExifIFD:Contrast"),
       [](const ImageMetadata& m) {
         return m.hasContrast ? std::optional(std::to_string(m.contrast)) : std::nullopt;
       }},
      {"Saturation", Kind::kNumber, 0, LMK_KEYS("ExifIFD:Saturation"),
       [](const ImageMetadata& m) {
         return m.hasSaturation ? std::optional(std::to_string(m.saturation)) : std::nullopt;
       }},
      {"WhiteBalance", Kind::kNumber, 0, LMK_KEYS("ExifIFD:WhiteBalance"),
       [](const ImageMetadata& m) {
         return m.hasWhiteBalance ? std::optional(std::to_string(m.whiteBalance)) : std::nullopt;
       }},
      {"LightSource", Kind::kNumber, 0, LMK_KEYS("ExifIFD:LightSource"),
       [](const ImageMetadata& m) { return NonZero(m.lightSource); }},
      {"FocalLength35", Kind::kNumber, 0, LMK_KEYS("ExifIFD:FocalLengthIn35mmFormat"),
       [](const ImageMetadata& m) { return NonZero(m.focalLengthIn35mmFilm); }},
      {"Orientation", Kind::kNumber, 0, LMK_KEYS("IFD0:Orientation"),
       [](const ImageMetadata& m) { return NonZero(m.orientation); }},
      {"LensModel", Kind::kText, 0, LMK_KEYS("ExifIFD:LensModel"),
       [](const ImageMetadata& m) { return Text(m.lensModel); }},
      {"SerialNumber", Kind::kText, 0, LMK_KEYS("ExifIFD:SerialNumber"),
       [](const ImageMetadata& m) { return Text(m.cameraSerialNumber); }},
      {"ImageUniqueId", Kind::kText, 0, LMK_KEYS("ExifIFD:ImageUniqueID"),
       [](const ImageMetadata& m) { return Text(m.imageUniqueId); }},
      {"Artist", Kind::kText, 0, LMK_KEYS("IFD0:Artist"),
       [](const ImageMetadata& m) { return Text(m.artist); }},
      {"Copyright", Kind::kText, 0, LMK_KEYS("IFD0:Copyright"),
       [](const ImageMetadata& m) { return Text(m.copyright); }},
      {"Comment", Kind::kText, 0,
       LMK_KEYS("ExifIFD:UserComment", "IFD0:ImageDescription", "File:Comment"),
       [](const ImageMetadata& m) { return Text(m.comment); }},
      {"Rating", Kind::kNumber, 0, LMK_KEYS("XMP-xmp:Rating"),
       [](const ImageMetadata& m) {
         return m.hasRating ? std::optional(std::to_string(m.xmpRating)) : std::nullopt;
       }},
      {"Label", Kind::kText, 0, LMK_KEYS("XMP-xmp:Label"),
       [](const ImageMetadata& m) { return Text(m.xmpLabelText); }},
      {"Urgency", Kind::kNumber, 0, LMK_KEYS("XMP-photoshop:Urgency", "IPTC:Urgency"),
       [](const ImageMetadata& m) {
         return m.hasUrgency ? std::optional(std::to_string(m.photoshopUrgency)) : std::nullopt;
       }},
      {"GpsLatitude", Kind::kNumber, 1e-7,
       LMK_KEYS("Composite:GPSLatitude", "XMP-exif:GPSLatitude"),
       [](const ImageMetadata& m) {
         return m.gpsFlags & kGpsLatitude ? Number(m.gpsLatitude) : std::nullopt;
       }},
      {"GpsLongitude", Kind::kNumber, 1e-7,
       LMK_KEYS("Composite:GPSLongitude", "XMP-exif:GPSLongitude"),
       [](const ImageMetadata& m) {
         return m.gpsFlags & kGpsLongitude ? Number(m.gpsLongitude) : std::nullopt;
       }},
      {"GpsAltitude", Kind::kNumber, 1e-3, LMK_KEYS("Composite:GPSAltitude"),
       [](const ImageMetadata& m) {
         return m.gpsFlags & kGpsAltitude ? Number(m.gpsAltitude) : std::nullopt;
       }},
      {"GpsSpeedKmh", Kind::kNumber, 1e-3, GpsSpeedKmh,
       [](const ImageMetadata& m) {
         return m.gpsFlags & kGpsSpeed ? Number(m.gpsSpeed) : std::nullopt;
       }},
      {"GpsDirection", Kind::kText, 0,
       [](const ExifToolReport& r) -> std::optional<std::string> {
         const auto dir = First(r, {"GPS:GPSImgDirection"});
         if (!dir) return std::nullopt;
         return *dir + " " + First(r, {"GPS:GPSImgDirectionRef"}).value_or("T");
       },
       [](const ImageMetadata& m) -> std::optional<std::string> {
         if (!(m.gpsFlags & (kGpsDirectionMagnetic | kGpsDirectionTrue))) return std::nullopt;
         return *Number(m.gpsImgDirection) + (m.gpsFlags & kGpsDirectionTrue ? " T" : " M");
       }},
      {"GpsTimeStamp", Kind::kText, 0, LMK_KEYS("Composite:GPSDateTime"),
       [](const ImageMetadata& m) {
         return m.gpsFlags & kGpsTimeStamp ? std::optional(FormatDate(m.gpsTimeStamp) + "Z")
                                           : std::nullopt;
       }},
      {"GpsMeasurementActive", Kind::kNumber, 0,
       [](const ExifToolReport& r) -> std::optional<std::string> {
         const auto status = First(r, {"GPS:GPSStatus"});
         if (status && *status == "A") return "1";
         return std::nullopt;
       },
       [](const ImageMetadata& m) { return NonZero(m.gpsMeasurementActive); }},
      {"GpsMapDatum", Kind::kText, 0, LMK_KEYS("GPS:GPSMapDatum"),
       [](const ImageMetadata& m) { return Text(m.gpsMapDatum); }},
      {"IptcCity", Kind::kText, 0, LMK_KEYS("XMP-photoshop:City", "IPTC:City"),
       [](const ImageMetadata& m) { return Text(m.iptcCity); }},
      {"IptcState", Kind::kText, 0, LMK_KEYS("XMP-photoshop:State", "IPTC:Province-State"),
       [](const ImageMetadata& m) { return Text(m.iptcStateProvince); }},
      {"IptcCountry", Kind::kText, 0,
       LMK_KEYS("XMP-photoshop:Country", "IPTC:Country-PrimaryLocationName"),
       [](const ImageMetadata& m) { return Text(m.iptcCountry); }},
      {"IptcCountryCode", Kind::kText, 0,
       LMK_KEYS("XMP-iptcCore:CountryCode", "IPTC:Country-PrimaryLocationCode"),
       [](const ImageMetadata& m) { return Text(m.iptcCountryCode); }},
      {"IptcLocation", Kind::kText, 0, LMK_KEYS("XMP-iptcCore:Location", "IPTC:Sub-location"),
       [](const ImageMetadata& m) { return Text(m.iptcLocation); }},
      {"IptcKeywords", Kind::kText, 0, LMK_KEYS("XMP-dc:Subject", "IPTC:Keywords"),
       [](const ImageMetadata& m) { return Text(m.iptcKeywords); }},
      {"IptcCreator", Kind::kText, 0, LMK_KEYS("XMP-dc:Creator", "IPTC:By-line"),
       [](const ImageMetadata& m) { return Text(m.iptcCreator); }},
      {"IptcHeadline", Kind::kText, 0, LMK_KEYS("XMP-photoshop:Headline", "IPTC:Headline"),
       [](const ImageMetadata& m) { return Text(m.iptcHeadline); }},
      {"IptcDescription", Kind::kText, 0, LMK_KEYS("XMP-dc:Description", "IPTC:Caption-Abstract"),
       [](const ImageMetadata& m) { return Text(m.iptcDescription); }},
      {"IptcTitle", Kind::kText, 0, LMK_KEYS("XMP-dc:Title", "IPTC:ObjectName"),
       [](const ImageMetadata& m) { return Text(m.iptcTitle); }},
      {"IptcInstructions", Kind::kText, 0,
       LMK_KEYS("XMP-photoshop:Instructions", "IPTC:SpecialInstructions"),
       [](const ImageMetadata& m) { return Text(m.iptcInstructions); }},
      {"IptcCredit", Kind::kText, 0, LMK_KEYS("XMP-photoshop:Credit", "IPTC:Credit"),
       [](const ImageMetadata& m) { return Text(m.iptcProvider); }},
      {"IptcSource", Kind::kText, 0, LMK_KEYS("XMP-photoshop:Source", "IPTC:Source"),
       [](const ImageMetadata& m) { return Text(m.iptcSource); }},
      {"IptcDateCreated", Kind::kText, 0,
       LMK_KEYS("XMP-photoshop:DateCreated", "Composite:DateTimeCreated"),
       [](const ImageMetadata& m) -> std::optional<std::string> {
         if (!m.iptcDateCreated.present) return std::nullopt;
         std::string text = FormatDate(m.iptcDateCreated);
         if (m.hasIptcTimeBias) {
           const int b = m.iptcDateCreatedTimeBias;
           char zone[16];
           std::snprintf(zone, sizeof zone, "%c%02d:%02d", b < 0 ? '-' : '+', std::abs(b) / 60,
                         std::abs(b) % 60);
           text += zone;
         }
         return text;
       }},
      {"NativeWidth", Kind::kNumber, 0, LMK_KEYS("File:ImageWidth", "PNG:ImageWidth"),
       [](const ImageMetadata& m) { return NonZero(m.nativeWidth); }},
      {"NativeHeight", Kind::kNumber, 0, LMK_KEYS("File:ImageHeight", "PNG:ImageHeight"),
       [](const ImageMetadata& m) { return NonZero(m.nativeHeight); }},
      {"DisplayedWidth", Kind::kNumber, 0,
       [](const ExifToolReport& r) {
         return SwapsAxes(r) ? First(r, {"File:ImageHeight", "PNG:ImageHeight"})
                             : First(r, {"File:ImageWidth", "PNG:ImageWidth"});
       },
       [](const ImageMetadata& m) { return NonZero(m.width); }},
      {"BitsPerPixel", Kind::kNumber, 0, BitsPerPixel,
       [](const ImageMetadata& m) { return NonZero(m.bitsPerPixel); }},
      {"MimeType", Kind::kText, 0, LMK_KEYS("File:MIMEType"),
       [](const ImageMetadata& m) { return Text(m.mimeType); }},
  };
  return fields;
}

// exiftool's report of a picture as our reader should see it: a sidecar's XMP replaces the
// embedded XMP value by value.
std::optional<ExifToolReport> ExpectedReport(const fs::path& picture) {
  auto report = test::RunExifTool(picture);
  if (!report) return report;
  fs::path sidecar = picture;
  sidecar.replace_extension(".xmp");
  if (fs::exists(sidecar)) {
    const auto side = test::RunExifTool(sidecar);
    if (!side) return std::nullopt;
    for (const auto& [key, value] : *side) {
      if (key.rfind("XMP-", 0) == 0 && key != "XMP-x:XMPToolkit") (*report)[key] = value;
    }
  }
  return report;
}

class ExifToolComparison : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (!test::ExifToolAvailable()) GTEST_SKIP() << "exiftool is not installed";
  }
};

TEST_P(ExifToolComparison, EveryValueBothKnowAgrees) {
  const fs::path picture = kSamples / GetParam();
  const auto expected = ExpectedReport(picture);
  ASSERT_TRUE(expected.has_value()) << "exiftool could not read " << picture;

  ImageMetadata m;
  const MetadataReadStatus status = CExiv2MetadataReader().Read(Wide(picture), &m);
  ASSERT_TRUE(status.ok) << Narrow(status.message);

  for (const Field& field : Fields()) {
    const auto want = field.expected(*expected);
    const auto got = field.actual(m);
    ASSERT_EQ(want.has_value(), got.has_value())
        << field.name << ": exiftool " << want.value_or("(none)") << ", reader "
        << got.value_or("(none)");
    if (!want) continue;
    if (field.kind == Kind::kNumber) {
      const double w = std::stod(*want);
      const double g = std::stod(*got);
      EXPECT_NEAR(g, w, std::max(field.tolerance, std::fabs(w) * 1e-6)) << field.name;
    } else {
      EXPECT_EQ(*got, *want) << field.name;
    }
  }
}

std::vector<std::string> ReadableSamples() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(kSamples)) {
    const std::string name = entry.path().filename().string();
    const std::string ext = entry.path().extension().string();
    if (name != "truncated.jpg" && (ext == ".jpg" || ext == ".png")) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

INSTANTIATE_TEST_SUITE_P(Samples, ExifToolComparison, ::testing::ValuesIn(ReadableSamples()),
                         [](const auto& info) {
                           std::string name = info.param;
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

TEST(Exiv2MetadataReaderTest, SampleSetCoversTheCasesTheTestsNeed) {
  const auto names = ReadableSamples();
  EXPECT_GE(names.size(), 10u);
  EXPECT_TRUE(fs::exists(kSamples / "truncated.jpg"));
  EXPECT_TRUE(fs::exists(kSamples / "sidecar_2025.xmp"));
}

TEST(Exiv2MetadataReaderTest, SidecarWinsOverEmbeddedXmpValueByValue) {
  ImageMetadata m;
  const auto status = CExiv2MetadataReader().Read(Wide(kSamples / "sidecar_2025.jpg"), &m);
  ASSERT_TRUE(status.ok);
  EXPECT_EQ(m.xmpRating, 4);           // embedded 1
  EXPECT_EQ(m.xmpLabel, 4);            // embedded "Red"
  EXPECT_EQ(m.iptcCity, L"Lisbon");    // embedded "Porto"
  EXPECT_EQ(m.cameraModel, L"C-200");  // EXIF untouched by the sidecar
  EXPECT_EQ(m.sidecarPath, Wide(kSamples / "sidecar_2025.xmp"));
}

TEST(Exiv2MetadataReaderTest, UpperCaseSidecarIsFoundAndUnreadableSidecarOnlyWarns) {
  test::ScopedTempDir dir;
  fs::copy_file(kSamples / "sidecar_2025.jpg", dir / "a.jpg");
  fs::copy_file(kSamples / "sidecar_2025.xmp", dir / "a.XMP");
  ImageMetadata m;
  ASSERT_TRUE(CExiv2MetadataReader().Read(Wide(dir / "a.jpg"), &m).ok);
  EXPECT_EQ(m.xmpRating, 4);

  fs::remove(dir / "a.XMP");
  {
    std::FILE* f = std::fopen((dir / "a.xmp").c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fputs("<x:xmpmeta><rdf:RDF", f);  // cut off
    std::fclose(f);
  }
  const auto status = CExiv2MetadataReader().Read(Wide(dir / "a.jpg"), &m);
  EXPECT_TRUE(status.ok);
  EXPECT_EQ(m.xmpRating, 1);  // the embedded value, since the sidecar gave nothing
  EXPECT_FALSE(status.warnings.empty());
}

TEST(Exiv2MetadataReaderTest, TruncatedPictureFailsWithTheFileInTheMessage) {
  ImageMetadata m;
  m.cameraMake = L"stale";
  const auto path = kSamples / "truncated.jpg";
  const auto status = CExiv2MetadataReader().Read(Wide(path), &m);
  EXPECT_FALSE(status.ok);
  EXPECT_NE(status.message.find(Wide(path)), std::wstring::npos) << Narrow(status.message);
  EXPECT_TRUE(m.cameraMake.empty());
  EXPECT_EQ(m.gpsFlags, 0);
}

TEST(Exiv2MetadataReaderTest, PictureWithoutMetadataGivesOnlyItsPixels) {
  ImageMetadata m;
  const auto status = CExiv2MetadataReader().Read(Wide(kSamples / "plain_nometa.jpg"), &m);
  ASSERT_TRUE(status.ok);
  EXPECT_FALSE(m.dateTaken.present);
  EXPECT_FALSE(m.hasRating);
  EXPECT_EQ(m.gpsFlags, 0);
  EXPECT_EQ(m.xmpLabellingConvention, kLabelConventionNone);
  EXPECT_TRUE(m.cameraMake.empty());
  EXPECT_EQ(m.width, 64u);
  EXPECT_EQ(m.height, 48u);
  EXPECT_EQ(m.pixelFormat, L"24bppBGR");
}

struct BadFileCase {
  std::string name;
  std::string content;  // written as the file; empty name part means "no file at all"
  bool create;
};

class UnreadableFile : public ::testing::TestWithParam<BadFileCase> {};

TEST_P(UnreadableFile, FailsCleanly) {
  test::ScopedTempDir dir;
  const fs::path path = dir / "picture.jpg";
  if (GetParam().create) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite(GetParam().content.data(), 1, GetParam().content.size(), f);
    std::fclose(f);
  }
  ImageMetadata m;
  const auto status = CExiv2MetadataReader().Read(Wide(path), &m);
  EXPECT_FALSE(status.ok);
  EXPECT_FALSE(status.message.empty());
  EXPECT_EQ(m.width, 0u);
}

INSTANTIATE_TEST_SUITE_P(Files, UnreadableFile,
                         ::testing::ValuesIn(std::vector<BadFileCase>{
                             {"Missing", "", false},
                             {"Empty", "", true},
                             {"Text", "this is not a picture\n", true},
                             {"JpegMarkerOnly", std::string("\xFF\xD8", 2), true},
                             {"ExifSegmentLongerThanFile",
                              std::string("\xFF\xD8\xFF\xE1\xFF\xF0"
                                          "Exif\0\0MM",
                                          14),
                              true},
                         }),
                         [](const auto& info) { return info.param.name; });

// Values that no camera writes, planted by exiftool in raw form: each must be dropped,
// not passed on.
TEST(Exiv2MetadataReaderTest, ImplausibleValuesAreDropped) {
  if (!test::ExifToolAvailable()) GTEST_SKIP() << "exiftool is not installed";
  test::ScopedTempDir dir;
  const fs::path path = dir / "hostile.jpg";
  fs::copy_file(kSamples / "plain_nometa.jpg", path);
  ASSERT_EQ(
      test::ExifToolWrite(
          "-EXIF:FNumber#=undef -EXIF:FocalLength#=inf -EXIF:GPSAltitude#=undef "
          "-EXIF:GPSLatitude#='91 0 0' -EXIF:GPSLatitudeRef=N "
          "-EXIF:GPSLongitude#='10 75 0' -EXIF:GPSLongitudeRef=E "
          "-EXIF:GPSImgDirection#=400 -EXIF:Orientation#=42 "
          "-EXIF:DateTimeOriginal='0000:00:00 00:00:00' -EXIF:CreateDate='2024:02:30 10:00:00' "
          "-EXIF:ModifyDate='2024:02:29 10:00:00' -XMP-xmp:Rating=99 -XMP-photoshop:Urgency=12 "
          "-EXIF:ISO#=65535",
          path),
      0);
  ImageMetadata m;
  const auto status = CExiv2MetadataReader().Read(Wide(path), &m);
  ASSERT_TRUE(status.ok) << Narrow(status.message);
  EXPECT_EQ(m.fNumber, 0);
  EXPECT_EQ(m.focalLength, 0);
  EXPECT_EQ(m.gpsFlags, 0) << "latitude 91, 75 minutes, direction 400 and 0/0 altitude";
  EXPECT_EQ(m.orientation, 0);
  EXPECT_EQ(m.rotated, 0);
  // The first two dates are impossible; the leap day of 2024 is real.
  ASSERT_TRUE(m.dateTaken.present);
  EXPECT_EQ(m.dateTaken.month, 2);
  EXPECT_EQ(m.dateTaken.day, 29);
  EXPECT_FALSE(m.hasRating);
  EXPECT_FALSE(m.hasUrgency);
  EXPECT_EQ(m.isoSpeed, 65535u) << "a saturated ISO with no newer tag is still the best value";
}

using test::ReadBytes;
using test::WriteBytes;

// An application segment that no reader interprets, of `length` bytes after its marker.
std::string FillerSegment(std::size_t length) {
  std::string segment("\xFF\xEF", 2);
  segment += static_cast<char>(length >> 8);
  segment += static_cast<char>(length & 0xFF);
  segment.append(length - 2, 'x');
  return segment;
}

// The reader parses a picture's head from memory when the head holds all of its metadata and
// the file otherwise: either way a picture must read the same as its small original.
TEST(Exiv2MetadataReaderTest, LargePicturesReadTheSameWhereverTheirMetadataEnds) {
  const fs::path original = kSamples / "sidecar_2025.jpg";
  const std::string bytes = ReadBytes(original);
  ASSERT_GT(bytes.size(), 4u);
  const std::string afterStart = bytes.substr(2);
  const std::size_t beyondHead = PictureFileHead::kDefaultLimit + 1000;
  struct Case {
    const char* name;
    std::string content;
    bool headSuffices;
  };
  const Case cases[] = {
      {"trailing data past the limit", bytes + std::string(beyondHead, '\0'), true},
      {"header runs past the limit",
       "\xFF\xD8" + FillerSegment(60000) + FillerSegment(60000) + FillerSegment(60000) + afterStart,
       false},
  };
  ImageMetadata want;
  ASSERT_TRUE(CExiv2MetadataReader().Read(Wide(original), &want).ok);
  for (const Case& c : cases) {
    test::ScopedTempDir dir;
    const fs::path path = dir / "large.jpg";
    WriteBytes(path, c.content);
    fs::copy_file(kSamples / "sidecar_2025.xmp", dir / "large.xmp");
    PictureFileHead head;
    ASSERT_TRUE(head.Read(path)) << c.name;
    EXPECT_FALSE(head.whole()) << c.name;
    EXPECT_EQ(head.Sufficient(), c.headSuffices) << c.name;

    ImageMetadata got;
    ASSERT_TRUE(CExiv2MetadataReader().Read(Wide(path), &got).ok) << c.name;
    got.sidecarPath = want.sidecarPath;
    EXPECT_TRUE(got == want) << c.name;
    EXPECT_EQ(got.cameraModel, L"C-200") << c.name;
    EXPECT_EQ(got.xmpRating, 4) << c.name;
  }
}

TEST(PictureFileHeadTest, JpegHeadIsCompleteOnlyWhenTheScanStartIsInReach) {
  using namespace std::string_literals;
  const std::string app = "\xFF\xE1\x00\x04"s + "ab";
  const std::string sos = "\xFF\xDA\x00\x08"s;
  struct Case {
    const char* name;
    std::string bytes;
    bool complete;
  };
  const Case cases[] = {
      {"segments then scan", "\xFF\xD8" + app + sos, true},
      {"fill bytes before a marker", "\xFF\xD8\xFF\xFF" + app + sos, true},
      {"restart marker without length", "\xFF\xD8\xFF\xD0" + app + sos, true},
      {"end of image before any scan", "\xFF\xD8" + app + "\xFF\xD9", true},
      {"scan marker without its length", "\xFF\xD8" + app + "\xFF\xDA", false},
      {"segment runs past the end", "\xFF\xD8\xFF\xE1\x40\x00"s + "ab", false},
      {"no scan yet", "\xFF\xD8" + app, false},
      {"garbage where a marker belongs", "\xFF\xD8" + app + "xx" + sos, false},
      {"length below two", "\xFF\xD8\xFF\xE1\x00\x01"s + sos, false},
      {"not a JPEG", "\x89PNG\r\n\x1a\n" + sos, false},
      {"empty", "", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(JpegHeadIsComplete(reinterpret_cast<const uint8_t*>(c.bytes.data()), c.bytes.size()),
              c.complete)
        << c.name;
  }
}

TEST(Exiv2MetadataReaderTest, ConcurrentReadsGiveTheSameValuesAsOneThread) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(kSamples)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  const CExiv2MetadataReader reader;
  std::vector<ImageMetadata> reference(files.size());
  std::vector<bool> referenceOk(files.size());
  for (size_t i = 0; i < files.size(); ++i)
    referenceOk[i] = reader.Read(Wide(files[i]), &reference[i]).ok;

  constexpr int kThreads = 8;
  constexpr int kRounds = 10;
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        for (size_t k = 0; k < files.size(); ++k) {
          const size_t i = (k + static_cast<size_t>(t)) % files.size();
          ImageMetadata m;
          const bool ok = reader.Read(Wide(files[i]), &m).ok;
          const ImageMetadata& r = reference[i];
          if (ok != referenceOk[i] || m.xmpRating != r.xmpRating || m.gpsFlags != r.gpsFlags ||
              m.gpsLatitude != r.gpsLatitude || m.cameraModel != r.cameraModel ||
              m.iptcCity != r.iptcCity || m.isoSpeed != r.isoSpeed || m.width != r.width)
            ++mismatches[t];
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}

}  // namespace
}  // namespace lmk
