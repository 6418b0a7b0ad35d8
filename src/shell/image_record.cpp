// CImageRecord: the record block plus the storage of its texts.
#include "shell/image_record.h"

#include <array>
#include <new>

namespace lmk {

std::span<const ImageRecordText> ImageRecordTextFields() {
  using R = LMKIMAGERECORD;
  static constexpr auto kFields = std::to_array<ImageRecordText>({&R::fullPath,
                                                                  &R::pathNoExt,
                                                                  &R::extensions,
                                                                  &R::displayExtensions,
                                                                  &R::externalBookmark,
                                                                  &R::iccProfileName,
                                                                  &R::cameraMake,
                                                                  &R::cameraModel,
                                                                  &R::lensModel,
                                                                  &R::comment,
                                                                  &R::artist,
                                                                  &R::copyright,
                                                                  &R::imageUniqueId,
                                                                  &R::cameraSerialNumber,
                                                                  &R::gpsMapDatum,
                                                                  &R::iptcIntellectualGenre,
                                                                  &R::iptcScene,
                                                                  &R::iptcLocation,
                                                                  &R::iptcCity,
                                                                  &R::iptcStateProvince,
                                                                  &R::iptcIsoCountryCode,
                                                                  &R::iptcCountry,
                                                                  &R::iptcCreator,
                                                                  &R::iptcCreatorJobTitle,
                                                                  &R::iptcCreatorAddress,
                                                                  &R::iptcCreatorCity,
                                                                  &R::iptcCreatorStateProvince,
                                                                  &R::iptcCreatorPostalCode,
                                                                  &R::iptcCreatorCountry,
                                                                  &R::iptcCreatorPhones,
                                                                  &R::iptcCreatorEmails,
                                                                  &R::iptcCreatorWebsites,
                                                                  &R::iptcHeadline,
                                                                  &R::iptcDescription,
                                                                  &R::iptcKeywords,
                                                                  &R::iptcSubjectCodes,
                                                                  &R::iptcDescriptionWriter,
                                                                  &R::iptcTitle,
                                                                  &R::iptcJobIdentifier,
                                                                  &R::iptcInstructions,
                                                                  &R::iptcProvider,
                                                                  &R::iptcSource,
                                                                  &R::iptcCopyrightNotice,
                                                                  &R::iptcRightsUsageTerms,
                                                                  &R::iptcCopyrightedFlag,
                                                                  &R::iptcWebStatement,
                                                                  &R::iptcDocumentId,
                                                                  &R::wicPixelFormat});
  return kFields;
}

CImageRecord::CImageRecord() {
  for (ImageRecordText field : ImageRecordTextFields()) record_.*field = L"";
}

void CImageRecord::SetText(ImageRecordText field, std::wstring_view text) {
  try {
    record_.*field = texts_.emplace_back(text).c_str();
  } catch (const std::bad_alloc&) {
    throw ComError(E_OUTOFMEMORY);
  }
}

HRESULT STDMETHODCALLTYPE CImageRecord::GetRecord(const LMKIMAGERECORD** ppRecord) {
  if (ppRecord == nullptr) return E_INVALIDARG;
  *ppRecord = &record_;
  return S_OK;
}

}  // namespace lmk
