// Registers the condition classes in the element registry.
#include "conditions/condition_registration.h"

#include "conditions/aperture_condition.h"
#include "conditions/audio_annotation_condition.h"
#include "conditions/bookmarked_condition.h"
#include "conditions/bw_preview_condition.h"
#include "conditions/camera_make_match_condition.h"
#include "conditions/camera_model_match_condition.h"
#include "conditions/camera_serial_number_condition.h"
#include "conditions/camera_serial_number_match_condition.h"
#include "conditions/copied_condition.h"
#include "conditions/date_taken_condition.h"
#include "conditions/file_date_condition.h"
#include "conditions/file_name_condition.h"
#include "conditions/file_size_condition.h"
#include "conditions/file_type_condition.h"
#include "conditions/focal_length_condition.h"
#include "conditions/gps_condition_registration.h"
#include "conditions/image_dimension_condition.h"
#include "conditions/image_megapixels_condition.h"
#include "conditions/iso_speed_condition.h"
#include "conditions/label_condition.h"
#include "conditions/marked_for_deletion_condition.h"
#include "conditions/marked_for_publishing_condition.h"
#include "conditions/portrait_condition.h"
#include "conditions/rating_condition.h"
#include "conditions/script_condition.h"
#include "conditions/shutter_speed_condition.h"
#include "conditions/sibling_condition.h"
#include "conditions/sidecar_condition.h"
#include "conditions/time_taken_condition.h"
#include "conditions/time_taken_time_span_condition.h"
#include "conditions/urgency_condition.h"

namespace lmk {

void RegisterConditions(CElementRegistry& registry) {
  constexpr ElementFamily kFamily = ElementFamily::Condition;
  registry.Register<CApertureCondition>(kFamily, L"Aperture");
  registry.Register<CAudioAnnotationCondition>(kFamily, L"AudioAnnotation");
  registry.Register<CBWPreviewCondition>(kFamily, L"BWPreview");
  registry.Register<CBookmarkedCondition>(kFamily, L"Bookmarked");
  registry.Register<CCameraMakeMatchCondition>(kFamily, L"CameraMakeMatch");
  registry.Register<CCameraModelMatchCondition>(kFamily, L"CameraModelMatch");
  registry.Register<CCameraSerialNumberCondition>(kFamily, L"CameraSerialNumber");
  registry.Register<CCameraSerialNumberMatchCondition>(kFamily, L"CameraSerialNumberMatch");
  registry.Register<CCopiedCondition>(kFamily, L"Copied");
  registry.Register<CDateTakenCondition>(kFamily, L"DateTaken");
  registry.Register<CFileDateCondition>(kFamily, L"FileDate");
  registry.Register<CFileNameCondition>(kFamily, L"FileName");
  registry.Register<CFileSizeCondition>(kFamily, L"FileSize");
  registry.Register<CFileTypeCondition>(kFamily, L"FileType");
  registry.Register<CFocalLengthCondition>(kFamily, L"FocalLength");
  registry.Register<CISOSpeedCondition>(kFamily, L"ISOSpeed");
  registry.Register<CImageDimensionCondition>(kFamily, L"ImageDimension");
  registry.Register<CImageMegapixelsCondition>(kFamily, L"ImageMegapixels");
  registry.Register<CMarkedForDeletionCondition>(kFamily, L"MarkedForDeletion");
  registry.Register<CMarkedForPublishingCondition>(kFamily, L"MarkedForPublishing");
  registry.Register<CUrgencyCondition>(kFamily, L"Photoshop.Urgency");
  registry.Register<CPortraitCondition>(kFamily, L"Portrait");
  registry.Register<CScriptCondition>(kFamily, L"Script");
  registry.Register<CShutterSpeedCondition>(kFamily, L"ShutterSpeed");
  registry.Register<CSiblingCondition>(kFamily, L"Sibling");
  registry.Register<CSidecarCondition>(kFamily, L"Sidecar");
  registry.Register<CTimeTakenCondition>(kFamily, L"TimeTaken");
  registry.Register<CTimeTakenTimeSpanCondition>(kFamily, L"TimeTakenTimeSpan");
  registry.Register<CLabelCondition>(kFamily, L"Xmp.Label");
  registry.Register<CRatingCondition>(kFamily, L"Xmp.Rating");
  RegisterGpsConditions(registry);
}

}  // namespace lmk
