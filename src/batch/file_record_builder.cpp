// CFileRecordBuilder: the 120 per-file values, their order and types, and the one PutMultiple.
#include "batch/file_record_builder.h"

#include <new>
#include <type_traits>
#include <utility>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "dictionary/dictionary.h"
#include "dictionary/idictionary.h"
#include "platform/file_system.h"

namespace lmk {
namespace {

// The record's values that come from the run rather than from the image.
struct RunValues {
  ILumarkoHost* host;
  IDictionary* globals;
  IDictionary* attachments;
  std::wstring_view imagesFolder;
  std::wstring_view keepCopyFolder;
};

using ReadValue = Variant (*)(const RunValues& run, const LMKIMAGERECORD& record);

// One per-file value: its key, its type and where it comes from.
struct KeyField {
  FileRecordKey key;
  ReadValue read;
};

// The host promises non-null texts; a broken one must not crash the run.
std::wstring_view TextOf(LPCWSTR text) {
  return text != nullptr ? std::wstring_view(text) : std::wstring_view();
}

// The field of the record as a VARIANT of type vt; the type of the field decides the conversion,
// and a field that cannot give vt does not compile.
template <VARTYPE vt, auto field>
Variant FromRecord(const RunValues&, const LMKIMAGERECORD& record) {
  const auto& value = record.*field;
  using T = std::remove_cvref_t<decltype(value)>;
  if constexpr (std::is_same_v<T, LPCWSTR>) {
    static_assert(vt == VT_BSTR);
    return TextValue(TextOf(value));
  } else if constexpr (std::is_same_v<T, FILETIME>) {
    static_assert(vt == VT_DATE || vt == VT_I8);
    if constexpr (vt == VT_DATE)
      return Variant::Date(RecordDate(value));
    else
      return Variant::I8(FileTimeToInt64(value));
  } else if constexpr (vt == VT_BOOL) {
    return Variant::Bool(value != FALSE);
  } else if constexpr (vt == VT_UI1) {
    return Variant::UI1(value);
  } else if constexpr (vt == VT_UI2) {
    return Variant::UI2(value);
  } else if constexpr (vt == VT_UI4) {
    // File.Size is deliberately 32 bits, as rules and scripts have always compared it: files of
    // 4 GB and more wrap around.
    return Variant::UI4(static_cast<uint32_t>(value));
  } else if constexpr (vt == VT_UI8) {
    return Variant::UI8(value);
  } else if constexpr (vt == VT_I2) {
    return Variant::I2(value);
  } else if constexpr (vt == VT_I4) {
    return Variant::I4(value);
  } else if constexpr (vt == VT_I8) {
    return Variant::I8(value);
  } else if constexpr (vt == VT_R4) {
    return Variant::R4(value);
  } else {
    static_assert(vt == VT_R8);
    return Variant::R8(value);
  }
}

template <VARTYPE vt, auto field>
constexpr KeyField Field(std::wstring_view name) {
  return {{name, vt}, &FromRecord<vt, field>};
}

template <typename Read>
constexpr KeyField FromRun(std::wstring_view name, VARTYPE vt, Read) {
  return {{name, vt}, [](const RunValues& run, const LMKIMAGERECORD&) { return Read{}(run); }};
}

using R = LMKIMAGERECORD;

// The public vocabulary, in the order the values are put.
constexpr std::array<KeyField, kFileRecordKeyCount> kFields = {
    FromRun(L"Plugin.Host", VT_UNKNOWN,
            [](const RunValues& run) { return Variant::Unknown(run.host); }),
    FromRun(L"Plugin.Globals", VT_DISPATCH,
            [](const RunValues& run) { return Variant::Dispatch(run.globals); }),
    FromRun(L"Plugin.Attachments", VT_DISPATCH,
            [](const RunValues& run) { return Variant::Dispatch(run.attachments); }),
    FromRun(L"App.ImagesFolder", VT_BSTR,
            [](const RunValues& run) { return TextValue(run.imagesFolder); }),
    FromRun(L"App.KeepCopyFolder", VT_BSTR,
            [](const RunValues& run) { return TextValue(run.keepCopyFolder); }),
    Field<VT_BSTR, &R::fullPath>(L"File.Name"),
    Field<VT_BSTR, &R::pathNoExt>(L"File.PathNoExt"),
    Field<VT_BSTR, &R::extensions>(L"File.Extensions"),
    Field<VT_BSTR, &R::displayExtensions>(L"File.DisplayExtensions"),
    Field<VT_UI4, &R::attributes>(L"File.Attributes"),
    Field<VT_DATE, &R::creationTime>(L"File.CreationTime"),
    Field<VT_I8, &R::creationTime>(L"File.CreationTimeFT"),
    Field<VT_DATE, &R::lastAccessTime>(L"File.LastAccessTime"),
    Field<VT_I8, &R::lastAccessTime>(L"File.LastAccessTimeFT"),
    Field<VT_DATE, &R::lastWriteTime>(L"File.LastWriteTime"),
    Field<VT_I8, &R::lastWriteTime>(L"File.LastWriteTimeFT"),
    Field<VT_UI4, &R::size>(L"File.Size"),
    Field<VT_I8, &R::hashCode>(L"File.HashCode64"),
    Field<VT_UI8, &R::cookie>(L"File.InternalCookie"),
    Field<VT_BSTR, &R::externalBookmark>(L"Misc.ExternalBookmark"),
    Field<VT_BOOL, &R::copied>(L"Misc.CopiedFlag"),
    Field<VT_BOOL, &R::markedForPublishing>(L"Misc.MarkedForPublishingFlag"),
    Field<VT_BOOL, &R::markedForDeletion>(L"Misc.MarkedForDeletionFlag"),
    Field<VT_BOOL, &R::bwPreview>(L"Misc.BWPreviewFlag"),
    Field<VT_BOOL, &R::multiFrames>(L"Misc.MultiFramesFlag"),
    Field<VT_UI2, &R::frameNumber>(L"Misc.FrameNumber"),
    Field<VT_UI2, &R::totalFrames>(L"Misc.TotalFrames"),
    Field<VT_UI2, &R::quickBookmarkIndex>(L"Misc.QuickBookmarkIndex"),
    Field<VT_DATE, &R::dateTaken>(L"Meta.DateTaken"),
    Field<VT_I8, &R::dateTaken>(L"Meta.DateTakenFT"),
    Field<VT_R4, &R::exposureBias>(L"Meta.ExposureBias"),
    Field<VT_R4, &R::exposureTime>(L"Meta.ExposureTime"),
    Field<VT_R4, &R::fNumber>(L"Meta.FNumber"),
    Field<VT_R4, &R::maxApertureValue>(L"Meta.MaxApertureValue"),
    Field<VT_R4, &R::focalLength>(L"Meta.FocalLength"),
    Field<VT_R4, &R::digitalZoomRatio>(L"Meta.DigitalZoomRatio"),
    Field<VT_R4, &R::subjectDistance>(L"Meta.SubjectDistance"),
    Field<VT_UI2, &R::flash>(L"Meta.Flash"),
    Field<VT_UI2, &R::focalLengthInFilm>(L"Meta.FocalLengthInFilm"),
    Field<VT_UI2, &R::meteringMode>(L"Meta.MeteringMode"),
    Field<VT_UI2, &R::orientation>(L"Meta.Orientation"),
    Field<VT_UI2, &R::programMode>(L"Meta.ProgramMode"),
    Field<VT_UI2, &R::contrast>(L"Meta.Contrast"),
    Field<VT_UI2, &R::saturation>(L"Meta.Saturation"),
    Field<VT_UI2, &R::sharpness>(L"Meta.Sharpness"),
    Field<VT_UI2, &R::subjectDistanceRange>(L"Meta.SubjectDistanceRange"),
    Field<VT_UI2, &R::sensingMethod>(L"Meta.SensingMethod"),
    Field<VT_UI2, &R::exposureMode>(L"Meta.ExposureMode"),
    Field<VT_UI2, &R::whiteBalance>(L"Meta.WhiteBalance"),
    Field<VT_UI2, &R::lightSource>(L"Meta.LightSource"),
    Field<VT_UI4, &R::isoSpeed>(L"Meta.ISOSpeed"),
    Field<VT_UI4, &R::fileNumber>(L"Meta.FileNumber"),
    Field<VT_UI4, &R::folderNumber>(L"Meta.FolderNumber"),
    Field<VT_BSTR, &R::iccProfileName>(L"Meta.IccProfileName"),
    Field<VT_BSTR, &R::cameraMake>(L"Meta.CameraMake"),
    Field<VT_BSTR, &R::cameraModel>(L"Meta.CameraModel"),
    Field<VT_BSTR, &R::lensModel>(L"Meta.LensModel"),
    Field<VT_BSTR, &R::comment>(L"Meta.Comment"),
    Field<VT_BSTR, &R::artist>(L"Meta.Artist"),
    Field<VT_BSTR, &R::copyright>(L"Meta.Copyright"),
    Field<VT_BSTR, &R::imageUniqueId>(L"Meta.ImageUniqueID"),
    Field<VT_BSTR, &R::cameraSerialNumber>(L"Meta.CameraSerialNumber"),
    Field<VT_I2, &R::xmpRating>(L"Meta.XMP.Rating"),
    Field<VT_I2, &R::xmpLabel>(L"Meta.XMP.Label"),
    Field<VT_I2, &R::xmpLabellingConvention>(L"Meta.XMP.LabellingConvention"),
    Field<VT_I2, &R::photoshopUrgency>(L"Meta.Photoshop.Urgency"),
    Field<VT_UI2, &R::gpsFlags>(L"Meta.GPS.Flags"),
    Field<VT_DATE, &R::gpsTimeStamp>(L"Meta.GPS.TimeStamp"),
    Field<VT_I8, &R::gpsTimeStamp>(L"Meta.GPS.TimeStampFT"),
    Field<VT_R8, &R::gpsLatitude>(L"Meta.GPS.Latitude"),
    Field<VT_R8, &R::gpsLongitude>(L"Meta.GPS.Longitude"),
    Field<VT_R4, &R::gpsAltitude>(L"Meta.GPS.Altitude"),
    Field<VT_R4, &R::gpsSpeed>(L"Meta.GPS.Speed"),
    Field<VT_R4, &R::gpsImgDirection>(L"Meta.GPS.ImgDirection"),
    Field<VT_UI1, &R::gpsMeasurementActive>(L"Meta.GPS.MeasurementActive"),
    Field<VT_BSTR, &R::gpsMapDatum>(L"Meta.GPS.MapDatum"),
    Field<VT_DATE, &R::iptcDateCreated>(L"Meta.IPTC.DescriptiveInfo.DateCreated"),
    Field<VT_I8, &R::iptcDateCreated>(L"Meta.IPTC.DescriptiveInfo.DateCreatedFT"),
    Field<VT_I4, &R::iptcDateCreatedTimeBias>(L"Meta.IPTC.DescriptiveInfo.DateCreatedTimeBias"),
    Field<VT_BSTR, &R::iptcIntellectualGenre>(L"Meta.IPTC.DescriptiveInfo.IntellectualGenre"),
    Field<VT_BSTR, &R::iptcScene>(L"Meta.IPTC.DescriptiveInfo.IPTCScene"),
    Field<VT_BSTR, &R::iptcLocation>(L"Meta.IPTC.DescriptiveInfo.Location"),
    Field<VT_BSTR, &R::iptcCity>(L"Meta.IPTC.DescriptiveInfo.City"),
    Field<VT_BSTR, &R::iptcStateProvince>(L"Meta.IPTC.DescriptiveInfo.StateProvince"),
    Field<VT_BSTR, &R::iptcIsoCountryCode>(L"Meta.IPTC.DescriptiveInfo.ISOCountryCode"),
    Field<VT_BSTR, &R::iptcCountry>(L"Meta.IPTC.DescriptiveInfo.Country"),
    Field<VT_BSTR, &R::iptcCreator>(L"Meta.IPTC.Photographer.Creator"),
    Field<VT_BSTR, &R::iptcCreatorJobTitle>(L"Meta.IPTC.Photographer.CreatorJobTitle"),
    Field<VT_BSTR, &R::iptcCreatorAddress>(L"Meta.IPTC.Photographer.CreatorAddress"),
    Field<VT_BSTR, &R::iptcCreatorCity>(L"Meta.IPTC.Photographer.City"),
    Field<VT_BSTR, &R::iptcCreatorStateProvince>(L"Meta.IPTC.Photographer.StateProvince"),
    Field<VT_BSTR, &R::iptcCreatorPostalCode>(L"Meta.IPTC.Photographer.PostalCode"),
    Field<VT_BSTR, &R::iptcCreatorCountry>(L"Meta.IPTC.Photographer.Country"),
    Field<VT_BSTR, &R::iptcCreatorPhones>(L"Meta.IPTC.Photographer.Phones"),
    Field<VT_BSTR, &R::iptcCreatorEmails>(L"Meta.IPTC.Photographer.Emails"),
    Field<VT_BSTR, &R::iptcCreatorWebsites>(L"Meta.IPTC.Photographer.Websites"),
    Field<VT_BSTR, &R::iptcHeadline>(L"Meta.IPTC.VisualContent.Headline"),
    Field<VT_BSTR, &R::iptcDescription>(L"Meta.IPTC.VisualContent.Description"),
    Field<VT_BSTR, &R::iptcKeywords>(L"Meta.IPTC.VisualContent.Keywords"),
    Field<VT_BSTR, &R::iptcSubjectCodes>(L"Meta.IPTC.VisualContent.SubjectCodes"),
    Field<VT_BSTR, &R::iptcDescriptionWriter>(L"Meta.IPTC.VisualContent.DescriptionWriter"),
    Field<VT_BSTR, &R::iptcTitle>(L"Meta.IPTC.WorkflowAndCopyright.Title"),
    Field<VT_BSTR, &R::iptcJobIdentifier>(L"Meta.IPTC.WorkflowAndCopyright.JobIdentifier"),
    Field<VT_BSTR, &R::iptcInstructions>(L"Meta.IPTC.WorkflowAndCopyright.Instructions"),
    Field<VT_BSTR, &R::iptcProvider>(L"Meta.IPTC.WorkflowAndCopyright.Provider"),
    Field<VT_BSTR, &R::iptcSource>(L"Meta.IPTC.WorkflowAndCopyright.Source"),
    Field<VT_BSTR, &R::iptcCopyrightNotice>(L"Meta.IPTC.WorkflowAndCopyright.CopyrightNotice"),
    Field<VT_BSTR, &R::iptcRightsUsageTerms>(L"Meta.IPTC.WorkflowAndCopyright.RightsUsageTerms"),
    Field<VT_BSTR, &R::iptcCopyrightedFlag>(L"Meta.IPTC.WorkflowAndCopyright.CopyrightedFlag"),
    Field<VT_BSTR, &R::iptcWebStatement>(L"Meta.IPTC.WorkflowAndCopyright.WebStatement"),
    Field<VT_BSTR, &R::iptcDocumentId>(L"Meta.IPTC.MediaManagement.DocumentID"),
    Field<VT_UI4, &R::width>(L"Image.Width"),
    Field<VT_UI4, &R::nativeWidth>(L"Image.NativeWidth"),
    Field<VT_UI4, &R::height>(L"Image.Height"),
    Field<VT_UI4, &R::nativeHeight>(L"Image.NativeHeight"),
    Field<VT_UI1, &R::bpp>(L"Image.BPP"),
    Field<VT_BSTR, &R::wicPixelFormat>(L"Image.WICPixelFormat"),
    Field<VT_UI1, &R::rotated>(L"Image.Rotated"),
    Field<VT_UI1, &R::supportsTransparency>(L"Image.SupportsTransparency"),
    Field<VT_UI4, &R::index>(L"Image.Index"),
};

constexpr std::array<FileRecordKey, kFileRecordKeyCount> KeysOf(
    const std::array<KeyField, kFileRecordKeyCount>& fields) {
  std::array<FileRecordKey, kFileRecordKeyCount> keys{};
  for (std::size_t i = 0; i < fields.size(); ++i) keys[i] = fields[i].key;
  return keys;
}
constexpr std::array<FileRecordKey, kFileRecordKeyCount> kKeys = KeysOf(kFields);

// Values that every record holds whatever the rules read: they come from the run and from the
// file system's facts, and the runner, the event log and every file action use them.
bool AlwaysBuilt(std::wstring_view name) {
  for (std::wstring_view prefix : {L"Plugin.", L"App.", L"File.", L"Misc."}) {
    if (name.starts_with(prefix)) return true;
  }
  return false;
}

// A date is kept twice, as a date and as its "FT" count; both come from one field of the host.
bool NeededWithTwin(const RecordKeySet& keys, std::wstring_view name) {
  if (keys.Contains(name)) return true;
  if (name.ends_with(L"FT")) return keys.Contains(name.substr(0, name.size() - 2));
  return keys.Contains(std::wstring(name) + L"FT");
}

std::wstring FolderFromHost(ILumarkoHost* host, HRESULT (ILumarkoHost::*get)(BSTR*)) {
  Bstr folder;
  if (FAILED((host->*get)(&folder))) return {};
  return folder.str();
}

}  // namespace

const std::array<FileRecordKey, kFileRecordKeyCount>& FileRecordKeys() { return kKeys; }

Variant TextValue(std::wstring_view text) noexcept {
  try {
    return Variant::String(text);
  } catch (...) {
    return Variant::Error(E_OUTOFMEMORY);
  }
}

DATE RecordDate(const FILETIME& time) noexcept {
  if (FileTimeToInt64(time) == 0) return 0.0;
  try {
    return FileTimeToLocalDate(time);
  } catch (...) {
    return 0.0;
  }
}

CFileRecordBuilder::CFileRecordBuilder(ILumarkoHost* host, IDictionary* globals,
                                       IDictionary* attachments, FileExistsFn fileExists,
                                       DictionaryFactory createDictionary)
    : fileExists_(std::move(fileExists)), createDictionary_(std::move(createDictionary)) {
  host_ = ComPtr<ILumarkoHost>(host);
  globals_ = ComPtr<IDictionary>(globals);
  attachments_ = ComPtr<IDictionary>(attachments);
  if (!fileExists_) fileExists_ = [](std::wstring_view path) { return FileExists(path); };
  // The folders belong to the run, not to a file: asked once rather than once per image.
  imagesFolder_ = FolderFromHost(host, &ILumarkoHost::GetImagesFolder);
  keepCopyFolder_ = FolderFromHost(host, &ILumarkoHost::GetKeepCopyFolder);
  RecordKeySet every;
  every.AddEvery();
  SetNeededKeys(every);
}

void CFileRecordBuilder::SetNeededKeys(const RecordKeySet& keys) {
  built_.clear();
  for (std::size_t i = 0; i < kFields.size(); ++i) {
    const std::wstring_view name = kFields[i].key.name;
    if (AlwaysBuilt(name) || NeededWithTwin(keys, name)) built_.push_back(i);
  }
}

std::vector<std::wstring_view> CFileRecordBuilder::BuiltKeyNames() const {
  std::vector<std::wstring_view> names;
  names.reserve(built_.size());
  for (std::size_t i : built_) names.push_back(kFields[i].key.name);
  return names;
}

std::array<Variant, kFileRecordKeyCount> CFileRecordBuilder::Values(const LMKIMAGERECORD& r) const {
  const RunValues run{host_.Get(), globals_.Get(), attachments_.Get(), imagesFolder_,
                      keepCopyFolder_};
  std::array<Variant, kFileRecordKeyCount> values;
  for (std::size_t i = 0; i < kFields.size(); ++i) values[i] = kFields[i].read(run, r);
  return values;
}

FileRecordStatus CFileRecordBuilder::Build(const LMKIMAGERECORD& record,
                                           ComPtr<IDictionary>& out) const noexcept {
  try {
    out.Reset();
    if (!fileExists_(TextOf(record.fullPath))) return FileRecordStatus::kMissing;

    const RunValues run{host_.Get(), globals_.Get(), attachments_.Get(), imagesFolder_,
                        keepCopyFolder_};
    const ULONG count = static_cast<ULONG>(built_.size());
    std::array<Variant, kFileRecordKeyCount> values;
    std::array<LPOLESTR, kFileRecordKeyCount> names{};
    for (ULONG n = 0; n < count; ++n) {
      const KeyField& field = kFields[built_[n]];
      values[n] = field.read(run, record);
      names[n] = const_cast<LPOLESTR>(field.key.name.data());
    }
    ComPtr<IDictionary> dictionary;
    if (!createDictionary_) {
      // The values were made for this record alone: the dictionary takes them over instead
      // of copying each text.
      ComPtr<CDictionary> own = MakeComObject<CDictionary>();
      if (FAILED(own->TakeMultiple(count, names.data(), values.data()))) {
        return FileRecordStatus::kCannotFill;
      }
      dictionary = ComPtr<IDictionary>(own.Get());
    } else {
      if (FAILED(createDictionary_(&dictionary)) || !dictionary) {
        return FileRecordStatus::kCannotCreate;
      }
      // PutMultiple copies what it stores: the arrays only lend values for the call.
      std::array<VARIANT, kFileRecordKeyCount> shallow{};
      for (ULONG n = 0; n < count; ++n) shallow[n] = values[n].ref();
      if (FAILED(dictionary->PutMultiple(count, names.data(), shallow.data()))) {
        return FileRecordStatus::kCannotFill;
      }
    }
    out = std::move(dictionary);
    return FileRecordStatus::kBuilt;
  } catch (...) {
    // Only the values can throw here (memory ran out while forming them).
    return FileRecordStatus::kCannotFill;
  }
}

}  // namespace lmk
