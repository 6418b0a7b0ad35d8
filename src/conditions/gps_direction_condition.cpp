// CGpsDirectionCondition: whether the camera pointed in a chosen direction, within a tolerance.
#include "conditions/gps_direction_condition.h"

#include "com/com_error.h"
#include "conditions/geodesy.h"
#include "conditions/gps_condition_common.h"
#include "conditions/magnetic_model.h"
#include "conditions/record_value.h"
#include "rules/element_kind.h"

namespace lmk {
namespace {

constexpr ParamWord kReferenceWords[] = {
    {L"geographic north", 0}, {L"magnetic north", 1}, {L"true north", 0},
    {L"geographic", 0},       {L"true", 0},           {L"magnetic", 1},
};

// The half degree by which every arc is widened on each side: directions are whole degrees.
constexpr double kArcMargin = 0.5;

}  // namespace

CGpsDirectionCondition::CGpsDirectionCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"GpsDirection")) {}

HRESULT CGpsDirectionCondition::Test(IDictionary& record) const {
  USHORT flags = 0;
  LMK_RETURN_IF_FAILED(ReadGpsFlags(record, &flags));
  if ((flags & kGpsDirectionFlags) == 0) return S_FALSE;
  double imageDirection = 0;
  LMK_RETURN_IF_FAILED(ReadRecordFloat(record, L"Meta.GPS.ImgDirection", &imageDirection));

  double wanted = direction();
  const bool imageTrue = (flags & LMKGPS_IMGDIRECTION_TRUE) != 0;
  if (magnetic() == imageTrue) {
    double latitude = 0, longitude = 0, year = 0;
    const HRESULT position = ReadImagePosition(record, flags, &latitude, &longitude);
    LMK_RETURN_IF_FAILED(position);
    // Without a place and a date the declination is unknown: the direction is used as it is.
    if (position == S_OK && ReadImageDecimalYear(record, &year) == S_OK) {
      const GeoPoint place = NormalizePosition(latitude, longitude);
      const auto declination =
          static_cast<float>(MagneticDeclination(place.latitude, place.longitude, year));
      wanted = ConvertDirectionReference(wanted, declination, magnetic());
    }
  }
  return InArc(imageDirection, wanted, 2.0 * tolerance(), kArcMargin) ? S_OK : S_FALSE;
}

bool CGpsDirectionCondition::IsValid(std::wstring* reason) const {
  if (direction() > 360) {
    if (reason != nullptr) *reason = L"direction: write a whole number of degrees from 0 to 360";
    return false;
  }
  if (tolerance() > 180) {
    if (reason != nullptr) *reason = L"tolerance: write a whole number of degrees from 0 to 180";
    return false;
  }
  return true;
}

std::wstring CGpsDirectionCondition::Description() const {
  return Sentence(L"the camera points at " + FormatDegrees(direction()) + L" \u00B1" +
                  FormatDegrees(tolerance()) +
                  (magnetic() ? L" (magnetic north reference)" : L" (geographic north reference)"));
}

void CGpsDirectionCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.U32(word_);
}

void CGpsDirectionCondition::ExchangeParameters(CParamArchive& archive) {
  unsigned directionValue = direction();
  unsigned toleranceValue = tolerance();
  std::uint32_t reference = magnetic() ? 1 : 0;
  archive.Integer(L"direction", directionValue, 0, 360);
  archive.Integer(L"tolerance", toleranceValue, 0, 180);
  archive.Choice(L"reference", reference, kReferenceWords);
  // The top four bits are not used; they are kept as they were.
  word_ = (word_ & 0xF0000000) | Pack(directionValue, toleranceValue, reference != 0);
}

}  // namespace lmk
