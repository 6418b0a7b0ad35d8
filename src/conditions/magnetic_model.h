// The magnetic declination: the World Magnetic Model synthesised to degree and order 12.
//
// Range and accuracy: the model describes the Earth's main field from the core; the published
// uncertainty of the declination is about 0.3 to 0.5 degree over most of the globe, growing near
// the magnetic poles (within some 2000 km of them the horizontal field is weak and the
// declination changes quickly from place to place, by many degrees), and local crustal anomalies
// or magnetic storms can add a degree or more anywhere. Each model is made for five years from
// its epoch; the coefficients compiled in cover 2015 to 2030 (WMM-2015, its 2015v2 revision,
// WMM-2020, WMM-2025). Dates outside that range use the nearest model, extrapolated by its
// secular variation, and grow less accurate year by year (a degree or more per decade in places).
#pragma once

#include <cstdint>
#include <string_view>

namespace lmk {

/// The field at one place and time: north, east and down components (nT), and the declination
/// and inclination in degrees (declination east of true north positive).
struct MagneticField {
  double x;
  double y;
  double z;
  double horizontal;
  double total;
  double inclination;
  double declination;
};

/// The field at geodetic latitude and longitude (degrees), height above the WGS-84 ellipsoid (km)
/// and decimal year (2024.5 is the middle of 2024). Latitudes are limited to ±(90 − 1e-9)
/// degrees, where the declination is still defined.
MagneticField ComputeMagneticField(double latitude, double longitude, double heightKm,
                                   double decimalYear);

/// The declination in degrees (east positive) at sea level.
double MagneticDeclination(double latitude, double longitude, double decimalYear);

/// The name of the model used for decimalYear ("WMM-2020").
std::wstring_view MagneticModelName(double decimalYear);

/// The decimal year of a FILETIME count (100-nanosecond ticks since 1601-01-01 UTC).
double DecimalYearFromFileTime(std::int64_t fileTime);

}  // namespace lmk
