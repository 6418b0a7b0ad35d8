// What the standalone host knows about one picture's content: camera values, marks, GPS,
// IPTC core fields and pixel geometry, as read from the file and its ".xmp" sidecar.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace lmk {

/// A calendar date and wall-clock time as written in the picture. Which zone it is in depends
/// on the field (see each member); nothing here converts it.
struct MetaDateTime {
  bool present = false;
  int year = 0;         // 1601..9999 when present
  int month = 0;        // 1..12
  int day = 0;          // 1..31, valid for the month
  int hour = 0;         // 0..23
  int minute = 0;       // 0..59
  int second = 0;       // 0..59 (a leap second 60 is stored as 59)
  int millisecond = 0;  // 0..999

  /// Fills the fields when they form a real date and time; otherwise leaves *this absent and
  /// returns false. Files carry "0000:00:00 00:00:00" and worse, so this is the one gate.
  bool Set(int y, int mo, int d, int h, int mi, int s, int ms = 0);

  bool operator==(const MetaDateTime&) const = default;
};

/// Bits of ImageMetadata::gpsFlags, one per GPS value found. Rules test them, so the values
/// are fixed:
///   0x01 latitude, 0x02 longitude, 0x04 time stamp (date and time both present),
///   0x08 altitude, 0x10 speed,
///   0x20 image direction, measured from magnetic north,
///   0x40 image direction, measured from true north.
/// "0x20 or 0x40" therefore means that a direction is present; at most one of them is set.
/// A direction without its reference counts as true north, the default the EXIF standard
/// gives for that reference.
enum GpsFlag : uint16_t {
  kGpsLatitude = 0x01,
  kGpsLongitude = 0x02,
  kGpsTimeStamp = 0x04,
  kGpsAltitude = 0x08,
  kGpsSpeed = 0x10,
  kGpsDirectionMagnetic = 0x20,
  kGpsDirectionTrue = 0x40,
};

/// Labelling conventions, one meaning wherever a convention appears (the label action's
/// setting, the names the host offers, Meta.XMP.LabellingConvention of a record): below 1 the
/// five colour labels, 1 and above the nine. xmp:Label is free text; the colour names map to
/// numbers (case-insensitive), and the five workflow names of other tools to the same first five:
///   number  colour        workflow
///   1       "Red"         "Select"
///   2       "Yellow"      "Second"
///   3       "Green"       "Approved"
///   4       "Blue"        "Review"
///   5       "Purple"      "To Do"
///   6..9    "Cyan", "Gray", "Black", "White" (nine-label convention only)
/// A picture's convention is the smallest that holds its label; no label or any other text
/// gives label 0 under convention 0 (the text stays in xmpLabelText).
enum LabelConvention : int16_t {
  kLabelConventionFive = 0,
  kLabelConventionNone = kLabelConventionFive,  ///< what a picture without a label reports
  kLabelConventionNine = 1,
};

/// The label names the host offers and writes under a labelling convention, label 1 first.
std::span<const std::wstring_view> ConventionLabelNames(int16_t convention);

/// Maps an xmp:Label text to its number (0..9) and stores the convention it belongs to.
int16_t LabelFromText(std::wstring_view text, int16_t* convention);

/// Everything read from one picture. Numbers are 0 and strings empty when the file does not
/// hold the value; the has* flags say which numbers were really found where 0 is a legal value.
/// Text is decoded from UTF-8, or from Latin-1 where the bytes are not valid UTF-8.
///
/// Sources, first found wins:
///  - EXIF for camera values; XMP (exif:, tiff:, aux: namespaces) fills what EXIF lacks.
///  - XMP for rating, label and urgency (the IPTC-IIM urgency when XMP has none).
///  - IPTC core fields: XMP (Iptc4xmpCore, dc, photoshop, xmpRights, xmpMM) wins over IPTC-IIM,
///    as current writers keep both and update XMP first.
///  - A ".xmp" sidecar beside the picture wins over the XMP embedded in it.
/// Repeated values (keywords, creators, scene and subject codes) are joined with "; ".
struct ImageMetadata {
  // Date taken: EXIF DateTimeOriginal, else DateTimeDigitized, else DateTime, else the XMP
  // equivalents; camera-local wall-clock time (EXIF has no zone).
  MetaDateTime dateTaken;

  // Camera values. Rationals become floats; a zero denominator means "not present".
  bool hasExposureBias = false;
  float exposureBias = 0;      // EV
  float exposureTime = 0;      // seconds
  float fNumber = 0;           // f-number (from the APEX aperture when FNumber is missing)
  float maxApertureValue = 0;  // smallest f-number of the lens, as an f-number (not APEX)
  float focalLength = 0;       // mm
  float digitalZoomRatio = 0;  // 0 = not used
  float subjectDistance = 0;   // metres
  bool hasFlash = false;
  uint16_t flash = 0;  // EXIF Flash bits
  uint16_t focalLengthIn35mmFilm = 0;
  uint16_t meteringMode = 0;
  uint16_t orientation = 0;  // 1..8, 0 when absent or out of range
  uint16_t programMode = 0;  // EXIF ExposureProgram
  bool hasContrast = false;
  uint16_t contrast = 0;
  bool hasSaturation = false;
  uint16_t saturation = 0;
  bool hasSharpness = false;
  uint16_t sharpness = 0;
  uint16_t subjectDistanceRange = 0;
  uint16_t sensingMethod = 0;
  bool hasExposureMode = false;
  uint16_t exposureMode = 0;
  bool hasWhiteBalance = false;
  uint16_t whiteBalance = 0;
  uint16_t lightSource = 0;
  uint32_t isoSpeed = 0;       // ISOSpeedRatings, else the newer sensitivity tags or maker notes
  bool hasFileNumber = false;  // from maker notes that carry one (folder*10000 + file)
  uint32_t fileNumber = 0;
  uint32_t folderNumber = 0;

  std::wstring iccProfileName;  // description of the embedded ICC profile
  std::wstring cameraMake;
  std::wstring cameraModel;
  std::wstring lensModel;
  std::wstring comment;  // EXIF UserComment, else ImageDescription, else the JPEG comment
  std::wstring artist;
  std::wstring copyright;
  std::wstring imageUniqueId;
  std::wstring cameraSerialNumber;  // BodySerialNumber, else the maker notes' serial

  // Marks.
  bool hasRating = false;
  int16_t xmpRating = 0;  // -1 (rejected) .. 5
  int16_t xmpLabel = 0;   // 0 (none) .. 9, see LabelConvention
  int16_t xmpLabellingConvention = kLabelConventionNone;
  std::wstring xmpLabelText;  // as written
  bool hasUrgency = false;
  int16_t photoshopUrgency = 0;  // 0..8 (1 most urgent)

  // GPS; gpsFlags tells which values below are present.
  uint16_t gpsFlags = 0;
  double gpsLatitude = 0;            // degrees, north positive
  double gpsLongitude = 0;           // degrees, east positive
  float gpsAltitude = 0;             // metres, below sea level negative
  float gpsSpeed = 0;                // km/h (converted from mph and knots)
  float gpsImgDirection = 0;         // degrees 0..360
  MetaDateTime gpsTimeStamp;         // UTC
  uint8_t gpsMeasurementActive = 0;  // 1 when GPSStatus is "A"
  std::wstring gpsMapDatum;

  // IPTC core. dateCreated is wall-clock time where the picture was taken; its offset from
  // UTC is in dateCreatedTimeBias when the file gives one.
  MetaDateTime iptcDateCreated;
  bool hasIptcTimeBias = false;
  int32_t iptcDateCreatedTimeBias = 0;  // minutes east of UTC (+01:00 gives 60)
  std::wstring iptcIntellectualGenre;
  std::wstring iptcScene;
  std::wstring iptcLocation;
  std::wstring iptcCity;
  std::wstring iptcStateProvince;
  std::wstring iptcCountryCode;
  std::wstring iptcCountry;
  std::wstring iptcCreator;
  std::wstring iptcCreatorJobTitle;
  std::wstring iptcCreatorAddress;
  std::wstring iptcCreatorCity;
  std::wstring iptcCreatorStateProvince;
  std::wstring iptcCreatorPostalCode;
  std::wstring iptcCreatorCountry;
  std::wstring iptcCreatorPhones;
  std::wstring iptcCreatorEmails;
  std::wstring iptcCreatorWebsites;
  std::wstring iptcHeadline;
  std::wstring iptcDescription;
  std::wstring iptcKeywords;
  std::wstring iptcSubjectCodes;
  std::wstring iptcDescriptionWriter;
  std::wstring iptcTitle;
  std::wstring iptcJobIdentifier;
  std::wstring iptcInstructions;
  std::wstring iptcProvider;
  std::wstring iptcSource;
  std::wstring iptcCopyrightNotice;
  std::wstring iptcRightsUsageTerms;
  std::wstring iptcCopyrightedFlag;  // xmpRights:Marked as written ("True"/"False")
  std::wstring iptcWebStatement;
  std::wstring documentId;  // xmpMM:DocumentID

  // Pixels. The native size is the stored one: the image stream's own size, else EXIF
  // PixelX/YDimension (an editor that crops often leaves those stale). width/height are the
  // size as displayed: swapped for orientations 5..8.
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t nativeWidth = 0;
  uint32_t nativeHeight = 0;
  uint8_t bitsPerPixel = 0;          // 0 when the format is not one we can tell
  std::wstring pixelFormat;          // e.g. "24bppBGR", "8bppGray", "32bppBGRA", "8bppIndexed"
  uint8_t rotated = 0;               // 1 when the orientation turns the picture (3, 5, 6, 7, 8)
  uint8_t supportsTransparency = 0;  // PNG and GIF; WebP and TIFF with an alpha channel
  std::wstring mimeType;             // as the reader identified the format, e.g. "image/jpeg"
  std::wstring sidecarPath;          // the ".xmp" sidecar that was read, empty when none

  bool operator==(const ImageMetadata&) const = default;
};

}  // namespace lmk
