// Geodesy for the GPS conditions: the distance and bearing between two places on the WGS-84
// ellipsoid, the normalisation of coordinates, and the test of an angle against an arc.
#pragma once

namespace lmk {

/// WGS-84: semi-major axis and semi-minor axis in metres, flattening.
inline constexpr double kWgs84A = 6378137.0;
inline constexpr double kWgs84B = 6356752.314245179;
inline constexpr double kWgs84F = 1 / 298.257223563;

/// What the inverse geodesic problem gives: the distance in metres and the initial bearing in
/// degrees clockwise from true north, 0 <= bearing < 360. Both are NaN when the iteration does not
/// converge (nearly antipodal places); a NaN distance satisfies no comparison.
struct GeodesicLine {
  double distance;
  double bearing;
};

/// Vincenty's inverse method from (lat1, lon1) to (lat2, lon2), in degrees. λ is iterated until
/// it changes by less than 1e-13 radian; after kVincentyMaxIterations steps without that (which
/// happens only near the antipode) the result is NaN.
GeodesicLine VincentyInverse(double lat1, double lon1, double lat2, double lon2);
inline constexpr int kVincentyMaxIterations = 200;

/// A latitude folded into -90..90 (going over a pole comes down the other side) and a longitude
/// wrapped by 360 into -180..180. Crossing a pole also moves the longitude by 180.
struct GeoPoint {
  double latitude;
  double longitude;
};
GeoPoint NormalizePosition(double latitude, double longitude);

/// Whether angle lies in the arc centred on centre of total width width, widened by margin on
/// each side (all in degrees). False unless angle >= 0, centre >= 0 and 0 <= width <= 360. An
/// arc that starts below 0 wraps through north; the upper end is open.
bool InArc(double angle, double centre, double width, double margin);

}  // namespace lmk
