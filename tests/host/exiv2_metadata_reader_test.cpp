// The metadata reader against exiftool's report of the same sample pictures, and its
// behaviour on sidecars, damaged, hostile and missing files and under concurrent use.
#include "host/exiv2_metadata_reader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/exiftool_report.h"
#include "host/picture_file_head.h"
#include "platform/text_encoding.h"
#include "support/data_table.h"
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

std::optional<std::string> Number(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%.9g", v);
  return std::string(text);
}

#define LMK_TEXT(member) [](const ImageMetadata& m) { return Text(m.member); }
#define LMK_IF(present, member) \
  [](const ImageMetadata& m) { return (present) ? Number(m.member) : std::nullopt; }
#define LMK_NONZERO(member) LMK_IF(m.member != 0, member)

std::optional<std::string> GpsSpeedKmh(const ExifToolReport& r) {
  const auto speed = First(r, {"GPS:GPSSpeed"});
  if (!speed) return std::nullopt;
  const std::string ref = First(r, {"GPS:GPSSpeedRef"}).value_or("K");
  return Number(std::stod(*speed) * (ref == "M" ? 1.609344 : ref == "N" ? 1.852 : 1.0));
}

std::optional<std::string> BitsPerPixel(const ExifToolReport& r) {
  if (const auto bits = First(r, {"File:BitsPerSample"})) {
    return Number(std::stoi(*bits) * std::stoi(First(r, {"File:ColorComponents"}).value_or("1")));
  }
  if (const auto depth = First(r, {"PNG:BitDepth"})) {
    static const int kChannels[] = {1, 0, 3, 1, 2, 0, 4};
    const int type = std::stoi(First(r, {"PNG:ColorType"}).value_or("0"));
    return Number(std::stoi(*depth) * (type >= 0 && type <= 6 ? kChannels[type] : 0));
  }
  return std::nullopt;
}

std::optional<std::string> DisplayedWidth(const ExifToolReport& r) {
  const int o = std::stoi(First(r, {"IFD0:Orientation"}).value_or("1"));
  return o >= 5 && o <= 8 ? First(r, {"File:ImageHeight", "PNG:ImageHeight"})
                          : First(r, {"File:ImageWidth", "PNG:ImageWidth"});
}

std::optional<std::string> IptcDateCreated(const ImageMetadata& m) {
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
}

// How the reader gives each field of tests/data/cases/exiftool_fields.tsv (nullopt: not found).
using Actual = std::function<std::optional<std::string>(const ImageMetadata&)>;
const std::map<std::string, Actual>& Actuals() {
  static const std::map<std::string, Actual> actuals = {
      {"DateTaken",
       [](const ImageMetadata& m) {
         return m.dateTaken.present ? std::optional(FormatDate(m.dateTaken)) : std::nullopt;
       }},
      {"Make", LMK_TEXT(cameraMake)},
      {"Model", LMK_TEXT(cameraModel)},
      {"Iso", LMK_NONZERO(isoSpeed)},
      {"FNumber", LMK_NONZERO(fNumber)},
      {"ExposureTime", LMK_NONZERO(exposureTime)},
      {"FocalLength", LMK_NONZERO(focalLength)},
      {"ExposureBias", LMK_IF(m.hasExposureBias, exposureBias)},
      {"MaxAperture", LMK_NONZERO(maxApertureValue)},
      {"Flash", LMK_IF(m.hasFlash, flash)},
      {"MeteringMode", LMK_NONZERO(meteringMode)},
      {"ExposureProgram", LMK_NONZERO(programMode)},
      {"Contrast", LMK_IF(m.hasContrast, contrast)},
      {"Saturation", LMK_IF(m.hasSaturation, saturation)},
      {"WhiteBalance", LMK_IF(m.hasWhiteBalance, whiteBalance)},
      {"LightSource", LMK_NONZERO(lightSource)},
      {"FocalLength35", LMK_NONZERO(focalLengthIn35mmFilm)},
      {"Orientation", LMK_NONZERO(orientation)},
      {"LensModel", LMK_TEXT(lensModel)},
      {"SerialNumber", LMK_TEXT(cameraSerialNumber)},
      {"ImageUniqueId", LMK_TEXT(imageUniqueId)},
      {"Artist", LMK_TEXT(artist)},
      {"Copyright", LMK_TEXT(copyright)},
      {"Comment", LMK_TEXT(comment)},
      {"Rating", LMK_IF(m.hasRating, xmpRating)},
      {"Label", LMK_TEXT(xmpLabelText)},
      {"Urgency", LMK_IF(m.hasUrgency, photoshopUrgency)},
      {"GpsLatitude", LMK_IF(m.gpsFlags & kGpsLatitude, gpsLatitude)},
      {"GpsLongitude", LMK_IF(m.gpsFlags & kGpsLongitude, gpsLongitude)},
      {"GpsAltitude", LMK_IF(m.gpsFlags & kGpsAltitude, gpsAltitude)},
      {"GpsSpeedKmh", LMK_IF(m.gpsFlags & kGpsSpeed, gpsSpeed)},
      {"GpsDirection",
       [](const ImageMetadata& m) -> std::optional<std::string> {
         if (!(m.gpsFlags & (kGpsDirectionMagnetic | kGpsDirectionTrue))) return std::nullopt;
         return *Number(m.gpsImgDirection) + (m.gpsFlags & kGpsDirectionTrue ? " T" : " M");
       }},
      {"GpsTimeStamp",
       [](const ImageMetadata& m) {
         return m.gpsFlags & kGpsTimeStamp ? std::optional(FormatDate(m.gpsTimeStamp) + "Z")
                                           : std::nullopt;
       }},
      {"GpsMeasurementActive", LMK_NONZERO(gpsMeasurementActive)},
      {"GpsMapDatum", LMK_TEXT(gpsMapDatum)},
      {"IptcCity", LMK_TEXT(iptcCity)},
      {"IptcState", LMK_TEXT(iptcStateProvince)},
      {"IptcCountry", LMK_TEXT(iptcCountry)},
      {"IptcCountryCode", LMK_TEXT(iptcCountryCode)},
      {"IptcLocation", LMK_TEXT(iptcLocation)},
      {"IptcKeywords", LMK_TEXT(iptcKeywords)},
      {"IptcCreator", LMK_TEXT(iptcCreator)},
      {"IptcHeadline", LMK_TEXT(iptcHeadline)},
      {"IptcDescription", LMK_TEXT(iptcDescription)},
      {"IptcTitle", LMK_TEXT(iptcTitle)},
      {"IptcInstructions", LMK_TEXT(iptcInstructions)},
      {"IptcCredit", LMK_TEXT(iptcProvider)},
      {"IptcSource", LMK_TEXT(iptcSource)},
      {"IptcDateCreated", IptcDateCreated},
      {"NativeWidth", LMK_NONZERO(nativeWidth)},
      {"NativeHeight", LMK_NONZERO(nativeHeight)},
      {"DisplayedWidth", LMK_NONZERO(width)},
      {"BitsPerPixel", LMK_NONZERO(bitsPerPixel)},
      {"MimeType", LMK_TEXT(mimeType)},
  };
  return actuals;
}

// What exiftool reports for the fields the table marks "computed".
using Expected = std::function<std::optional<std::string>(const ExifToolReport&)>;
const std::map<std::string, Expected>& Computed() {
  static const std::map<std::string, Expected> computed = {
      {"GpsSpeedKmh", GpsSpeedKmh},
      {"GpsDirection",
       [](const ExifToolReport& r) -> std::optional<std::string> {
         const auto dir = First(r, {"GPS:GPSImgDirection"});
         if (!dir) return std::nullopt;
         return *dir + " " + First(r, {"GPS:GPSImgDirectionRef"}).value_or("T");
       }},
      {"GpsMeasurementActive",
       [](const ExifToolReport& r) -> std::optional<std::string> {
         if (First(r, {"GPS:GPSStatus"}) == "A") return "1";
         return std::nullopt;
       }},
      {"DisplayedWidth", DisplayedWidth},
      {"BitsPerPixel", BitsPerPixel}};
  return computed;
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

  for (const test::CaseRow& field : test::ReadCaseTable("cases/exiftool_fields.tsv")) {
    std::optional<std::string> want;
    std::istringstream keys(field[2]);
    for (std::string key; !want && keys >> key;) {
      want = key == "computed" ? Computed().at(field.name)(*expected)
                               : First(*expected, {key.c_str()});
    }
    const auto got = Actuals().at(field.name)(m);
    ASSERT_EQ(want.has_value(), got.has_value())
        << field.name << ": exiftool " << want.value_or("(none)") << ", reader "
        << got.value_or("(none)");
    if (!want) continue;
    if (field[0] == "number") {
      const double w = std::stod(*want);
      const double g = std::stod(*got);
      EXPECT_NEAR(g, w, std::max(std::stod(field[1]), std::fabs(w) * 1e-6)) << field.name;
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

TEST(Exiv2MetadataReaderTest, UpperCaseSidecarWinsValueByValueAndABrokenOneOnlyWarns) {
  test::ScopedTempDir dir;
  fs::copy_file(kSamples / "sidecar_2025.jpg", dir / "a.jpg");
  fs::copy_file(kSamples / "sidecar_2025.xmp", dir / "a.XMP");
  ImageMetadata m;
  ASSERT_TRUE(CExiv2MetadataReader().Read(Wide(dir / "a.jpg"), &m).ok);
  EXPECT_EQ(m.xmpRating, 4);           // embedded 1
  EXPECT_EQ(m.iptcCity, L"Lisbon");    // embedded "Porto"
  EXPECT_EQ(m.cameraModel, L"C-200");  // EXIF untouched by the sidecar

  fs::remove(dir / "a.XMP");
  test::WriteBytes(dir / "a.xmp", "<x:xmpmeta><rdf:RDF");  // cut off
  const auto status = CExiv2MetadataReader().Read(Wide(dir / "a.jpg"), &m);
  EXPECT_TRUE(status.ok);
  EXPECT_EQ(m.xmpRating, 1);  // the embedded value, since the sidecar gave nothing
  EXPECT_FALSE(status.warnings.empty());
}

class UnreadableFile : public ::testing::TestWithParam<test::CaseRow> {};

// The message names the file; nothing stale is left in the record.
TEST_P(UnreadableFile, FailsCleanly) {
  test::ScopedTempDir dir;
  const std::string& content = GetParam()[0];
  const fs::path path = content == "(sample)" ? kSamples / "truncated.jpg" : dir / "picture.jpg";
  if (content != "(sample)" && content != "(none)") {
    test::WriteBytes(path, test::Unescape(content));
  }
  ImageMetadata m;
  m.cameraMake = L"stale";
  const auto status = CExiv2MetadataReader().Read(Wide(path), &m);
  EXPECT_FALSE(status.ok);
  EXPECT_NE(status.message.find(Wide(path)), std::wstring::npos) << Narrow(status.message);
  EXPECT_TRUE(m.cameraMake.empty());
  EXPECT_EQ(m.width, 0u);
  EXPECT_EQ(m.gpsFlags, 0);
}

INSTANTIATE_TEST_SUITE_P(Files, UnreadableFile,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/unreadable_pictures.tsv")),
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

class JpegHeadTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(JpegHeadTest, IsCompleteOnlyWhenTheScanStartIsInReach) {
  const std::string bytes = test::Unescape(GetParam()[0]);
  EXPECT_EQ(JpegHeadIsComplete(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()),
            GetParam()[1] == "1");
}

INSTANTIATE_TEST_SUITE_P(Heads, JpegHeadTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/jpeg_heads.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(Exiv2MetadataReaderTest, ConcurrentReadsGiveTheSameValuesAsOneThread) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(kSamples)) files.push_back(entry.path());
  const CExiv2MetadataReader reader;
  std::vector<ImageMetadata> reference(files.size());
  std::vector<bool> referenceOk(files.size());
  for (size_t i = 0; i < files.size(); ++i) {
    referenceOk[i] = reader.Read(Wide(files[i]), &reference[i]).ok;
  }
  std::atomic<int> mismatches{0};
  {
    std::vector<std::jthread> threads;
    for (size_t t = 0; t < 8; ++t) {
      threads.emplace_back([&, t] {
        for (size_t k = 0; k < 10 * files.size(); ++k) {
          const size_t i = (k + t) % files.size();
          ImageMetadata m;
          if (reader.Read(Wide(files[i]), &m).ok != referenceOk[i] || !(m == reference[i])) {
            ++mismatches;
          }
        }
      });
    }
  }
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace lmk
