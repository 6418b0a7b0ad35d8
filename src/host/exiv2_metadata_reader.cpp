// Reads EXIF, IPTC, XMP and GPS values with Exiv2 into ImageMetadata, distrusting every value.
#include "host/exiv2_metadata_reader.h"

#include <array>
#include <cmath>
#include <exiv2/exiv2.hpp>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "host/exif_block.h"
#include "host/metadata_parsing.h"
#include "host/picture_file_head.h"
#include "host/picture_header_probe.h"
#include "host/xmp_packet.h"
#include "platform/file_system.h"
#include "platform/folder_listing.h"
#include "platform/text_encoding.h"

namespace lmk {

namespace {

// ---------------------------------------------------------------------------------------------
// The values looked up, by key. The tables are resolved once into ids that can be compared
// without building key strings, since a read walks every value of the file once.

enum ExifField : int {
  kExDateTimeOriginal,
  kExDateTimeDigitized,
  kExDateTime,
  kExExposureBias,
  kExExposureTime,
  kExFNumber,
  kExApertureValue,
  kExMaxApertureValue,
  kExFocalLength,
  kExDigitalZoomRatio,
  kExSubjectDistance,
  kExFlash,
  kExFocalLengthIn35mm,
  kExMeteringMode,
  kExOrientation,
  kExExposureProgram,
  kExContrast,
  kExSaturation,
  kExSharpness,
  kExSubjectDistanceRange,
  kExSensingMethod,
  kExExposureMode,
  kExWhiteBalance,
  kExLightSource,
  kExIsoSpeedRatings,
  kExSensitivityType,
  kExStandardOutputSensitivity,
  kExRecommendedExposureIndex,
  kExIsoSpeed,
  kExMake,
  kExModel,
  kExLensModel,
  kExUserComment,
  kExImageDescription,
  kExArtist,
  kExCopyright,
  kExImageUniqueId,
  kExBodySerialNumber,
  kExRating,
  kExPixelXDimension,
  kExPixelYDimension,
  kExBitsPerSample,
  kExSamplesPerPixel,
  kExExtraSamples,
  kExPhotometric,
  kExGpsLatitudeRef,
  kExGpsLatitude,
  kExGpsLongitudeRef,
  kExGpsLongitude,
  kExGpsAltitudeRef,
  kExGpsAltitude,
  kExGpsTimeStamp,
  kExGpsDateStamp,
  kExGpsStatus,
  kExGpsMapDatum,
  kExGpsSpeedRef,
  kExGpsSpeed,
  kExGpsImgDirectionRef,
  kExGpsImgDirection,
  kExCanonFileNumber,
  kExMakerNote,
  kExFieldCount
};

constexpr std::array<const char*, kExFieldCount> kExifKeys = {
    "Exif.Photo.DateTimeOriginal",
    "Exif.Photo.DateTimeDigitized",
    "Exif.Image.DateTime",
    "Exif.Photo.ExposureBiasValue",
    "Exif.Photo.ExposureTime",
    "Exif.Photo.FNumber",
    "Exif.Photo.ApertureValue",
    "Exif.Photo.MaxApertureValue",
    "Exif.Photo.FocalLength",
    "Exif.Photo.DigitalZoomRatio",
    "Exif.Photo.SubjectDistance",
    "Exif.Photo.Flash",
    "Exif.Photo.FocalLengthIn35mmFilm",
    "Exif.Photo.MeteringMode",
    "Exif.Image.Orientation",
    "Exif.Photo.ExposureProgram",
    "Exif.Photo.Contrast",
    "Exif.Photo.Saturation",
    "Exif.Photo.Sharpness",
    "Exif.Photo.SubjectDistanceRange",
    "Exif.Photo.SensingMethod",
    "Exif.Photo.ExposureMode",
    "Exif.Photo.WhiteBalance",
    "Exif.Photo.LightSource",
    "Exif.Photo.ISOSpeedRatings",
    "Exif.Photo.SensitivityType",
    "Exif.Photo.StandardOutputSensitivity",
    "Exif.Photo.RecommendedExposureIndex",
    "Exif.Photo.ISOSpeed",
    "Exif.Image.Make",
    "Exif.Image.Model",
    "Exif.Photo.LensModel",
    "Exif.Photo.UserComment",
    "Exif.Image.ImageDescription",
    "Exif.Image.Artist",
    "Exif.Image.Copyright",
    "Exif.Photo.ImageUniqueID",
    "Exif.Photo.BodySerialNumber",
    "Exif.Image.Rating",
    "Exif.Photo.PixelXDimension",
    "Exif.Photo.PixelYDimension",
    "Exif.Image.BitsPerSample",
    "Exif.Image.SamplesPerPixel",
    "Exif.Image.ExtraSamples",
    "Exif.Image.PhotometricInterpretation",
    "Exif.GPSInfo.GPSLatitudeRef",
    "Exif.GPSInfo.GPSLatitude",
    "Exif.GPSInfo.GPSLongitudeRef",
    "Exif.GPSInfo.GPSLongitude",
    "Exif.GPSInfo.GPSAltitudeRef",
    "Exif.GPSInfo.GPSAltitude",
    "Exif.GPSInfo.GPSTimeStamp",
    "Exif.GPSInfo.GPSDateStamp",
    "Exif.GPSInfo.GPSStatus",
    "Exif.GPSInfo.GPSMapDatum",
    "Exif.GPSInfo.GPSSpeedRef",
    "Exif.GPSInfo.GPSSpeed",
    "Exif.GPSInfo.GPSImgDirectionRef",
    "Exif.GPSInfo.GPSImgDirection",
    "Exif.Canon.FileNumber",
    "Exif.Photo.MakerNote",
};

enum XmpField : int {
  kXRating,
  kXLabel,
  kXUrgency,
  kXDateTimeOriginal,
  kXCreateDate,
  kXMake,
  kXModel,
  kXLensModel,
  kXAuxLens,
  kXBodySerialNumber,
  kXAuxSerialNumber,
  kXOrientation,
  kXIsoSpeedRatings,
  kXFNumber,
  kXApertureValue,
  kXExposureTime,
  kXExposureBias,
  kXFocalLength,
  kXGpsLatitude,
  kXGpsLongitude,
  kXGpsAltitude,
  kXGpsAltitudeRef,
  kXGpsTimeStamp,
  kXGpsSpeed,
  kXGpsSpeedRef,
  kXGpsImgDirection,
  kXGpsImgDirectionRef,
  kXGpsStatus,
  kXGpsMapDatum,
  kXDateCreated,
  kXIntellectualGenre,
  kXScene,
  kXLocation,
  kXCity,
  kXState,
  kXCountryCode,
  kXCountry,
  kXCreator,
  kXAuthorsPosition,
  kXCiAdrExtadr,
  kXCiAdrCity,
  kXCiAdrRegion,
  kXCiAdrPcode,
  kXCiAdrCtry,
  kXCiTelWork,
  kXCiEmailWork,
  kXCiUrlWork,
  kXHeadline,
  kXDescription,
  kXSubject,
  kXSubjectCode,
  kXCaptionWriter,
  kXTitle,
  kXTransmissionReference,
  kXInstructions,
  kXCredit,
  kXSource,
  kXRights,
  kXUsageTerms,
  kXMarked,
  kXWebStatement,
  kXDocumentId,
  kXFieldCount
};

constexpr std::array<const char*, kXFieldCount> kXmpKeys = {
    "Xmp.xmp.Rating",
    "Xmp.xmp.Label",
    "Xmp.photoshop.Urgency",
    "Xmp.exif.DateTimeOriginal",
    "Xmp.xmp.CreateDate",
    "Xmp.tiff.Make",
    "Xmp.tiff.Model",
    "Xmp.exifEX.LensModel",
    "Xmp.aux.Lens",
    "Xmp.exifEX.BodySerialNumber",
    "Xmp.aux.SerialNumber",
    "Xmp.tiff.Orientation",
    "Xmp.exif.ISOSpeedRatings",
    "Xmp.exif.FNumber",
    "Xmp.exif.ApertureValue",
    "Xmp.exif.ExposureTime",
    "Xmp.exif.ExposureBiasValue",
    "Xmp.exif.FocalLength",
    "Xmp.exif.GPSLatitude",
    "Xmp.exif.GPSLongitude",
    "Xmp.exif.GPSAltitude",
    "Xmp.exif.GPSAltitudeRef",
    "Xmp.exif.GPSTimeStamp",
    "Xmp.exif.GPSSpeed",
    "Xmp.exif.GPSSpeedRef",
    "Xmp.exif.GPSImgDirection",
    "Xmp.exif.GPSImgDirectionRef",
    "Xmp.exif.GPSStatus",
    "Xmp.exif.GPSMapDatum",
    "Xmp.photoshop.DateCreated",
    "Xmp.iptc.IntellectualGenre",
    "Xmp.iptc.Scene",
    "Xmp.iptc.Location",
    "Xmp.photoshop.City",
    "Xmp.photoshop.State",
    "Xmp.iptc.CountryCode",
    "Xmp.photoshop.Country",
    "Xmp.dc.creator",
    "Xmp.photoshop.AuthorsPosition",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrExtadr",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrCity",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrRegion",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrPcode",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiAdrCtry",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiTelWork",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiEmailWork",
    "Xmp.iptc.CreatorContactInfo/Iptc4xmpCore:CiUrlWork",
    "Xmp.photoshop.Headline",
    "Xmp.dc.description",
    "Xmp.dc.subject",
    "Xmp.iptc.SubjectCode",
    "Xmp.photoshop.CaptionWriter",
    "Xmp.dc.title",
    "Xmp.photoshop.TransmissionReference",
    "Xmp.photoshop.Instructions",
    "Xmp.photoshop.Credit",
    "Xmp.photoshop.Source",
    "Xmp.dc.rights",
    "Xmp.xmpRights.UsageTerms",
    "Xmp.xmpRights.Marked",
    "Xmp.xmpRights.WebStatement",
    "Xmp.xmpMM.DocumentID",
};

// IPTC-IIM application record datasets.
enum IimTag : uint16_t {
  kIimObjectAttribute = 4,
  kIimObjectName = 5,
  kIimUrgency = 10,
  kIimSubjectReference = 12,
  kIimKeywords = 25,
  kIimSpecialInstructions = 40,
  kIimDateCreated = 55,
  kIimTimeCreated = 60,
  kIimByline = 80,
  kIimBylineTitle = 85,
  kIimCity = 90,
  kIimSubLocation = 92,
  kIimProvinceState = 95,
  kIimCountryCode = 100,
  kIimCountryName = 101,
  kIimTransmissionReference = 103,
  kIimHeadline = 105,
  kIimCredit = 110,
  kIimSource = 115,
  kIimCopyright = 116,
  kIimCaption = 120,
  kIimWriter = 122,
};

// An IPTC core text: the XMP property, else the IIM dataset (0 = XMP only).
struct IptcText {
  std::wstring ImageMetadata::*member;
  XmpField xmp;
  uint16_t iim;
};

constexpr std::array<IptcText, 31> kIptcTexts = {{
    {&ImageMetadata::iptcIntellectualGenre, kXIntellectualGenre, kIimObjectAttribute},
    {&ImageMetadata::iptcScene, kXScene, 0},
    {&ImageMetadata::iptcLocation, kXLocation, kIimSubLocation},
    {&ImageMetadata::iptcCity, kXCity, kIimCity},
    {&ImageMetadata::iptcStateProvince, kXState, kIimProvinceState},
    {&ImageMetadata::iptcCountryCode, kXCountryCode, kIimCountryCode},
    {&ImageMetadata::iptcCountry, kXCountry, kIimCountryName},
    {&ImageMetadata::iptcCreator, kXCreator, kIimByline},
    {&ImageMetadata::iptcCreatorJobTitle, kXAuthorsPosition, kIimBylineTitle},
    {&ImageMetadata::iptcCreatorAddress, kXCiAdrExtadr, 0},
    {&ImageMetadata::iptcCreatorCity, kXCiAdrCity, 0},
    {&ImageMetadata::iptcCreatorStateProvince, kXCiAdrRegion, 0},
    {&ImageMetadata::iptcCreatorPostalCode, kXCiAdrPcode, 0},
    {&ImageMetadata::iptcCreatorCountry, kXCiAdrCtry, 0},
    {&ImageMetadata::iptcCreatorPhones, kXCiTelWork, 0},
    {&ImageMetadata::iptcCreatorEmails, kXCiEmailWork, 0},
    {&ImageMetadata::iptcCreatorWebsites, kXCiUrlWork, 0},
    {&ImageMetadata::iptcHeadline, kXHeadline, kIimHeadline},
    {&ImageMetadata::iptcDescription, kXDescription, kIimCaption},
    {&ImageMetadata::iptcKeywords, kXSubject, kIimKeywords},
    {&ImageMetadata::iptcSubjectCodes, kXSubjectCode, kIimSubjectReference},
    {&ImageMetadata::iptcDescriptionWriter, kXCaptionWriter, kIimWriter},
    {&ImageMetadata::iptcTitle, kXTitle, kIimObjectName},
    {&ImageMetadata::iptcJobIdentifier, kXTransmissionReference, kIimTransmissionReference},
    {&ImageMetadata::iptcInstructions, kXInstructions, kIimSpecialInstructions},
    {&ImageMetadata::iptcProvider, kXCredit, kIimCredit},
    {&ImageMetadata::iptcSource, kXSource, kIimSource},
    {&ImageMetadata::iptcCopyrightNotice, kXRights, kIimCopyright},
    {&ImageMetadata::iptcRightsUsageTerms, kXUsageTerms, 0},
    {&ImageMetadata::iptcCopyrightedFlag, kXMarked, 0},
    {&ImageMetadata::iptcWebStatement, kXWebStatement, 0},
}};

// Rational camera values: EXIF tag, XMP fallback (kXFieldCount = none).
struct RealValue {
  float ImageMetadata::*member;
  ExifField exif;
  XmpField xmp;
  bool ImageMetadata::*has;
  bool allowNegative;
  double max;
};

constexpr std::array<RealValue, 6> kRealValues = {{
    {&ImageMetadata::exposureBias, kExExposureBias, kXExposureBias, &ImageMetadata::hasExposureBias,
     true, 100},
    {&ImageMetadata::exposureTime, kExExposureTime, kXExposureTime, nullptr, false, 1e6},
    {&ImageMetadata::focalLength, kExFocalLength, kXFocalLength, nullptr, false, 1e5},
    {&ImageMetadata::digitalZoomRatio, kExDigitalZoomRatio, kXFieldCount, nullptr, false, 1e4},
    {&ImageMetadata::subjectDistance, kExSubjectDistance, kXFieldCount, nullptr, false, 1e10},
    {&ImageMetadata::fNumber, kExFNumber, kXFNumber, nullptr, false, 1e4},
}};

// Enumerated 16-bit camera values.
struct CodeValue {
  uint16_t ImageMetadata::*member;
  ExifField exif;
  bool ImageMetadata::*has;
};

constexpr std::array<CodeValue, 12> kCodeValues = {{
    {&ImageMetadata::flash, kExFlash, &ImageMetadata::hasFlash},
    {&ImageMetadata::focalLengthIn35mmFilm, kExFocalLengthIn35mm, nullptr},
    {&ImageMetadata::meteringMode, kExMeteringMode, nullptr},
    {&ImageMetadata::programMode, kExExposureProgram, nullptr},
    {&ImageMetadata::contrast, kExContrast, &ImageMetadata::hasContrast},
    {&ImageMetadata::saturation, kExSaturation, &ImageMetadata::hasSaturation},
    {&ImageMetadata::sharpness, kExSharpness, &ImageMetadata::hasSharpness},
    {&ImageMetadata::subjectDistanceRange, kExSubjectDistanceRange, nullptr},
    {&ImageMetadata::sensingMethod, kExSensingMethod, nullptr},
    {&ImageMetadata::exposureMode, kExExposureMode, &ImageMetadata::hasExposureMode},
    {&ImageMetadata::whiteBalance, kExWhiteBalance, &ImageMetadata::hasWhiteBalance},
    {&ImageMetadata::lightSource, kExLightSource, nullptr},
}};

struct ExifId {
  int ifd = -1;
  uint16_t tag = 0;
};

struct Tables {
  std::array<ExifId, kExFieldCount> exif{};
  // The library's ids of the image, EXIF and GPS directories, by ExifDirectory.
  std::array<int, 3> directories{-1, -1, -1};
  std::unordered_map<std::string, int> xmp;
};

// ---------------------------------------------------------------------------------------------
// Process-wide state, set up once.

std::once_flag g_initOnce;
bool g_xmpReady = false;
std::recursive_mutex g_xmpLock;
Tables g_tables;

// Exiv2 reports problems it reads past through one global handler; each reading thread points
// this at its own status, so a warning lands with the file that caused it.
thread_local std::vector<std::wstring>* t_warnings = nullptr;
constexpr size_t kMaxWarnings = 32;

void XmpLockUnlock(void* data, bool lock) {
  auto* mutex = static_cast<std::recursive_mutex*>(data);
  if (lock) {
    mutex->lock();
  } else {
    mutex->unlock();
  }
}

void LogToThread(int level, const char* text) {
  if (t_warnings == nullptr || text == nullptr || level < Exiv2::LogMsg::warn) return;
  if (t_warnings->size() >= kMaxWarnings) return;
  std::wstring message = DecodeMetadataText(text);
  if (!message.empty()) t_warnings->push_back(std::move(message));
}

class WarningScope {
 public:
  explicit WarningScope(std::vector<std::wstring>* sink) : previous_(t_warnings) {
    t_warnings = sink;
  }
  ~WarningScope() { t_warnings = previous_; }
  WarningScope(const WarningScope&) = delete;
  WarningScope& operator=(const WarningScope&) = delete;

 private:
  std::vector<std::wstring>* previous_;
};

void InitializeOnce() {
  g_xmpReady = Exiv2::XmpParser::initialize(XmpLockUnlock, &g_xmpLock);
#if defined(EXV_ENABLE_BMFF) && EXIV2_TEST_VERSION(0, 27, 4)
  Exiv2::enableBMFF(true);
#endif
  Exiv2::LogMsg::setLevel(Exiv2::LogMsg::warn);
  Exiv2::LogMsg::setHandler(LogToThread);
  for (size_t i = 0; i < kExifKeys.size(); ++i) {
    try {
      const Exiv2::ExifKey key(kExifKeys[i]);
      g_tables.exif[i] = ExifId{key.ifdId(), key.tag()};
    } catch (const std::exception&) {
      // A library without this tag never reports it; the field stays unmatched.
    }
  }
  g_tables.directories = {g_tables.exif[kExMake].ifd, g_tables.exif[kExDateTimeOriginal].ifd,
                          g_tables.exif[kExGpsLatitude].ifd};
  for (size_t i = 0; i < kXmpKeys.size(); ++i)
    g_tables.xmp.emplace(kXmpKeys[i], static_cast<int>(i));
}

// ---------------------------------------------------------------------------------------------
// Values of one file, indexed.

struct XmpIndex {
  std::array<std::optional<XmpProperty>, kXFieldCount> found{};

  void Add(const Exiv2::XmpData& data) {
    for (const Exiv2::Xmpdatum& datum : data) {
      const auto it = g_tables.xmp.find(datum.key());
      if (it != g_tables.xmp.end() && !found[it->second]) found[it->second] = XmpPropertyOf(datum);
    }
  }

  void Add(std::vector<XmpKeyedProperty>& properties) {
    for (XmpKeyedProperty& property : properties) {
      const auto it = g_tables.xmp.find(property.first);
      if (it != g_tables.xmp.end() && !found[it->second]) {
        found[it->second] = std::move(property.second);
      }
    }
  }
};

struct Sources {
  // The EXIF values, as stored. Those the library decoded have their bytes in exifBytes.
  std::array<std::optional<ExifEntry>, kExFieldCount> exif{};
  std::array<std::string, kExFieldCount> exifBytes;
  std::optional<std::string> userComment;
  XmpIndex sidecarXmp;
  XmpIndex embeddedXmp;
  std::unordered_map<uint16_t, std::vector<const Exiv2::Iptcdatum*>> iim;
  const Exiv2::ExifData* exifData = nullptr;

  // The library's searches through maker notes build a key per candidate tag and walk every
  // value for each; they are only worth it when the file has maker notes at all.
  bool HasMakerNote() const { return exifData != nullptr && exif[kExMakerNote].has_value(); }

  const ExifEntry* Exif(ExifField field) const {
    return exif[field].has_value() ? &*exif[field] : nullptr;
  }

  const XmpProperty* Xmp(XmpField field) const {
    if (field >= kXFieldCount) return nullptr;
    if (const auto& sidecar = sidecarXmp.found[field]) return &*sidecar;
    const auto& embedded = embeddedXmp.found[field];
    return embedded ? &*embedded : nullptr;
  }
};

// The field an EXIF value fills, or kExFieldCount.
size_t FieldOf(int ifd, uint16_t tag) {
  for (size_t i = 0; i < g_tables.exif.size(); ++i) {
    const ExifId& id = g_tables.exif[i];
    if (id.tag == tag && id.ifd == ifd) return i;
  }
  return kExFieldCount;
}

// The user comment as the library gives it: the text after the eight-byte character set
// code, without trailing NULs for ASCII and undefined text. Unicode comments are decoded by
// the library alone (the block reader refuses them).
std::string CommentText(std::string_view bytes) {
  if (bytes.size() < 8) return {};
  const std::string_view code = bytes.substr(0, 8);
  std::string text(bytes.substr(8));
  if (code == std::string_view("ASCII\0\0\0", 8) ||
      code == std::string_view("\0\0\0\0\0\0\0\0", 8)) {
    const size_t last = text.find_last_not_of('\0');
    text.resize(last == std::string::npos ? 0 : last + 1);
  }
  return text;
}

void IndexExif(const Exiv2::ExifData& data, Sources* src) {
  src->exifData = &data;
  for (const Exiv2::Exifdatum& datum : data) {
    const size_t i = FieldOf(datum.ifdId(), datum.tag());
    if (i == kExFieldCount || src->exif[i].has_value()) continue;
    const Exiv2::Value& value = datum.value();
    if (const auto* comment = dynamic_cast<const Exiv2::CommentValue*>(&value)) {
      if (!src->userComment && comment->size() <= static_cast<long>(kMaxMetadataTextLength * 4))
        src->userComment = comment->comment();
      continue;
    }
    ExifEntry entry;
    entry.bigEndian = true;
    const int type = value.typeId();
    if (type >= 1 && type <= 12) {
      entry.type = static_cast<TiffType>(type);
    } else if (type == Exiv2::string) {
      entry.type = TiffType::kAscii;
    } else {
      continue;
    }
    const long size = value.size();
    if (size < 0) continue;
    std::string& bytes = src->exifBytes[i];
    bytes.resize(static_cast<size_t>(size));
    if (size > 0) value.copy(reinterpret_cast<Exiv2::byte*>(bytes.data()), Exiv2::bigEndian);
    entry.bytes = bytes;
    entry.count = static_cast<uint32_t>(value.count());
    src->exif[i] = entry;
  }
}

// The values of a plain EXIF block, read without the library.
void IndexExif(const std::vector<ExifEntry>& entries, Sources* src) {
  for (const ExifEntry& entry : entries) {
    const size_t i = FieldOf(g_tables.directories[static_cast<size_t>(entry.directory)], entry.tag);
    if (i == kExFieldCount || src->exif[i].has_value()) continue;
    if (i == kExUserComment && entry.type == TiffType::kUndefined) {
      // The library reads an undefined comment as a comment, and a comment stored as text
      // as text.
      if (!src->userComment && entry.bytes.size() <= kMaxMetadataTextLength * 4)
        src->userComment = CommentText(entry.bytes);
      continue;
    }
    src->exif[i] = entry;
  }
}

void IndexIptc(const Exiv2::IptcData& data, Sources* src) {
  for (const Exiv2::Iptcdatum& datum : data) {
    if (datum.record() == Exiv2::IptcDataSets::application2)
      src->iim[datum.tag()].push_back(&datum);
  }
}

// ---------------------------------------------------------------------------------------------
// Typed access with range checks. Exiv2 keeps whatever the file declared, so each accessor
// checks the type, the count and the value before using it.

bool RealAt(const ExifEntry* d, long n, double* out) {
  double value = 0;
  if (d == nullptr || n < 0 || !d->RealAt(static_cast<uint32_t>(n), &value) ||
      !std::isfinite(value))
    return false;
  *out = value;
  return true;
}

bool UIntAt(const ExifEntry* d, long n, uint64_t max, uint64_t* out) {
  long long v = 0;
  if (d == nullptr || n < 0 || !d->IntegerAt(static_cast<uint32_t>(n), &v)) return false;
  if (v < 0 || static_cast<uint64_t>(v) > max) return false;
  *out = static_cast<uint64_t>(v);
  return true;
}

std::string RawText(const ExifEntry* d) {
  if (d == nullptr || d->bytes.size() > kMaxMetadataTextLength * 4) return {};
  if (d->type == TiffType::kAscii) {
    // Trailing NULs end the text; NULs within it are the decoder's to judge.
    const size_t last = d->bytes.find_last_not_of('\0');
    return std::string(d->bytes.substr(0, last == std::string_view::npos ? 0 : last + 1));
  }
  // Some writers store text as bytes.
  if (d->type == TiffType::kUndefined || d->type == TiffType::kByte) return std::string(d->bytes);
  return {};
}

std::wstring Text(const ExifEntry* d) { return DecodeMetadataText(RawText(d)); }

// The text of an XMP property: the default language of a language alternative, the items of
// an array joined with "; ".
std::wstring XmpText(const XmpProperty* p) {
  if (p == nullptr) return {};
  switch (p->kind) {
    case XmpProperty::Kind::kLangAlt:
      return DecodeMetadataText(std::string(p->DefaultLanguageText()));
    case XmpProperty::Kind::kArray: {
      std::wstring joined;
      for (std::size_t i = 0; i < p->items.size() && joined.size() < kMaxMetadataTextLength; ++i) {
        const std::wstring item = DecodeMetadataText(p->items[i]);
        if (item.empty()) continue;
        if (!joined.empty()) joined += L"; ";
        joined += item;
      }
      if (joined.size() > kMaxMetadataTextLength) joined.resize(kMaxMetadataTextLength);
      return joined;
    }
    case XmpProperty::Kind::kText:
      break;
  }
  return DecodeMetadataText(p->text);
}

// The first item of an XMP value as plain ASCII (numbers, dates, references). A language
// alternative is text for people, never one of those.
std::string XmpScalar(const XmpProperty* p) {
  if (p == nullptr) return {};
  std::string_view s;
  switch (p->kind) {
    case XmpProperty::Kind::kText:
      s = p->text;
      break;
    case XmpProperty::Kind::kArray:
      if (!p->items.empty()) s = p->items.front();
      break;
    case XmpProperty::Kind::kLangAlt:
      break;
  }
  if (s.size() > 256) return {};
  return std::string(s);
}

bool XmpReal(const XmpProperty* d, double* out) { return ParseRationalText(XmpScalar(d), out); }

bool XmpInteger(const XmpProperty* d, long long min, long long max, long long* out) {
  double v = 0;
  if (!XmpReal(d, &v) || v < static_cast<double>(min) || v > static_cast<double>(max)) return false;
  *out = std::llround(v);
  return true;
}

std::wstring IimText(const Sources& src, uint16_t tag) {
  const auto it = src.iim.find(tag);
  if (it == src.iim.end()) return {};
  std::wstring joined;
  for (const Exiv2::Iptcdatum* d : it->second) {
    if (d->size() > static_cast<long>(kMaxMetadataTextLength)) continue;
    std::wstring item = DecodeMetadataText(d->toString());
    if (item.empty()) continue;
    if (!joined.empty()) joined += L"; ";
    joined += item;
    if (joined.size() > kMaxMetadataTextLength) break;
  }
  if (joined.size() > kMaxMetadataTextLength) joined.resize(kMaxMetadataTextLength);
  return joined;
}

std::string IimScalar(const Sources& src, uint16_t tag) {
  const auto it = src.iim.find(tag);
  if (it == src.iim.end() || it->second.empty() || it->second.front()->size() > 256) return {};
  return it->second.front()->toString();
}

char FirstLetter(const std::string& s) {
  for (char c : s) {
    if (c >= 'a' && c <= 'z') return static_cast<char>(c - 'a' + 'A');
    if (c >= 'A' && c <= 'Z') return c;
    if (c != ' ') return '\0';
  }
  return '\0';
}

void SetText(std::wstring* target, std::wstring value) {
  if (target->empty()) *target = std::move(value);
}

// ---------------------------------------------------------------------------------------------
// The groups of values.

void ReadDates(const Sources& src, ImageMetadata* m) {
  for (ExifField f : {kExDateTimeOriginal, kExDateTimeDigitized, kExDateTime}) {
    if (ParseMetaDateTime(RawText(src.Exif(f)), &m->dateTaken)) return;
  }
  for (XmpField f : {kXDateTimeOriginal, kXCreateDate}) {
    // XMP dates may carry a zone; the wall-clock time as written is what the camera showed.
    if (ParseMetaDateTime(XmpScalar(src.Xmp(f)), &m->dateTaken)) return;
  }
}

// The EXIF orientation, else the XMP one.
void ReadOrientation(const Sources& src, ImageMetadata* m) {
  uint64_t orientation = 0;
  long long xmpOrientation = 0;
  if (UIntAt(src.Exif(kExOrientation), 0, 8, &orientation) && orientation >= 1) {
    m->orientation = static_cast<uint16_t>(orientation);
  } else if (XmpInteger(src.Xmp(kXOrientation), 1, 8, &xmpOrientation)) {
    m->orientation = static_cast<uint16_t>(xmpOrientation);
  }
}

void ReadCameraValues(const Sources& src, ImageMetadata* m) {
  for (const RealValue& rv : kRealValues) {
    double v = 0;
    bool ok = RealAt(src.Exif(rv.exif), 0, &v);
    if (!ok || (!rv.allowNegative && v < 0) || std::fabs(v) > rv.max) {
      ok = XmpReal(src.Xmp(rv.xmp), &v) && (rv.allowNegative || v >= 0) && std::fabs(v) <= rv.max;
    }
    if (!ok) continue;
    m->*rv.member = static_cast<float>(v);
    if (rv.has != nullptr) m->*rv.has = true;
  }
  // Apertures given as APEX values: f-number = 2^(Av/2). Av beyond 20 (f/1024) is garbage.
  const auto apex = [&](ExifField exif, XmpField xmp, float* target) {
    double av = 0;
    if ((RealAt(src.Exif(exif), 0, &av) || XmpReal(src.Xmp(xmp), &av)) && av >= -2 && av <= 20)
      *target = static_cast<float>(std::pow(2.0, av / 2));
  };
  if (m->fNumber == 0) apex(kExApertureValue, kXApertureValue, &m->fNumber);
  apex(kExMaxApertureValue, kXFieldCount, &m->maxApertureValue);

  for (const CodeValue& cv : kCodeValues) {
    uint64_t v = 0;
    if (!UIntAt(src.Exif(cv.exif), 0, 0xFFFF, &v)) continue;
    m->*cv.member = static_cast<uint16_t>(v);
    if (cv.has != nullptr) m->*cv.has = true;
  }

  // ISO: the classic tag, unless it is missing or saturated (65535 means "see the newer
  // sensitivity tags"); then the newer tags, the one SensitivityType names first; then the
  // library's search through the maker notes.
  constexpr uint64_t kMaxIso = 10'000'000;
  uint64_t iso = 0;
  uint64_t sensitivityType = 0;
  UIntAt(src.Exif(kExSensitivityType), 0, 7, &sensitivityType);
  // SensitivityType: 1, 4, 5, 7 include SOS; 2, 4, 6, 7 REI; 3, 5, 6, 7 ISO speed.
  const ExifField preferred = sensitivityType == 2 || sensitivityType == 6
                                  ? kExRecommendedExposureIndex
                              : sensitivityType == 3 ? kExIsoSpeed
                                                     : kExStandardOutputSensitivity;
  if (UIntAt(src.Exif(kExIsoSpeedRatings), 0, 65534, &iso) && iso > 0) {
    m->isoSpeed = static_cast<uint32_t>(iso);
  } else {
    for (ExifField f :
         {preferred, kExIsoSpeed, kExRecommendedExposureIndex, kExStandardOutputSensitivity}) {
      if (UIntAt(src.Exif(f), 0, kMaxIso, &iso) && iso > 0) {
        m->isoSpeed = static_cast<uint32_t>(iso);
        break;
      }
    }
  }
  if (m->isoSpeed == 0 && src.HasMakerNote()) {
    const auto it = Exiv2::isoSpeed(*src.exifData);
    double parsed = 0;
    if (it != src.exifData->end() && it->size() <= 64 &&
        ParseRationalText(it->print(src.exifData), &parsed) && parsed >= 1 && parsed <= kMaxIso)
      m->isoSpeed = static_cast<uint32_t>(std::llround(parsed));
  }
  long long xmpIso = 0;
  if (m->isoSpeed == 0 && XmpInteger(src.Xmp(kXIsoSpeedRatings), 1, kMaxIso, &xmpIso))
    m->isoSpeed = static_cast<uint32_t>(xmpIso);
  // A saturated classic tag with nothing better still says "at least 65535".
  if (m->isoSpeed == 0 && UIntAt(src.Exif(kExIsoSpeedRatings), 0, 65535, &iso) && iso == 65535)
    m->isoSpeed = 65535;

  // Maker notes that number files as folder * 10000 + file ("100-0042").
  uint64_t fileNumber = 0;
  if (UIntAt(src.Exif(kExCanonFileNumber), 0, 0xFFFFFFFF, &fileNumber) && fileNumber > 0) {
    m->hasFileNumber = true;
    m->fileNumber = static_cast<uint32_t>(fileNumber % 10000);
    m->folderNumber = static_cast<uint32_t>(fileNumber / 10000);
  }
}

// A maker-note value as the library prints it, when that print is a real name.
std::wstring PrintedName(const Sources& src,
                         Exiv2::ExifData::const_iterator (*find)(const Exiv2::ExifData&)) {
  if (!src.HasMakerNote()) return {};
  const Exiv2::ExifData* data = src.exifData;
  const auto it = find(*data);
  if (it == data->end() || it->size() > 1024) return {};
  std::wstring name = DecodeMetadataText(it->print(data));
  // Unknown lens ids print as "(123)" or "Unknown ..."; a number alone is no name either.
  if (name.empty() || name.front() == L'(' || name.rfind(L"Unknown", 0) == 0 ||
      name.find_first_not_of(L"0123456789 ") == std::wstring::npos)
    return {};
  return name;
}

void ReadStrings(const Sources& src, ImageMetadata* m) {
  m->cameraMake = Text(src.Exif(kExMake));
  SetText(&m->cameraMake, XmpText(src.Xmp(kXMake)));
  m->cameraModel = Text(src.Exif(kExModel));
  SetText(&m->cameraModel, XmpText(src.Xmp(kXModel)));

  m->lensModel = Text(src.Exif(kExLensModel));
  SetText(&m->lensModel, XmpText(src.Xmp(kXLensModel)));
  SetText(&m->lensModel, XmpText(src.Xmp(kXAuxLens)));
  if (m->lensModel.empty()) m->lensModel = PrintedName(src, Exiv2::lensName);

  if (src.userComment) m->comment = DecodeMetadataText(*src.userComment);
  SetText(&m->comment, Text(src.Exif(kExImageDescription)));

  m->artist = Text(src.Exif(kExArtist));
  m->copyright = Text(src.Exif(kExCopyright));
  m->imageUniqueId = Text(src.Exif(kExImageUniqueId));

  m->cameraSerialNumber = Text(src.Exif(kExBodySerialNumber));
  if (m->cameraSerialNumber.empty()) m->cameraSerialNumber = PrintedName(src, Exiv2::serialNumber);
  SetText(&m->cameraSerialNumber, XmpText(src.Xmp(kXBodySerialNumber)));
  SetText(&m->cameraSerialNumber, XmpText(src.Xmp(kXAuxSerialNumber)));
}

void ReadMarks(const Sources& src, ImageMetadata* m) {
  double rating = 0;
  uint64_t exifRating = 0;
  if (XmpReal(src.Xmp(kXRating), &rating) && rating <= 5) {
    // Any negative rating means "rejected"; fractions round to the nearest star.
    m->xmpRating = rating < 0 ? int16_t{-1} : static_cast<int16_t>(std::lround(rating));
    m->hasRating = true;
  } else if (UIntAt(src.Exif(kExRating), 0, 5, &exifRating)) {
    m->xmpRating = static_cast<int16_t>(exifRating);
    m->hasRating = true;
  }

  m->xmpLabelText = XmpText(src.Xmp(kXLabel));
  m->xmpLabel = LabelFromText(m->xmpLabelText, &m->xmpLabellingConvention);

  long long urgency = 0;
  if (XmpInteger(src.Xmp(kXUrgency), 0, 9, &urgency)) {
    m->photoshopUrgency = static_cast<int16_t>(urgency);
    m->hasUrgency = true;
  } else {
    double iim = 0;
    if (ParseRationalText(IimScalar(src, kIimUrgency), &iim) && iim >= 0 && iim <= 9 &&
        iim == std::floor(iim)) {
      m->photoshopUrgency = static_cast<int16_t>(iim);
      m->hasUrgency = true;
    }
  }
}

bool ExifCoordinate(const Sources& src, ExifField value, ExifField ref, char negative, double limit,
                    double* out) {
  const ExifEntry* d = src.Exif(value);
  if (d == nullptr || d->count < 1) return false;
  double parts[3] = {0, 0, 0};
  for (long i = 0; i < 3 && i < static_cast<long>(d->count); ++i) {
    if (!RealAt(d, i, &parts[i]) || parts[i] < 0) return false;
  }
  if (parts[1] >= 60 + 1e-9 || parts[2] >= 60 + 1e-9) return false;
  const double degrees = parts[0] + parts[1] / 60 + parts[2] / 3600;
  if (degrees > limit) return false;
  const char r = FirstLetter(RawText(src.Exif(ref)));
  const char positive = negative == 'S' ? 'N' : 'E';
  if (r != '\0' && r != negative && r != positive) return false;
  *out = r == negative ? -degrees : degrees;
  return true;
}

void ReadGps(const Sources& src, ImageMetadata* m) {
  double v = 0;
  if (ExifCoordinate(src, kExGpsLatitude, kExGpsLatitudeRef, 'S', 90, &v) ||
      (ParseXmpGpsCoordinate(XmpScalar(src.Xmp(kXGpsLatitude)), &v) && std::fabs(v) <= 90)) {
    m->gpsLatitude = v;
    m->gpsFlags |= kGpsLatitude;
  }
  if (ExifCoordinate(src, kExGpsLongitude, kExGpsLongitudeRef, 'W', 180, &v) ||
      ParseXmpGpsCoordinate(XmpScalar(src.Xmp(kXGpsLongitude)), &v)) {
    m->gpsLongitude = v;
    m->gpsFlags |= kGpsLongitude;
  }

  // Altitude reference 1 means below sea level.
  constexpr double kMaxAltitude = 1e6;
  uint64_t ref = 0;
  long long xmpRef = 0;
  if (RealAt(src.Exif(kExGpsAltitude), 0, &v) && v >= 0 && v <= kMaxAltitude) {
    const bool below = UIntAt(src.Exif(kExGpsAltitudeRef), 0, 255, &ref) && ref == 1;
    m->gpsAltitude = static_cast<float>(below ? -v : v);
    m->gpsFlags |= kGpsAltitude;
  } else if (XmpReal(src.Xmp(kXGpsAltitude), &v) && v >= 0 && v <= kMaxAltitude) {
    const bool below = XmpInteger(src.Xmp(kXGpsAltitudeRef), 0, 255, &xmpRef) && xmpRef == 1;
    m->gpsAltitude = static_cast<float>(below ? -v : v);
    m->gpsFlags |= kGpsAltitude;
  }

  // Speed in km/h; the reference defaults to K.
  const auto speedFactor = [](char r) {
    switch (r) {
      case '\0':
      case 'K':
        return 1.0;
      case 'M':
        return 1.609344;
      case 'N':
        return 1.852;
      default:
        return 0.0;
    }
  };
  double factor = 0;
  if (RealAt(src.Exif(kExGpsSpeed), 0, &v)) {
    factor = speedFactor(FirstLetter(RawText(src.Exif(kExGpsSpeedRef))));
  } else if (XmpReal(src.Xmp(kXGpsSpeed), &v)) {
    factor = speedFactor(FirstLetter(XmpScalar(src.Xmp(kXGpsSpeedRef))));
  }
  if (factor > 0 && v >= 0 && v <= 1e6) {
    m->gpsSpeed = static_cast<float>(v * factor);
    m->gpsFlags |= kGpsSpeed;
  }

  // Direction: true north unless the reference says M.
  char dirRef = 'X';
  if (RealAt(src.Exif(kExGpsImgDirection), 0, &v)) {
    dirRef = FirstLetter(RawText(src.Exif(kExGpsImgDirectionRef)));
  } else if (XmpReal(src.Xmp(kXGpsImgDirection), &v)) {
    dirRef = FirstLetter(XmpScalar(src.Xmp(kXGpsImgDirectionRef)));
  }
  if ((dirRef == '\0' || dirRef == 'T' || dirRef == 'M') && v >= 0 && v <= 360) {
    m->gpsImgDirection = static_cast<float>(v >= 360 ? v - 360 : v);
    m->gpsFlags |= dirRef == 'M' ? kGpsDirectionMagnetic : kGpsDirectionTrue;
  }

  // Time stamp: GPSDateStamp plus GPSTimeStamp (hours, minutes, seconds), UTC.
  MetaDateTime date;
  double hms[3] = {0, 0, 0};
  const ExifEntry* time = src.Exif(kExGpsTimeStamp);
  bool timeOk = time != nullptr && time->count >= 3;
  for (long i = 0; timeOk && i < 3; ++i) timeOk = RealAt(time, i, &hms[i]) && hms[i] >= 0;
  if (timeOk && ParseMetaDateTime(RawText(src.Exif(kExGpsDateStamp)), &date) && hms[0] < 24 &&
      hms[1] < 60 && hms[2] < 61) {
    const double seconds = std::floor(hms[2]);
    m->gpsTimeStamp.Set(date.year, date.month, date.day, static_cast<int>(hms[0]),
                        static_cast<int>(hms[1]), static_cast<int>(seconds),
                        std::min(999, static_cast<int>(std::lround((hms[2] - seconds) * 1000))));
  }
  if (!m->gpsTimeStamp.present) {
    bool hasZone = false;
    int zone = 0;
    if (ParseMetaDateTime(XmpScalar(src.Xmp(kXGpsTimeStamp)), &m->gpsTimeStamp, &hasZone, &zone) &&
        hasZone && zone != 0 && !ShiftMinutes(&m->gpsTimeStamp, -zone)) {
      m->gpsTimeStamp = MetaDateTime{};
    }
  }
  if (m->gpsTimeStamp.present) m->gpsFlags |= kGpsTimeStamp;

  std::string status = RawText(src.Exif(kExGpsStatus));
  if (status.empty()) status = XmpScalar(src.Xmp(kXGpsStatus));
  m->gpsMeasurementActive = FirstLetter(status) == 'A' ? 1 : 0;

  m->gpsMapDatum = Text(src.Exif(kExGpsMapDatum));
  SetText(&m->gpsMapDatum, XmpText(src.Xmp(kXGpsMapDatum)));
}

void ReadIptc(const Sources& src, ImageMetadata* m) {
  for (const IptcText& t : kIptcTexts) {
    std::wstring value = XmpText(src.Xmp(t.xmp));
    if (value.empty() && t.iim != 0) {
      value = IimText(src, t.iim);
      // IIM genres carry a reference number first: "011:Feature".
      if (t.iim == kIimObjectAttribute && value.size() > 4 && value[3] == L':' &&
          value.find_first_not_of(L"0123456789") == 3)
        value.erase(0, 4);
    }
    m->*t.member = std::move(value);
  }
  m->documentId = XmpText(src.Xmp(kXDocumentId));

  bool hasZone = false;
  int zone = 0;
  if (!ParseMetaDateTime(XmpScalar(src.Xmp(kXDateCreated)), &m->iptcDateCreated, &hasZone, &zone)) {
    const std::string date = IimScalar(src, kIimDateCreated);
    const std::string time = IimScalar(src, kIimTimeCreated);
    if (!ParseMetaDateTime(time.empty() ? date : date + "T" + time, &m->iptcDateCreated, &hasZone,
                           &zone)) {
      ParseMetaDateTime(date, &m->iptcDateCreated);
      hasZone = false;
    }
  }
  if (m->iptcDateCreated.present && hasZone) {
    m->hasIptcTimeBias = true;
    m->iptcDateCreatedTimeBias = zone;
  }
}

// The picture's size as its own header gives it, else as the library found it, else as
// the EXIF values say.
struct PixelSources {
  PictureHeaderInfo header;
  uint64_t libraryWidth = 0;
  uint64_t libraryHeight = 0;
};

void ReadPixels(const PixelSources& pixels, const Sources& src, ImageMetadata* m) {
  const PictureHeaderInfo& header = pixels.header;
  uint64_t w = 0, h = 0;
  if (header.known) {
    w = header.width;
    h = header.height;
  } else if (pixels.libraryWidth > 0 && pixels.libraryHeight > 0) {
    w = pixels.libraryWidth;
    h = pixels.libraryHeight;
  } else if (!UIntAt(src.Exif(kExPixelXDimension), 0, 0x7FFFFFFF, &w) ||
             !UIntAt(src.Exif(kExPixelYDimension), 0, 0x7FFFFFFF, &h)) {
    w = h = 0;
  }
  m->nativeWidth = static_cast<uint32_t>(w);
  m->nativeHeight = static_cast<uint32_t>(h);
  const bool swapped = m->orientation >= 5 && m->orientation <= 8;
  m->width = swapped ? m->nativeHeight : m->nativeWidth;
  m->height = swapped ? m->nativeWidth : m->nativeHeight;
  m->rotated = (m->orientation == 3 || swapped) ? 1 : 0;

  m->bitsPerPixel = header.bitsPerPixel;
  m->pixelFormat = header.pixelFormat;
  m->supportsTransparency = header.supportsTransparency ? 1 : 0;
  if (!header.known && m->mimeType == L"image/tiff") {
    // Plain TIFF: the layout is in the first IFD.
    const ExifEntry* bits = src.Exif(kExBitsPerSample);
    uint64_t samples = 0, sum = 0, b = 0, photometric = 0, extra = 0;
    if (!UIntAt(src.Exif(kExSamplesPerPixel), 0, 16, &samples))
      samples = bits != nullptr ? std::min<uint64_t>(bits->count, 16) : 0;
    for (long i = 0; i < static_cast<long>(samples); ++i) {
      if (!UIntAt(bits, bits != nullptr && bits->count > static_cast<uint64_t>(i) ? i : 0, 64, &b))
        b = 0;
      sum += b;
    }
    const bool alpha = UIntAt(src.Exif(kExExtraSamples), 0, 2, &extra) && extra >= 1;
    UIntAt(src.Exif(kExPhotometric), 0, 0xFFFF, &photometric);
    if (sum > 0 && sum <= 255) {
      m->bitsPerPixel = static_cast<uint8_t>(sum);
      const bool deep = samples > 0 && sum / samples > 8;
      if (photometric == 5 && samples == 4) {
        m->pixelFormat = deep ? L"64bppCMYK" : L"32bppCMYK";
      } else if (samples == 1) {
        m->pixelFormat = std::to_wstring(sum) + (photometric == 3 ? L"bppIndexed" : L"bppGray");
      } else if (samples == 3) {
        m->pixelFormat = deep ? L"48bppRGB" : L"24bppBGR";
      } else if (samples == 4 && alpha) {
        m->pixelFormat = deep ? L"64bppRGBA" : L"32bppBGRA";
      }
    }
    m->supportsTransparency = alpha ? 1 : 0;
  }
}

void ReadIcc(Exiv2::Image* image, ImageMetadata* m) {
  if (image == nullptr || !image->iccProfileDefined()) return;
  const Exiv2::DataBuf* icc = image->iccProfile();
  if (icc == nullptr || icc->pData_ == nullptr || icc->size_ <= 0) return;
  m->iccProfileName = IccProfileDescription(icc->pData_, static_cast<size_t>(icc->size_));
}

std::wstring Quoted(std::wstring_view path) { return L"\"" + std::wstring(path) + L"\""; }

// The XMP of a picture: its sidecar's, and (when the picture itself was read) the packet that
// the head kept from the library and what the library read. The sidecar is looked for only
// here, so a read that needs no XMP costs no lookup beside the picture.
void ReadXmp(std::wstring_view path, std::optional<std::string_view> packet, Exiv2::Image* image,
             bool pictureRead, Sources* src, ImageMetadata* out, MetadataReadStatus* status) {
  const std::wstring sidecar = CExiv2MetadataReader::FindSidecar(path);
  if (!sidecar.empty()) {
    try {
      Exiv2::Image::AutoPtr sidecarImage = Exiv2::ImageFactory::open(ToUtf8(sidecar));
      sidecarImage->readMetadata();
      src->sidecarXmp.Add(sidecarImage->xmpData());
      out->sidecarPath = sidecar;
    } catch (const std::exception& e) {
      status->warnings.push_back(L"Cannot read the sidecar " + Quoted(sidecar) + L": " +
                                 DecodeMetadataText(e.what()));
    }
  }
  if (!pictureRead) return;
  if (image != nullptr) src->embeddedXmp.Add(image->xmpData());
  if (packet) {
    std::vector<XmpKeyedProperty> packetXmp;
    std::string why;
    if (!ParseXmpPacket(*packet, &packetXmp, &why)) {
      status->warnings.push_back(L"Cannot read the XMP packet of " + Quoted(path) + L": " +
                                 DecodeMetadataText(why));
    }
    src->embeddedXmp.Add(packetXmp);
  }
}

}  // namespace

bool CExiv2MetadataReader::Initialize() {
  std::call_once(g_initOnce, InitializeOnce);
  return g_xmpReady;
}

CExiv2MetadataReader::CExiv2MetadataReader() { Initialize(); }

std::wstring CExiv2MetadataReader::FindSidecar(std::wstring_view picturePath) {
  try {
    // The name with its extension replaced: the extension is what follows the last dot of the
    // file name, unless that dot opens the name (".hidden" has none).
    const std::size_t slash = picturePath.find_last_of(L'/');
    const std::size_t nameStart = slash == std::wstring_view::npos ? 0 : slash + 1;
    const std::wstring_view name = picturePath.substr(nameStart);
    if (name.empty() || name == L"." || name == L"..") return {};
    const std::size_t dot = picturePath.find_last_of(L'.');
    const std::size_t stemEnd =
        dot != std::wstring_view::npos && dot > nameStart ? dot : picturePath.size();
    std::wstring candidate;
    candidate.reserve(stemEnd + 4);
    candidate.append(picturePath.substr(0, stemEnd));
    for (const wchar_t* ext : {L".xmp", L".XMP"}) {
      candidate.resize(stemEnd);
      candidate.append(ext);
      if (candidate == picturePath) continue;
      // During a run the folder's listing answers for the usual case of no sidecar; a name
      // it holds is still checked to be a regular file.
      if (ListedFileExists(candidate) && IsRegularFile(candidate)) return candidate;
    }
  } catch (...) {
    // Out of memory: the picture is read without its sidecar.
  }
  return {};
}

MetadataReadStatus CExiv2MetadataReader::Read(std::wstring_view path, ImageMetadata* out,
                                              std::optional<std::uintmax_t> knownSize,
                                              uint32_t values) const noexcept {
  MetadataReadStatus status;
  if (out == nullptr) {
    status.message = L"No place to store the metadata of " + Quoted(path) + L".";
    return status;
  }
  try {
    *out = ImageMetadata{};
    if ((values & kMetadataAll) == 0) {
      status.ok = true;
      return status;
    }
    WarningScope warnings(&status.warnings);
    Sources src;

    // One read of the file's head usually holds all of its metadata; parsing it from memory
    // spares the several opens and seeks of reading through the file. The head outlives the
    // image, which parses it in place.
    PictureFileHead head;
    std::optional<std::string_view> packet;
    std::vector<ExifEntry> exifEntries;
    PixelSources pixels;
    bool plain = false;
    Exiv2::Image::AutoPtr image;
    try {
      if (head.Read(path, PictureFileHead::kDefaultLimit, knownSize) && head.Sufficient() &&
          head.size() > 0) {
        // The library's XMP tree costs more than everything else in a small picture; the
        // packet is read below instead, into the same properties, when a value needs it.
        packet = head.DetachJpegXmp();
        // So does its EXIF tree: a JPEG with a plain EXIF block and nothing else for the
        // library to read is read here too.
        if (const std::optional<std::string_view> tiff = head.PlainJpegExif();
            tiff && (tiff->empty() || ParseExifBlock(*tiff, &exifEntries))) {
          Exiv2::MemIo io(head.data(), static_cast<long>(head.size()));
          ProbePictureHeader(io, &pixels.header);
          plain = pixels.header.known;
        }
        if (!plain) image = Exiv2::ImageFactory::open(head.data(), static_cast<long>(head.size()));
      } else {
        image = Exiv2::ImageFactory::open(ToUtf8(path));
      }
      if (image.get() != nullptr) image->readMetadata();
      status.ok = true;
    } catch (const std::exception& e) {
      status.message =
          L"Cannot read the metadata of " + Quoted(path) + L": " + DecodeMetadataText(e.what());
      image.reset();
      plain = false;
      pixels = PixelSources{};
    }
    if (plain) {
      IndexExif(exifEntries, &src);
      out->mimeType = L"image/jpeg";
    } else if (image.get() != nullptr) {
      IndexExif(image->exifData(), &src);
      if ((values & (kMetadataMarks | kMetadataIptc)) != 0) IndexIptc(image->iptcData(), &src);
      out->mimeType = DecodeMetadataText(image->mimeType());
      if ((values & kMetadataPixels) != 0) {
        pixels.header = PictureHeaderInfo{};
        ProbePictureHeader(image->io(), &pixels.header);
        if (image->pixelWidth() > 0 && image->pixelHeight() > 0) {
          pixels.libraryWidth = static_cast<uint64_t>(image->pixelWidth());
          pixels.libraryHeight = static_cast<uint64_t>(image->pixelHeight());
        }
      }
    }

    // The date and the orientation come from EXIF first: when it has them, the XMP behind
    // them (sidecar and packet) is not read at all unless another value needs it.
    bool needsXmp = (values & kMetadataXmpFirst) != 0;
    if (!needsXmp && (values & kMetadataDates) != 0) {
      ReadDates(src, out);
      needsXmp = !out->dateTaken.present;
    }
    if (!needsXmp && (values & kMetadataPixels) != 0) {
      ReadOrientation(src, out);
      needsXmp = out->orientation == 0;
    }
    if (needsXmp) {
      out->dateTaken = MetaDateTime{};
      out->orientation = 0;
      ReadXmp(path, packet, image.get(), plain || image.get() != nullptr, &src, out, &status);
    }

    if ((values & kMetadataDates) != 0) ReadDates(src, out);
    if ((values & (kMetadataCamera | kMetadataPixels)) != 0) ReadOrientation(src, out);
    if ((values & kMetadataCamera) != 0) ReadCameraValues(src, out);
    if ((values & kMetadataStrings) != 0) {
      ReadStrings(src, out);
      if (out->comment.empty() && image.get() != nullptr)
        out->comment = DecodeMetadataText(image->comment());
    }
    if ((values & kMetadataMarks) != 0) ReadMarks(src, out);
    if ((values & kMetadataGps) != 0) ReadGps(src, out);
    if ((values & kMetadataIptc) != 0) ReadIptc(src, out);
    if ((values & kMetadataIcc) != 0) ReadIcc(image.get(), out);
    if ((values & kMetadataPixels) != 0) ReadPixels(pixels, src, out);
    return status;
  } catch (const std::bad_alloc&) {
    status.ok = false;
    status.message = L"Out of memory while reading the metadata of " + Quoted(path) + L".";
  } catch (const std::exception& e) {
    status.ok = false;
    status.message =
        L"Cannot read the metadata of " + Quoted(path) + L": " + DecodeMetadataText(e.what());
  } catch (...) {
    status.ok = false;
    status.message = L"Cannot read the metadata of " + Quoted(path) + L".";
  }
  // Whatever was half-filled is not trusted.
  *out = ImageMetadata{};
  return status;
}

}  // namespace lmk
