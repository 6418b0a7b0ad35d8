// CFileRecordBuilder: the 120 per-file values, their order and types, and the one PutMultiple.
#include "batch/file_record_builder.h"

#include <new>
#include <utility>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "dictionary/dictionary.h"
#include "dictionary/idictionary.h"
#include "platform/file_system.h"

namespace lmk {
namespace {

// Keep this table, Values() and the documented vocabulary in step: the static_assert on the
// table's size and the record test's comparison of names and types catch a slip.
constexpr std::array<FileRecordKey, kFileRecordKeyCount> kKeys = {{
    {L"Plugin.Host", VT_UNKNOWN},
    {L"Plugin.Globals", VT_DISPATCH},
    {L"Plugin.Attachments", VT_DISPATCH},
    {L"App.ImagesFolder", VT_BSTR},
    {L"App.KeepCopyFolder", VT_BSTR},
    {L"File.Name", VT_BSTR},
    {L"File.PathNoExt", VT_BSTR},
    {L"File.Extensions", VT_BSTR},
    {L"File.DisplayExtensions", VT_BSTR},
    {L"File.Attributes", VT_UI4},
    {L"File.CreationTime", VT_DATE},
    {L"File.CreationTimeFT", VT_I8},
    {L"File.LastAccessTime", VT_DATE},
    {L"File.LastAccessTimeFT", VT_I8},
    {L"File.LastWriteTime", VT_DATE},
    {L"File.LastWriteTimeFT", VT_I8},
    {L"File.Size", VT_UI4},
    {L"File.HashCode64", VT_I8},
    {L"File.InternalCookie", VT_UI8},
    {L"Misc.ExternalBookmark", VT_BSTR},
    {L"Misc.CopiedFlag", VT_BOOL},
    {L"Misc.MarkedForPublishingFlag", VT_BOOL},
    {L"Misc.MarkedForDeletionFlag", VT_BOOL},
    {L"Misc.BWPreviewFlag", VT_BOOL},
    {L"Misc.MultiFramesFlag", VT_BOOL},
    {L"Misc.FrameNumber", VT_UI2},
    {L"Misc.TotalFrames", VT_UI2},
    {L"Misc.QuickBookmarkIndex", VT_UI2},
    {L"Meta.DateTaken", VT_DATE},
    {L"Meta.DateTakenFT", VT_I8},
    {L"Meta.ExposureBias", VT_R4},
    {L"Meta.ExposureTime", VT_R4},
    {L"Meta.FNumber", VT_R4},
    {L"Meta.MaxApertureValue", VT_R4},
    {L"Meta.FocalLength", VT_R4},
    {L"Meta.DigitalZoomRatio", VT_R4},
    {L"Meta.SubjectDistance", VT_R4},
    {L"Meta.Flash", VT_UI2},
    {L"Meta.FocalLengthInFilm", VT_UI2},
    {L"Meta.MeteringMode", VT_UI2},
    {L"Meta.Orientation", VT_UI2},
    {L"Meta.ProgramMode", VT_UI2},
    {L"Meta.Contrast", VT_UI2},
    {L"Meta.Saturation", VT_UI2},
    {L"Meta.Sharpness", VT_UI2},
    {L"Meta.SubjectDistanceRange", VT_UI2},
    {L"Meta.SensingMethod", VT_UI2},
    {L"Meta.ExposureMode", VT_UI2},
    {L"Meta.WhiteBalance", VT_UI2},
    {L"Meta.LightSource", VT_UI2},
    {L"Meta.ISOSpeed", VT_UI4},
    {L"Meta.FileNumber", VT_UI4},
    {L"Meta.FolderNumber", VT_UI4},
    {L"Meta.IccProfileName", VT_BSTR},
    {L"Meta.CameraMake", VT_BSTR},
    {L"Meta.CameraModel", VT_BSTR},
    {L"Meta.LensModel", VT_BSTR},
    {L"Meta.Comment", VT_BSTR},
    {L"Meta.Artist", VT_BSTR},
    {L"Meta.Copyright", VT_BSTR},
    {L"Meta.ImageUniqueID", VT_BSTR},
    {L"Meta.CameraSerialNumber", VT_BSTR},
    {L"Meta.XMP.Rating", VT_I2},
    {L"Meta.XMP.Label", VT_I2},
    {L"Meta.XMP.LabellingConvention", VT_I2},
    {L"Meta.Photoshop.Urgency", VT_I2},
    {L"Meta.GPS.Flags", VT_UI2},
    {L"Meta.GPS.TimeStamp", VT_DATE},
    {L"Meta.GPS.TimeStampFT", VT_I8},
    {L"Meta.GPS.Latitude", VT_R8},
    {L"Meta.GPS.Longitude", VT_R8},
    {L"Meta.GPS.Altitude", VT_R4},
    {L"Meta.GPS.Speed", VT_R4},
    {L"Meta.GPS.ImgDirection", VT_R4},
    {L"Meta.GPS.MeasurementActive", VT_UI1},
    {L"Meta.GPS.MapDatum", VT_BSTR},
    {L"Meta.IPTC.DescriptiveInfo.DateCreated", VT_DATE},
    {L"Meta.IPTC.DescriptiveInfo.DateCreatedFT", VT_I8},
    {L"Meta.IPTC.DescriptiveInfo.DateCreatedTimeBias", VT_I4},
    {L"Meta.IPTC.DescriptiveInfo.IntellectualGenre", VT_BSTR},
    {L"Meta.IPTC.DescriptiveInfo.IPTCScene", VT_BSTR},
    {L"Meta.IPTC.DescriptiveInfo.Location", VT_BSTR},
    {L"Meta.IPTC.DescriptiveInfo.City", VT_BSTR},
    {L"Meta.IPTC.DescriptiveInfo.StateProvince", VT_BSTR},
    {L"Meta.IPTC.DescriptiveInfo.ISOCountryCode", VT_BSTR},
    {L"Meta.IPTC.DescriptiveInfo.Country", VT_BSTR},
    {L"Meta.IPTC.Photographer.Creator", VT_BSTR},
    {L"Meta.IPTC.Photographer.CreatorJobTitle", VT_BSTR},
    {L"Meta.IPTC.Photographer.CreatorAddress", VT_BSTR},
    {L"Meta.IPTC.Photographer.City", VT_BSTR},
    {L"Meta.IPTC.Photographer.StateProvince", VT_BSTR},
    {L"Meta.IPTC.Photographer.PostalCode", VT_BSTR},
    {L"Meta.IPTC.Photographer.Country", VT_BSTR},
    {L"Meta.IPTC.Photographer.Phones", VT_BSTR},
    {L"Meta.IPTC.Photographer.Emails", VT_BSTR},
    {L"Meta.IPTC.Photographer.Websites", VT_BSTR},
    {L"Meta.IPTC.VisualContent.Headline", VT_BSTR},
    {L"Meta.IPTC.VisualContent.Description", VT_BSTR},
    {L"Meta.IPTC.VisualContent.Keywords", VT_BSTR},
    {L"Meta.IPTC.VisualContent.SubjectCodes", VT_BSTR},
    {L"Meta.IPTC.VisualContent.DescriptionWriter", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.Title", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.JobIdentifier", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.Instructions", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.Provider", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.Source", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.CopyrightNotice", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.RightsUsageTerms", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.CopyrightedFlag", VT_BSTR},
    {L"Meta.IPTC.WorkflowAndCopyright.WebStatement", VT_BSTR},
    {L"Meta.IPTC.MediaManagement.DocumentID", VT_BSTR},
    {L"Image.Width", VT_UI4},
    {L"Image.NativeWidth", VT_UI4},
    {L"Image.Height", VT_UI4},
    {L"Image.NativeHeight", VT_UI4},
    {L"Image.BPP", VT_UI1},
    {L"Image.WICPixelFormat", VT_BSTR},
    {L"Image.Rotated", VT_UI1},
    {L"Image.SupportsTransparency", VT_UI1},
    {L"Image.Index", VT_UI4},
}};
static_assert(kKeys.size() == 120);

// The host promises non-null texts; a broken one must not crash the run.
std::wstring_view TextOf(LPCWSTR text) {
  return text != nullptr ? std::wstring_view(text) : std::wstring_view();
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
}

std::array<Variant, kFileRecordKeyCount> CFileRecordBuilder::Values(const LMKIMAGERECORD& r) const {
  const auto date = [](const FILETIME& time) { return Variant::Date(RecordDate(time)); };
  const auto ticks = [](const FILETIME& time) { return Variant::I8(FileTimeToInt64(time)); };
  const auto text = [](LPCWSTR value) { return TextValue(TextOf(value)); };
  const auto flag = [](BOOL value) { return Variant::Bool(value != FALSE); };
  return {
      Variant::Unknown(host_.Get()),
      Variant::Dispatch(globals_.Get()),
      Variant::Dispatch(attachments_.Get()),
      TextValue(imagesFolder_),
      TextValue(keepCopyFolder_),
      text(r.fullPath),
      text(r.pathNoExt),
      text(r.extensions),
      text(r.displayExtensions),
      Variant::UI4(r.attributes),
      date(r.creationTime),
      ticks(r.creationTime),
      date(r.lastAccessTime),
      ticks(r.lastAccessTime),
      date(r.lastWriteTime),
      ticks(r.lastWriteTime),
      // Deliberately 32 bits, as rules and scripts have always compared it: files of 4 GB and
      // more wrap around.
      Variant::UI4(static_cast<uint32_t>(r.size)),
      Variant::I8(r.hashCode),
      Variant::UI8(r.cookie),
      text(r.externalBookmark),
      flag(r.copied),
      flag(r.markedForPublishing),
      flag(r.markedForDeletion),
      flag(r.bwPreview),
      flag(r.multiFrames),
      Variant::UI2(r.frameNumber),
      Variant::UI2(r.totalFrames),
      Variant::UI2(r.quickBookmarkIndex),
      date(r.dateTaken),
      ticks(r.dateTaken),
      Variant::R4(r.exposureBias),
      Variant::R4(r.exposureTime),
      Variant::R4(r.fNumber),
      Variant::R4(r.maxApertureValue),
      Variant::R4(r.focalLength),
      Variant::R4(r.digitalZoomRatio),
      Variant::R4(r.subjectDistance),
      Variant::UI2(r.flash),
      Variant::UI2(r.focalLengthInFilm),
      Variant::UI2(r.meteringMode),
      Variant::UI2(r.orientation),
      Variant::UI2(r.programMode),
      Variant::UI2(r.contrast),
      Variant::UI2(r.saturation),
      Variant::UI2(r.sharpness),
      Variant::UI2(r.subjectDistanceRange),
      Variant::UI2(r.sensingMethod),
      Variant::UI2(r.exposureMode),
      Variant::UI2(r.whiteBalance),
      Variant::UI2(r.lightSource),
      Variant::UI4(r.isoSpeed),
      Variant::UI4(r.fileNumber),
      Variant::UI4(r.folderNumber),
      text(r.iccProfileName),
      text(r.cameraMake),
      text(r.cameraModel),
      text(r.lensModel),
      text(r.comment),
      text(r.artist),
      text(r.copyright),
      text(r.imageUniqueId),
      text(r.cameraSerialNumber),
      Variant::I2(r.xmpRating),
      Variant::I2(r.xmpLabel),
      Variant::I2(r.xmpLabellingConvention),
      Variant::I2(r.photoshopUrgency),
      Variant::UI2(r.gpsFlags),
      date(r.gpsTimeStamp),
      ticks(r.gpsTimeStamp),
      Variant::R8(r.gpsLatitude),
      Variant::R8(r.gpsLongitude),
      Variant::R4(r.gpsAltitude),
      Variant::R4(r.gpsSpeed),
      Variant::R4(r.gpsImgDirection),
      Variant::UI1(r.gpsMeasurementActive),
      text(r.gpsMapDatum),
      date(r.iptcDateCreated),
      ticks(r.iptcDateCreated),
      Variant::I4(r.iptcDateCreatedTimeBias),
      text(r.iptcIntellectualGenre),
      text(r.iptcScene),
      text(r.iptcLocation),
      text(r.iptcCity),
      text(r.iptcStateProvince),
      text(r.iptcIsoCountryCode),
      text(r.iptcCountry),
      text(r.iptcCreator),
      text(r.iptcCreatorJobTitle),
      text(r.iptcCreatorAddress),
      text(r.iptcCreatorCity),
      text(r.iptcCreatorStateProvince),
      text(r.iptcCreatorPostalCode),
      text(r.iptcCreatorCountry),
      text(r.iptcCreatorPhones),
      text(r.iptcCreatorEmails),
      text(r.iptcCreatorWebsites),
      text(r.iptcHeadline),
      text(r.iptcDescription),
      text(r.iptcKeywords),
      text(r.iptcSubjectCodes),
      text(r.iptcDescriptionWriter),
      text(r.iptcTitle),
      text(r.iptcJobIdentifier),
      text(r.iptcInstructions),
      text(r.iptcProvider),
      text(r.iptcSource),
      text(r.iptcCopyrightNotice),
      text(r.iptcRightsUsageTerms),
      text(r.iptcCopyrightedFlag),
      text(r.iptcWebStatement),
      text(r.iptcDocumentId),
      Variant::UI4(r.width),
      Variant::UI4(r.nativeWidth),
      Variant::UI4(r.height),
      Variant::UI4(r.nativeHeight),
      Variant::UI1(r.bpp),
      text(r.wicPixelFormat),
      Variant::UI1(r.rotated),
      Variant::UI1(r.supportsTransparency),
      Variant::UI4(r.index),
  };
}

FileRecordStatus CFileRecordBuilder::Build(const LMKIMAGERECORD& record,
                                           ComPtr<IDictionary>& out) const noexcept {
  try {
    out.Reset();
    if (!fileExists_(TextOf(record.fullPath))) return FileRecordStatus::kMissing;

    std::array<Variant, kFileRecordKeyCount> values = Values(record);
    std::array<LPOLESTR, kFileRecordKeyCount> names{};
    for (std::size_t i = 0; i < kFileRecordKeyCount; ++i) {
      names[i] = const_cast<LPOLESTR>(kKeys[i].name.data());
    }
    ComPtr<IDictionary> dictionary;
    if (!createDictionary_) {
      // The values were made for this record alone: the dictionary takes them over instead
      // of copying each text.
      ComPtr<CDictionary> own = MakeComObject<CDictionary>();
      if (FAILED(own->TakeMultiple(static_cast<ULONG>(kFileRecordKeyCount), names.data(),
                                   values.data()))) {
        return FileRecordStatus::kCannotFill;
      }
      dictionary = ComPtr<IDictionary>(own.Get());
    } else {
      if (FAILED(createDictionary_(&dictionary)) || !dictionary) {
        return FileRecordStatus::kCannotCreate;
      }
      // PutMultiple copies what it stores: the arrays only lend values for the call.
      std::array<VARIANT, kFileRecordKeyCount> shallow{};
      for (std::size_t i = 0; i < kFileRecordKeyCount; ++i) shallow[i] = values[i].ref();
      if (FAILED(dictionary->PutMultiple(static_cast<ULONG>(kFileRecordKeyCount), names.data(),
                                         shallow.data()))) {
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
