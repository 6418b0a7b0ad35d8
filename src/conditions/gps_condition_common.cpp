// What the GPS conditions share: record reads, units, tolerant comparison, reference conversion.
#include "conditions/gps_condition_common.h"

#include <cmath>
#include <memory>

#include "com/bstr.h"
#include "com/variant.h"
#include "conditions/magnetic_model.h"
#include "conditions/record_value.h"

namespace lmk {
namespace {

constexpr GpsUnit kAltitudeUnits[] = {
    {L"m", 1.0, 0.5},
    {L"ft", 0.3048, 0.1524},
};

constexpr GpsUnit kSpeedUnits[] = {
    {L"km/h", 1.0, 0.5}, {L"mph", 1.609344, 0.804672}, {L"kn", 1.852, 0.926},
    {L"m/s", 3.6, 1.8},  {L"ft/s", 1.09728, 0.54864},
};

constexpr ParamUnit kAltitudeParamUnits[] = {
    {L"m", 1.0, L"metre|metres|meter|meters"},
    {L"ft", 0.3048, L"foot|feet"},
};

constexpr ParamUnit kSpeedParamUnits[] = {
    {L"km/h", 1.0, L"kph|kmh"}, {L"mph", 1.609344, L"mi/h"}, {L"kn", 1.852, L"kt|knot|knots"},
    {L"m/s", 3.6, L"mps"},      {L"ft/s", 1.09728, L"fps"},
};

constexpr ParamUnit kDistanceUnits[] = {
    {L"m", 1.0, L"metre|metres|meter|meters"},
    {L"km", 1000.0, L"kilometre|kilometres|kilometer|kilometers"},
    {L"ft", 0.3048, L"foot|feet"},
    {L"yd", 0.9144, L"yard|yards"},
    {L"mi", 1609.344, L"mile|miles"},
    {L"naut. mi", 1852.0, L"nmi|NM|nautical mile|nautical miles"},
};

}  // namespace

HRESULT ReadGpsFlags(IDictionary& record, USHORT* flags) {
  // Keys are made once: every evaluation reads them, and a BSTR is only read here.
  static const Bstr kFlags(L"Meta.GPS.Flags");
  Variant value;
  LMK_RETURN_IF_FAILED(GetRecordValue(record, kFlags, VT_UI2, std::addressof(value)));
  *flags = value.ref().uiVal;
  return S_OK;
}

HRESULT ReadRecordFloat(IDictionary& record, std::wstring_view name, double* value) {
  Variant read;
  LMK_RETURN_IF_FAILED(GetRecordValue(record, Bstr(name), VT_R4, std::addressof(read)));
  *value = read.ref().fltVal;
  return S_OK;
}

HRESULT ReadImageDecimalYear(IDictionary& record, double* year) {
  for (const wchar_t* name :
       {L"Meta.GPS.TimeStampFT", L"Meta.DateTakenFT", L"File.CreationTimeFT"}) {
    std::int64_t ticks = 0;
    // A date that cannot be read is skipped: the next source may still give one.
    if (FAILED(GetRecordFileTime(record, Bstr(name), &ticks))) continue;
    if (ticks > 0) {
      *year = DecimalYearFromFileTime(ticks);
      return S_OK;
    }
  }
  return S_FALSE;
}

std::span<const GpsUnit> AltitudeUnits() { return kAltitudeUnits; }
std::span<const GpsUnit> SpeedUnits() { return kSpeedUnits; }
std::span<const ParamUnit> DistanceUnits() { return kDistanceUnits; }
std::span<const ParamUnit> AltitudeParamUnits() { return kAltitudeParamUnits; }
std::span<const ParamUnit> SpeedParamUnits() { return kSpeedParamUnits; }

ScaledOperand ScaleOperand(std::span<const GpsUnit> units, std::uint32_t unit, double operand) {
  if (unit >= units.size()) return {4294967295.0, 0.0};
  return {operand * units[unit].factor, units[unit].tolerance};
}

HRESULT CompareWithTolerance(unsigned code, double value, double operand, double tolerance) {
  bool holds = false;
  switch (code) {
    case 1:
      holds = value >= operand - tolerance && value <= operand + tolerance;
      break;
    case 2:
      holds = value < operand - tolerance || value > operand + tolerance;
      break;
    case 3:
      holds = value < operand;
      break;
    case 4:
      holds = value <= operand + tolerance;
      break;
    case 5:
      holds = value > operand;
      break;
    case 6:
      holds = value >= operand - tolerance;
      break;
    default:
      return E_UNEXPECTED;
  }
  return holds ? S_OK : S_FALSE;
}

double ConvertDirectionReference(double direction, double declination, bool wantedIsMagnetic) {
  // A wanted true bearing seen by a magnetic compass is d − δ; a wanted magnetic one is d + δ.
  double result = wantedIsMagnetic ? direction + declination : direction - declination;
  if (result > 360) result = std::fmod(result, 360.0);
  // 360 − r for a negative r, not 360 + r: the established behaviour, deliberately kept.
  if (result < 0) result = 360 - result;
  return result;
}

}  // namespace lmk

namespace lmk {

HRESULT ReadImagePosition(IDictionary& record, USHORT flags, double* latitude, double* longitude) {
  if ((flags & LMKGPS_POSITION) == 0) return S_FALSE;
  static const Bstr kLatitude(L"Meta.GPS.Latitude");
  static const Bstr kLongitude(L"Meta.GPS.Longitude");
  LMK_RETURN_IF_FAILED(GetRecordDouble(record, kLatitude, latitude));
  LMK_RETURN_IF_FAILED(GetRecordDouble(record, kLongitude, longitude));
  if (*latitude == -1.0 || *longitude == -1.0) return S_FALSE;
  return S_OK;
}

std::wstring FormatDegrees(double degrees) { return FormatNumber(degrees) + L"\u00B0"; }

}  // namespace lmk
