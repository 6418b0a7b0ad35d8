// ILumarkoHost: what a plug-in asks of the viewer that hosts it (image list, image records,
// metadata writes, notices of changed files) and the image record. Elements, the runner and the
// hosts all include it, so it lives below all of them.
#pragma once

#include "com/com.h"
#include "com/com_ptr.h"

/// Bits of LMKIMAGERECORD::gpsFlags: which GPS values the image carries. Only the low seven bits
/// are defined; a value whose bit is clear is 0 in the record.
enum tagLMKGPSFLAGS : USHORT {
  LMKGPS_POSITION = 0x01,               ///< gpsLatitude and gpsLongitude
  LMKGPS_TIMESTAMP = 0x02,              ///< gpsTimeStamp
  LMKGPS_MAPDATUM = 0x04,               ///< gpsMapDatum and gpsMeasurementActive
  LMKGPS_ALTITUDE = 0x08,               ///< gpsAltitude
  LMKGPS_SPEED = 0x10,                  ///< gpsSpeed
  LMKGPS_IMGDIRECTION_MAGNETIC = 0x20,  ///< gpsImgDirection, relative to magnetic north
  LMKGPS_IMGDIRECTION_TRUE = 0x40,      ///< gpsImgDirection, relative to true north
};

/// The host's record of one entry of its image list, as one plain block. Every text pointer is
/// non-null (empty text when the host has no value) and belongs to the ILumarkoImage that gave
/// the record: it stays valid, and unchanged, while the caller holds that object. Times are UTC
/// FILETIMEs; a zero FILETIME means "unknown". Numbers the image does not carry are 0.
struct LMKIMAGERECORD {
  // Identity in the host's list.
  ULONG index;       ///< position in the host's list, 0-based
  ULONGLONG cookie;  ///< the host's handle of the file, for the host's write calls
  // The file.
  LPCWSTR fullPath;           ///< the full path of the file itself
  LPCWSTR pathNoExt;          ///< fullPath without its extension
  LPCWSTR extensions;         ///< the extension(s) as the host keeps them (".jpg", ".jpg;.cr2")
  LPCWSTR displayExtensions;  ///< the same as shown to the user ("JPG+CR2")
  DWORD attributes;           ///< FILE_ATTRIBUTE_* bits
  FILETIME creationTime;
  FILETIME lastAccessTime;
  FILETIME lastWriteTime;
  ULONGLONG size;     ///< bytes
  LONGLONG hashCode;  ///< the host's 64-bit hash of the file
  // Viewer marks.
  LPCWSTR externalBookmark;
  BOOL copied;
  BOOL markedForPublishing;
  BOOL markedForDeletion;
  BOOL bwPreview;
  BOOL multiFrames;
  USHORT frameNumber;  ///< 0-based frame of a multi-frame file
  USHORT totalFrames;
  USHORT quickBookmarkIndex;
  // Camera values.
  FILETIME dateTaken;
  FLOAT exposureBias;
  FLOAT exposureTime;
  FLOAT fNumber;
  FLOAT maxApertureValue;
  FLOAT focalLength;
  FLOAT digitalZoomRatio;
  FLOAT subjectDistance;
  USHORT flash;
  USHORT focalLengthInFilm;
  USHORT meteringMode;
  USHORT orientation;
  USHORT programMode;
  USHORT contrast;
  USHORT saturation;
  USHORT sharpness;
  USHORT subjectDistanceRange;
  USHORT sensingMethod;
  USHORT exposureMode;
  USHORT whiteBalance;
  USHORT lightSource;
  ULONG isoSpeed;
  ULONG fileNumber;
  ULONG folderNumber;
  LPCWSTR iccProfileName;
  LPCWSTR cameraMake;
  LPCWSTR cameraModel;
  LPCWSTR lensModel;
  LPCWSTR comment;
  LPCWSTR artist;
  LPCWSTR copyright;
  LPCWSTR imageUniqueId;
  LPCWSTR cameraSerialNumber;
  // Rating metadata.
  SHORT xmpRating;  ///< -1 rejected, 0 none, 1..5 stars
  SHORT xmpLabel;
  SHORT xmpLabellingConvention;
  SHORT photoshopUrgency;
  // GPS.
  USHORT gpsFlags;  ///< LMKGPS_* bits
  FILETIME gpsTimeStamp;
  DOUBLE gpsLatitude;     ///< degrees, north positive
  DOUBLE gpsLongitude;    ///< degrees, east positive
  FLOAT gpsAltitude;      ///< metres above sea level
  FLOAT gpsSpeed;         ///< km/h
  FLOAT gpsImgDirection;  ///< degrees
  BYTE gpsMeasurementActive;
  LPCWSTR gpsMapDatum;
  // IPTC core.
  FILETIME iptcDateCreated;
  LONG iptcDateCreatedTimeBias;  ///< minutes
  LPCWSTR iptcIntellectualGenre;
  LPCWSTR iptcScene;
  LPCWSTR iptcLocation;
  LPCWSTR iptcCity;
  LPCWSTR iptcStateProvince;
  LPCWSTR iptcIsoCountryCode;
  LPCWSTR iptcCountry;
  LPCWSTR iptcCreator;
  LPCWSTR iptcCreatorJobTitle;
  LPCWSTR iptcCreatorAddress;
  LPCWSTR iptcCreatorCity;
  LPCWSTR iptcCreatorStateProvince;
  LPCWSTR iptcCreatorPostalCode;
  LPCWSTR iptcCreatorCountry;
  LPCWSTR iptcCreatorPhones;
  LPCWSTR iptcCreatorEmails;
  LPCWSTR iptcCreatorWebsites;
  LPCWSTR iptcHeadline;
  LPCWSTR iptcDescription;
  LPCWSTR iptcKeywords;
  LPCWSTR iptcSubjectCodes;
  LPCWSTR iptcDescriptionWriter;
  LPCWSTR iptcTitle;
  LPCWSTR iptcJobIdentifier;
  LPCWSTR iptcInstructions;
  LPCWSTR iptcProvider;
  LPCWSTR iptcSource;
  LPCWSTR iptcCopyrightNotice;
  LPCWSTR iptcRightsUsageTerms;
  LPCWSTR iptcCopyrightedFlag;
  LPCWSTR iptcWebStatement;
  LPCWSTR iptcDocumentId;
  // The picture.
  ULONG width;  ///< as displayed (after rotation)
  ULONG nativeWidth;
  ULONG height;
  ULONG nativeHeight;
  BYTE bpp;                ///< bits per pixel
  LPCWSTR wicPixelFormat;  ///< pixel format GUID as text, "{...}"
  BYTE rotated;            ///< 1 when width/height are swapped against the native ones
  BYTE supportsTransparency;
};

/// One image record delivered by the host. The object owns the record and its texts; a record
/// never changes once delivered (the host hands out a new object for a changed file), so it may
/// be read from any thread.
struct ILumarkoImage : public IUnknown {
  /// Points *ppRecord at the record, which stays valid while the caller holds this object (no
  /// copy, nothing to free). S_OK; E_INVALIDARG when ppRecord is null.
  virtual HRESULT STDMETHODCALLTYPE GetRecord(const LMKIMAGERECORD** ppRecord) = 0;

 protected:
  ~ILumarkoImage() = default;
};

LMK_DECLARE_IID(ILumarkoImage, "ABA00DDB-C142-43A7-BF38-DEC1882F663E");

/// {ABA00DDB-C142-43A7-BF38-DEC1882F663E}
inline constexpr IID IID_ILumarkoImage = {
    0xABA00DDB, 0xC142, 0x43A7, {0xBF, 0x38, 0xDE, 0xC1, 0x88, 0x2F, 0x66, 0x3E}};

/// The host: its image list, the run's session values, writes of rating metadata that the host
/// owns, and notices of files the plug-in changed. Every out pointer must be non-null
/// (E_INVALIDARG otherwise); image objects and BSTRs written to out pointers are new references
/// the caller releases or frees. Unless a method says otherwise it may be called from any thread.
struct ILumarkoHost : public IUnknown {
  /// *pfScanning = TRUE while the host is still scanning its image folder(s). S_OK.
  virtual HRESULT STDMETHODCALLTYPE IsScanning(BOOL* pfScanning) = 0;

  /// The number of images in the host's list. S_OK.
  virtual HRESULT STDMETHODCALLTYPE GetImageCount(ULONG* pcImages) = 0;

  /// The index of the current image in the list. S_OK; E_FAIL when the list is empty.
  virtual HRESULT STDMETHODCALLTYPE GetCurrentIndex(ULONG* pIndex) = 0;

  /// The index of the last image in the list. S_OK; E_FAIL when the list is empty.
  virtual HRESULT STDMETHODCALLTYPE GetLastIndex(ULONG* pIndex) = 0;

  /// The session values a run records: the session's start (UTC), the host's version text and
  /// the session keep-copy index. S_OK; E_OUTOFMEMORY; any failure leaves *pbstrVersion null.
  virtual HRESULT STDMETHODCALLTYPE GetSessionInfo(FILETIME* pftStart, BSTR* pbstrVersion,
                                                   ULONG* pKeepCopyIndex) = 0;

  /// Stores the session keep-copy index back at the end of a run. S_OK.
  virtual HRESULT STDMETHODCALLTYPE SetSessionKeepCopyIndex(ULONG keepCopyIndex) = 0;

  /// The folder the host shows (empty when none). S_OK; E_OUTOFMEMORY.
  virtual HRESULT STDMETHODCALLTYPE GetImagesFolder(BSTR* pbstrFolder) = 0;

  /// The folder the host keeps copies in (empty when none). S_OK; E_OUTOFMEMORY.
  virtual HRESULT STDMETHODCALLTYPE GetKeepCopyFolder(BSTR* pbstrFolder) = 0;

  /// The current image; it also starts the range that GetNextImageOfRange walks. S_OK;
  /// E_FAIL when the list is empty or the record cannot be built.
  virtual HRESULT STDMETHODCALLTYPE GetCurrentImage(ILumarkoImage** ppImage) = 0;

  /// The first image; it also starts the range at index 0. S_OK; E_FAIL as GetCurrentImage.
  virtual HRESULT STDMETHODCALLTYPE GetFirstImage(ILumarkoImage** ppImage) = 0;

  /// The image at index; it also starts the range there. S_OK; E_INVALIDARG for an index
  /// beyond the last; E_FAIL when the record cannot be built.
  virtual HRESULT STDMETHODCALLTYPE GetImageAt(ULONG index, ILumarkoImage** ppImage) = 0;

  /// The image that follows pImage in the list. S_OK; S_FALSE with *ppImage null after the last
  /// image; E_INVALIDARG when pImage is null; E_FAIL when the record cannot be built.
  virtual HRESULT STDMETHODCALLTYPE GetNextImage(ILumarkoImage* pImage,
                                                 ILumarkoImage** ppImage) = 0;

  /// The next image of the range started by GetCurrentImage, GetFirstImage or GetImageAt.
  /// Thread-safe: parallel workers call it without an index and the host hands the images out
  /// one after the other, each exactly once. S_OK; S_FALSE with *ppImage null once the range has
  /// run past the last image (a final call of this kind ends the range); E_FAIL when this image's
  /// record cannot be built (the range still advances past it).
  virtual HRESULT STDMETHODCALLTYPE GetNextImageOfRange(ILumarkoImage** ppImage) = 0;

  /// The current record of the file that the host knows by cookie (with its current path after
  /// a rename). S_OK; E_INVALIDARG for an unknown cookie.
  virtual HRESULT STDMETHODCALLTYPE GetImageByCookie(ULONGLONG cookie, ILumarkoImage** ppImage) = 0;

  /// *pfInPlace = TRUE when a rating write changes the file in place, FALSE when it may rename
  /// the file (the new name then comes from GetImageByCookie). S_OK.
  virtual HRESULT STDMETHODCALLTYPE IsRatingInPlace(BOOL* pfInPlace) = 0;

  /// Writes the XMP rating (-1..5) of the file. S_OK; E_INVALIDARG for an unknown cookie; any
  /// failure of the write.
  virtual HRESULT STDMETHODCALLTYPE SetXmpRating(ULONGLONG cookie, SHORT rating) = 0;

  /// Writes the XMP label of the file under the labelling convention. As SetXmpRating.
  virtual HRESULT STDMETHODCALLTYPE SetXmpLabel(ULONGLONG cookie, SHORT label,
                                                SHORT convention) = 0;

  /// Writes the Photoshop urgency of the file. As SetXmpRating.
  virtual HRESULT STDMETHODCALLTYPE SetPhotoshopUrgency(ULONGLONG cookie, SHORT urgency) = 0;

  /// A new IEnumVARIANT of VT_BSTR label names (label 1 first) of the labelling convention;
  /// flags is reserved (0). S_OK; E_INVALIDARG for an unknown convention.
  virtual HRESULT STDMETHODCALLTYPE GetLabelNames(DWORD flags, SHORT convention,
                                                  IEnumVARIANT** ppNames) = 0;

  /// Tells the host that the plug-in renamed or moved a file, so that its list follows. cookie
  /// is the host's handle when known, else 0 (the host then matches oldPath). S_OK; S_FALSE when
  /// the host does not list the file; E_INVALIDARG for null paths.
  virtual HRESULT STDMETHODCALLTYPE OnFileRenamed(ULONGLONG cookie, LPCWSTR oldPath,
                                                  LPCWSTR newPath) = 0;

  /// Tells the host that the plug-in deleted (or recycled) a file. cookie as OnFileRenamed.
  /// S_OK; S_FALSE when the host does not list the file; E_INVALIDARG for a null path.
  virtual HRESULT STDMETHODCALLTYPE OnFileDeleted(ULONGLONG cookie, LPCWSTR path) = 0;

 protected:
  ~ILumarkoHost() = default;
};

LMK_DECLARE_IID(ILumarkoHost, "988665D6-4CE0-4CD9-B7C6-82315FE9E074");

/// {988665D6-4CE0-4CD9-B7C6-82315FE9E074}
inline constexpr IID IID_ILumarkoHost = {
    0x988665D6, 0x4CE0, 0x4CD9, {0xB7, 0xC6, 0x82, 0x31, 0x5F, 0xE9, 0xE0, 0x74}};

/// Declares every ILumarkoHost method as an override, for the classes that implement the whole
/// interface: they share this one list, so a method added to the interface reaches them all.
#define LMK_LUMARKO_HOST_OVERRIDES                                                                 \
  HRESULT STDMETHODCALLTYPE IsScanning(BOOL* pfScanning) override;                                 \
  HRESULT STDMETHODCALLTYPE GetImageCount(ULONG* pcImages) override;                               \
  HRESULT STDMETHODCALLTYPE GetCurrentIndex(ULONG* pIndex) override;                               \
  HRESULT STDMETHODCALLTYPE GetLastIndex(ULONG* pIndex) override;                                  \
  HRESULT STDMETHODCALLTYPE GetSessionInfo(FILETIME* pftStart, BSTR* pbstrVersion,                 \
                                           ULONG* pKeepCopyIndex) override;                        \
  HRESULT STDMETHODCALLTYPE SetSessionKeepCopyIndex(ULONG keepCopyIndex) override;                 \
  HRESULT STDMETHODCALLTYPE GetImagesFolder(BSTR* pbstrFolder) override;                           \
  HRESULT STDMETHODCALLTYPE GetKeepCopyFolder(BSTR* pbstrFolder) override;                         \
  HRESULT STDMETHODCALLTYPE GetCurrentImage(ILumarkoImage** ppImage) override;                     \
  HRESULT STDMETHODCALLTYPE GetFirstImage(ILumarkoImage** ppImage) override;                       \
  HRESULT STDMETHODCALLTYPE GetImageAt(ULONG index, ILumarkoImage** ppImage) override;             \
  HRESULT STDMETHODCALLTYPE GetNextImage(ILumarkoImage* pImage, ILumarkoImage** ppImage) override; \
  HRESULT STDMETHODCALLTYPE GetNextImageOfRange(ILumarkoImage** ppImage) override;                 \
  HRESULT STDMETHODCALLTYPE GetImageByCookie(ULONGLONG cookie, ILumarkoImage** ppImage) override;  \
  HRESULT STDMETHODCALLTYPE IsRatingInPlace(BOOL* pfInPlace) override;                             \
  HRESULT STDMETHODCALLTYPE SetXmpRating(ULONGLONG cookie, SHORT rating) override;                 \
  HRESULT STDMETHODCALLTYPE SetXmpLabel(ULONGLONG cookie, SHORT label, SHORT convention) override; \
  HRESULT STDMETHODCALLTYPE SetPhotoshopUrgency(ULONGLONG cookie, SHORT urgency) override;         \
  HRESULT STDMETHODCALLTYPE GetLabelNames(DWORD flags, SHORT convention, IEnumVARIANT** ppNames)   \
      override;                                                                                    \
  HRESULT STDMETHODCALLTYPE OnFileRenamed(ULONGLONG cookie, LPCWSTR oldPath, LPCWSTR newPath)      \
      override;                                                                                    \
  HRESULT STDMETHODCALLTYPE OnFileDeleted(ULONGLONG cookie, LPCWSTR path) override
