// Geodesy for the GPS conditions: Vincenty's inverse method, coordinate normalisation, arcs.
#include "conditions/geodesy.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace lmk {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// x reduced into [0, 360).
double Wrap360(double x) {
  x = std::fmod(x, 360.0);
  if (x < 0) x += 360.0;
  // fmod of a tiny negative number plus 360 can round up to 360 itself.
  return x >= 360.0 ? 0.0 : x;
}

}  // namespace

GeodesicLine VincentyInverse(double lat1, double lon1, double lat2, double lon2) {
  constexpr double a = kWgs84A;
  constexpr double b = kWgs84B;
  constexpr double f = kWgs84F;
  if (!std::isfinite(lat1) || !std::isfinite(lon1) || !std::isfinite(lat2) ||
      !std::isfinite(lon2)) {
    return {kNaN, kNaN};
  }
  // The difference of longitude taken the short way round, -π..π.
  const double L = std::remainder(lon2 - lon1, 360.0) * kDegree;
  const double U1 = std::atan((1 - f) * std::tan(lat1 * kDegree));
  const double U2 = std::atan((1 - f) * std::tan(lat2 * kDegree));
  const double sinU1 = std::sin(U1), cosU1 = std::cos(U1);
  const double sinU2 = std::sin(U2), cosU2 = std::cos(U2);

  double lambda = L;
  double sinLambda = 0, cosLambda = 0, sinSigma = 0, cosSigma = 0, sigma = 0;
  double cosSqAlpha = 0, cos2SigmaM = 0;
  bool converged = false;
  for (int i = 0; i < kVincentyMaxIterations; ++i) {
    sinLambda = std::sin(lambda);
    cosLambda = std::cos(lambda);
    const double t1 = cosU2 * sinLambda;
    const double t2 = cosU1 * sinU2 - sinU1 * cosU2 * cosLambda;
    sinSigma = std::sqrt(t1 * t1 + t2 * t2);
    if (sinSigma == 0) return {0.0, 0.0};  // the same place
    cosSigma = sinU1 * sinU2 + cosU1 * cosU2 * cosLambda;
    sigma = std::atan2(sinSigma, cosSigma);
    const double sinAlpha = cosU1 * cosU2 * sinLambda / sinSigma;
    cosSqAlpha = 1 - sinAlpha * sinAlpha;
    // On the equator cos²α is 0 and the term vanishes.
    cos2SigmaM = cosSqAlpha != 0 ? cosSigma - 2 * sinU1 * sinU2 / cosSqAlpha : 0;
    const double C = f / 16 * cosSqAlpha * (4 + f * (4 - 3 * cosSqAlpha));
    const double previous = lambda;
    lambda = L + (1 - C) * f * sinAlpha *
                     (sigma + C * sinSigma *
                                  (cos2SigmaM + C * cosSigma * (-1 + 2 * cos2SigmaM * cos2SigmaM)));
    if (!std::isfinite(lambda)) break;
    if (std::fabs(lambda - previous) < 1e-13) {
      converged = true;
      break;
    }
  }
  if (!converged) return {kNaN, kNaN};

  const double uSq = cosSqAlpha * (a * a - b * b) / (b * b);
  const double A = 1 + uSq / 16384 * (4096 + uSq * (-768 + uSq * (320 - 175 * uSq)));
  const double B = uSq / 1024 * (256 + uSq * (-128 + uSq * (74 - 47 * uSq)));
  const double deltaSigma = B * sinSigma *
                            (cos2SigmaM + B / 4 *
                                              (cosSigma * (-1 + 2 * cos2SigmaM * cos2SigmaM) -
                                               B / 6 * cos2SigmaM * (-3 + 4 * sinSigma * sinSigma) *
                                                   (-3 + 4 * cos2SigmaM * cos2SigmaM)));
  const double distance = b * A * (sigma - deltaSigma);
  const double alpha1 =
      std::atan2(cosU2 * sinLambda, cosU1 * sinU2 - sinU1 * cosU2 * cosLambda) / kDegree;
  return {distance, Wrap360(alpha1)};
}

GeoPoint NormalizePosition(double latitude, double longitude) {
  // Fold the latitude: 100 becomes 80 on the other side of the pole.
  double lat = std::fmod(latitude, 360.0);
  if (lat > 180) lat -= 360;
  if (lat < -180) lat += 360;
  bool crossedPole = false;
  if (lat > 90) {
    lat = 180 - lat;
    crossedPole = true;
  } else if (lat < -90) {
    lat = -180 - lat;
    crossedPole = true;
  }
  double lon = longitude + (crossedPole ? 180.0 : 0.0);
  lon = std::fmod(lon + 180.0, 360.0);
  if (lon < 0) lon += 360.0;
  lon -= 180.0;
  return {lat, lon};
}

bool InArc(double angle, double centre, double width, double margin) {
  if (!(angle >= 0) || !(centre >= 0) || !(width >= 0 && width <= 360)) return false;
  const double lo = centre - width / 2 - margin;
  const double hi = centre + width / 2 + margin;
  if (lo < 0) {
    double x = angle - lo;
    if (x > 360) x = std::fmod(x, 360.0);
    return x >= 0 && x < hi - lo;
  }
  double x = angle;
  if (x > 360) x = std::fmod(x, 360.0);
  return x >= lo && x < hi;
}

}  // namespace lmk
