// CGpsPositionCondition: distance to a chosen place, and optionally pointing towards it.
#include "conditions/gps_position_condition.h"

#include <cmath>

#include "com/com_error.h"
#include "conditions/geodesy.h"
#include "conditions/gps_condition_common.h"
#include "conditions/magnetic_model.h"
#include "conditions/record_value.h"
#include "rules/element_kind.h"

namespace lmk {
namespace {

constexpr ParamWord kRangeWords[] = {
    {L"within", 0},
    {L"farther than", 1},
    {L"further than", 1},
    {L"beyond", 1},
};

constexpr ParamWord kPointingWords[] = {
    {L"any direction", 0},
    {L"towards location", 1},
    {L"towards", 1},
    {L"any", 0},
};

constexpr double kArcMargin = 0.5;

// x reduced into [0, 360).
double Wrap360(double x) {
  x = std::fmod(x, 360.0);
  if (x < 0) x += 360.0;
  return x >= 360.0 ? 0.0 : x;
}

}  // namespace

CGpsPositionCondition::CGpsPositionCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"GpsPosition")) {}

double CGpsPositionCondition::ThresholdMetres() const {
  const std::span<const ParamUnit> units = DistanceUnits();
  if (params_.unit >= units.size()) return 0;
  return params_.distance * units[params_.unit].factor;
}

HRESULT CGpsPositionCondition::Test(IDictionary& record) const {
  USHORT flags = 0;
  LMK_RETURN_IF_FAILED(ReadGpsFlags(record, &flags));
  double latitude = 0, longitude = 0;
  const HRESULT position = ReadImagePosition(record, flags, &latitude, &longitude);
  LMK_RETURN_IF_FAILED(position);
  if (position != S_OK) return E_FAIL;

  const GeoPoint image = NormalizePosition(latitude, longitude);
  const GeoPoint target = NormalizePosition(params_.target.latitude, params_.target.longitude);
  const GeodesicLine line =
      VincentyInverse(image.latitude, image.longitude, target.latitude, target.longitude);
  const double threshold = ThresholdMetres();
  // Both tests are false for a NaN distance.
  const bool near = params_.fartherThan ? line.distance > threshold : line.distance <= threshold;
  if (!near) return S_FALSE;
  if (!params_.pointing) return S_OK;

  if ((flags & kGpsDirectionFlags) == 0) return S_FALSE;
  double direction = 0;
  LMK_RETURN_IF_FAILED(ReadRecordFloat(record, L"Meta.GPS.ImgDirection", &direction));
  if ((flags & LMKGPS_IMGDIRECTION_TRUE) == 0) {
    // A compass reading m points at the true bearing m + δ (declination east positive), the
    // convention by which the direction condition turns a wanted true bearing d into d − δ.
    double year = 0;
    if (ReadImageDecimalYear(record, &year) == S_OK) {
      direction += static_cast<float>(MagneticDeclination(image.latitude, image.longitude, year));
    }
  }
  return InArc(Wrap360(direction), line.bearing, 2.0 * params_.tolerance, kArcMargin) ? S_OK
                                                                                      : S_FALSE;
}

bool CGpsPositionCondition::IsValid(std::wstring* reason) const {
  auto fail = [&](std::wstring why) {
    if (reason != nullptr) *reason = std::move(why);
    return false;
  };
  if (!(params_.target.latitude >= -90 && params_.target.latitude <= 90) ||
      !(params_.target.longitude >= -180 && params_.target.longitude <= 180)) {
    return fail(L"place: the latitude must be from -90 to 90 and the longitude from -180 to 180");
  }
  if (!(params_.distance >= 0) || !std::isfinite(params_.distance)) {
    return fail(L"distance: write a distance of 0 or more");
  }
  if (params_.unit >= DistanceUnits().size()) {
    return fail(L"distance: unknown unit code " + std::to_wstring(params_.unit));
  }
  if (params_.pointing && params_.tolerance < 0) {
    return fail(L"tolerance: write a whole number of degrees from 0 to 127");
  }
  return true;
}

std::wstring CGpsPositionCondition::Description() const {
  std::wstring body = L"the picture was taken ";
  body += params_.fartherThan ? L"farther than " : L"within ";
  body += FormatQuantity(Quantity{params_.distance, params_.unit}, DistanceUnits());
  body += L" of " + FormatPlace(params_.target);
  if (params_.pointing) {
    body += L", camera pointing towards location \u00B1" + FormatDegrees(params_.tolerance);
  } else {
    body += L", camera pointing in any direction";
  }
  return Sentence(body);
}

void CGpsPositionCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.F64(params_.target.latitude);
  archive.F64(params_.target.longitude);
  archive.F64(params_.distance);
  archive.U16(params_.unit);
  archive.Bool(params_.fartherThan);
  archive.Bool(params_.pointing);
  archive.I8(params_.tolerance);
}

void CGpsPositionCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Place(L"place", params_.target);
  std::uint32_t unit = params_.unit;
  archive.Quantity(L"distance", params_.distance, unit, DistanceUnits(), 0);
  params_.unit = static_cast<std::uint16_t>(unit);
  std::uint32_t range = params_.fartherThan ? 1 : 0;
  archive.Choice(L"range", range, kRangeWords);
  params_.fartherThan = range != 0;
  std::uint32_t pointing = params_.pointing ? 1 : 0;
  archive.Choice(L"pointing", pointing, kPointingWords);
  params_.pointing = pointing != 0;
  archive.Integer(L"tolerance", params_.tolerance, 0, 127);
}

}  // namespace lmk
