// The product's tables of element kinds.
#include "rules/element_kind.h"

#include <stdexcept>

namespace lmk {
namespace {

constexpr ElementFamily C = ElementFamily::Condition;
constexpr ElementFamily A = ElementFamily::Action;

constexpr ElementKind kConditionKinds[] = {
    {C, L"Aperture", L"CApertureCondition", L"Condition:Aperture", 29},
    {C, L"AudioAnnotation", L"CAudioAnnotationCondition", L"Condition:AudioAnnotation", 15},
    {C, L"BWPreview", L"CBWPreviewCondition", L"Condition:BWPreview", 25},
    {C, L"Bookmarked", L"CBookmarkedCondition", L"Condition:Bookmarked", 6},
    {C, L"CameraMakeMatch", L"CCameraMakeMatchCondition", L"Condition:CameraMakeMatch", 32},
    {C, L"CameraModelMatch", L"CCameraModelMatchCondition", L"Condition:CameraModelMatch", 33},
    {C, L"CameraSerialNumber", L"CCameraSerialNumberCondition", L"Condition:CameraSerialNumber",
     23},
    {C, L"CameraSerialNumberMatch", L"CCameraSerialNumberMatchCondition",
     L"Condition:CameraSerialNumberMatch", 24},
    {C, L"Copied", L"CCopiedCondition", L"Condition:Copied", 5},
    {C, L"DateTaken", L"CDateTakenCondition", L"Condition:DateTaken", 9},
    {C, L"FileDate", L"CFileDateCondition", L"Condition:FileDate", 8},
    {C, L"FileName", L"CFileNameCondition", L"Condition:FileName", 22},
    {C, L"FileSize", L"CFileSizeCondition", L"Condition:FileSize", 7},
    {C, L"FileType", L"CFileTypeCondition", L"Condition:FileType", 4},
    {C, L"FocalLength", L"CFocalLengthCondition", L"Condition:FocalLength", 28},
    {C, L"GpsAltitude", L"CGpsAltitudeCondition", L"Condition:GpsAltitude", 18},
    {C, L"GpsDirection", L"CGpsDirectionCondition", L"Condition:GpsDirection", 20},
    {C, L"GpsMetadata", L"CGpsMetadataCondition", L"Condition:GpsMetadata", 17},
    {C, L"GpsPosition", L"CGpsPositionCondition", L"Condition:GpsPosition", 21},
    {C, L"GpsSpeed", L"CGpsSpeedCondition", L"Condition:GpsSpeed", 19},
    {C, L"ISOSpeed", L"CISOSpeedCondition", L"Condition:ISOSpeed", 14},
    {C, L"ImageDimension", L"CImageDimensionCondition", L"Condition:ImageDimension", 10},
    {C, L"ImageMegapixels", L"CImageMegapixelsCondition", L"Condition:ImageMegapixels", 34},
    {C, L"MarkedForDeletion", L"CMarkedForDeletionCondition", L"Condition:MarkedForDeletion", 11},
    {C, L"MarkedForPublishing", L"CMarkedForPublishingCondition", L"Condition:MarkedForPublishing",
     12},
    {C, L"Photoshop.Urgency", L"CUrgencyCondition", L"Condition:PhotoshopUrgency", 3},
    {C, L"Portrait", L"CPortraitCondition", L"Condition:PortraitOrientation", 13},
    {C, L"Script", L"CScriptCondition", L"Condition:Script", 0},
    {C, L"ShutterSpeed", L"CShutterSpeedCondition", L"Condition:ShutterSpeed", 30},
    {C, L"Sibling", L"CSiblingCondition", L"Condition:Sibling", 31},
    {C, L"Sidecar", L"CSidecarCondition", L"Condition:Sidecar", 16},
    {C, L"TimeTaken", L"CTimeTakenCondition", L"Condition:TimeTaken", 26},
    {C, L"TimeTakenTimeSpan", L"CTimeTakenTimeSpanCondition", L"Condition:TimeTakenTimeSpan", 27},
    {C, L"Xmp.Label", L"CLabelCondition", L"Condition:XMPLabel", 2},
    {C, L"Xmp.Rating", L"CRatingCondition", L"Condition:XMPRating", 1},
};

constexpr ElementKind kActionKinds[] = {
    {A, L"Convert", L"CConvertAction", L"Action:Convert"},
    {A, L"Copy", L"CCopyAction", L"Action:Copy"},
    {A, L"Delete", L"CDeleteAction", L"Action:Delete"},
    {A, L"FTPUpload", L"CFTPAction", L"Action:FTPUpload"},
    {A, L"FileDateTime", L"CFileDateAction", L""},
    {A, L"Link", L"CLinkAction", L"Action:HardLink"},
    {A, L"Move", L"CMoveAction", L"Action:Move"},
    {A, L"Rename", L"CRenameAction", L"Action:Rename"},
    {A, L"SaveForWeb", L"CSaveForWebAction", L"Action:SaveForWeb"},
    {A, L"Script", L"CScriptAction", L"Action:Script"},
    {A, L"SetPhotoshopUrgency", L"CUrgencyAction", L"Action:PhotoshopUrgency"},
    {A, L"SetXMPLabel", L"CLabelAction", L"Action:XMPLabel"},
    {A, L"SetXMPRating", L"CRatingAction", L"Action:XMPRating"},
};

static_assert(std::size(kConditionKinds) == 35);
static_assert(std::size(kActionKinds) == 13);

}  // namespace

std::span<const ElementKind> ProductConditionKinds() { return kConditionKinds; }
std::span<const ElementKind> ProductActionKinds() { return kActionKinds; }

const ElementKind* FindProductKind(ElementFamily family, std::wstring_view name) {
  const auto kinds =
      family == ElementFamily::Condition ? ProductConditionKinds() : ProductActionKinds();
  for (const ElementKind& kind : kinds) {
    if (EqualsNoCase(kind.name, name)) return &kind;
  }
  return nullptr;
}

const ElementKind& ProductKind(ElementFamily family, std::wstring_view name) {
  if (const ElementKind* kind = FindProductKind(family, name)) return *kind;
  throw std::out_of_range("no such element kind");
}

}  // namespace lmk
