// CStandaloneHost: the list, the range the workers share, and the records built from the file
// system and the picture's metadata.
#include "host/standalone_host.h"

#include <chrono>
#include <cwctype>
#include <mutex>

#include "com/bstr.h"
#include "com/bstr_out.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "host/label_name_enum.h"
#include "host/wic_pixel_format.h"
#include "lumarko_version.h"
#include "platform/event_log_writer.h"
#include "platform/file_facts.h"
#include "platform/settings_store.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

std::int64_t SteadyNanoseconds() noexcept {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// FNV-1a, 64 bits, over the path's UTF-8 bytes: the same file gets the same code in every
// session, which is all the record promises.
LONGLONG PathHash(std::wstring_view path) {
  uint64_t hash = 14695981039346656037ull;
  for (const char byte : ToUtf8(path)) {
    hash ^= static_cast<unsigned char>(byte);
    hash *= 1099511628211ull;
  }
  return static_cast<LONGLONG>(hash);
}

// A date as the picture writes it; local says whether it is this machine's wall-clock time
// (converted to UTC) or already UTC. 0 for an absent or impossible date.
FILETIME ToFileTime(const MetaDateTime& time, bool local) {
  if (!time.present) return FILETIME{};
  SYSTEMTIME system{};
  system.wYear = static_cast<WORD>(time.year);
  system.wMonth = static_cast<WORD>(time.month);
  system.wDay = static_cast<WORD>(time.day);
  system.wHour = static_cast<WORD>(time.hour);
  system.wMinute = static_cast<WORD>(time.minute);
  system.wSecond = static_cast<WORD>(time.second);
  system.wMilliseconds = static_cast<WORD>(time.millisecond);
  FILETIME file{};
  if (!SystemTimeToFileTime(&system, &file)) return FILETIME{};
  if (!local) return file;
  FILETIME utc{};
  if (!LocalFileTimeToFileTime(&file, &utc)) return FILETIME{};
  return utc;
}

// The IPTC creation date: wall-clock time where the picture was taken, in UTC when the file
// gives its offset, else taken as this machine's local time.
FILETIME IptcDate(const ImageMetadata& meta) {
  if (!meta.hasIptcTimeBias) return ToFileTime(meta.iptcDateCreated, true);
  const FILETIME wall = ToFileTime(meta.iptcDateCreated, false);
  if (FileTimeToInt64(wall) == 0) return wall;
  const int64_t utc =
      FileTimeToInt64(wall) - static_cast<int64_t>(meta.iptcDateCreatedTimeBias) * 600000000LL;
  return utc > 0 ? Int64ToFileTime(utc) : FILETIME{};
}

// The record's GPS presence bits from the reader's: a position needs both coordinates, a map
// datum counts with the measurement status.
USHORT GpsFlags(const ImageMetadata& meta) {
  USHORT flags = 0;
  if ((meta.gpsFlags & kGpsLatitude) != 0 && (meta.gpsFlags & kGpsLongitude) != 0) {
    flags |= LMKGPS_POSITION;
  }
  if ((meta.gpsFlags & kGpsTimeStamp) != 0) flags |= LMKGPS_TIMESTAMP;
  if (!meta.gpsMapDatum.empty()) flags |= LMKGPS_MAPDATUM;
  if ((meta.gpsFlags & kGpsAltitude) != 0) flags |= LMKGPS_ALTITUDE;
  if ((meta.gpsFlags & kGpsSpeed) != 0) flags |= LMKGPS_SPEED;
  if ((meta.gpsFlags & kGpsDirectionMagnetic) != 0) flags |= LMKGPS_IMGDIRECTION_MAGNETIC;
  if ((meta.gpsFlags & kGpsDirectionTrue) != 0) flags |= LMKGPS_IMGDIRECTION_TRUE;
  return flags;
}

void FillMetadata(const ImageMetadata& meta, CImageRecord& image) {
  using R = LMKIMAGERECORD;
  LMKIMAGERECORD& r = image.record();
  r.dateTaken = ToFileTime(meta.dateTaken, true);
  r.exposureBias = meta.exposureBias;
  r.exposureTime = meta.exposureTime;
  r.fNumber = meta.fNumber;
  r.maxApertureValue = meta.maxApertureValue;
  r.focalLength = meta.focalLength;
  r.digitalZoomRatio = meta.digitalZoomRatio;
  r.subjectDistance = meta.subjectDistance;
  r.flash = meta.flash;
  r.focalLengthInFilm = meta.focalLengthIn35mmFilm;
  r.meteringMode = meta.meteringMode;
  r.orientation = meta.orientation;
  r.programMode = meta.programMode;
  r.contrast = meta.contrast;
  r.saturation = meta.saturation;
  r.sharpness = meta.sharpness;
  r.subjectDistanceRange = meta.subjectDistanceRange;
  r.sensingMethod = meta.sensingMethod;
  r.exposureMode = meta.exposureMode;
  r.whiteBalance = meta.whiteBalance;
  r.lightSource = meta.lightSource;
  r.isoSpeed = meta.isoSpeed;
  r.fileNumber = meta.fileNumber;
  r.folderNumber = meta.folderNumber;
  image.SetText(&R::iccProfileName, meta.iccProfileName);
  image.SetText(&R::cameraMake, meta.cameraMake);
  image.SetText(&R::cameraModel, meta.cameraModel);
  image.SetText(&R::lensModel, meta.lensModel);
  image.SetText(&R::comment, meta.comment);
  image.SetText(&R::artist, meta.artist);
  image.SetText(&R::copyright, meta.copyright);
  image.SetText(&R::imageUniqueId, meta.imageUniqueId);
  image.SetText(&R::cameraSerialNumber, meta.cameraSerialNumber);

  r.xmpRating = meta.xmpRating;
  r.xmpLabel = meta.xmpLabel;
  r.xmpLabellingConvention = meta.xmpLabellingConvention;
  r.photoshopUrgency = meta.photoshopUrgency;

  r.gpsFlags = GpsFlags(meta);
  if ((r.gpsFlags & LMKGPS_POSITION) != 0) {
    r.gpsLatitude = meta.gpsLatitude;
    r.gpsLongitude = meta.gpsLongitude;
  }
  r.gpsTimeStamp = ToFileTime(meta.gpsTimeStamp, false);
  r.gpsAltitude = meta.gpsAltitude;
  r.gpsSpeed = meta.gpsSpeed;
  r.gpsImgDirection = meta.gpsImgDirection;
  r.gpsMeasurementActive = meta.gpsMeasurementActive;
  image.SetText(&R::gpsMapDatum, meta.gpsMapDatum);

  r.iptcDateCreated = IptcDate(meta);
  r.iptcDateCreatedTimeBias = meta.iptcDateCreatedTimeBias;
  image.SetText(&R::iptcIntellectualGenre, meta.iptcIntellectualGenre);
  image.SetText(&R::iptcScene, meta.iptcScene);
  image.SetText(&R::iptcLocation, meta.iptcLocation);
  image.SetText(&R::iptcCity, meta.iptcCity);
  image.SetText(&R::iptcStateProvince, meta.iptcStateProvince);
  image.SetText(&R::iptcIsoCountryCode, meta.iptcCountryCode);
  image.SetText(&R::iptcCountry, meta.iptcCountry);
  image.SetText(&R::iptcCreator, meta.iptcCreator);
  image.SetText(&R::iptcCreatorJobTitle, meta.iptcCreatorJobTitle);
  image.SetText(&R::iptcCreatorAddress, meta.iptcCreatorAddress);
  image.SetText(&R::iptcCreatorCity, meta.iptcCreatorCity);
  image.SetText(&R::iptcCreatorStateProvince, meta.iptcCreatorStateProvince);
  image.SetText(&R::iptcCreatorPostalCode, meta.iptcCreatorPostalCode);
  image.SetText(&R::iptcCreatorCountry, meta.iptcCreatorCountry);
  image.SetText(&R::iptcCreatorPhones, meta.iptcCreatorPhones);
  image.SetText(&R::iptcCreatorEmails, meta.iptcCreatorEmails);
  image.SetText(&R::iptcCreatorWebsites, meta.iptcCreatorWebsites);
  image.SetText(&R::iptcHeadline, meta.iptcHeadline);
  image.SetText(&R::iptcDescription, meta.iptcDescription);
  image.SetText(&R::iptcKeywords, meta.iptcKeywords);
  image.SetText(&R::iptcSubjectCodes, meta.iptcSubjectCodes);
  image.SetText(&R::iptcDescriptionWriter, meta.iptcDescriptionWriter);
  image.SetText(&R::iptcTitle, meta.iptcTitle);
  image.SetText(&R::iptcJobIdentifier, meta.iptcJobIdentifier);
  image.SetText(&R::iptcInstructions, meta.iptcInstructions);
  image.SetText(&R::iptcProvider, meta.iptcProvider);
  image.SetText(&R::iptcSource, meta.iptcSource);
  image.SetText(&R::iptcCopyrightNotice, meta.iptcCopyrightNotice);
  image.SetText(&R::iptcRightsUsageTerms, meta.iptcRightsUsageTerms);
  image.SetText(&R::iptcCopyrightedFlag, meta.iptcCopyrightedFlag);
  image.SetText(&R::iptcWebStatement, meta.iptcWebStatement);
  image.SetText(&R::iptcDocumentId, meta.documentId);

  r.width = meta.width;
  r.nativeWidth = meta.nativeWidth;
  r.height = meta.height;
  r.nativeHeight = meta.nativeHeight;
  r.bpp = meta.bitsPerPixel;
  image.SetText(&R::wicPixelFormat, WicPixelFormatText(meta.pixelFormat));
  r.rotated = meta.rotated;
  r.supportsTransparency = meta.supportsTransparency;
}

std::wstring Upper(std::wstring_view text) {
  std::wstring upper(text);
  for (wchar_t& c : upper) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  return upper;
}

// The record's metadata keys by the groups that feed them: a name is matched whole, or by its
// beginning when that ends in a dot. Earlier rows win.
struct KeyValues {
  std::wstring_view name;
  uint32_t values;
};

constexpr KeyValues kKeyValues[] = {
    {L"Meta.DateTaken", kMetadataDates},
    {L"Meta.DateTakenFT", kMetadataDates},
    {L"Meta.IccProfileName", kMetadataIcc},
    {L"Meta.CameraMake", kMetadataStrings},
    {L"Meta.CameraModel", kMetadataStrings},
    {L"Meta.LensModel", kMetadataStrings},
    {L"Meta.Comment", kMetadataStrings},
    {L"Meta.Artist", kMetadataStrings},
    {L"Meta.Copyright", kMetadataStrings},
    {L"Meta.ImageUniqueID", kMetadataStrings},
    {L"Meta.CameraSerialNumber", kMetadataStrings},
    {L"Meta.XMP.", kMetadataMarks},
    {L"Meta.Photoshop.", kMetadataMarks},
    {L"Meta.GPS.", kMetadataGps},
    {L"Meta.IPTC.", kMetadataIptc},
    {L"Meta.", kMetadataCamera},
    {L"Image.Index", 0},
    {L"Image.", kMetadataPixels},
};

// Record names compare as ASCII without case, so that a name spelled otherwise never loses
// its values.
bool SameName(std::wstring_view a, std::wstring_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](wchar_t c) { return c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

std::shared_ptr<SettingsStore> UserStore() {
  std::shared_ptr<SettingsStore> store;
  if (FAILED(SettingsStore::Open(SettingsScope::CurrentUser, &store))) return nullptr;
  return store;
}

}  // namespace

CStandaloneHost::CStandaloneHost(std::vector<std::wstring> files, std::wstring imagesFolder)
    : imagesFolder_(std::move(imagesFolder)) {
  CExiv2MetadataReader::Initialize();
  GetSystemTimeAsFileTime(&startTime_);
  entries_.reserve(files.size());
  for (std::wstring& file : files) entries_.push_back(Entry{std::move(file), false});
}

uint32_t CStandaloneHost::MetadataValuesOfKey(std::wstring_view name) noexcept {
  for (const KeyValues& row : kKeyValues) {
    const bool prefix = row.name.back() == L'.';
    if (prefix
            ? name.size() > row.name.size() && SameName(name.substr(0, row.name.size()), row.name)
            : SameName(name, row.name)) {
      return row.values;
    }
  }
  return 0;
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::SetNeededKeys(ULONG count, const LPCWSTR* names) {
  if (count == 0) {
    neededValues_.store(kMetadataAll);
    return S_OK;
  }
  if (names == nullptr) return E_INVALIDARG;
  uint32_t values = 0;
  for (ULONG i = 0; i < count; ++i) {
    if (names[i] != nullptr) values |= MetadataValuesOfKey(names[i]);
  }
  neededValues_.store(values);
  return S_OK;
}

HRESULT CStandaloneHost::SetCurrentFile(std::wstring_view path) {
  std::unique_lock guard(lock_);
  for (ULONG i = 0; i < entries_.size(); ++i) {
    if (!entries_[i].deleted && entries_[i].path == path) {
      current_ = i;
      return S_OK;
    }
  }
  return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
}

std::vector<std::wstring> CStandaloneHost::Files() const {
  std::shared_lock guard(lock_);
  std::vector<std::wstring> files;
  for (const Entry& entry : entries_) {
    if (!entry.deleted) files.push_back(entry.path);
  }
  return files;
}

ComPtr<CImageRecord> CStandaloneHost::BuildRecord(std::wstring_view path, ULONG index,
                                                  std::wstring* problem) const {
  using R = LMKIMAGERECORD;
  ComPtr<CImageRecord> image = MakeComObject<CImageRecord>();
  LMKIMAGERECORD& r = image->record();
  r.index = index;
  r.cookie = static_cast<ULONGLONG>(index) + 1;
  image->SetText(&R::fullPath, path);
  const std::size_t slash = path.find_last_of(L'/');
  const std::size_t nameStart = slash == std::wstring_view::npos ? 0 : slash + 1;
  const std::size_t dot = path.find_last_of(L'.');
  const bool hasExtension = dot != std::wstring_view::npos && dot > nameStart;
  const std::wstring_view extension = hasExtension ? path.substr(dot) : std::wstring_view();
  image->SetText(&R::pathNoExt, hasExtension ? path.substr(0, dot) : path);
  image->SetText(&R::extensions, extension);
  image->SetText(&R::displayExtensions, Upper(hasExtension ? extension.substr(1) : extension));
  r.hashCode = PathHash(path);
  r.totalFrames = 1;

  FileFacts facts;
  if (SUCCEEDED(GetFileFacts(path, &facts))) {
    r.attributes = facts.attributes;
    r.creationTime = facts.creationTime;
    r.lastAccessTime = facts.lastAccessTime;
    r.lastWriteTime = facts.lastWriteTime;
    r.size = facts.size;
  } else {
    // A file that has gone keeps an empty record: the run finds it missing and skips it.
    return image;
  }

  ImageMetadata meta;
  const MetadataReadStatus status = reader_.Read(path, &meta, facts.size, neededValues_.load());
  // What the reader could not parse is not a reason to leave the picture out: it is processed
  // with what the file system tells (and a sidecar's values, if any).
  if (EventLogWriter* log = EventLogWriter::Current(); !status.ok && log != nullptr) {
    log->Write(kEventLevelWarning, status.message);
  }
  if (problem != nullptr) *problem = status.ok ? std::wstring() : status.message;
  FillMetadata(meta, *image.Get());
  return image;
}

HRESULT CStandaloneHost::Deliver(ULONG index, ILumarkoImage** ppImage) const {
  std::wstring path;
  {
    std::shared_lock guard(lock_);
    if (index >= entries_.size()) return E_INVALIDARG;
    path = entries_[index].path;
  }
  try {
    ComPtr<CImageRecord> image = BuildRecord(path, index);
    *ppImage = image.Detach();
    return S_OK;
  } catch (...) {
    return E_FAIL;
  }
}

std::optional<double> CStandaloneHost::RangeSeconds() const noexcept {
  const std::int64_t started = rangeStartedNs_.load();
  const std::int64_t ended = rangeEndedNs_.load();
  if (started == 0 || ended == 0) return std::nullopt;
  return static_cast<double>(ended - started) / 1e9;
}

HRESULT CStandaloneHost::StartRange(ULONG index, ILumarkoImage** ppImage) {
  ULONG count = 0;
  {
    std::shared_lock guard(lock_);
    count = static_cast<ULONG>(entries_.size());
  }
  if (index >= count) return E_FAIL;
  cursor_.store(index + 1);
  rangeSize_.store(count - index);
  rangeStartedNs_.store(SteadyNanoseconds());
  rangeEndedNs_.store(0);
  delivered_.store(1);
  runEnded_.store(false);
  return Deliver(index, ppImage);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::IsScanning(BOOL* pfScanning) {
  if (pfScanning == nullptr) return E_INVALIDARG;
  // The list is complete before the host exists.
  *pfScanning = FALSE;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetImageCount(ULONG* pcImages) {
  if (pcImages == nullptr) return E_INVALIDARG;
  std::shared_lock guard(lock_);
  *pcImages = static_cast<ULONG>(entries_.size());
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetCurrentIndex(ULONG* pIndex) {
  if (pIndex == nullptr) return E_INVALIDARG;
  std::shared_lock guard(lock_);
  if (entries_.empty()) return E_FAIL;
  *pIndex = current_;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetLastIndex(ULONG* pIndex) {
  if (pIndex == nullptr) return E_INVALIDARG;
  std::shared_lock guard(lock_);
  if (entries_.empty()) return E_FAIL;
  *pIndex = static_cast<ULONG>(entries_.size() - 1);
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetSessionInfo(FILETIME* pftStart, BSTR* pbstrVersion,
                                                          ULONG* pKeepCopyIndex) {
  if (pftStart == nullptr || pbstrVersion == nullptr || pKeepCopyIndex == nullptr) {
    return E_INVALIDARG;
  }
  *pbstrVersion = nullptr;
  try {
    ULONG index = 0;
    if (const std::shared_ptr<SettingsStore> store = UserStore()) {
      RegValue value;
      if (SUCCEEDED(store->GetValue(kHostSettingsKeyPath, kSessionKeepCopyIndexValue, &value)) &&
          value.IsNumber()) {
        index = static_cast<ULONG>(value.number);
      }
    }
    Bstr version(LMK_VERSION_TEXT);
    *pftStart = startTime_;
    *pKeepCopyIndex = index;
    *pbstrVersion = version.Detach();
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::SetSessionKeepCopyIndex(ULONG keepCopyIndex) {
  try {
    runEnded_.store(true);
    if (onRunEnded_) onRunEnded_();
    const std::shared_ptr<SettingsStore> store = UserStore();
    if (!store) return E_ACCESSDENIED;
    return store->SetValue(kHostSettingsKeyPath, kSessionKeepCopyIndexValue,
                           RegValue::Dword(keepCopyIndex));
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetImagesFolder(BSTR* pbstrFolder) {
  try {
    return WriteBstr(imagesFolder_, pbstrFolder);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetKeepCopyFolder(BSTR* pbstrFolder) {
  try {
    // The command keeps no copies of its own.
    return WriteBstr(L"", pbstrFolder);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetCurrentImage(ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  ULONG current = 0;
  {
    std::shared_lock guard(lock_);
    current = current_;
  }
  return StartRange(current, ppImage);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetFirstImage(ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  return StartRange(0, ppImage);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetImageAt(ULONG index, ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  {
    std::shared_lock guard(lock_);
    if (index >= entries_.size()) return E_INVALIDARG;
  }
  return StartRange(index, ppImage);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetNextImage(ILumarkoImage* pImage,
                                                        ILumarkoImage** ppImage) {
  if (pImage == nullptr || ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  const LMKIMAGERECORD* record = nullptr;
  if (FAILED(pImage->GetRecord(&record)) || record == nullptr) return E_INVALIDARG;
  const ULONG next = record->index + 1;
  {
    std::shared_lock guard(lock_);
    if (next >= entries_.size()) return S_FALSE;
  }
  return Deliver(next, ppImage);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetNextImageOfRange(ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  const ULONG index = cursor_.fetch_add(1);
  {
    std::shared_lock guard(lock_);
    if (index >= entries_.size()) {
      std::int64_t unset = 0;
      rangeEndedNs_.compare_exchange_strong(unset, SteadyNanoseconds());
      return S_FALSE;
    }
  }
  delivered_.fetch_add(1);
  return Deliver(index, ppImage);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetImageByCookie(ULONGLONG cookie,
                                                            ILumarkoImage** ppImage) {
  if (ppImage == nullptr) return E_INVALIDARG;
  *ppImage = nullptr;
  const long index = FindEntry(cookie, nullptr);
  if (index < 0) return E_INVALIDARG;
  return Deliver(static_cast<ULONG>(index), ppImage);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::IsRatingInPlace(BOOL* pfInPlace) {
  if (pfInPlace == nullptr) return E_INVALIDARG;
  // A write replaces the file (or its sidecar) under the same name.
  *pfInPlace = TRUE;
  return S_OK;
}

HRESULT CStandaloneHost::WriteMark(ULONGLONG cookie, XmpMark mark, std::string_view value) {
  std::wstring path;
  {
    std::shared_lock guard(lock_);
    if (cookie == 0 || cookie > entries_.size() || entries_[cookie - 1].deleted) {
      return E_INVALIDARG;
    }
    path = entries_[cookie - 1].path;
  }
  return CMetadataWriter::Write(path, mark, value);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::SetXmpRating(ULONGLONG cookie, SHORT rating) {
  if (rating < -1 || rating > 5) {
    SetErrorDescription(L"A rating runs from -1 (rejected) to 5 stars, not " +
                        std::to_wstring(rating) + L".");
    return E_INVALIDARG;
  }
  return WriteMark(cookie, XmpMark::kRating, std::to_string(rating));
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::SetXmpLabel(ULONGLONG cookie, SHORT label,
                                                       SHORT convention) {
  const std::span<const std::wstring_view> names = ConventionLabelNames(convention);
  if (label > static_cast<SHORT>(names.size())) {
    SetErrorDescription(L"Label " + std::to_wstring(label) +
                        L" does not exist: labelling "
                        L"convention " +
                        std::to_wstring(convention) + L" has labels 1 to " +
                        std::to_wstring(names.size()) + L".");
    return E_INVALIDARG;
  }
  // Below label 1 (stepping down from the first label gives -1) the picture has no label.
  const std::string text = label < 1 ? std::string() : ToUtf8(names[label - 1]);
  return WriteMark(cookie, XmpMark::kLabel, text);
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::SetPhotoshopUrgency(ULONGLONG cookie, SHORT urgency) {
  if (urgency > 9) {
    SetErrorDescription(L"An urgency runs from 0 (none) to 9, not " + std::to_wstring(urgency) +
                        L".");
    return E_INVALIDARG;
  }
  // Below 0 (stepping down from 1 gives -1) means none, which is written rather than removed:
  // an older IPTC urgency of the picture would otherwise come back.
  return WriteMark(cookie, XmpMark::kUrgency, std::to_string(urgency < 0 ? 0 : urgency));
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::GetLabelNames(DWORD /*flags*/, SHORT convention,
                                                         IEnumVARIANT** ppNames) {
  if (ppNames == nullptr) return E_INVALIDARG;
  *ppNames = nullptr;
  try {
    std::vector<std::wstring> names;
    for (std::wstring_view name : ConventionLabelNames(convention)) names.emplace_back(name);
    ComPtr<CLabelNameEnum> list = MakeComObject<CLabelNameEnum>(std::move(names));
    return list->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(ppNames));
  } catch (...) {
    return HresultFromCurrentException();
  }
}

long CStandaloneHost::FindEntry(ULONGLONG cookie, LPCWSTR path) const {
  std::shared_lock guard(lock_);
  if (cookie != 0) {
    if (cookie > entries_.size() || entries_[cookie - 1].deleted) return -1;
    return static_cast<long>(cookie - 1);
  }
  if (path == nullptr) return -1;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (!entries_[i].deleted && entries_[i].path == path) return static_cast<long>(i);
  }
  return -1;
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::OnFileRenamed(ULONGLONG cookie, LPCWSTR oldPath,
                                                         LPCWSTR newPath) {
  if (oldPath == nullptr || newPath == nullptr) return E_INVALIDARG;
  try {
    const long index = FindEntry(cookie, oldPath);
    if (index < 0) return S_FALSE;
    std::unique_lock guard(lock_);
    entries_[static_cast<std::size_t>(index)].path = newPath;
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CStandaloneHost::OnFileDeleted(ULONGLONG cookie, LPCWSTR path) {
  if (path == nullptr) return E_INVALIDARG;
  const long index = FindEntry(cookie, path);
  if (index < 0) return S_FALSE;
  std::unique_lock guard(lock_);
  entries_[static_cast<std::size_t>(index)].deleted = true;
  return S_OK;
}

}  // namespace lmk
