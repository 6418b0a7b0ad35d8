// The World Magnetic Model: choice of the model for a date and its spherical-harmonic synthesis.
#include "conditions/magnetic_model.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <numbers>

namespace lmk {
namespace {

constexpr int kDegreeMax = 12;
constexpr int kCoefficientCount = (kDegreeMax + 1) * (kDegreeMax + 2) / 2;

struct MagneticModelCoefficients {
  std::wstring_view name;
  double epoch;
  double usedFrom;  // decimal year from which this model replaces the one before
  double g[kCoefficientCount];
  double h[kCoefficientCount];
  double gDot[kCoefficientCount];
  double hDot[kCoefficientCount];
};

#include "conditions/magnetic_model_coefficients.inc"

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kReferenceRadiusKm = 6371.2;  // the model's geomagnetic reference radius
constexpr double kEllipsoidAKm = 6378.137;
constexpr double kEllipsoidF = 1 / 298.257223563;
constexpr double kEllipsoidE2 = kEllipsoidF * (2 - kEllipsoidF);

constexpr int Index(int n, int m) { return n * (n + 1) / 2 + m; }

const MagneticModelCoefficients& ModelFor(double decimalYear) {
  const MagneticModelCoefficients* chosen = kMagneticModels[0];
  for (const MagneticModelCoefficients* model : kMagneticModels) {
    if (decimalYear >= model->usedFrom) chosen = model;
  }
  return *chosen;
}

}  // namespace

MagneticField ComputeMagneticField(double latitude, double longitude, double heightKm,
                                   double decimalYear) {
  const MagneticModelCoefficients& model = ModelFor(decimalYear);
  const double dt = decimalYear - model.epoch;

  // Geodetic to geocentric spherical coordinates.
  constexpr double kLatitudeLimit = 90 - 1e-9;
  const double phi = std::clamp(latitude, -kLatitudeLimit, kLatitudeLimit) * kDegree;
  const double lambda = longitude * kDegree;
  const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
  const double rc = kEllipsoidAKm / std::sqrt(1 - kEllipsoidE2 * sinPhi * sinPhi);
  const double p = (rc + heightKm) * cosPhi;
  const double zc = (rc * (1 - kEllipsoidE2) + heightKm) * sinPhi;
  const double r = std::sqrt(p * p + zc * zc);
  const double phiC = std::asin(zc / r);

  // Schmidt semi-normalised associated Legendre functions of cos(colatitude) and their
  // derivatives with respect to the colatitude.
  const double x = std::sin(phiC);  // cos of the colatitude
  const double y = std::cos(phiC);  // sin of the colatitude
  std::array<double, kCoefficientCount> P{};
  std::array<double, kCoefficientCount> dP{};
  P[Index(0, 0)] = 1;
  dP[Index(0, 0)] = 0;
  for (int n = 1; n <= kDegreeMax; ++n) {
    if (n == 1) {
      P[Index(1, 1)] = y;
      dP[Index(1, 1)] = x;
    } else {
      const double k = std::sqrt((2.0 * n - 1) / (2.0 * n));
      P[Index(n, n)] = k * y * P[Index(n - 1, n - 1)];
      dP[Index(n, n)] = k * (x * P[Index(n - 1, n - 1)] + y * dP[Index(n - 1, n - 1)]);
    }
    for (int m = 0; m < n; ++m) {
      const double a = 2.0 * n - 1;
      const double b = n >= 2 ? std::sqrt(double((n - 1) * (n - 1) - m * m)) : 0.0;
      const double c = std::sqrt(double(n * n - m * m));
      const double p2 = n >= 2 && m <= n - 2 ? P[Index(n - 2, m)] : 0.0;
      const double dp2 = n >= 2 && m <= n - 2 ? dP[Index(n - 2, m)] : 0.0;
      P[Index(n, m)] = (a * x * P[Index(n - 1, m)] - b * p2) / c;
      dP[Index(n, m)] = (a * (x * dP[Index(n - 1, m)] - y * P[Index(n - 1, m)]) - b * dp2) / c;
    }
  }

  // Field components in the geocentric frame: north, east, down.
  double north = 0, east = 0, down = 0;
  const double ratio = kReferenceRadiusKm / r;
  double scale = ratio * ratio;  // (a/r)^(n+2), starting at n = 0
  for (int n = 1; n <= kDegreeMax; ++n) {
    scale *= ratio;
    for (int m = 0; m <= n; ++m) {
      const int i = Index(n, m);
      const double g = model.g[i] + dt * model.gDot[i];
      const double h = model.h[i] + dt * model.hDot[i];
      const double cosM = std::cos(m * lambda), sinM = std::sin(m * lambda);
      const double gh = g * cosM + h * sinM;
      north += scale * gh * dP[i];
      east += scale * m * (g * sinM - h * cosM) * P[i];
      down -= scale * (n + 1) * gh * P[i];
    }
  }
  east /= y;

  // Rotate from the geocentric to the geodetic frame.
  const double psi = phiC - phi;
  MagneticField field{};
  field.x = north * std::cos(psi) - down * std::sin(psi);
  field.y = east;
  field.z = north * std::sin(psi) + down * std::cos(psi);
  field.horizontal = std::hypot(field.x, field.y);
  field.total = std::hypot(field.horizontal, field.z);
  field.inclination = std::atan2(field.z, field.horizontal) / kDegree;
  field.declination = std::atan2(field.y, field.x) / kDegree;
  return field;
}

double MagneticDeclination(double latitude, double longitude, double decimalYear) {
  return ComputeMagneticField(latitude, longitude, 0.0, decimalYear).declination;
}

std::wstring_view MagneticModelName(double decimalYear) { return ModelFor(decimalYear).name; }

double DecimalYearFromFileTime(std::int64_t fileTime) {
  using namespace std::chrono;
  // 1601-01-01 is 134774 days before 1970-01-01.
  constexpr std::int64_t kEpochDays = 134774;
  const std::int64_t days =
      fileTime / (86'400LL * 10'000'000) - (fileTime % (86'400LL * 10'000'000) < 0);
  const double dayFraction =
      double(fileTime - days * 86'400LL * 10'000'000) / (86'400.0 * 10'000'000);
  const sys_days day{std::chrono::days{days - kEpochDays}};
  const year_month_day ymd{day};
  const sys_days start{ymd.year() / January / 1};
  const sys_days next{(ymd.year() + years{1}) / January / 1};
  const double length = double((next - start).count());
  return int(ymd.year()) + (double((day - start).count()) + dayFraction) / length;
}

}  // namespace lmk
