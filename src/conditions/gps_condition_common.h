// What the GPS conditions share: reading the per-file record, the GPS flag bits, the units of
// altitude, speed and distance with their half-unit tolerances, the tolerant comparison of
// altitude and speed, and the magnetic correction of directions.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "dictionary/idictionary.h"
#include "host_api/lumarko_host.h"
#include "rules/param_codec.h"

namespace lmk {

/// The flag bits that a GPS metadata condition can test.
inline constexpr USHORT kGpsMeaningfulFlags = 0x7F;
/// Either image-direction bit.
inline constexpr USHORT kGpsDirectionFlags =
    LMKGPS_IMGDIRECTION_MAGNETIC | LMKGPS_IMGDIRECTION_TRUE;

/// "Meta.GPS.Flags" as VT_UI2. The read's or the coercion's failure code unchanged.
HRESULT ReadGpsFlags(IDictionary& record, USHORT* flags);
/// A single-precision value (VT_R4) widened to double: "Meta.GPS.ImgDirection".
HRESULT ReadRecordFloat(IDictionary& record, std::wstring_view name, double* value);

/// The decimal year of the image, for the magnetic model: the GPS time stamp, else the date
/// taken, else the file's creation time (the first that is set). S_FALSE when none is.
HRESULT ReadImageDecimalYear(IDictionary& record, double* year);

/// A unit of altitude or speed: its word, the factor to metres or km/h, its half-unit tolerance.
struct GpsUnit {
  std::wstring_view word;
  double factor;
  double tolerance;
};
/// Altitude units by code: 0 m, 1 ft.
std::span<const GpsUnit> AltitudeUnits();
/// Speed units by code: 0 km/h, 1 mph, 2 kn, 3 m/s, 4 ft/s.
std::span<const GpsUnit> SpeedUnits();
/// Distance units by code: 0 m, 1 km, 2 ft, 3 yd, 4 mi, 5 naut. mi (factor to metres).
std::span<const ParamUnit> DistanceUnits();
/// The same units of altitude and speed, as the rule-set files write them.
std::span<const ParamUnit> AltitudeParamUnits();
std::span<const ParamUnit> SpeedParamUnits();

/// The operand in the record's unit and its tolerance for a unit code; an unknown unit gives the
/// operand 4294967295.0 and no tolerance, which no altitude or speed is near.
struct ScaledOperand {
  double value;
  double tolerance;
};
ScaledOperand ScaleOperand(std::span<const GpsUnit> units, std::uint32_t unit, double operand);

/// The comparison of altitudes and speeds: = and <> within ±t of p; < and > strict; <= and >=
/// widened by t (the inclusive operators take the rounding of the displayed whole number into
/// account, the strict ones do not). S_OK, S_FALSE, or E_UNEXPECTED for a code other than 1..6.
HRESULT CompareWithTolerance(unsigned code, double value, double operand, double tolerance);

/// A wanted direction d in degrees, given against one north, converted to the other north of the
/// image with the declination δ (east positive): a geographic d becomes d − δ, a magnetic d
/// becomes d + δ. A result above 360 is reduced modulo 360 and a negative result r becomes
/// 360 − r.
double ConvertDirectionReference(double direction, double declination, bool wantedIsMagnetic);

}  // namespace lmk

namespace lmk {

/// The image's position: S_OK with *latitude and *longitude, S_FALSE when the record has none
/// (the position bit of flags clear, or a coordinate of exactly −1.0, which the record uses for
/// "missing": a real −1.0 is thus treated as missing, deliberately), or a read failure.
HRESULT ReadImagePosition(IDictionary& record, USHORT flags, double* latitude, double* longitude);

/// A degree value for sentences: "5°".
std::wstring FormatDegrees(double degrees);

}  // namespace lmk
